#!/usr/bin/env python3
"""Renders the sample picture examples/sample.png.

    make_sample.py OUT.png

The picture exercises colour converters: a shaded scene with skin tones and saturated
colours, a 24-patch colour chart, hue and grey sweeps, shadow and highlight steps, a zone
plate and fine lines. Python's standard library alone is needed, and there is no random
number in it: the same pixels come out every time.
"""

import math
import struct
import sys
import zlib

WIDTH, HEIGHT = 960, 640
SCENE_HEIGHT = 416

# Published sRGB values of the 24-patch chart, row by row.
CHART_PATCHES = (
    (115, 82, 68), (194, 150, 130), (98, 122, 157), (87, 108, 67), (133, 128, 177), (103, 189, 170),
    (214, 126, 44), (80, 91, 166), (193, 90, 99), (94, 60, 108), (157, 188, 64), (224, 163, 46),
    (56, 61, 150), (70, 148, 73), (175, 54, 60), (231, 199, 31), (187, 86, 149), (8, 133, 161),
    (243, 243, 242), (200, 200, 200), (160, 160, 160), (122, 122, 121), (85, 85, 85), (52, 52, 52),
)

PANEL = (38, 40, 45)
INK = (222, 224, 228)


class Canvas:
    """An RGB image with 8 bits per channel."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.rows = [bytearray(width * 3) for _ in range(height)]

    def set(self, x, y, colour):
        self.rows[y][x * 3:x * 3 + 3] = bytes(colour)

    def fill(self, left, top, width, height, colour):
        run = bytes(colour) * width
        for y in range(top, top + height):
            self.rows[y][left * 3:(left + width) * 3] = run

    def paint(self, left, top, width, height, shader):
        """Calls shader(u, v) with u and v in 0..1 at pixel centres."""
        for y in range(height):
            v = (y + 0.5) / height
            for x in range(width):
                self.set(left + x, top + y, shader((x + 0.5) / width, v))


# --------------------------------------------------------------------------------------
# Colour helpers
# --------------------------------------------------------------------------------------


def to_byte(value):
    return max(0, min(255, int(value * 255.0 + 0.5)))


def grey(value):
    level = to_byte(value)
    return level, level, level


def srgb_to_linear(byte):
    value = byte / 255.0
    return value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4


def linear_to_srgb(value):
    return value * 12.92 if value <= 0.0031308 else 1.055 * value ** (1.0 / 2.4) - 0.055


def linear(*srgb):
    return tuple(srgb_to_linear(channel) for channel in srgb)


def hsl(hue, saturation, lightness):
    """sRGB bytes of a hue (0..1), saturation and lightness."""
    chroma = (1.0 - abs(2.0 * lightness - 1.0)) * saturation
    channels = []
    for offset in (0.0, 4.0, 2.0):
        k = (hue * 6.0 + offset) % 6.0
        channels.append(to_byte(lightness + chroma * (max(0.0, min(1.0, abs(k - 3.0) - 1.0)) - 0.5)))
    return tuple(channels)


def mix(a, b, t):
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def smoothstep(low, high, value):
    t = max(0.0, min(1.0, (value - low) / (high - low)))
    return t * t * (3.0 - 2.0 * t)


# --------------------------------------------------------------------------------------
# The scene: spheres on a tiled floor before hills, in linear light
# --------------------------------------------------------------------------------------


def normalise(x, y, z):
    scale = 1.0 / math.sqrt(x * x + y * y + z * z)
    return x * scale, y * scale, z * scale


class Sphere:

    def __init__(self, x, z, radius, srgb, gloss=0.05, mirror=0.0, skin=False):
        self.x, self.y, self.z, self.radius = x, radius, z, radius
        self.albedo = linear(*srgb)
        self.gloss, self.mirror, self.skin = gloss, mirror, skin


SPHERES = (
    Sphere(-0.15, 1.35, 1.05, (236, 238, 240), gloss=0.9, mirror=0.86),
    Sphere(-2.30, 0.45, 0.84, (198, 146, 122), gloss=0.03, skin=True),
    Sphere(2.15, 0.55, 0.80, (112, 76, 60), gloss=0.05, skin=True),
    Sphere(-3.75, 1.75, 0.70, (226, 190, 170), gloss=0.03, skin=True),
    Sphere(3.95, 1.65, 0.66, (240, 240, 236), gloss=0.02),
    Sphere(-1.05, -1.25, 0.40, (214, 18, 28), gloss=0.10),
    Sphere(0.10, -1.62, 0.36, (250, 202, 12), gloss=0.10),
    Sphere(1.12, -1.20, 0.40, (16, 150, 62), gloss=0.10),
    Sphere(-3.05, -0.85, 0.42, (22, 52, 196), gloss=0.10),
    Sphere(3.05, -0.80, 0.44, (176, 26, 150), gloss=0.10),
    Sphere(-2.05, -1.75, 0.25, (240, 112, 14), gloss=0.10),
    Sphere(2.10, -1.80, 0.27, (8, 166, 196), gloss=0.10),
    Sphere(0.66, -2.20, 0.15, (20, 20, 22), gloss=0.12),
    Sphere(-0.62, -2.30, 0.13, (247, 247, 247), gloss=0.05),
)

SUN = normalise(-0.52, 0.62, -0.60)
SUN_COLOUR = (2.55, 2.30, 1.95)
SKY_LIGHT = (0.26, 0.34, 0.50)
FLOOR_LIGHT = (0.20, 0.16, 0.12)
SUN_SOFTNESS = 0.055
EYE = (0.0, 1.62, -6.4)
FORWARD = normalise(0.0, -0.105, 1.0)
HALF_WIDTH = 0.66

ZENITH = linear(38, 84, 168)
MIDDLE = linear(112, 168, 224)
HORIZON = linear(246, 222, 190)
HILLS = (
    # height, waves (amplitude, frequency, phase), colour: far to near
    (0.072, ((0.022, 5.0, 0.4), (0.011, 13.0, 1.9), (0.004, 37.0, 0.2)), linear(132, 150, 186)),
    (0.040, ((0.020, 4.0, 2.6), (0.010, 11.0, 0.3), (0.004, 41.0, 1.2)), linear(84, 112, 138)),
    (0.014, ((0.014, 6.0, 5.1), (0.006, 17.0, 2.2), (0.003, 53.0, 0.7)), linear(48, 82, 62)),
)
TILE_LIGHT = linear(214, 200, 176)
TILE_DARK = linear(66, 58, 62)


def sky(direction):
    """Colour of the surroundings and the number of the layer seen."""
    x, y, z = direction
    azimuth = math.atan2(x, z)
    elevation = y / math.sqrt(x * x + z * z + 1e-12)
    for layer in range(len(HILLS) - 1, -1, -1):
        height, waves, colour = HILLS[layer]
        edge = height + sum(a * math.sin(f * azimuth + p) for a, f, p in waves)
        if elevation < edge:
            haze = 0.45 * max(0.0, min(1.0, 1.0 - elevation / 0.1))
            return mix(colour, HORIZON, haze * 0.5), 100 + layer
    t = max(0.0, y)
    colour = mix(HORIZON, MIDDLE, smoothstep(0.03, 0.13, t))
    colour = mix(colour, ZENITH, smoothstep(0.08, 0.50, t))
    # Long thin clouds, denser toward the horizon.
    wave = (math.sin(azimuth * 7.0 + 3.0 * math.sin(elevation * 23.0)) + math.sin(elevation * 61.0 + azimuth * 4.0)
            + 0.6 * math.sin(azimuth * 19.0 - elevation * 47.0))
    cloud = smoothstep(0.2, 2.4, wave) * smoothstep(0.05, 0.10, t) * (1.0 - smoothstep(0.30, 0.55, t))
    colour = mix(colour, (1.0, 0.96, 0.92), 0.75 * cloud)
    towards_sun = x * SUN[0] + y * SUN[1] + z * SUN[2]
    if towards_sun > 0.0:
        glow = towards_sun ** 24.0 * 0.5 + towards_sun ** 700.0 * 14.0
        colour = (colour[0] + glow, colour[1] + glow * 0.94, colour[2] + glow * 0.84)
    return colour, 99


def nearest_sphere(origin, direction, skip=None):
    best, hit = 1e9, None
    ox, oy, oz = origin
    dx, dy, dz = direction
    for sphere in SPHERES:
        if sphere is skip:
            continue
        px, py, pz = sphere.x - ox, sphere.y - oy, sphere.z - oz
        along = px * dx + py * dy + pz * dz
        if along <= 0.0:
            continue
        rest = sphere.radius * sphere.radius - (px * px + py * py + pz * pz - along * along)
        if rest <= 0.0:
            continue
        distance = along - math.sqrt(rest)
        if 1e-4 < distance < best:
            best, hit = distance, sphere
    return best, hit


def sunlight(point, skip=None):
    """Share of the sun's disc that is seen from a point."""
    light = 1.0
    for sphere in SPHERES:
        if sphere is skip:
            continue
        px, py, pz = sphere.x - point[0], sphere.y - point[1], sphere.z - point[2]
        along = px * SUN[0] + py * SUN[1] + pz * SUN[2]
        if along <= 0.0:
            continue
        gap = math.sqrt(max(0.0, px * px + py * py + pz * pz - along * along)) - sphere.radius
        if gap < SUN_SOFTNESS * along:
            light *= smoothstep(-SUN_SOFTNESS, SUN_SOFTNESS, gap / along)
            if light < 1e-4:
                return 0.0
    return light


