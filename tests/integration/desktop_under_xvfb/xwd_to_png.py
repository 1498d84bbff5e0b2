#!/usr/bin/env python3
"""Converts a true-colour X window dump (xwd -root) to PNG: xwd_to_png.py IN.xwd OUT.png"""
import struct
import sys
import zlib


def shift_of(mask):
    shift = 0
    while mask and not mask & 1:
        mask >>= 1
        shift += 1
    return shift, mask


def read_xwd(data):
    fields = struct.unpack(">25I", data[:100])
    header_size, _, _, _, width, height, _, byte_order, _, _, _, bpp, stride = fields[:13]
    red_mask, green_mask, blue_mask = fields[14:17]
    ncolors = fields[19]
    if bpp not in (24, 32):
        raise SystemExit(f"unsupported dump: {bpp} bits per pixel")
    pixels = data[header_size + 12 * ncolors:]
    order = "little" if byte_order == 0 else "big"
    step = bpp // 8
    channels = [shift_of(m) for m in (red_mask, green_mask, blue_mask)]
    rows = []
    for y in range(height):
        line = pixels[y * stride:y * stride + width * step]
        row = bytearray(b"\0")  # filter type 0 for this row
        for x in range(0, width * step, step):
            value = int.from_bytes(line[x:x + step], order)
            for shift, mask in channels:
                row.append(((value >> shift) & mask) * 255 // mask)
        rows.append(bytes(row))
    return width, height, b"".join(rows)


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def main():
    with open(sys.argv[1], "rb") as dump:
        width, height, raw = read_xwd(dump.read())
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(raw, 6)) + chunk(b"IEND", b"")
    with open(sys.argv[2], "wb") as out:
        out.write(png)


main()
