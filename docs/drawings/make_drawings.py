#!/usr/bin/env python3
"""Draws the pictures of docs/geometry.md: the mounts, the views and the lens models.

    make_drawings.py           writes the drawings beside this file
    make_drawings.py --check   fails when a drawing is not what this file would write
"""

import math
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
INK, FAINT, BLUE, RED, GREEN = "#222", "#bbb", "#1763b0", "#b8312f", "#2c7a3d"
COLUMNS = ["#b8312f", "#c77c11", "#2c7a3d", "#1763b0", "#7a3d9a"]  # x = 0, 1/4, 1/2, 3/4, 1


class Drawing:
    """An SVG under construction."""

    def __init__(self, width, height, title):
        self.size = (width, height)
        self.parts = [f"<title>{title}</title>",
                      f'<rect width="{width}" height="{height}" fill="#fff"/>']

    def line(self, points, colour=INK, width=1.2, dash=None, arrow=False):
        text = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        extra = f' stroke-dasharray="{dash}"' if dash else ""
        extra += ' marker-end="url(#arrow)"' if arrow else ""
        self.parts.append(f'<polyline points="{text}" fill="none" stroke="{colour}" '
                          f'stroke-width="{width}"{extra}/>')

    def circle(self, x, y, radius, colour=INK, fill="none", width=1.2):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{radius:.1f}" fill="{fill}" '
                          f'stroke="{colour}" stroke-width="{width}"/>')

    def shape(self, points, fill, colour=INK):
        text = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<polygon points="{text}" fill="{fill}" stroke="{colour}"/>')

    def text(self, x, y, text, colour=INK, size=12, anchor="middle"):
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" fill="{colour}" font-size="{size}" '
                          f'text-anchor="{anchor}">{text}</text>')

    def source(self):
        width, height = self.size
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
                f'width="{width}" height="{height}" font-family="sans-serif">')
        arrow = ('<defs><marker id="arrow" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" '
                 'markerHeight="7" orient="auto"><path d="M0,0 L8,4 L0,8 z" fill="context-stroke"/>'
                 '</marker></defs>')
        return "\n".join([head, arrow, *self.parts, "</svg>"]) + "\n"


# The formulas, as docs/geometry.md states them. Directions are (x, y, z) of the camera frame.

def around_axis(bearing, theta):
    b, t = math.radians(bearing), math.radians(theta)
    return (math.sin(t) * math.sin(b), math.sin(t) * math.cos(b), math.cos(t))


def panorama(mount, span):
    def direction(x, y):
        bearing = span / 2 * (1 - 2 * x)
        if mount == "floor":
            return around_axis(-bearing, 90 * y)
        return around_axis(bearing, 90 * (1 - y))
    return direction


def cylinder(x, y):
    azimuth = math.radians(180 * (x - 0.5))
    return (math.sin(azimuth), 2 * y - 1, math.cos(azimuth))


def lat(x, y):
    longitude, latitude = math.radians(180 * (x - 0.5)), math.radians(180 * (0.5 - y))
    return (math.cos(latitude) * math.sin(longitude), -math.sin(latitude),
            math.cos(latitude) * math.cos(longitude))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def perspective(mount, bearing, theta, extent=1.0):
    up = {"ceiling": (0, 0, -1), "wall": (0, -1, 0), "floor": (0, 0, 1)}[mount]
    forward = around_axis(bearing, theta)
    right = cross(forward, up)
    length = math.sqrt(sum(c * c for c in right))
    right = tuple(c / length for c in right)
    up = cross(right, forward)

    def direction(x, y):
        s, t = (2 * x - 1) * extent, (1 - 2 * y) * extent
        return tuple(f + s * r + t * u for f, r, u in zip(forward, right, up))
    return direction


def fisheye(direction):
    x, y, z = direction
    side = math.hypot(x, y)
    rho = math.atan2(side, z) / (math.pi / 2)
    return (x / side * rho, y / side * rho) if side > 1e-12 else (0.0, 0.0)