def openness(point, normal, skip=None):
    """Share of the sky that the spheres leave free above a point."""
    free = 1.0
    for sphere in SPHERES:
        if sphere is skip:
            continue
        px, py, pz = sphere.x - point[0], sphere.y - point[1], sphere.z - point[2]
        squared = px * px + py * py + pz * pz
        cosine = (px * normal[0] + py * normal[1] + pz * normal[2]) / math.sqrt(squared)
        if cosine > 0.0:
            free *= 1.0 - min(0.96, cosine * sphere.radius * sphere.radius / squared)
    return free


def floor_colour(origin, direction, bounce):
    distance = -origin[1] / direction[1]
    x, z = origin[0] + direction[0] * distance, origin[2] + direction[2] * distance
    odd = (math.floor(x / 0.9 + 0.5) + math.floor(z / 0.9)) % 2
    # Tiles smaller than a few pixels melt into their mean before they can alias.
    blur = smoothstep(7.0, 24.0, distance)
    albedo = mix(TILE_LIGHT if odd else TILE_DARK, mix(TILE_LIGHT, TILE_DARK, 0.5), blur)
    point = (x, 0.0, z)
    sun = sunlight(point) * SUN[1]
    free = openness(point, (0.0, 1.0, 0.0))
    colour = tuple(a * (SUN_COLOUR[i] * sun + SKY_LIGHT[i] * free) * 0.62 for i, a in enumerate(albedo))
    if bounce == 0:
        # Polished stone: a faint mirror image, stronger at a grazing view.
        grazing = (1.0 + direction[1]) ** 5.0
        mirrored = trace(point, (direction[0], -direction[1], direction[2]), bounce + 2)[0]
        colour = mix(colour, mirrored, 0.04 + 0.30 * grazing * (1.0 - blur))
    haze = 1.0 - math.exp(-distance * 0.018)
    return mix(colour, HORIZON, haze * 0.8), (10 + odd if blur < 1.0 else 12)


