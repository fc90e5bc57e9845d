#!/usr/bin/env python3
"""Writes the example documents of this folder.

    python3 make_examples.py [FOLDER]     into FOLDER, or beside this script
    python3 make_examples.py --check      writes nothing; fails if a document beside this script is not what it would write

Python 3, standard library only. Identifiers come from the name of the document and a running number, so that two runs
write the same bytes.

    welcome              a project board: cards rise, a button is pressed, a panel opens, a switch brings it to life
    shapes-and-strokes   rectangles, ellipses and free paths with every kind of stroke
    shadows-and-glow     the shadow presets, and pulses that glow and bounce
    groups-and-stacks    stacks that make room, gaps that open, groups that turn
    zoom                 the camera: a span that zooms, one that cuts, and a zoom that pans while it lasts
    effects-and-easing   how layers come and go, and how they move in between
"""
import hashlib
import json
import math
import sys
import uuid
from pathlib import Path

MAGIC = b'LKS\x00'

# ---------------------------------------------------------------- records


def color(text, alpha=1):
    """`#5B5BF0` as a colour of the format."""
    r, g, b = (round(int(text[i:i + 2], 16) / 255, 4) for i in (1, 3, 5))
    return {'r': r, 'g': g, 'b': b, 'a': alpha}


CLEAR = {'r': 0, 'g': 0, 'b': 0, 'a': 0}
PROPERTY_VALUE = {'fill': 'color', 'stroke': 'color', 'textColor': 'color', 'shadow': 'shadow',
                  'cursorVariant': 'cursor', 'fontName': 'fontName'}


def cubic(x1, y1, x2, y2):
    return {'cubic': {'x1': x1, 'y1': y1, 'x2': x2, 'y2': y2}}


def spring(stiffness, damping):
    return {'spring': {'stiffness': stiffness, 'damping': damping}}


LINEAR, EASE_IN, EASE_OUT, EASE_IN_OUT = ({name: {}} for name in ('linear', 'easeIn', 'easeOut', 'easeInOut'))
ARRIVE = cubic(0.16, 1, 0.3, 1)    # fast, then a long settling: for what comes in
TRAVEL = cubic(0.6, 0, 0.2, 1)     # slow at both ends, for what crosses the picture
CAMERA = cubic(0.65, 0, 0.35, 1)   # even, unhurried
LIVELY = spring(6, 3.2)            # one overshoot of some 7 percent


def move_to(x, y):
    return {'moveTo': {'_0': [x, y]}}


def line_to(x, y):
    return {'lineTo': {'_0': [x, y]}}


def curve_to(c1, c2, end):
    return {'curveTo': {'c1': list(c1), 'c2': list(c2), 'end': list(end)}}


CLOSE = {'close': {}}


