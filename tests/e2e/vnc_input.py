#!/usr/bin/env python3
"""Drives wayvnc's pointer and keyboard over RFB: vnc_input.py SOCKET ACTION X Y, where ACTION is
move, click or wheel at X Y; down or up, X being the key's X keysym; or connect, to see that the
server answers."""
import socket
import struct
import sys


def read(sock, n):
    data = b""
    while len(data) < n:
        chunk = sock.recv(n - len(data))
        if not chunk:
            raise SystemExit("the server hung up")
        data += chunk
    return data


path, action, x, y = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
sock = socket.socket(socket.AF_UNIX)
sock.connect(path)
read(sock, 12)
sock.sendall(b"RFB 003.008\n")
if 1 not in read(sock, read(sock, 1)[0]):
    raise SystemExit("the server wants authentication")
sock.sendall(b"\x01")
if struct.unpack(">I", read(sock, 4))[0] != 0:
    raise SystemExit("refused")
sock.sendall(b"\x01")  # shared
bits = read(sock, 20)[4]
read(sock, struct.unpack(">I", read(sock, 4))[0])
sock.sendall(struct.pack(">BBHi", 2, 0, 1, 0))  # raw pixels only
if action in ("down", "up"):
    sock.sendall(struct.pack(">BBHI", 4, action == "down", 0, x))
for mask in {"move": [0], "click": [1, 0], "wheel": [8, 0]}.get(action, []):
    sock.sendall(struct.pack(">BBHH", 5, mask, x, y))
# The events are in once the server answers a request sent after them. The answer is read whole:
# a server still writing to a closed socket may die of it.
sock.sendall(struct.pack(">BBHHHH", 3, 0, 0, 0, 1, 1))
if read(sock, 1) != b"\x00":
    raise SystemExit("not a picture")
read(sock, 1)
for _ in range(struct.unpack(">H", read(sock, 2))[0]):
    _, _, w, h, encoding = struct.unpack(">HHHHi", read(sock, 12))
    if encoding != 0:
        raise SystemExit("encoding %d" % encoding)
    read(sock, w * h * bits // 8)
sock.close()