def sphere_colour(sphere, point, direction, bounce):
    normal = ((point[0] - sphere.x) / sphere.radius, (point[1] - sphere.y) / sphere.radius,
              (point[2] - sphere.z) / sphere.radius)
    facing = normal[0] * SUN[0] + normal[1] * SUN[1] + normal[2] * SUN[2]
    visible = sunlight(point, sphere)
    free = openness(point, normal, sphere)
    up = 0.5 + 0.5 * normal[1]
    near_floor = 0.35 + 0.65 * smoothstep(0.0, sphere.radius, point[1])
    if sphere.skin:
        # Light that enters skin comes out around the terminator, redder than it went in.
        diffuse = tuple(max(0.0, (facing + w) / (1.0 + w)) ** 1.3 for w in (0.34, 0.16, 0.10))
    else:
        diffuse = (max(0.0, facing),) * 3
    ambient = tuple((SKY_LIGHT[i] * up + FLOOR_LIGHT[i] * (1.0 - up) * near_floor) * free for i in range(3))
    colour = tuple(a * (SUN_COLOUR[i] * diffuse[i] * visible + ambient[i]) * 0.78
                   for i, a in enumerate(sphere.albedo))

    against = direction[0] * normal[0] + direction[1] * normal[1] + direction[2] * normal[2]
    bounced = tuple(direction[i] - 2.0 * against * normal[i] for i in range(3))
    grazing = (1.0 + min(0.0, against)) ** 5.0
    share = sphere.mirror if sphere.mirror else sphere.gloss * (0.35 + 0.65 * grazing)
    if share > 0.01:
        seen = trace(point, bounced, bounce + 1, sphere)[0] if bounce < 2 else sky(bounced)[0]
        if sphere.mirror:
            colour = mix(colour, tuple(s * a for s, a in zip(seen, sphere.albedo)), share)
        else:
            colour = tuple(c + s * share for c, s in zip(colour, seen))
    highlight = max(0.0, bounced[0] * SUN[0] + bounced[1] * SUN[1] + bounced[2] * SUN[2])
    shine = highlight ** (90.0 if sphere.gloss > 0.06 else 14.0) * visible * min(0.6, sphere.gloss * 6.0)
    return tuple(c + shine * SUN_COLOUR[i] for i, c in enumerate(colour))