def sides_of_the_circle(drawing, cx, cy, radius):
    drawing.circle(cx, cy, radius)
    drawing.line([(cx - 4, cy), (cx + 4, cy)], FAINT)
    drawing.line([(cx, cy - 4), (cx, cy + 4)], FAINT)
    for bearing, text, dx, dy in [(0, "0&#176;", 0, 16), (90, "90&#176;", 18, 4),
                                  (180, "180&#176;", 0, -8), (-90, "-90&#176;", -20, 4)]:
        x, y = math.sin(math.radians(bearing)), math.cos(math.radians(bearing))
        drawing.text(cx + radius * x + dx, cy + radius * y + dy, text, FAINT, 11)


def draw_view(title, direction, width, height):
    """The view's lattice of quarters, in the fisheye picture and in the view."""
    drawing = Drawing(640, 330, title)
    cx, cy, radius = 165, 168, 112
    drawing.text(320, 22, title, size=14)
    sides_of_the_circle(drawing, cx, cy, radius)
    drawing.text(cx, 322, "in the fisheye picture", size=11)
    left, top = 475 - width / 2, 175 - height / 2
    drawing.text(475, top + height + 30, "in the view", size=11)

    def curve(points, colour, thick):
        piece = []
        for x, y in points:
            place = fisheye(direction(x, y)) if x is not None else None
            if place and math.hypot(*place) <= 1.0001:
                piece.append((cx + radius * place[0], cy + radius * place[1]))
                continue
            if len(piece) > 1:
                drawing.line(piece, colour, thick)
            piece = []

    steps = [i / 60 for i in range(61)]
    end = (None, None)
    for i in range(5):
        quarter = i / 4
        curve([(x, quarter) for x in steps] + [end], INK if i == 0 else FAINT, 2 if i == 0 else 1)
        drawing.line([(left, top + quarter * height), (left + width, top + quarter * height)],
                     INK if i == 0 else FAINT, 2 if i == 0 else 1)
    for i in range(5):
        quarter = i / 4
        curve([(quarter, y) for y in steps] + [end], COLUMNS[i], 1.6)
        drawing.line([(left + quarter * width, top), (left + quarter * width, top + height)],
                     COLUMNS[i], 1.6)
    drawing.text(left, top - 8, "x=0", COLUMNS[0], 11)
    drawing.text(left + width, top - 8, "x=1", COLUMNS[4], 11)
    drawing.text(left + width / 2, top - 8, "top", INK, 11)
    return drawing


def draw_mount(mount):
    """A side view of the installed camera, and what the circle shows."""
    names = {"ceiling": "Ceiling camera (every other installation type)",
             "wall": "Wall camera (installation type 1)",
             "floor": "Floor camera (installation type 2)"}
    drawing = Drawing(640, 330, names[mount])
    drawing.text(320, 22, names[mount], size=14)
    surface = "#ddd"
    if mount == "ceiling":
        drawing.shape([(30, 60), (310, 60), (310, 75), (30, 75)], surface)
        x, y, axis = 170, 85, (0, 1)
    elif mount == "floor":
        drawing.shape([(30, 270), (310, 270), (310, 285), (30, 285)], surface)
        x, y, axis = 170, 260, (0, -1)
    else:
        drawing.shape([(30, 60), (45, 60), (45, 285), (30, 285)], surface)
        x, y, axis = 55, 172, (1, 0)
    drawing.circle(x, y, 9, INK, "#fff", 2)
    drawing.line([(x, y), (x + 95 * axis[0], y + 95 * axis[1])], BLUE, 2, arrow=True)
    drawing.text(x + 108 * axis[0], y + 108 * axis[1] + 4, "z", BLUE)
    # the picture's down in the side view: towards the reader's right for a lying picture
    down = (0, 1) if mount == "wall" else (1, 0)
    drawing.line([(x, y), (x + 60 * down[0], y + 60 * down[1])], RED, 2, arrow=True)
    drawing.text(x + 74 * down[0], y + 74 * down[1] + 4, "y", RED)
    # right-handed: x = y x z
    text = "x away from the reader" if mount == "ceiling" else "x towards the reader"
    drawing.text(190, 318, text, GREEN, 11)
    drawing.line([(285, 215), (285, 165)], INK, 2, arrow=True)
    drawing.text(285, 232, "world up", INK, 11)
    up = {"ceiling": "up = -z", "wall": "up = -y", "floor": "up = +z"}[mount]
    drawing.text(285, 247, up, INK, 11)

    cx, cy, radius = 480, 175, 110
    sides_of_the_circle(drawing, cx, cy, radius)
    drawing.line([(cx, cy), (cx + 55, cy)], GREEN, 2, arrow=True)
    drawing.text(cx + 66, cy + 4, "x", GREEN)
    drawing.line([(cx, cy), (cx, cy + 55)], RED, 2, arrow=True)
    drawing.text(cx, cy + 69, "y", RED)
    if mount == "wall":
        drawing.text(cx, cy - 80, "up", INK, 11)
        drawing.text(cx + 80, cy - 12, "right", INK, 11)
    else:
        drawing.text(cx, cy - 12, "straight " + ("down" if mount == "ceiling" else "up"), INK, 11)
        drawing.text(cx, cy - radius + 18, "horizon", INK, 11)
        sign = -1 if mount == "ceiling" else 1
        arc = [(cx + 88 * math.sin(math.radians(b)), cy + 88 * math.cos(math.radians(b)))
               for b in range(-40 * sign, 41 * sign, 4 * sign)]
        drawing.line(arc, BLUE, 2, arrow=True)
        drawing.text(cx, cy + 104, "turning right", BLUE, 11)
    drawing.text(cx, 318, "the fisheye picture, with bearings", size=11)
    return drawing


