#!/usr/bin/env python3
"""Make the demo pictures from the two bundled photographs.

  chelsea_framed.png   chelsea.png reduced to a third (3x3 box average)
                       and centred in a 451x300 grey (128) frame, so the
                       whole cat face fits inside the picture.
  camera_a.png         camera.png as it is (the first tracking frame).
  camera_b.png         the second frame: camera_a.png moved by the affine
                       motion written to camera_motion.txt, bilinear.
  camera_motion.txt    the true motion: a point (x, y) of the first frame
                       is at (a*x + b*y + c, d*x + e*y + f) in the second.

Standard library only. Usage:
  make_demo_data.py CHELSEA.png CAMERA.png OUTDIR
"""
import math
import os
import struct
import sys
import zlib

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data"))
from png_to_pgm import decode  # noqa: E402  (the stdlib PNG decoder of the tests)


def write_png(path, width, height, bpp, pixels):
    def chunk(kind, body):
        crc = zlib.crc32(kind + body) & 0xFFFFFFFF
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", crc)

    stride = width * bpp
    raw = b"".join(b"\x00" + pixels[y * stride:(y + 1) * stride] for y in range(height))
    colour = 0 if bpp == 1 else 2
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour, 0, 0, 0)))
        f.write(chunk(b"IDAT", zlib.compress(raw, 9)))
        f.write(chunk(b"IEND", b""))


def framed_cat(path, out):
    w, h, bpp, px = decode(path)
    assert bpp == 3
    sw, sh = w // 3, h // 3
    fw, fh = 451, 300
    ox, oy = (fw - sw) // 2, (fh - sh) // 2
    frame = bytearray([128]) * (fw * fh * 3)
    for y in range(sh):
        for x in range(sw):
            for c in range(3):
                s = 0
                for dy in range(3):
                    row = (3 * y + dy) * w
                    for dx in range(3):
                        s += px[(row + 3 * x + dx) * 3 + c]
                frame[((oy + y) * fw + ox + x) * 3 + c] = (s + 4) // 9
    write_png(out, fw, fh, 3, bytes(frame))


# Rotation by 0.6 degrees and scaling by 1.012 about the image centre, then
# a shift of (1.35, -0.85) pixels: at most a few pixels anywhere, never a
# whole pixel count, smooth everywhere.
def motion(width, height):
    angle = math.radians(0.6)
    s = 1.012
    a, b = s * math.cos(angle), -s * math.sin(angle)
    d, e = s * math.sin(angle), s * math.cos(angle)
    cx, cy = (width - 1) / 2.0, (height - 1) / 2.0
    c = cx - a * cx - b * cy + 1.35
    f = cy - d * cx - e * cy - 0.85
    return a, b, c, d, e, f


def camera_pair(path, outdir):
    w, h, bpp, px = decode(path)
    assert bpp == 1
    write_png(os.path.join(outdir, "camera_a.png"), w, h, 1, px)
    a, b, c, d, e, f = motion(w, h)
    det = a * e - b * d
    out = bytearray(w * h)
    for y in range(h):
        for x in range(w):
            # Where the second frame's pixel came from in the first.
            u, v = x - c, y - f
            sx = (e * u - b * v) / det
            sy = (-d * u + a * v) / det
            sx = min(max(sx, 0.0), w - 1.0)
            sy = min(max(sy, 0.0), h - 1.0)
            x0, y0 = min(int(sx), w - 2), min(int(sy), h - 2)
            fx, fy = sx - x0, sy - y0
            p = px[y0 * w + x0] * (1 - fx) + px[y0 * w + x0 + 1] * fx
            q = px[(y0 + 1) * w + x0] * (1 - fx) + px[(y0 + 1) * w + x0 + 1] * fx
            out[y * w + x] = int(p * (1 - fy) + q * fy + 0.5)
    write_png(os.path.join(outdir, "camera_b.png"), w, h, 1, bytes(out))
    with open(os.path.join(outdir, "camera_motion.txt"), "w") as fo:
        fo.write("# x' = a*x + b*y + c, y' = d*x + e*y + f (pixels, first frame to second)\n")
        fo.write("affine %.12f %.12f %.12f %.12f %.12f %.12f\n" % (a, b, c, d, e, f))


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    framed_cat(sys.argv[1], os.path.join(sys.argv[3], "chelsea_framed.png"))
    camera_pair(sys.argv[2], sys.argv[3])


if __name__ == "__main__":
    main()