class Maker:
    """Makes the records of one document, each with every key of the format."""

    def __init__(self, document):
        self.document = document
        self.count = 0

    def id(self):
        self.count += 1
        digest = hashlib.sha256(f'{self.document} {self.count}'.encode()).digest()
        return str(uuid.UUID(bytes=digest[:16], version=4)).upper()

    def layer(self, kind, name, x=0, y=0, width=0, height=0, moves=(), anchor=(0.5, 0.5), rotation=0, scale=1, **fields):
        """A layer at (x, y). `moves` are lists of keyframes, one for each property that moves (see `move`)."""
        layer = {
            'id': self.id(), 'name': name, 'kind': kind, 'size': [width, height],
            'transform': {'x': x, 'y': y, 'rotation': rotation, 'scaleX': scale, 'scaleY': scale,
                          'anchorX': anchor[0], 'anchorY': anchor[1]},
            'keyframes': [key for keys in moves for key in keys],
            'fill': CLEAR, 'stroke': color('#000000'), 'strokeWidth': 0, 'strokeOutside': False,
            'perSideStroke': False, 'strokeWidthTop': 0, 'strokeWidthRight': 0, 'strokeWidthBottom': 0, 'strokeWidthLeft': 0,
            'opacity': 1, 'cornerRadius': 0, 'path': [], 'shadow': 'none', 'isHidden': False, 'isLocked': False,
            'children': [], 'spans': [], 'pulses': [],
            'groupLayout': 'freeform', 'groupGap': 8, 'groupSizeMode': 'dynamic', 'groupFixedLocked': True,
            'groupAlignment': 'start', 'zoomType': 'fullScreen', 'pipRendition': False,
            'blackKey': False, 'blackKeyInsetX': 0, 'blackKeyInsetY': 0, 'cropMode': 'none', 'cropRect': [[0, 0], [1, 1]],
            'gradientWarpSpeed': 1, 'gradientPulseAmount': 0.5,
            'videoURL': '', 'videoDuration': 0,
            'videoClip': {'id': self.id(), 'sceneStart': 0, 'sceneEnd': 0, 'sourceStart': 0, 'endBehavior': 'end'},
            'cursorVariant': 'arrow', 'nameFollowsCursorVariant': False, 'nameFollowsText': False,
            'nameFollowsLineShape': False, 'nameFollowsShape': False,
            'text': 'Text', 'fontSize': 32, 'fontName': '', 'textColor': color('#000000'), 'textAutoFit': True,
            'textColorHarmonize': False, 'textUserResized': False, 'textPadX': 0, 'textPadY': 0,
            'textAlignment': 'center', 'textVerticalAlignment': 'center', 'textCursorBlinks': False,
            'lineShape': 'freeform', 'lineArcBend': 0.5, 'lineArcReversed': False, 'lineWaveFrequency': 3,
            'lineWaveAmplitude': 0.6, 'linePoints': [], 'lineArrowStart': False, 'lineArrowEnd': False, 'lineCurved': False,
        }
        unknown = set(fields) - set(layer)
        assert not unknown, unknown
        layer.update(fields)
        return layer

    def rectangle(self, name, x, y, width, height, fill, radius=0, moves=(), **fields):
        return self.layer('rectangle', name, x, y, width, height, moves, fill=fill, cornerRadius=radius, **fields)

    def bar(self, name, x, y, width, height, fill, moves=(), **fields):
        """A rectangle with round ends: it stands where a finished design has words."""
        return self.rectangle(name, x, y, width, height, fill, height / 2, moves, **fields)

    def ellipse(self, name, x, y, width, height, fill, moves=(), **fields):
        return self.layer('ellipse', name, x, y, width, height, moves, fill=fill, **fields)

    def path(self, name, x, y, width, height, commands, fill, moves=(), **fields):
        return self.layer('path', name, x, y, width, height, moves, path=commands, fill=fill, **fields)

    def group(self, name, x, y, width, height, children, moves=(), **fields):
        return self.layer('group', name, x, y, width, height, moves, children=children, **fields)

    def soft_shadow(self, width, height, radius, preset, strength, moves=(), x=0, y=0, after=None):
        """A shadow of less than the preset's strength: a faint copy of the shape that goes behind it. With `after`, the shadow
        falls only then: one that lies below a shape which is still fading in would make it grey."""
        fall = [self.move('opacity', 0, (after, after + 0.35, strength, EASE_OUT))] if after is not None else []
        return self.rectangle('Shadow', x, y, width, height, color('#FFFFFF'), radius, [*moves, *fall], shadow=preset, opacity=strength)

    def move(self, prop, at_first, *steps):
        """Keyframes of one property. It has the value `at_first` until the first step, and each step is (from when, until
        when, value, easing); between two steps the value holds."""
        first = steps[0][0]
        keys = [self.key(prop, first, at_first)]
        for begin, end, value, easing in steps:
            last = keys[-1]
            last['wait'] = round(begin - last['time'], 6)
            last['easing'] = easing
            keys.append(self.key(prop, end, value))
        return keys

    def key(self, prop, time, value):
        return {'id': self.id(), 'property': prop, 'time': round(time, 6), 'easing': EASE_IN_OUT, 'wait': 0,
                'value': {PROPERTY_VALUE.get(prop, 'number'): {'_0': value}}}

    def span(self, start, end, *effects, zoom_start='zoom', zoom_end='zoom'):
        return {'id': self.id(), 'start': round(start, 6), 'end': round(end, 6), 'zoomStart': zoom_start, 'zoomEnd': zoom_end,
                'cursorBlinkRanges': [],
                'effects': [{'id': self.id(), 'kind': kind, 'duration': seconds, 'reversed': False} for kind, seconds in effects]}

    def pulse(self, time, *effects):
        return {'id': self.id(), 'time': round(time, 6), 'effects': sorted(effects)}

    def scene(self, name, width, height, duration, background, layers):
        return {'id': self.id(), 'name': name, 'width': width, 'height': height, 'fps': 60, 'duration': duration,
                'endPause': 0, 'background': background, 'layers': layers}


def document(*scenes):
    return {'version': 2, 'scenes': list(scenes), 'activeSceneIndex': 0}


def plain(value):
    """Whole numbers without a fraction, however they came about."""
    if isinstance(value, float):
        value = round(value, 6)
        return int(value) if value == int(value) else value
    if isinstance(value, dict):
        return {key: plain(item) for key, item in value.items()}
    if isinstance(value, list):
        return [plain(item) for item in value]
    return value


def encoded(doc):
    return MAGIC + json.dumps(plain(doc), indent=2, sort_keys=True, ensure_ascii=False, allow_nan=False).encode('utf-8')


# ---------------------------------------------------------------- a palette and some drawings

PAPER, WHITE, INK = color('#EDEFF7'), color('#FFFFFF'), color('#232741')
STRONG, SOFT, FAINT = color('#C4C9DB'), color('#DDE1EC'), color('#EDF0F6')
EDGE, WASH = color('#E6E9F2'), color('#F7F8FC')
ACCENT, PRESSED, TINT = color('#5B5BF0'), color('#4340CE'), color('#ECECFE')
CORAL, MINT, AMBER, SKY, VIOLET = (color(c) for c in ('#FF8E72', '#34C79A', '#FFC062', '#56B4FC', '#A58BFA'))
CORAL_TINT, MINT_TINT, AMBER_TINT, SKY_TINT, VIOLET_TINT = (
    color(c) for c in ('#FFEDE8', '#E0F6EF', '#FFF3E0', '#E4F3FF', '#F1EDFE'))