def draw_lenses():
    """Radius over angle for the models, scaled to the same radius at 90 degrees."""
    drawing = Drawing(640, 330, "Lens models")
    drawing.text(320, 22, "Lens models: radius over the angle off the axis", size=14)
    left, bottom, width, height = 70, 285, 430, 235

    def place(theta, radius):
        return (left + theta / 120 * width, bottom - radius / 1.7 * height)

    for theta in range(0, 121, 30):
        drawing.line([place(theta, 0), place(theta, 1.7)], FAINT, 0.8)
        drawing.text(place(theta, 0)[0], bottom + 16, f"{theta}&#176;", size=11)
    drawing.line([place(0, 1), place(120, 1)], FAINT, 0.8, "4 3")
    drawing.text(left - 8, place(0, 1)[1] + 4, "rim", size=11, anchor="end")
    models = [("stereographic", lambda t: math.tan(t / 2), 117.5, COLUMNS[0]),
              ("equidistant", lambda t: t / (math.pi / 2), 117.5, INK),
              ("equisolid angle", lambda t: math.sin(t / 2) * math.sqrt(2), 117.5, COLUMNS[3]),
              ("orthographic", math.sin, 90, COLUMNS[2])]
    for name, radius, end, colour in models:
        points = [place(end * i / 100, radius(math.radians(end * i / 100))) for i in range(101)]
        drawing.line(points, colour, 1.8)
        drawing.text(points[-1][0] + 8, points[-1][1] + 4, name, colour, 11, "start")
    return drawing


def all_drawings():
    drawings = {"lenses": draw_lenses()}
    for mount in ("ceiling", "wall", "floor"):
        drawings[f"mount-{mount}"] = draw_mount(mount)
        drawings[f"view-panorama-{mount}"] = draw_view(
            f"Panorama, {mount} camera", panorama(mount, 360), 300, 100)
        half = cylinder if mount == "wall" else panorama(mount, 180)
        drawings[f"view-180-{mount}"] = draw_view(f"180 view, {mount} camera", half, 240, 120)
        aim = (115, 40) if mount == "wall" else (40, 50)
        drawings[f"view-ptz-{mount}"] = draw_view(
            f"Pan/tilt/zoom, {mount} camera, 7000", perspective(mount, *aim, 0.7), 160, 160)
    drawings["view-lat"] = draw_view("LAT view, every mount", lat, 200, 200)
    return {f"{name}.svg": drawing.source() for name, drawing in drawings.items()}


def main():
    stale = []
    for name, source in all_drawings().items():
        path = HERE / name
        if "--check" not in sys.argv[1:]:
            path.write_text(source)
        elif not path.exists() or path.read_text() != source:
            stale.append(name)
    if stale:
        sys.exit("out of date, run docs/drawings/make_drawings.py: " + ", ".join(stale))


if __name__ == "__main__":
    main()
