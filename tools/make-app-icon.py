#!/usr/bin/env python3
"""Draws Tarvolo's app icon and writes it as an .icns file (standard library only).

The drawing: a rounded square in a blue gradient holding a light menu bar whose icons on the
left fade out behind a separator, with the toggle's chevron at the right end. Rendered once at
1024 px with 4x4 supersampling at the edges, then scaled down for the smaller sizes.

Usage: make-app-icon.py OUT.icns [--preview OUT.png]
"""

from __future__ import annotations

import argparse
import math
import struct
import sys
import zlib

SIZE = 1024


def superellipse_inside(x: float, y: float, cx: float, cy: float, half: float, exponent: float = 5.0) -> bool:
    return abs((x - cx) / half) ** exponent + abs((y - cy) / half) ** exponent <= 1.0


def rounded_rect_inside(x, y, left, top, right, bottom, radius) -> bool:
    if x < left or x > right or y < top or y > bottom:
        return False
    cx = min(max(x, left + radius), right - radius)
    cy = min(max(y, top + radius), bottom - radius)
    return (x - cx) ** 2 + (y - cy) ** 2 <= radius * radius


def segment_distance(px, py, ax, ay, bx, by) -> float:
    dx, dy = bx - ax, by - ay
    t = max(0.0, min(1.0, ((px - ax) * dx + (py - ay) * dy) / (dx * dx + dy * dy)))
    return math.hypot(px - (ax + t * dx), py - (ay + t * dy))


def blend(under, over, alpha):
    return tuple(u + (o - u) * alpha for u, o in zip(under, over))


# Everything in 1024-px coordinates, y down.
BODY_CENTRE, BODY_HALF = 512.0, 412.0
BAR = (196.0, 352.0, 828.0, 472.0, 60.0)  # left, top, right, bottom, radius
ICONS = [(676.0, 1.0), (596.0, 1.0), (516.0, 1.0), (376.0, 0.45), (296.0, 0.25)]  # centre x, opacity
ICON_RADIUS = 26.0
SEPARATOR_X = 446.0
CHEVRON = ((772.0, 384.0), (738.0, 412.0), (772.0, 440.0))
STROKE = 11.0


def colour_at(x: float, y: float) -> tuple[float, float, float, float]:
    """Premultiplied-free RGBA in 0..1 at one sample point."""
    if not superellipse_inside(x, y, BODY_CENTRE, BODY_CENTRE, BODY_HALF):
        return (0.0, 0.0, 0.0, 0.0)
    t = (y - 100) / 824
    rgb = blend((0.24, 0.55, 0.98), (0.12, 0.27, 0.70), t)
    left, top, right, bottom, radius = BAR
    if rounded_rect_inside(x, y, left, top, right, bottom, radius):
        rgb = (0.96, 0.97, 0.99)
        ink = (0.16, 0.22, 0.36)
        for cx, opacity in ICONS:
            if math.hypot(x - cx, y - 412.0) <= ICON_RADIUS:
                rgb = blend(rgb, ink, opacity)
        if abs(x - SEPARATOR_X) <= STROKE / 2 and 378 <= y <= 446:
            rgb = blend(rgb, ink, 0.55)
        (ax, ay), (bx, by), (cx2, cy2) = CHEVRON
        if min(segment_distance(x, y, ax, ay, bx, by), segment_distance(x, y, bx, by, cx2, cy2)) <= STROKE / 2 + 2:
            rgb = ink
    # Lines below the bar: a hint of the menus of the app in front.
    for row, (start, end) in enumerate(((236.0, 700.0), (236.0, 600.0), (236.0, 660.0))):
        yy = 582.0 + row * 96
        if start <= x <= end and abs(y - yy) <= 16:
            rgb = blend(rgb, (1.0, 1.0, 1.0), 0.28)
    return (*rgb, 1.0)


def render(size: int = SIZE) -> list[list[tuple[float, float, float, float]]]:
    scale = SIZE / size
    rows = []
    offsets = [(i + 0.5) / 4 for i in range(4)]
    for py in range(size):
        row = []
        for px in range(size):
            centre = colour_at((px + 0.5) * scale, (py + 0.5) * scale)
            # Supersample only where a neighbour differs: the edges of shapes.
            probe = colour_at((px + 0.05) * scale, (py + 0.05) * scale)
            probe2 = colour_at((px + 0.95) * scale, (py + 0.95) * scale)
            if centre == probe == probe2:
                row.append(centre)
                continue
            acc = [0.0, 0.0, 0.0, 0.0]
            for oy in offsets:
                for ox in offsets:
                    r, g, b, a = colour_at((px + ox) * scale, (py + oy) * scale)
                    acc[0] += r * a
                    acc[1] += g * a
                    acc[2] += b * a
                    acc[3] += a
            alpha = acc[3] / 16
            row.append((acc[0] / acc[3], acc[1] / acc[3], acc[2] / acc[3], alpha) if acc[3] else (0.0, 0.0, 0.0, 0.0))
        rows.append(row)
    return rows


def downscale(rows, factor: int):
    size = len(rows) // factor
    out = []
    for y in range(size):
        row = []
        for x in range(size):
            acc = [0.0, 0.0, 0.0, 0.0]
            for dy in range(factor):
                for dx in range(factor):
                    r, g, b, a = rows[y * factor + dy][x * factor + dx]
                    acc[0] += r * a
                    acc[1] += g * a
                    acc[2] += b * a
                    acc[3] += a
            n = factor * factor
            row.append((acc[0] / acc[3], acc[1] / acc[3], acc[2] / acc[3], acc[3] / n) if acc[3] else (0.0, 0.0, 0.0, 0.0))
        out.append(row)
    return out


def png(rows) -> bytes:
    size = len(rows)
    raw = bytearray()
    for row in rows:
        raw.append(0)
        for r, g, b, a in row:
            raw += bytes(max(0, min(255, round(v * 255))) for v in (r, g, b, a))

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(raw), 9)) + chunk(b"IEND", b"")


# icns element types holding PNG data, by pixel size (the @2x types repeat a size). Finder's
# lists and the menu bar's 1x screens ask for the 16 and 32 px images by their own types.
ICNS_TYPES = [(b"icp4", 16), (b"icp5", 32), (b"ic11", 32), (b"ic12", 64), (b"ic07", 128), (b"ic13", 256), (b"ic08", 256),
              (b"ic14", 512), (b"ic09", 512), (b"ic10", 1024)]


def icns(images: dict[int, bytes]) -> bytes:
    body = b"".join(kind + struct.pack(">I", len(images[size]) + 8) + images[size] for kind, size in ICNS_TYPES)
    return b"icns" + struct.pack(">I", len(body) + 8) + body


def main(argv: list[str]) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("out")
    parser.add_argument("--preview")
    args = parser.parse_args(argv)
    full = render()
    scaled = {1024: full}
    for size in (512, 256, 128, 64, 32, 16):
        scaled[size] = downscale(full, 1024 // size)
    images = {size: png(rows) for size, rows in scaled.items()}
    with open(args.out, "wb") as handle:
        handle.write(icns(images))
    if args.preview:
        with open(args.preview, "wb") as handle:
            handle.write(images[256])
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