def arrow_path():
    """A pointer, 24 by 36, with its tip at the origin."""
    points = [(0, 0), (0, 29), (6.8, 22.6), (11.6, 33.4), (16.6, 31.2), (11.9, 20.6), (21.2, 20.2)]
    return [move_to(*points[0])] + [line_to(*p) for p in points[1:]] + [CLOSE]


def plus_path(side, thickness):
    a, b = (side - thickness) / 2, (side + thickness) / 2
    corners = [(a, 0), (b, 0), (b, a), (side, a), (side, b), (b, b), (b, side), (a, side), (a, b), (0, b), (0, a), (a, a)]
    return [move_to(*corners[0])] + [line_to(*p) for p in corners[1:]] + [CLOSE]


def chart_path(side):
    """Three standing bars."""
    bar, commands = side * 0.22, []
    for n, tall in enumerate((0.5, 1, 0.72)):
        left, top = n * (side - bar) / 2, side * (1 - tall)
        corners = [(left, top), (left + bar, top), (left + bar, side), (left, side)]
        commands += [move_to(*corners[0])] + [line_to(*p) for p in corners[1:]] + [CLOSE]
    return commands


def wing_path():
    """A bird on the wing, 24 by 20."""
    return [move_to(0, 3), curve_to((6, 1), (11, 4), (13, 9)), curve_to((15, 4), (19, 0), (24, 0)),
            curve_to((22, 10), (17, 19), (10, 20)), curve_to((11, 16), (10, 13), (7, 11)), curve_to((3, 9), (1, 6), (0, 3)), CLOSE]


def glow_rings(m, name, x, y, radius, tint, rings, alpha):
    """A wide soft light: discs of one faint colour, each within the one before."""
    return m.group(name, 0, 0, radius * 2, radius * 2, [
        m.ellipse(f'{name} {n + 1}', x - r, y - r, r * 2, r * 2, dict(tint, a=alpha))
        for n in range(rings) for r in [radius * (rings - n) / rings]])


# ---------------------------------------------------------------- welcome

WINDOW = (200, 100, 1520, 880)
LIST = (280, 208, 1192, 112, 128)   # x, y, width, height of a row, distance to the next
NARROW = 720
PANEL = (1032, 136, 440, 696)
PRESS, FOLD, OPEN, SWITCH = 2.0, 2.06, 2.2, 4.5


def welcome_backdrop(m):
    return m.group('Backdrop', 0, 0, 1920, 1080, [
        glow_rings(m, 'Cool light', 260, 980, 760, color('#8080FF'), 13, 0.0157),
        glow_rings(m, 'Warm light', 1700, 60, 680, color('#FFBFA0'), 13, 0.0157),
    ])


def welcome_sidebar(m):
    rows = []
    for n, width in enumerate((96, 120, 80, 112, 88)):
        chosen = n == 1
        mark = ACCENT if chosen else STRONG
        icon = (m.ellipse if n in (0, 3) else m.rectangle)('Icon', 16, 14, 20, 20, mark, **({} if n in (0, 3) else {'radius': 6}))
        rows.append(m.group(f'Entry {n + 1}', 0, 0, 184, 48, [
            m.rectangle('Back', 0, 0, 184, 48, TINT if chosen else dict(WASH, a=0), 12),
            icon, m.bar('Name', 52, 18, width, 12, ACCENT if chosen else STRONG, opacity=0.72 if chosen else 1)]))
    return m.group('Sidebar', 0, 0, 232, 880, [
        m.path('Pane', 0, 0, 232, 880, [
            move_to(28, 0), line_to(232, 0), line_to(232, 880), line_to(28, 880), curve_to((12.5, 880), (0, 867.5), (0, 852)),
            line_to(0, 28), curve_to((0, 12.5), (12.5, 0), (28, 0)), CLOSE], WASH),
        m.rectangle('Divider', 231, 0, 1, 880, EDGE),
        m.group('Mark', 32, 40, 160, 40, [
            m.rectangle('Tile', 0, 0, 40, 40, ACCENT, 12),
            m.path('Lark', 8, 10, 24, 20, wing_path(), WHITE),
            m.bar('Name', 56, 12, 88, 16, INK)]),
        m.group('Entries', 24, 128, 184, 272, rows, groupLayout='vertical', groupGap=8),
        m.group('Person', 32, 792, 168, 48, [
            m.ellipse('Face', 0, 0, 48, 48, AMBER),
            m.ellipse('Head', 16, 10, 16, 16, WHITE), m.bar('Shoulders', 11, 29, 26, 12, WHITE),
            m.bar('Name', 64, 10, 88, 12, STRONG), m.bar('Role', 64, 30, 56, 8, SOFT)]),
    ])


