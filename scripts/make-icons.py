#!/usr/bin/env python3
"""Draws the daemon's icon and its status-item images; needs nothing but Python's own library.

  scripts/make-icons.py FOLDER

Writes into FOLDER, which it makes: Velmoratix.icns, and for the menu bar imageBlue.png and imageGray.png with their
counterparts of twice the resolution, image…@2x.png. The same files, byte for byte, each time. Status 2: no folder given.
"""

import itertools
import math
import os
import struct
import sys
import zlib

# A point is a pair of numbers between 0 and 1, from the top left corner of the picture. A shape is a list of closed
# outlines, each a list of points; what an odd number of them encloses is inside.

# How many lines are drawn in each row of pixels; along a row the coverage is exact.
LINES_IN_A_ROW = 8
POINTS_IN_A_CORNER = 24

BLUE_TOP, BLUE_BOTTOM = (0x5A, 0xC8, 0xFA), (0x0A, 0x4F, 0xC4)
SCREEN_TOP, SCREEN_BOTTOM = (0x1B, 0x3A, 0x6B), (0x0C, 0x1B, 0x38)
WHITE, PALE = (0xFF, 0xFF, 0xFF), (0xD3, 0xE8, 0xFF)
GREEN = (0x4C, 0xD9, 0x64)
# In a light menu bar; legible in a dark one and a light one.
MENU_BLUE, MENU_GRAY = (0x00, 0x6A, 0xE0), (0x8A, 0x8A, 0x8E)


def rounded(left, top, right, bottom, radius):
    """The outline of a rectangle with round corners."""
    points = []
    for x, y, start in ((right - radius, top + radius, -90), (right - radius, bottom - radius, 0),
                        (left + radius, bottom - radius, 90), (left + radius, top + radius, 180)):
        for step in range(POINTS_IN_A_CORNER + 1):
            angle = math.radians(start + 90 * step / POINTS_IN_A_CORNER)
            points.append((x + radius * math.cos(angle), y + radius * math.sin(angle)))
    return points


def stroke(points, width):
    """The outline of a bent line with flat ends that are cut square."""
    sides = ([], [])
    for index, (x, y) in enumerate(points):
        normals = []
        for (x0, y0), (x1, y1) in zip(points[max(index - 1, 0):index + 1], points[max(index, 1):index + 2]):
            length = math.hypot(x1 - x0, y1 - y0)
            normals.append(((y0 - y1) / length, (x1 - x0) / length))
        nx = sum(normal[0] for normal in normals) / len(normals)
        ny = sum(normal[1] for normal in normals) / len(normals)
        # So long that both neighbouring edges keep their distance.
        reach = width / 2 / (nx * nx + ny * ny)
        sides[0].append((x + nx * reach, y + ny * reach))
        sides[1].append((x - nx * reach, y - ny * reach))
    return sides[0] + sides[1][::-1]


def crossings(shape, y):
    """Where a horizontal line meets the outlines, from left to right."""
    found = []
    for outline in shape:
        for (x0, y0), (x1, y1) in zip(outline, outline[1:] + outline[:1]):
            if (y0 <= y) != (y1 <= y):
                found.append(x0 + (y - y0) * (x1 - x0) / (y1 - y0))
    return sorted(found)


def row_coverage(shape, row, size):
    """How much of each pixel of a row lies inside, 0 to 1; None for a row without any."""
    # Differences from one pixel to the next, to be summed up.
    steps = [0.0] * (size + 2)
    is_empty = True
    for line in range(LINES_IN_A_ROW):
        edges = crossings(shape, (row + (line + 0.5) / LINES_IN_A_ROW) / size)
        for left, right in zip(edges[::2], edges[1::2]):
            is_empty = False
            for edge, sign in ((left, 1.0), (right, -1.0)):
                x = min(max(edge * size, 0.0), float(size))
                pixel = int(x)
                steps[pixel] += sign * (pixel + 1 - x)
                steps[pixel + 1] += sign * (x - pixel)
    if is_empty:
        return None
    return [min(max(total / LINES_IN_A_ROW, 0.0), 1.0) for total in itertools.accumulate(steps[:size])]


