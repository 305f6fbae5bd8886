#!/usr/bin/env python3
"""Convert an 8-bit non-interlaced PNG into a binary PGM (P5, greyscale) or,
for an RGB input, a binary PPM (P6); colours are not reduced to grey.

Standard library only: the IDAT chunks are inflated with zlib and the
per-row PNG filters (None, Sub, Up, Average, Paeth) are undone by hand.
Usage: png_to_pgm.py input.png output.pgm
"""
import struct
import sys
import zlib


def read_chunks(data):
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("not a PNG file")
    pos = 8
    while pos < len(data):
        (length,) = struct.unpack(">I", data[pos:pos + 4])
        kind = data[pos + 4:pos + 8]
        yield kind, data[pos + 8:pos + 8 + length]
        pos += 12 + length


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    if pa <= pb and pa <= pc:
        return a
    return b if pb <= pc else c


def decode(path):
    with open(path, "rb") as f:
        data = f.read()
    idat = b""
    width = height = colour = None
    for kind, body in read_chunks(data):
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
            if depth != 8 or colour not in (0, 2) or interlace != 0:
                raise ValueError("only 8-bit grey or RGB non-interlaced PNG is handled")
        elif kind == b"IDAT":
            idat += body
        elif kind == b"IEND":
            break
    raw = zlib.decompress(idat)
    bpp = 1 if colour == 0 else 3
    stride = width * bpp
    out = bytearray()
    prev = bytearray(stride)
    pos = 0
    for _ in range(height):
        ftype = raw[pos]
        line = bytearray(raw[pos + 1:pos + 1 + stride])
        pos += 1 + stride
        for i in range(stride):
            a = line[i - bpp] if i >= bpp else 0
            b = prev[i]
            c = prev[i - bpp] if i >= bpp else 0
            if ftype == 1:
                line[i] = (line[i] + a) & 255
            elif ftype == 2:
                line[i] = (line[i] + b) & 255
            elif ftype == 3:
                line[i] = (line[i] + ((a + b) >> 1)) & 255
            elif ftype == 4:
                line[i] = (line[i] + paeth(a, b, c)) & 255
            elif ftype != 0:
                raise ValueError("bad filter type %d" % ftype)
        out += line
        prev = line
    return width, height, bpp, bytes(out)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    width, height, bpp, pixels = decode(sys.argv[1])
    with open(sys.argv[2], "wb") as f:
        f.write(b"P%d\n%d %d\n255\n" % (5 if bpp == 1 else 6, width, height))
        f.write(pixels)


if __name__ == "__main__":
    main()