def welcome_button(m):
    dip = [m.move(p, 1, (PRESS - 0.08, PRESS + 0.04, 0.94, EASE_OUT), (PRESS + 0.1, PRESS + 0.7, 1, LIVELY)) for p in ('scaleX', 'scaleY')]
    tone = m.move('fill', ACCENT, (PRESS - 0.08, PRESS + 0.04, PRESSED, EASE_OUT), (PRESS + 0.2, PRESS + 0.7, ACCENT, EASE_IN_OUT))
    return m.group('Button', 1296, 48, 176, 56, [
        m.rectangle('Light', 0, 0, 176, 56, ACCENT, 16, opacity=0.5, pulses=[m.pulse(PRESS, 'glow')]),
        m.rectangle('Back', 0, 0, 176, 56, ACCENT, 16, [tone]),
        m.path('Chart', 28, 19, 18, 18, chart_path(18), WHITE),
        m.bar('Label', 60, 22, 88, 12, WHITE)], dip)


def welcome_header(m):
    filters = [m.group(f'Filter {n + 1}', 0, 0, width, 40, [
        m.rectangle('Back', 0, 0, width, 40, INK if n == 0 else WHITE, 20, stroke=EDGE, strokeWidth=0 if n == 0 else 1.5),
        m.bar('Name', 20, 15, width - 40, 10, WHITE if n == 0 else STRONG)]) for n, width in enumerate((96, 120, 104))]
    return m.group('Header', 0, 0, 1520, 176, [
        m.bar('Title', 280, 52, 232, 24, INK), m.bar('Subtitle', 280, 90, 344, 12, STRONG),
        m.group('Filters', 280, 136, 336, 40, filters, groupLayout='horizontal', groupGap=8),
        welcome_button(m)])


def welcome_card(m, n):
    tone, tint = [(CORAL, CORAL_TINT), (ACCENT, TINT), (MINT, MINT_TINT), (AMBER, AMBER_TINT), (SKY, SKY_TINT)][n]
    x, y, wide, height, pitch = LIST
    rise, fold = 0.5 + 0.09 * n, FOLD + 0.025 * n
    top = y + pitch * n

    def follow(prop, at_first, value):
        return [m.move(prop, at_first, (fold, fold + 0.75, value, ARRIVE))]

    def fade(until):
        return [m.move('opacity', 1, (PRESS - 0.04, PRESS + 0.14, until, EASE_OUT))]

    shrink = NARROW - wide
    share = (0.72, 0.4, 0.88, 0.56, 0.24)[n]
    chosen = n == 1
    edge = m.move('stroke', EDGE, (fold, fold + 0.4, ACCENT if chosen else EDGE, EASE_OUT))
    edge_width = m.move('strokeWidth', 1.5, (fold, fold + 0.4, 2 if chosen else 1.5, EASE_OUT))
    return m.group(f'Card {n + 1}', x, top, wide, height, [
        m.soft_shadow(wide, height, 20, 'low', 0.26, follow('width', wide, NARROW), after=rise + 0.25),
        m.rectangle('Back', 0, 0, wide, height, WHITE, 20, follow('width', wide, NARROW) + [edge, edge_width], stroke=EDGE, strokeWidth=1.5),
        m.rectangle('Tile', 24, 24, 64, 64, tint, 18),
        m.ellipse('Sign', 44, 44, 24, 24, tone) if n % 2 == 0 else m.rectangle('Sign', 44, 44, 24, 24, tone, 7),
        m.bar('Name', 112, 32, (216, 184, 248, 168, 200)[n], 16, INK),
        m.bar('Note', 112, 64, (152, 208, 136, 192, 120)[n], 12, SOFT),
        m.group('Progress', 520, 50, 280, 12, [
            m.bar('Track', 0, 0, 280, 12, FAINT, fade(0)),
            m.bar('Done', 0, 0, 280 * share, 12, tone,
                  [m.move('width', 12, (rise + 0.35, rise + 1.25, 280 * share, ARRIVE))] + fade(0))]),
        m.group('People', 0, 0, 1, 1, [
            m.ellipse(f'Face {k + 1}', 880 + 28 * k, 38, 36, 36, face, fade(0), stroke=WHITE, strokeWidth=3, strokeOutside=True)
            for k, face in enumerate([(VIOLET, SKY, AMBER), (CORAL, MINT), (AMBER, VIOLET), (SKY, CORAL, MINT), (MINT, VIOLET)][n])]),
        m.group('State', wide - 120, 40, 96, 32, [
            m.bar('Back', 0, 0, 96, 32, tint), m.bar('Word', 20, 11, 56, 10, tone)], follow('x', wide - 120, wide - 120 + shrink)),
    ], [m.move('y', top + 72, (rise, rise + 0.9, top, ARRIVE)), m.move('opacity', 0, (rise, rise + 0.3, 1, EASE_OUT))])