def mixed(first, second, part):
    """A colour between two; all of the second where the part is 1."""
    return [a + (b - a) * part for a, b in zip(first, second)]


class Picture:
    """A square of pixels, red, green, blue and alpha, not multiplied by it."""

    def __init__(self, size):
        self.size = size
        self.rows = [bytearray(4 * size) for _ in range(size)]

    def fill(self, shape, top_colour, bottom_colour=None):
        """Lays a shape over what is there; its colour runs from the top of the shape to its bottom."""
        ys = [y for outline in shape for _, y in outline]
        top, bottom = min(ys), max(ys)
        for row in range(max(math.floor(top * self.size), 0), min(math.ceil(bottom * self.size), self.size)):
            coverage = row_coverage(shape, row, self.size)
            if coverage is None:
                continue
            part = min(max(((row + 0.5) / self.size - top) / (bottom - top), 0.0), 1.0)
            self._blend(row, coverage, mixed(top_colour, bottom_colour or top_colour, part))

    def _blend(self, row, coverage, colour):
        pixels = self.rows[row]
        opaque = bytes([round(channel) for channel in colour] + [255])
        for x, covered in enumerate(coverage):
            if covered <= 0.0:
                continue
            at = 4 * x
            if covered >= 1.0:
                pixels[at:at + 4] = opaque
                continue
            below = pixels[at + 3] / 255 * (1 - covered)
            alpha = covered + below
            for channel in range(3):
                pixels[at + channel] = round((colour[channel] * covered + pixels[at + channel] * below) / alpha)
            pixels[at + 3] = round(alpha * 255)

    def clear(self, shape):
        """Makes what lies inside a shape transparent."""
        for row in range(self.size):
            for x, covered in enumerate(row_coverage(shape, row, self.size) or []):
                at = 4 * x + 3
                self.rows[row][at] = round(self.rows[row][at] * (1 - covered))

    def channel(self, index):
        return b"".join(bytes(row[index::4]) for row in self.rows)

    def png(self, pixels_per_metre):
        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        # 8 bits a channel, red, green, blue and alpha; each row without a filter.
        header = struct.pack(">IIBBBBB", self.size, self.size, 8, 6, 0, 0, 0)
        resolution = struct.pack(">IIB", pixels_per_metre, pixels_per_metre, 1)
        data = zlib.compress(b"".join(b"\0" + row for row in self.rows), 9)
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"sRGB", b"\0") + chunk(b"pHYs", resolution) +
                chunk(b"IDAT", data) + chunk(b"IEND", b""))


# --- What is drawn ---


def draw_icon(size):
    """Two displays, the one in front with a check mark: a display set that is in force."""
    picture = Picture(size)
    # Small ones use the room to the edge and have no details.
    is_small = size <= 32
    edge = 0.03 if is_small else 0.098
    picture.fill([rounded(edge, edge, 1 - edge, 1 - edge, 0.225 * (1 - 2 * edge))], BLUE_TOP, BLUE_BOTTOM)

    def place(shape):
        """From the square of the background to the picture."""
        return [[(edge + x * (1 - 2 * edge), edge + y * (1 - 2 * edge)) for x, y in outline] for outline in shape]

    def fill(shape, *colours):
        picture.fill(place(shape), *colours)

    frame = 0.055 if is_small else 0.032
    fill([rounded(0.44, 0.17, 0.88, 0.50, 0.045)], PALE)
    fill([rounded(0.44 + frame, 0.17 + frame, 0.88 - frame, 0.50 - frame, 0.02)], SCREEN_TOP, SCREEN_BOTTOM)
    # The gap between the two, as if the background showed.
    if not is_small:
        fill([rounded(0.098, 0.288, 0.732, 0.752, 0.067)], *(mixed(BLUE_TOP, BLUE_BOTTOM, y) for y in (0.288, 0.752)))
    fill([rounded(0.12, 0.31, 0.71, 0.73, 0.05)], WHITE)
    fill([rounded(0.12 + frame, 0.31 + frame, 0.71 - frame, 0.73 - frame, 0.022)], SCREEN_TOP, SCREEN_BOTTOM)
    fill([[(0.365, 0.72), (0.465, 0.72), (0.485, 0.81), (0.345, 0.81)]], WHITE)
    fill([rounded(0.27, 0.80, 0.56, 0.845, 0.02)], WHITE)
    width = 0.085 if is_small else 0.06
    fill([stroke([(0.30, 0.52), (0.385, 0.605), (0.54, 0.435)], width)], GREEN)
    return picture


