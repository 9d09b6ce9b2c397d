#!/usr/bin/env python3
"""Writes the seeds of fuzz_share_record into the folder share_record beside this file."""
import pathlib
import struct


def packed(texts, access, browseable, ftp):
    """The packed record of six texts and three numbers, in this machine's byte order."""
    total = 48 + sum(len(text.encode()) + 1 for text in texts if text)
    offsets, at = [], 44
    for text in texts:
        offsets.append(at if text else total - 5)
        at += len(text.encode()) + 1 if text else 0
    fields = [0, *offsets, access, browseable, ftp, total, total - 4]
    return struct.pack("=12I", *fields) + b"".join(text.encode() + b"\0" for text in texts if text)


music = packed(["music", "", "/volume1/music", "", "@users,bob", ""], 2, 1, 0)
seeds = {
    "music": music,
    "all_texts": packed(["Fotos", "from the holidays", "/volume1/Fotos", "guest", "alice", "@users"], 1, 0, 7),
    "name_only": packed(["x", "", "", "", "", ""], 4, 1, 0),
    "truncated": music[:-1],
}

folder = pathlib.Path(__file__).with_suffix("")
folder.mkdir(exist_ok=True)
for name, content in seeds.items():
    (folder / name).write_bytes(content)