def welcome_panel(m):
    x, y, width, height = PANEL

    def come_in(name, at, px, py, w, h, children):
        """A part of the panel that rises into place at its turn."""
        return m.group(name, px, py, w, h, children,
                       [m.move('y', py + 28, (at, at + 0.7, py, ARRIVE)), m.move('opacity', 0, (at, at + 0.3, 1, EASE_OUT))])

    start = OPEN + 0.1
    face = come_in('Person', start, 32, 32, 376, 64, [
        m.rectangle('Tile', 0, 0, 64, 64, TINT, 20),
        m.rectangle('Sign', 20, 20, 24, 24, ACCENT, 7),
        m.ellipse('Badge', 52, 52, 16, 16, STRONG, [m.move('fill', STRONG, (SWITCH + 0.1, SWITCH + 0.3, MINT, EASE_OUT))],
                  stroke=WHITE, strokeWidth=4, strokeOutside=True, pulses=[m.pulse(SWITCH + 0.1, 'scale')]),
        m.bar('Name', 88, 12, 168, 18, INK), m.bar('Note', 88, 42, 112, 12, SOFT),
        m.ellipse('Close', 336, 12, 40, 40, WASH),
        m.path('Cross', 349, 25, 14, 14, plus_path(14, 2.5), STRONG, rotation=45)])
    heights, first = (56, 88, 72, 112, 96, 136, 120), start + 0.2
    chart = come_in('Chart', start + 0.1, 32, 144, 376, 240, [
        m.bar('Label', 0, 4, 96, 12, SOFT), m.bar('Value', 0, 32, 136, 24, INK),
        m.group('Change', 152, 32, 72, 24, [m.bar('Back', 0, 0, 72, 24, MINT_TINT), m.bar('Word', 16, 8, 40, 8, MINT)])] + [
        m.rectangle(f'Day {n + 1}', 56 * n, 240 - tall, 40, tall, color('#DFDFFC'), 10, [
            m.move('height', 12, (first + 0.05 * n, first + 0.05 * n + 0.9, tall, LIVELY)),
            m.move('y', 228, (first + 0.05 * n, first + 0.05 * n + 0.9, 240 - tall, LIVELY))] + (
                [m.move('fill', color('#DFDFFC'), (first + 0.05 * n + 0.35, first + 0.05 * n + 0.75, ACCENT, EASE_IN_OUT))] if n == 5 else []))
        for n, tall in enumerate(heights)])
    tiles = [come_in(f'Figure {n + 1}', start + 0.24 + 0.08 * n, 32 + 196 * n, 408, 180, 96, [
        m.rectangle('Back', 0, 0, 180, 96, WASH, 16), m.rectangle('Tile', 16, 16, 32, 32, tint, 10),
        m.ellipse('Sign', 26, 26, 12, 12, tone), m.bar('Name', 64, 27, 72, 10, STRONG), m.bar('Value', 16, 64, width, 16, INK)])
        for n, (tone, tint, width) in enumerate(((CORAL, CORAL_TINT, 104), (SKY, SKY_TINT, 80)))]
    switch = come_in('Switch row', start + 0.42, 32, 536, 376, 40, [
        m.rectangle('Tile', 0, 0, 40, 40, VIOLET_TINT, 12), m.bar('Sign', 11, 17, 18, 6, VIOLET),
        m.bar('Name', 56, 6, 128, 12, INK), m.bar('Note', 56, 26, 168, 8, SOFT),
        m.group('Switch', 320, 4, 56, 32, [
            m.bar('Track', 0, 0, 56, 32, SOFT, [m.move('fill', SOFT, (SWITCH, SWITCH + 0.25, ACCENT, EASE_IN_OUT))]),
            m.soft_shadow(24, 24, 12, 'low', 0.5, [m.move('x', 4, (SWITCH, SWITCH + 0.5, 28, LIVELY))], 4, 4),
            m.ellipse('Knob', 4, 4, 24, 24, WHITE, [m.move('x', 4, (SWITCH, SWITCH + 0.5, 28, LIVELY))])])])
    wake = SWITCH + 0.15
    action = come_in('Action', start + 0.5, 32, 608, 376, 56, [
        m.rectangle('Light', 0, 0, 376, 56, ACCENT, 16, [m.move('opacity', 0, (wake, wake + 0.2, 0.5, EASE_OUT))],
                    opacity=0, pulses=[m.pulse(wake, 'glow')]),
        m.rectangle('Back', 0, 0, 376, 56, FAINT, 16, [m.move('fill', FAINT, (wake, wake + 0.35, ACCENT, EASE_IN_OUT))]),
        m.bar('Label', 132, 22, 112, 12, STRONG, [m.move('fill', STRONG, (wake, wake + 0.35, WHITE, EASE_IN_OUT))])])
    return m.group('Panel', x, y, width, height, [
        m.soft_shadow(width, height, 24, 'high', 0.3, after=OPEN + 0.12), m.soft_shadow(width, height, 24, 'low', 0.25, after=OPEN + 0.12),
        m.rectangle('Back', 0, 0, width, height, WHITE, 24, stroke=EDGE, strokeWidth=1.5),
        m.rectangle('Divider', 32, 120, 376, 1, EDGE), face, chart, *tiles, switch, action,
    ], [m.move('x', x + 40, (OPEN, OPEN + 0.8, x, ARRIVE)), m.move('opacity', 0, (OPEN, OPEN + 0.15, 1, EASE_OUT))],
        spans=[m.span(OPEN, 7)])