def trace(origin, direction, bounce=0, skip=None):
    """Linear colour along a ray, and the number of the thing that was hit."""
    distance, sphere = nearest_sphere(origin, direction, skip)
    if sphere is not None and (direction[1] >= 0.0 or distance < -origin[1] / direction[1]):
        point = tuple(origin[i] + direction[i] * distance for i in range(3))
        return sphere_colour(sphere, point, direction, bounce), 1000 + SPHERES.index(sphere)
    if direction[1] < -1e-3 and origin[1] > -1e-9:
        return floor_colour(origin, direction, bounce)
    return sky(direction)


def camera_ray(x, y):
    u = (2.0 * x / WIDTH - 1.0) * HALF_WIDTH
    v = (1.0 - 2.0 * y / SCENE_HEIGHT) * HALF_WIDTH * SCENE_HEIGHT / WIDTH
    fy, fz = FORWARD[1], FORWARD[2]
    return normalise(u, fy + v * fz, fz - v * fy)


def expose(colour):
    """Film-like response, so that highlights roll off instead of clipping."""
    return tuple(linear_to_srgb(1.0 - math.exp(-1.32 * max(0.0, c))) for c in colour)


def draw_scene(canvas):
    samples = [[trace(EYE, camera_ray(x + 0.5, y + 0.5)) for x in range(WIDTH)] for y in range(SCENE_HEIGHT)]
    offsets = [(i + 0.5) / 4.0 for i in range(4)]
    for y in range(SCENE_HEIGHT):
        for x in range(WIDTH):
            colour, thing = samples[y][x]
            edge = any(samples[min(SCENE_HEIGHT - 1, max(0, y + dy))][min(WIDTH - 1, max(0, x + dx))][1] != thing
                       for dx, dy in ((-1, 0), (1, 0), (0, -1), (0, 1)))
            if edge:
                parts = [expose(trace(EYE, camera_ray(x + dx, y + dy))[0]) for dy in offsets for dx in offsets]
                shown = [sum(channel) / len(parts) for channel in zip(*parts)]
            else:
                shown = expose(colour)
            canvas.set(x, y, [to_byte(channel) for channel in shown])


# --------------------------------------------------------------------------------------
# The charts below the scene
# --------------------------------------------------------------------------------------

# Glyphs of 5 x 7, one number for each row, the leftmost pixel in bit 4.
GLYPHS = {
    'z': (0, 0, 31, 2, 4, 8, 31), 'v': (0, 0, 17, 17, 17, 10, 4), 'c': (0, 0, 14, 16, 16, 17, 14),
    'l': (12, 4, 4, 4, 4, 4, 14), 'r': (0, 0, 22, 25, 16, 16, 16), ' ': (0,) * 7,
}


def draw_text(canvas, left, top, text, scale, colour):
    for character in text:
        for row, bits in enumerate(GLYPHS[character]):
            for column in range(5):
                if bits & (16 >> column):
                    canvas.fill(left + column * scale, top + row * scale, scale, scale, colour)
        left += 6 * scale


