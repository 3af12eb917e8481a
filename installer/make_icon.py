#!/usr/bin/env python3
"""usage: make_icon.py OUTPUT

Draws the icon of the installed package: a ring, open to the right, around an arrow; in four sizes.
"""
import math
import struct
import sys

SIZES = (16, 24, 32, 48)
RING, ARROW = (0xC8, 0x6A, 0x1E), (0x2C, 0x9E, 0xF0)  # blue, green, red


def colour(x, y):
    """Of a point in the square from -1 to 1; None outside the drawing."""
    distance, angle = math.hypot(x, y), abs(math.degrees(math.atan2(y, x)))
    if 0.68 <= distance <= 0.95 and angle > 28:
        return RING
    if -0.42 <= x <= 0.15 and abs(y) <= 0.13:
        return ARROW
    if 0.1 <= x <= 0.85 and abs(y) <= (0.85 - x) * 0.55:
        return ARROW
    return None


def pixel(size, column, row):
    # Four by four points a pixel smooth the edges.
    points = [colour(((column + (i + 0.5) / 4) / size) * 2 - 1, ((row + (j + 0.5) / 4) / size) * 2 - 1)
              for i in range(4) for j in range(4)]
    hit = [point for point in points if point]
    if not hit:
        return bytes(4)
    return bytes(sum(part) // len(hit) for part in zip(*hit)) + bytes([255 * len(hit) // 16])


def image(size):
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(pixel(size, column, row) for row in reversed(range(size)) for column in range(size))
    return header + pixels + bytes((size + 31) // 32 * 4 * size)


def main():
    images = [image(size) for size in SIZES]
    offset = 6 + 16 * len(images)
    entries = b""
    for size, data in zip(SIZES, images):
        entries += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    with open(sys.argv[1], "wb") as out:
        out.write(struct.pack("<HHH", 0, 1, len(images)) + entries + b"".join(images))


if __name__ == "__main__":
    main()
