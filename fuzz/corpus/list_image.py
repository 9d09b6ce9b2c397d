#!/usr/bin/env python3
"""Writes the seeds of fuzz_list_image into the folder list_image beside this file."""
import pathlib
import struct


def image(size, items, mode=0):
    """The image of a list of `size` bytes; None stands for a hole."""
    texts = b""
    offsets = []
    for item in items:
        if item is not None:
            texts = item.encode() + b"\0" + texts
        offsets.append(size - 1 if item is None else size - len(texts))
    begin = size - len(texts)
    gap = begin - 24 - 4 * len(items)
    assert gap >= 0
    header = struct.pack("=4I2I", size, len(items), gap, mode, begin, size - 1)
    block = header + struct.pack(f"={len(items)}I", *offsets) + b"\0" * gap + texts
    return block if texts else block[:-1] + b"\0"


seeds = {
    "empty": image(512, []),
    "holes": image(128, ["[global]", None, None, "workgroup=HOME"]),
    "sorted": image(96, ["admin", "guest", "root"], 1),
    "case_sorted": image(96, ["Admin", "straße", "zoë"], 16),
    "full": image(24 + 3 * 6, ["a", "b", "c"]),
}

folder = pathlib.Path(__file__).with_suffix("")
folder.mkdir(exist_ok=True)
for name, content in seeds.items():
    (folder / name).write_bytes(content)