def draw_status_image(size, colour):
    """The same two displays as lines, in points. Outer edges stand between pixels, so that they are sharp."""
    picture = Picture(size)

    def box(left, top, right, bottom, radius):
        return rounded(left / 18, top / 18, right / 18, bottom / 18, radius / 18)

    picture.fill([box(7, 2, 17, 9.5, 1.5), box(8.5, 3.5, 15.5, 8, 0.4)], colour)
    picture.clear([box(0, 4, 14, 17, 1.5)])
    picture.fill([box(1, 5, 13, 13.5, 1.5), box(2.5, 6.5, 11.5, 12, 0.4)], colour)
    picture.fill([box(6, 13, 8, 15, 0.1)], colour)
    picture.fill([box(4, 14.5, 10, 16, 0.7)], colour)
    return picture


# --- The icon file ---


def packed(data):
    """Runs of 3 to 130 equal bytes as (length + 125, byte), others as (length - 1, up to 128 bytes)."""
    result, single = bytearray(), bytearray()

    def flush():
        for start in range(0, len(single), 128):
            part = single[start:start + 128]
            result.append(len(part) - 1)
            result.extend(part)
        single.clear()

    for value, group in itertools.groupby(data):
        length = len(list(group))
        while length > 0:
            run = min(length, 130)
            if run < 3:
                single.extend([value] * run)
            else:
                flush()
                result.extend((run + 125, value))
            length -= run
    flush()
    return bytes(result)


def icon_file(draw):
    pictures = {size: draw(size) for size in (16, 32, 64, 128, 256, 512, 1024)}
    elements = []
    # The two smallest as planes with a mask: PNG data in their place is not understood everywhere.
    for size, planes, mask in ((16, b"is32", b"s8mk"), (32, b"il32", b"l8mk")):
        elements.append((planes, b"".join(packed(pictures[size].channel(index)) for index in range(3))))
        elements.append((mask, pictures[size].channel(3)))
    # The size in pixels; whether that is two pixels a point.
    for kind, size, is_double in ((b"ic11", 32, True), (b"ic12", 64, True), (b"ic07", 128, False), (b"ic13", 256, True),
                                  (b"ic08", 256, False), (b"ic14", 512, True), (b"ic09", 512, False),
                                  (b"ic10", 1024, True)):
        elements.append((kind, pictures[size].png(TWO_PIXELS_A_POINT if is_double else ONE_PIXEL_A_POINT)))
    body = b"".join(kind + struct.pack(">I", len(data) + 8) + data for kind, data in elements)
    return b"icns" + struct.pack(">I", len(body) + 8) + body


# 72 and 144 pixels an inch.
ONE_PIXEL_A_POINT, TWO_PIXELS_A_POINT = 2835, 5669
# In a menu bar of 22 points.
STATUS_IMAGE_POINTS = 18


def main(arguments):
    if arguments == ["--help"]:
        print(__doc__.strip())
        return 0
    if len(arguments) != 1:
        print("make-icons.py: one folder to write into is wanted (--help tells more)", file=sys.stderr)
        return 2
    folder = arguments[0]
    files = {"Velmoratix.icns": icon_file(draw_icon)}
    for name, colour in (("imageBlue", MENU_BLUE), ("imageGray", MENU_GRAY)):
        files[name + ".png"] = draw_status_image(STATUS_IMAGE_POINTS, colour).png(ONE_PIXEL_A_POINT)
        files[name + "@2x.png"] = draw_status_image(2 * STATUS_IMAGE_POINTS, colour).png(TWO_PIXELS_A_POINT)
    os.makedirs(folder, exist_ok=True)
    for name, data in files.items():
        with open(os.path.join(folder, name), "wb") as file:
            file.write(data)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
