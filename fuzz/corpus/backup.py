#!/usr/bin/env python3
"""Writes the seeds of fuzz_backup into the folder backup beside this file."""
import pathlib
import struct


def number(value):
    return struct.pack(">iii", 2, 4, value)


def text(value):
    raw = value.encode() + b"\0"
    return struct.pack(">ii", 1, len(raw)) + raw


def block(kind, *items, version=7):
    body = b"".join(number(item) if isinstance(item, int) else text(item) for item in items)
    return struct.pack(">iiI", kind, version, len(body)) + body


def backup(*blocks, mask=0x37FFFFB):
    return b"MORV" + struct.pack(">ii", 1, mask) + b"".join(blocks)


def user(name, mail=""):
    return [name, "$1$ab$0123456789abcdefghijkl", "Somebody", "A" * 32, "B" * 32, -1, 3, mail, 1]


def share(name, folder, writers):
    return [name, folder, "a comment", writers, "", "", 2, 1, 0]


blocks = {
    "time": block(0x1, "2026/11/22 10:00:00", 1, "daily", "ntp.example.com", "", "CET-1CEST", 0),
    "hostname": block(0x2, "box"),
    "mail": block(0x10, "smtp.example.com", "admin@example.com", ""),
    "apple": block(0x40, 3),
    "windows": block(0x80, "HOUSE", 0x0A000001),
    "users": block(0x100, 3, *user("bob", "bob@example.com"), *user("alice"), *user("admin")),
    "groups": block(0x200, 2, 1, "team", 65536, "The team", 2, "alice", "bob", 1, "new", 65537, "", 0),
    "shares": block(0x20, 2, *share("music", "/volume1/music", "alice,@team"), *share("new", "/volume1/new", "")),
    "sleep": block(0x400, 20),
    "ftp": block(0x800, 1, "UTF-8", 21, 55536, 55663, 0),
    "pppoe": block(0x2000, 0, "user", "secret"),
    "photo": block(0x8000, 1, 0),
    "httpport": block(0x100000, "8080", "80"),
    "mtu": block(0x20000, "1500"),
    "rcpower": block(0x40000, "yes"),
    "usbcopy": block(0x80000, "music"),
    "web": block(0x10000, 1),
    "dcache": block(0x200000, 1),
    "downloads": block(0x400000, 1, "0-24", 0, 10, 100, 6881, 6890, 0),
    "mysql": block(0x800000, 1),
    "quota": block(0x1000000, 1, "alice", 1, "/volume1", 100, 200),
}
seeds = {name: backup(content) for name, content in blocks.items()}
seeds["whole"] = backup(*blocks.values())
seeds["twice"] = backup(blocks["shares"], blocks["users"], blocks["users"], blocks["hostname"])
seeds["unknown"] = backup(blocks["web"], block(0x4, "N:eth0:"), blocks["mysql"])
seeds["version"] = backup(block(0x2, "box", version=8), blocks["web"])
seeds["cut_off"] = seeds["whole"][:700]
seeds["count"] = backup(block(0x100, 2147483647, *user("bob")))

folder = pathlib.Path(__file__).with_suffix("")
folder.mkdir(exist_ok=True)
for name, content in seeds.items():
    (folder / name).write_bytes(content)