def draw_chart(canvas, left, top):
    for index, patch in enumerate(CHART_PATCHES):
        canvas.fill(left + index % 6 * 48, top + index // 6 * 48, 40, 40, patch)


def draw_sweeps(canvas, left, top, width):
    # Hue across; down from white through the full colour to black.
    canvas.paint(left, top, width, 64, lambda u, v: hsl(u, 1.0, 1.0 - v))
    # Hue across; down from full saturation to grey.
    canvas.paint(left, top + 72, width, 32, lambda u, v: hsl(u, 1.0 - v, 0.5))
    canvas.paint(left, top + 112, width, 16, lambda u, _: grey(u))
    canvas.paint(left, top + 128, width, 16, lambda u, _: grey(math.floor(u * 16.0) / 15.0))
    # Steps of two levels at either end of the scale.
    canvas.paint(left, top + 152, width // 2, 32, lambda u, _: (int(u * 16.0) * 2,) * 3)
    canvas.paint(left + width // 2, top + 152, width // 2, 32, lambda u, _: (255 - int((1.0 - u) * 16.0) * 2,) * 3)


def draw_zone_plate(canvas, left, top, size):
    # The frequency grows with the radius and reaches the limit of the grid at the corner.
    scale = math.pi / (size * math.sqrt(2.0))

    def shader(u, v):
        x, y = (u - 0.5) * size, (v - 0.5) * size
        return grey(0.5 + 0.48 * math.cos(scale * (x * x + y * y)))

    canvas.paint(left, top, size, size, shader)


def draw_lines(canvas, left, top, width):
    y = top
    for period in (2, 3, 4, 6, 8):
        for x in range(width):
            on = x % period < (period + 1) // 2
            canvas.fill(left + x, y, 1, 12, INK if on else PANEL)
        y += 16
    # The same in colour: lines of equal lightness that only chroma tells apart.
    for period, first, second in ((4, (196, 40, 40), (20, 120, 60)), (8, (40, 70, 200), (150, 90, 20))):
        for x in range(width):
            canvas.fill(left + x, y, 1, 12, first if x % period < period // 2 else second)
        y += 16
    draw_text(canvas, left, y + 4, 'zvclr', 2, INK)
    draw_text(canvas, left, y + 26, 'zvclr zvclr z', 1, INK)
    draw_text(canvas, left, y + 42, 'zvclr', 2, (232, 84, 40))
    draw_text(canvas, left, y + 64, 'zvclr zvclr z', 1, (96, 160, 240))


def draw_picture():
    canvas = Canvas(WIDTH, HEIGHT)
    draw_scene(canvas)
    canvas.fill(0, SCENE_HEIGHT, WIDTH, HEIGHT - SCENE_HEIGHT, PANEL)
    top = SCENE_HEIGHT + 20
    draw_chart(canvas, 20, top)
    draw_sweeps(canvas, 332, top, 320)
    draw_zone_plate(canvas, 676, top, 184)
    draw_lines(canvas, 868, top, 76)
    return canvas


# --------------------------------------------------------------------------------------
# PNG
# --------------------------------------------------------------------------------------


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    return a if pa <= pb and pa <= pc else b if pb <= pc else c


def filtered_row(row, above):
    """The row by the filter with the smallest sum of absolute values."""
    left = bytes(3) + bytes(row[:-3])
    corner = bytes(3) + bytes(above[:-3])
    choices = (
        bytes(row),
        bytes((r - a) & 255 for r, a in zip(row, left)),
        bytes((r - b) & 255 for r, b in zip(row, above)),
        bytes((r - (a + b) // 2) & 255 for r, a, b in zip(row, left, above)),
        bytes((r - paeth(a, b, c)) & 255 for r, a, b, c in zip(row, left, above, corner)),
    )
    best = min(range(5), key=lambda f: sum(v if v < 128 else 256 - v for v in choices[f]))
    return bytes((best,)) + choices[best]


def write_png(path, canvas):
    data, above = bytearray(), bytes(canvas.width * 3)
    for row in canvas.rows:
        data += filtered_row(row, above)
        above = row

    def chunk(kind, body):
        return struct.pack('>I', len(body)) + kind + body + struct.pack('>I', zlib.crc32(kind + body))

    header = struct.pack('>IIBBBBB', canvas.width, canvas.height, 8, 2, 0, 0, 0)
    with open(path, 'wb') as file:
        file.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', header) + chunk(b'sRGB', b'\0')
                   + chunk(b'IDAT', zlib.compress(bytes(data), 9)) + chunk(b'IEND', b''))


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith('-'):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    write_png(sys.argv[1], draw_picture())
    return 0


if __name__ == '__main__':
    sys.exit(main())