def welcome_pointer(m):
    """Comes in from below, presses the button, then the switch, and steps aside. Its two axes ease differently, so that it
    swings rather than slides along a ruler."""
    button, switch, aside = (1590, 182), (1593, 801), (1556, 880)
    taps = [(PRESS - 0.1, PRESS), (SWITCH - 0.1, SWITCH)]
    tap = [(step, end) for a, b in taps for step, end in (((a, b, 0.84, EASE_OUT), None), ((b, b + 0.25, 1, EASE_IN_OUT), None))]
    steps = [step for step, _ in tap]
    return m.path('Pointer', *button, 24, 36, arrow_path(), INK, [
        m.move('x', 1180, (1.0, 1.86, button[0], TRAVEL), (3.5, 4.36, switch[0], TRAVEL), (5.15, 5.9, aside[0], TRAVEL)),
        m.move('y', 1120, (1.0, 1.86, button[1], cubic(0.4, 0, 0.1, 1)), (3.5, 4.36, switch[1], CAMERA), (5.15, 5.9, aside[1], CAMERA)),
        m.move('scaleX', 1, *steps), m.move('scaleY', 1, *steps)],
        anchor=(0, 0), stroke=WHITE, strokeWidth=2.5, strokeOutside=True, shadow='low')


def welcome_camera(m):
    x, y, width, height = 576, 206, 1344, 756
    into, out = (2.9, 4.2), (5.3, 6.5)
    return m.layer('zoom', 'Camera', x, y, width, height, [
        m.move(prop, whole, (*into, near, CAMERA), (*out, whole, CAMERA))
        for prop, whole, near in (('x', 0, x), ('y', 0, y), ('width', 1920, width), ('height', 1080, height))],
        spans=[m.span(into[0], out[1], zoom_start='none', zoom_end='none')])


def make_welcome():
    m = Maker('welcome')
    x, y, width, height = WINDOW
    window = m.group('Window', x, y, width, height, [
        m.soft_shadow(width, height, 28, 'high', 0.42, after=0.2), m.soft_shadow(width, height, 28, 'low', 0.3, after=0.2),
        m.rectangle('Back', 0, 0, width, height, WHITE, 28),
        welcome_sidebar(m), welcome_header(m),
        m.group('Cards', 0, 0, width, height, [welcome_card(m, n) for n in range(5)]),
        welcome_panel(m),
    ], [m.move('y', y + 56, (0, 0.9, y, ARRIVE)), m.move('opacity', 0, (0, 0.25, 1, EASE_OUT))])
    return document(m.scene('Welcome', 1920, 1080, 7, PAPER, [welcome_backdrop(m), window, welcome_pointer(m), welcome_camera(m)]))


# ---------------------------------------------------------------- shapes and strokes

def star_path(points, outer, inner):
    corners = []
    for n in range(points * 2):
        r, angle = (outer if n % 2 == 0 else inner), math.pi * n / points - math.pi / 2
        corners.append((round(outer + r * math.cos(angle), 3), round(outer + r * math.sin(angle), 3)))
    return [move_to(*corners[0])] + [line_to(*c) for c in corners[1:]] + [CLOSE]


def petal_path(side):
    """Four leaves that meet in the middle of a square."""
    s, h = side, side / 2
    commands = [move_to(h, h)]
    for ax, ay, bx, by in ((0, 0, s, 0), (s, 0, s, s), (s, s, 0, s), (0, s, 0, 0)):
        commands.append(curve_to((ax, ay), (bx, by), (h, h)))
    return commands + [CLOSE]


def make_shapes():
    m = Maker('shapes-and-strokes')
    cells = [(96 + 288 * (n % 4), 96 + 288 * (n // 4)) for n in range(8)]

    def breathe(prop, at_first, value, n):
        begin = 0.2 + 0.1 * n
        return [m.move(prop, at_first, (begin, begin + 1, value, TRAVEL), (begin + 1.2, begin + 2.2, at_first, TRAVEL))]

    side = 224
    shapes = [
        m.rectangle('Stroke inside', *cells[0], side, side, TINT, 32, breathe('strokeWidth', 4, 40, 0), stroke=ACCENT, strokeWidth=4),
        m.rectangle('Stroke outside', cells[1][0] + 16, cells[1][1] + 16, 192, 192, CORAL_TINT, 16,
                    breathe('cornerRadius', 16, 96, 1), stroke=CORAL, strokeWidth=12, strokeOutside=True),
        m.rectangle('A width for each side', *cells[2], side, side, MINT_TINT, 28, breathe('cornerRadius', 28, 80, 2), stroke=MINT,
                    perSideStroke=True, strokeWidthTop=4, strokeWidthRight=12, strokeWidthBottom=28, strokeWidthLeft=12),
        m.rectangle('Sides outside', cells[3][0] + 16, cells[3][1] + 8, 192, 192, AMBER_TINT, 24, breathe('rotation', 0, 90, 3),
                    stroke=AMBER, perSideStroke=True, strokeOutside=True, strokeWidthTop=4, strokeWidthRight=16, strokeWidthBottom=16, strokeWidthLeft=4),
        m.ellipse('Ring', *cells[4], side, side, CLEAR, breathe('strokeWidth', 12, 72, 4), stroke=SKY, strokeWidth=12),
        m.ellipse('Wide and low', cells[5][0], cells[5][1] + 48, side, 128, VIOLET_TINT,
                  breathe('height', 128, side, 5) + breathe('y', cells[5][1] + 48, cells[5][1], 5), stroke=VIOLET, strokeWidth=10, strokeOutside=True),
        m.path('Star', *cells[6], side, side, star_path(6, 112, 64), AMBER, breathe('rotation', 0, 120, 6), stroke=color('#F29C38'), strokeWidth=10),
        m.path('Leaves', *cells[7], side, side, petal_path(side), dict(CORAL, a=0.85), breathe('rotation', 0, -90, 7),
               stroke=color('#E0684C'), strokeWidth=4, strokeOutside=True),
    ]
    return document(m.scene('Shapes and strokes', 1280, 704, 4, WASH, shapes))


# ---------------------------------------------------------------- shadows and glow

def make_shadows():
    m = Maker('shadows-and-glow')
    cards = []
    for n, (preset, tone) in enumerate((('none', SKY), ('low', MINT), ('medium', ACCENT), ('high', CORAL))):
        x = 96 + 280 * n
        cards.append(m.group(f'Card {n + 1}', x, 88, 248, 304, [
            m.rectangle('Back', 0, 0, 248, 304, WHITE, 28, shadow=preset),
            m.rectangle('Picture', 24, 24, 200, 136, tone, 16, opacity=0.9),
            m.bar('Name', 24, 192, 136, 16, INK), m.bar('Note', 24, 224, 184, 10, SOFT), m.bar('More', 24, 248, 120, 10, SOFT),
        ], [m.move('y', 88, (0.3 + 0.12 * n, 0.9 + 0.12 * n, 64, EASE_OUT), (1.1 + 0.12 * n, 1.9 + 0.12 * n, 88, LIVELY))]))
    lights = [m.ellipse(f'Light {n + 1}', 156 + 280 * n, 456, 128, 128, tone, pulses=[m.pulse(0.6 + 0.5 * n, *effects)])
              for n, (tone, effects) in enumerate(((SKY, ('glow',)), (MINT, ('scale',)), (ACCENT, ('glow', 'scale')), (CORAL, ('glow', 'scale'))))]
    lifted = m.rectangle('Lifted', 556, 648, 168, 24, WHITE, 12,
                         [[m.key('shadow', 0, 'none'), m.key('shadow', 1, 'low'), m.key('shadow', 2, 'medium'), m.key('shadow', 3, 'high')]])
    return document(m.scene('Shadows and glow', 1280, 720, 4, PAPER, cards + lights + [lifted]))


# ---------------------------------------------------------------- groups and stacks

def make_groups():
    m = Maker('groups-and-stacks')

    def swell(prop, small, large, begin):
        return [m.move(prop, small, (begin, begin + 0.7, large, TRAVEL), (begin + 1.1, begin + 1.8, small, TRAVEL))]

    tones = (ACCENT, CORAL, MINT, AMBER, SKY)
    row = m.group('A row that makes room', 96, 88, 760, 96, [
        m.rectangle(f'Part {n + 1}', 0, 0, 96, 96, tone, 20, swell('width', 96, 240, 0.2 + 0.45 * n)) for n, tone in enumerate(tones)],
        groupLayout='horizontal', groupGap=16)
    column = m.group('A column that opens', 96, 264, 400, 360, [
        m.rectangle(f'Line {n + 1}', 0, 0, width, 48, tone, 14) for n, (tone, width) in enumerate(zip(tones, (400, 288, 344, 232, 312)))],
        swell('groupGap', 8, 32, 0.6), groupLayout='vertical', groupGap=8)
    centred = m.group('A column about its middle', 592, 280, 240, 336, [
        m.rectangle(f'Line {n + 1}', 0, 0, width, 40, INK, 20, swell('width', width, 272 - width, 0.3 + 0.15 * n), opacity=0.9 - 0.12 * n)
        for n, width in enumerate((240, 176, 112, 176, 240))], groupLayout='vertical', groupGap=24, groupAlignment='center')
    petals = [m.ellipse(f'Petal {n + 1}', x, y, 112, 112, tone, opacity=0.9)
              for n, (tone, x, y) in enumerate(zip(tones, (64, 128, 64, 0), (0, 64, 128, 64)))]
    flower = m.group('A group that turns', 952, 320, 240, 240, petals + [m.ellipse('Middle', 92, 92, 56, 56, WHITE)], [
        m.move('rotation', 0, (0, 4, 360, EASE_IN_OUT)),
        *[m.move(prop, 0.8, (0.2, 1.6, 1.1, TRAVEL), (2.2, 3.6, 0.8, TRAVEL)) for prop in ('scaleX', 'scaleY')]])
    return document(m.scene('Groups and stacks', 1280, 720, 4, WASH, [row, column, centred, flower]))


# ---------------------------------------------------------------- zoom

def make_zoom():
    m = Maker('zoom')
    tones = (ACCENT, CORAL, MINT, AMBER, SKY, VIOLET)
    tints = (TINT, CORAL_TINT, MINT_TINT, AMBER_TINT, SKY_TINT, VIOLET_TINT)
    tiles = []
    for n in range(6):
        children = [m.rectangle('Back', 0, 0, 352, 272, WHITE, 24, shadow='low', stroke=EDGE, strokeWidth=1.5),
                    m.rectangle('Tile', 24, 24, 48, 48, tints[n], 14), m.ellipse('Sign', 38, 38, 20, 20, tones[n]),
                    m.bar('Name', 88, 32, 136, 14, INK), m.bar('Note', 88, 56, 96, 10, SOFT)]
        children += [m.rectangle(f'Bar {k + 1}', 24 + 44 * k, 248 - tall, 32, tall, tones[n] if k == n else tints[n], 8)
                     for k, tall in enumerate((56, 96, 72, 128, 104, 88, 112))]
        tiles.append(m.group(f'Tile {n + 1}', 64 + 400 * (n % 3), 56 + 336 * (n // 3), 352, 272, children))
    zooms = [
        m.layer('zoom', 'Eases in and out', 368, 39, 544, 306, spans=[m.span(0.4, 2)]),
        m.layer('zoom', 'Cuts in and out', 720, 370, 560, 315, spans=[m.span(2.3, 3.1, zoom_start='none', zoom_end='none')]),
        m.layer('zoom', 'Pans while it lasts', 0, 380, 528, 297, [m.move('x', 0, (3.8, 5.2, 752, CAMERA))],
                spans=[m.span(3.3, 5.7, zoom_end='none')]),
    ]
    return document(m.scene('Zoom', 1280, 720, 6, PAPER, tiles + zooms))


# ---------------------------------------------------------------- effects and easing

def make_effects():
    m = Maker('effects-and-easing')
    pairs = (('fadeIn', 'fadeOut'), ('popIn', 'popOut'), ('bounceIn', 'bounceOut'), ('slideInLeft', 'slideOutRight'),
             ('slideInTop', 'slideOutBottom'), ('slideInRight', 'slideOutLeft'), ('slideInBottom', 'slideOutTop'))
    tones = (ACCENT, CORAL, MINT, AMBER, SKY, VIOLET, INK)
    comers = [m.rectangle(f'{into} and {out}', 88 + 160 * n, 80, 144, 144, tones[n], 32,
                          spans=[m.span(0.2 + 0.08 * n, 3.4 + 0.08 * n, (into, 0.6), (out, 0.5))])
              for n, (into, out) in enumerate(pairs)]
    curves = (('Linear', LINEAR), ('Ease in', EASE_IN), ('Ease out', EASE_OUT), ('Ease in and out', EASE_IN_OUT),
              ('Arrive', ARRIVE), ('Spring', LIVELY))
    runners = []
    for n, (name, easing) in enumerate(curves):
        y = 288 + 64 * n
        runners.append(m.bar(f'{name} track', 88, y + 18, 1104, 12, SOFT))
        runners.append(m.ellipse(name, 88, y, 48, 48, tones[n], [
            m.move('x', 88, (0.4, 1.6, 1144, easing), (2.2, 3.4, 88, easing))], stroke=WHITE, strokeWidth=4, strokeOutside=True))
    return document(m.scene('Effects and easing', 1280, 720, 4, WASH, comers + runners))


EXAMPLES = {'welcome': make_welcome, 'shapes-and-strokes': make_shapes, 'shadows-and-glow': make_shadows,
            'groups-and-stacks': make_groups, 'zoom': make_zoom, 'effects-and-easing': make_effects}


def main(arguments):
    here = Path(__file__).parent
    files = {f'{name}.larkspool': encoded(make()) for name, make in EXAMPLES.items()}
    if arguments == ['--check']:
        stale = [name for name, data in files.items() if not (here / name).is_file() or (here / name).read_bytes() != data]
        if stale:
            print('Not what make_examples.py writes:', ', '.join(stale))
        return 1 if stale else 0
    folder = Path(arguments[0]) if arguments else here
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in files.items():
        (folder / name).write_bytes(data)
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
