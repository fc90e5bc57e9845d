#!/usr/bin/env python3
"""Writes the example documents of this folder.

    python3 make_examples.py [FOLDER]     into FOLDER, or beside this script
    python3 make_examples.py --check      writes nothing; fails if a document beside this script is not what it would write

Python 3, standard library only. Identifiers come from the name of the document and a running number, so that two runs
write the same bytes.

    welcome              a project board: cards rise, a button is pressed, a panel opens, a switch brings it to life
    tour                 six scenes with music, joined by every kind of transition, with moves that want motion blur
    gallery              all kinds of layers but video, which needs a film beside the document
    shapes-and-strokes   rectangles, ellipses and free paths with every kind of stroke
    shadows-and-glow     the shadow presets, and pulses that glow and bounce
    groups-and-stacks    stacks that make room, gaps that open, groups that turn
    zoom                 the camera: a span that zooms, one that cuts, and a zoom that pans while it lasts
    effects-and-easing   how layers come and go, and how they move in between
"""
import base64
import hashlib
import json
import math
import struct
import sys
import uuid
import zlib
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


ONLY_WHERE_SET = {'imageData', 'cursorHoverOverride'}   # keys that a layer without them lacks


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
        unknown = set(fields) - set(layer) - ONLY_WHERE_SET
        assert not unknown, unknown
        layer.update(fields)
        return layer

    def rectangle(self, name, x, y, width, height, fill, radius=0, moves=(), **fields):
        return self.layer('rectangle', name, x, y, width, height, moves, fill=fill, cornerRadius=radius, **fields)

    def bar(self, name, x, y, width, height, fill, moves=(), **fields):
        """A rectangle with round ends."""
        return self.rectangle(name, x, y, width, height, fill, height / 2, moves, **fields)

    def ellipse(self, name, x, y, width, height, fill, moves=(), **fields):
        return self.layer('ellipse', name, x, y, width, height, moves, fill=fill, **fields)

    def path(self, name, x, y, width, height, commands, fill, moves=(), **fields):
        return self.layer('path', name, x, y, width, height, moves, path=commands, fill=fill, **fields)

    def text(self, words, x, y, width, height, size, tone, face='Inter', alignment='left', moves=(), **fields):
        """Words in a box of its own size: the box stays as it is, whatever fonts a machine has."""
        return self.layer('text', words.replace('\n', ' '), x, y, width, height, moves, text=words, fontSize=size,
                          fontName=face, textColor=tone, textAlignment=alignment, textAutoFit=False, textUserResized=True,
                          **fields)

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

    def scene(self, name, width, height, duration, background, layers, pause=0, then=None):
        """`then` is the transition into the next scene: its kind and its seconds."""
        scene = {'id': self.id(), 'name': name, 'width': width, 'height': height, 'fps': 60, 'duration': duration,
                 'endPause': pause, 'background': background, 'layers': layers}
        if then is not None:
            scene['transition'] = {'kind': then[0], 'duration': then[1]}
        return scene


def document(*scenes, music=None):
    """`music` is a file beside the document, and what it is called."""
    made = {'version': 2, 'scenes': list(scenes), 'activeSceneIndex': 0}
    if music is not None:
        made['audio'] = {'urlString': music[0], 'volume': 0.8, 'displayName': music[1]}
    return made


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
GREY, DIM = color('#666C87'), color('#9AA0B8')
CORAL_INK, MINT_INK, AMBER_INK, SKY_INK = (color(c) for c in ('#C04A2E', '#12795A', '#8F5D06', '#1A6AAE'))
MEDIUM, SEMI, BOLD = 'Inter Medium', 'Inter Semi Bold', 'Inter Bold'
CORAL_TINT, MINT_TINT, AMBER_TINT, SKY_TINT, VIOLET_TINT = (
    color(c) for c in ('#FFEDE8', '#E0F6EF', '#FFF3E0', '#E4F3FF', '#F1EDFE'))


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


# ---------------------------------------------------------------- welcome

WINDOW = (200, 100, 1520, 880)
LIST = (280, 208, 1192, 112, 128)   # x, y, width, height of a row, distance to the next
NARROW = 720
PANEL = (1032, 136, 440, 696)
PRESS, FOLD, OPEN, SWITCH, LENS = 2.0, 2.06, 2.2, 4.5, 5.5


def welcome_backdrop(m):
    return m.layer('gradientField', 'Backdrop', 0, 0, 1920, 1080, fill=color('#8F93EE'), stroke=color('#F0A9B8'),
                   opacity=0.34, gradientWarpSpeed=1, gradientPulseAmount=0.2)


def welcome_sidebar(m):
    rows = []
    for n, name in enumerate(('Overview', 'Projects', 'Calendar', 'Reports', 'Team')):
        chosen = n == 1
        mark = ACCENT if chosen else STRONG
        icon = (m.ellipse if n in (0, 3) else m.rectangle)('Icon', 16, 14, 20, 20, mark, **({} if n in (0, 3) else {'radius': 6}))
        rows.append(m.group(f'Entry {n + 1}', 0, 0, 184, 48, [
            m.rectangle('Back', 0, 0, 184, 48, TINT if chosen else dict(WASH, a=0), 12),
            icon, m.text(name, 52, 8, 128, 32, 17, ACCENT if chosen else GREY, SEMI if chosen else MEDIUM)]))
    return m.group('Sidebar', 0, 0, 232, 880, [
        m.path('Pane', 0, 0, 232, 880, [
            move_to(28, 0), line_to(232, 0), line_to(232, 880), line_to(28, 880), curve_to((12.5, 880), (0, 867.5), (0, 852)),
            line_to(0, 28), curve_to((0, 12.5), (12.5, 0), (28, 0)), CLOSE], WASH),
        m.rectangle('Divider', 231, 0, 1, 880, EDGE),
        m.group('Mark', 32, 40, 184, 40, [
            m.rectangle('Tile', 0, 0, 40, 40, ACCENT, 12),
            m.path('Lark', 8, 10, 24, 20, wing_path(), WHITE),
            m.text('Larkspool', 56, 4, 128, 32, 22, INK, BOLD)]),
        m.group('Entries', 24, 128, 184, 272, rows, groupLayout='vertical', groupGap=8),
        m.group('Person', 32, 792, 184, 48, [
            m.ellipse('Face', 0, 0, 48, 48, AMBER),
            m.ellipse('Head', 16, 10, 16, 16, WHITE), m.bar('Shoulders', 11, 29, 26, 12, WHITE),
            m.text('Ada Wren', 64, 1, 120, 24, 17, INK, SEMI), m.text('Designer', 64, 25, 120, 22, 15, GREY)]),
    ])


def welcome_button(m):
    dip = [m.move(p, 1, (PRESS - 0.08, PRESS + 0.04, 0.94, EASE_OUT), (PRESS + 0.1, PRESS + 0.7, 1, LIVELY)) for p in ('scaleX', 'scaleY')]
    tone = m.move('fill', ACCENT, (PRESS - 0.08, PRESS + 0.04, PRESSED, EASE_OUT), (PRESS + 0.2, PRESS + 0.7, ACCENT, EASE_IN_OUT))
    return m.group('Button', 1296, 48, 176, 56, [
        m.rectangle('Light', 0, 0, 176, 56, ACCENT, 16, opacity=0.5, pulses=[m.pulse(PRESS, 'glow')]),
        m.rectangle('Back', 0, 0, 176, 56, ACCENT, 16, [tone]),
        m.path('Chart', 32, 19, 18, 18, chart_path(18), WHITE),
        m.text('Insights', 64, 12, 104, 32, 20, WHITE, SEMI)], dip)


def welcome_header(m):
    filters = [m.group(f'Filter {n + 1}', 0, 0, width, 40, [
        m.rectangle('Back', 0, 0, width, 40, INK if n == 0 else WHITE, 20, stroke=EDGE, strokeWidth=0 if n == 0 else 1.5),
        m.text(name, 0, 4, width, 32, 16, WHITE if n == 0 else GREY, MEDIUM, 'center')])
        for n, (name, width) in enumerate((('All', 72), ('Active', 96), ('Shipped', 112)))]
    return m.group('Header', 0, 0, 1520, 176, [
        m.text('Projects', 280, 36, 480, 48, 40, INK, BOLD),
        m.text('Five in motion, one ready to launch', 280, 88, 480, 28, 18, GREY),
        m.group('Filters', 280, 136, 336, 40, filters, groupLayout='horizontal', groupGap=8),
        welcome_button(m)])


CARDS = (('Onboarding flow', 'Updated two hours ago', 'Review', 72), ('Spring launch', 'Due on Friday', 'Active', 40),
         ('Mobile app', 'All checks passed', 'Ready', 88), ('Brand refresh', 'Waiting for feedback', 'On hold', 56),
         ('Data export', 'Starts in June', 'Planned', 24))


def welcome_card(m, n):
    tone, tint, ink = ((CORAL, CORAL_TINT, CORAL_INK), (ACCENT, TINT, PRESSED), (MINT, MINT_TINT, MINT_INK),
                       (AMBER, AMBER_TINT, AMBER_INK), (SKY, SKY_TINT, SKY_INK))[n]
    name, note, state, percent = CARDS[n]
    x, y, wide, height, pitch = LIST
    rise, fold = 0.5 + 0.09 * n, FOLD + 0.025 * n
    top = y + pitch * n

    def follow(prop, at_first, value):
        return [m.move(prop, at_first, (fold, fold + 0.75, value, ARRIVE))]

    def fade(until):
        return [m.move('opacity', 1, (PRESS - 0.04, PRESS + 0.14, until, EASE_OUT))]

    shrink = NARROW - wide
    way = [(LENS - 0.1, LENS + 0.3, 0, EASE_IN_OUT)] if n > 1 else []
    chosen = n == 1
    edge = m.move('stroke', EDGE, (fold, fold + 0.4, ACCENT if chosen else EDGE, EASE_OUT))
    edge_width = m.move('strokeWidth', 1.5, (fold, fold + 0.4, 2 if chosen else 1.5, EASE_OUT))
    return m.group(f'Card {n + 1}', x, top, wide, height, [
        m.soft_shadow(wide, height, 20, 'low', 0.26, follow('width', wide, NARROW), after=rise + 0.25),
        m.rectangle('Back', 0, 0, wide, height, WHITE, 20, follow('width', wide, NARROW) + [edge, edge_width], stroke=EDGE, strokeWidth=1.5),
        m.rectangle('Tile', 24, 24, 64, 64, tint, 18),
        m.ellipse('Sign', 44, 44, 24, 24, tone) if n % 2 == 0 else m.rectangle('Sign', 44, 44, 24, 24, tone, 7),
        m.text(name, 112, 24, 376, 32, 22, INK, SEMI),
        m.text(note, 112, 58, 376, 28, 17, GREY),
        m.group('Progress', 520, 40, 344, 32, [
            m.bar('Track', 0, 12, 264, 8, FAINT, fade(0)),
            m.bar('Done', 0, 12, 2.64 * percent, 8, tone,
                  [m.move('width', 8, (rise + 0.35, rise + 1.25, 2.64 * percent, ARRIVE))] + fade(0)),
            m.text(f'{percent}%', 280, 0, 64, 32, 17, GREY, MEDIUM, moves=fade(0))]),
        m.group('People', 0, 0, 1, 1, [
            m.ellipse(f'Face {k + 1}', 896 + 28 * k, 38, 36, 36, face, fade(0), stroke=WHITE, strokeWidth=3, strokeOutside=True)
            for k, face in enumerate([(VIOLET, SKY, AMBER), (CORAL, MINT), (AMBER, VIOLET), (SKY, CORAL, MINT), (MINT, VIOLET)][n])]),
        m.group('State', wide - 128, 40, 104, 32, [
            m.bar('Back', 0, 0, 104, 32, tint), m.text(state, 0, 0, 104, 32, 16, ink, SEMI, 'center')],
            follow('x', wide - 128, wide - 128 + shrink)),
    ], [m.move('y', top + 72, (rise, rise + 0.9, top, ARRIVE)), m.move('opacity', 0, (rise, rise + 0.3, 1, EASE_OUT), *way)])


def welcome_panel(m):
    x, y, width, height = PANEL

    def come_in(name, at, px, py, w, h, children):
        """A part of the panel that rises into place at its turn."""
        return m.group(name, px, py, w, h, children,
                       [m.move('y', py + 28, (at, at + 0.7, py, ARRIVE)), m.move('opacity', 0, (at, at + 0.3, 1, EASE_OUT))])

    start = OPEN + 0.1
    face = come_in('Project', start, 32, 32, 376, 64, [
        m.rectangle('Tile', 0, 0, 64, 64, TINT, 20),
        m.rectangle('Sign', 20, 20, 24, 24, ACCENT, 7),
        m.ellipse('Badge', 52, 52, 16, 16, STRONG, [m.move('fill', STRONG, (SWITCH + 0.1, SWITCH + 0.3, MINT, EASE_OUT))],
                  stroke=WHITE, strokeWidth=4, strokeOutside=True, pulses=[m.pulse(SWITCH + 0.1, 'scale')]),
        m.text('Spring launch', 88, 2, 240, 34, 26, INK, BOLD), m.text('Due on Friday', 88, 36, 240, 26, 17, GREY),
        m.ellipse('Close', 336, 12, 40, 40, WASH),
        m.path('Cross', 349, 25, 14, 14, plus_path(14, 2.5), GREY, rotation=45)])
    days = (('M', 52), ('T', 84), ('W', 68), ('T', 108), ('F', 92), ('S', 80), ('S', 96))
    ground, first, pale = 208, start + 0.2, color('#DFDFFC')
    live = LENS + 0.55
    bars = []
    for n, (day, tall) in enumerate(days):
        at, last = first + 0.05 * n, n == len(days) - 1
        more = [(live, live + 0.8, 124, LIVELY)] if last else []
        bars.append(m.rectangle(f'Day {n + 1}', 56 * n, ground - tall, 40, tall, pale, 10, [
            m.move('height', 12, (at, at + 0.9, tall, LIVELY), *more),
            m.move('y', ground - 12, (at, at + 0.9, ground - tall, LIVELY), *((a, b, ground - v, e) for a, b, v, e in more)),
            *([m.move('fill', pale, (live, live + 0.4, ACCENT, EASE_IN_OUT))] if last else [])]))
        bars.append(m.text(day, 56 * n, ground + 8, 40, 24, 15, GREY, MEDIUM, 'center'))
    chart = come_in('Chart', start + 0.1, 32, 144, 376, 240, [
        m.text('Visits this week', 0, 4, 240, 24, 17, GREY), m.text('12,480', 0, 30, 132, 40, 34, INK, BOLD),
        m.group('Change', 140, 34, 80, 32, [
            m.bar('Back', 0, 0, 80, 32, MINT_TINT), m.text('+18%', 0, 0, 80, 32, 16, MINT_INK, SEMI, 'center')]),
        *bars])
    tiles = [come_in(f'Figure {n + 1}', start + 0.24 + 0.08 * n, 32 + 196 * n, 408, 180, 96, [
        m.rectangle('Back', 0, 0, 180, 96, WASH, 16), m.rectangle('Tile', 16, 14, 32, 32, tint, 10),
        m.ellipse('Sign', 26, 24, 12, 12, tone), m.text(name, 60, 14, 116, 32, 16, GREY, MEDIUM),
        m.text(value, 16, 52, 148, 34, 24, INK, BOLD)])
        for n, (tone, tint, name, value) in enumerate((
            (CORAL, CORAL_TINT, 'Sign-ups', '1,204'), (SKY, SKY_TINT, 'Activation', '68%')))]
    switch = come_in('Switch row', start + 0.42, 32, 536, 376, 40, [
        m.rectangle('Tile', 0, 0, 40, 40, VIOLET_TINT, 12),
        m.ellipse('Sign', 13, 13, 14, 14, CLEAR, stroke=VIOLET, strokeWidth=3.5),
        m.text('Publish', 56, -6, 240, 28, 18, INK, SEMI), m.text('Visible to everyone', 56, 20, 240, 24, 16, GREY),
        m.group('Switch', 320, 4, 56, 32, [
            m.bar('Track', 0, 0, 56, 32, SOFT, [m.move('fill', SOFT, (SWITCH, SWITCH + 0.25, ACCENT, EASE_IN_OUT))]),
            m.soft_shadow(24, 24, 12, 'low', 0.5, [m.move('x', 4, (SWITCH, SWITCH + 0.5, 28, LIVELY))], 4, 4),
            m.ellipse('Knob', 4, 4, 24, 24, WHITE, [m.move('x', 4, (SWITCH, SWITCH + 0.5, 28, LIVELY))])])])
    wake = SWITCH + 0.15
    action = come_in('Action', start + 0.5, 32, 608, 376, 56, [
        m.rectangle('Light', 0, 0, 376, 56, ACCENT, 16, [m.move('opacity', 0, (wake, wake + 0.2, 0.5, EASE_OUT))],
                    opacity=0, pulses=[m.pulse(wake, 'glow')]),
        m.rectangle('Back', 0, 0, 376, 56, FAINT, 16, [m.move('fill', FAINT, (wake, wake + 0.35, ACCENT, EASE_IN_OUT))]),
        m.text('View live page', 0, 12, 376, 32, 20, DIM, SEMI, 'center', [
            m.move('textColor', DIM, (wake, wake + 0.35, WHITE, EASE_IN_OUT))])])
    return m.group('Panel', x, y, width, height, [
        m.soft_shadow(width, height, 24, 'high', 0.3, after=OPEN + 0.12), m.soft_shadow(width, height, 24, 'low', 0.25, after=OPEN + 0.12),
        m.rectangle('Back', 0, 0, width, height, WHITE, 24, stroke=EDGE, strokeWidth=1.5),
        m.rectangle('Divider', 32, 120, 376, 1, EDGE), face, chart, *tiles, switch, action,
    ], [m.move('x', x + 40, (OPEN, OPEN + 0.8, x, ARRIVE)), m.move('opacity', 0, (OPEN, OPEN + 0.15, 1, EASE_OUT))],
        spans=[m.span(OPEN, 7)])


def welcome_note(m):
    """A word in the margin and a line that draws itself from there to the switch."""
    begin, end = 3.55, 4.95
    return [
        m.text('One tap,\nand it is live', 1744, 604, 168, 64, 24, PRESSED, SEMI, moves=[
            m.move('y', 616, (begin, begin + 0.6, 604, ARRIVE))], spans=[m.span(begin, end, ('fadeIn', 0.3), ('fadeOut', 0.3))]),
        m.layer('line', 'To the switch', 1656, 680, 128, 116, lineCurved=True,
                linePoints=[[124, 0], [115, 43], [89, 79], [50, 103], [4, 112]], lineArrowEnd=True, stroke=ACCENT, strokeWidth=4,
                spans=[m.span(begin + 0.25, end, ('drawOn', 0.55), ('fadeOut', 0.3))])]


def welcome_pointer(m):
    """Comes in from below, presses the button, then the switch, and steps aside. Its two axes ease differently, so that it
    swings rather than slides along a ruler. Two hot spots turn the arrow into a hand where there is something to press."""
    button, switch, aside = (1628, 180), (1604, 796), (1776, 1000)
    taps = [(PRESS - 0.1, PRESS), (SWITCH - 0.1, SWITCH)]
    steps = [step for a, b in taps for step in ((a, b, 0.86, EASE_OUT), (b, b + 0.25, 1, EASE_IN_OUT))]
    spots = [m.layer('hotspot', name, *box, cursorHoverOverride='pointer') for name, box in (
        ('Over the button', (1520, 164, 144, 24)), ('Over the switch', (1592, 780, 40, 24)))]
    return spots + [m.layer('cursor', 'Pointer', *button, 56, 56, [
        m.move('x', 1180, (1.0, 1.86, button[0], TRAVEL), (3.5, 4.3, switch[0], TRAVEL), (4.9, 5.6, aside[0], TRAVEL)),
        m.move('y', 1120, (1.0, 1.86, button[1], cubic(0.4, 0, 0.1, 1)),
               (3.5, 4.3, switch[1], CAMERA), (4.9, 5.6, aside[1], CAMERA)),
        m.move('scaleX', 1, *steps), m.move('scaleY', 1, *steps)], anchor=(0.39, 0.11))]


def welcome_camera(m):
    x, y, width, height = 576, 220, 1344, 756
    into, out = (2.9, 4.0), (4.8, 5.6)
    return m.layer('zoom', 'Camera', x, y, width, height, [
        m.move(prop, whole, (*into, near, CAMERA), (*out, whole, CAMERA))
        for prop, whole, near in (('x', 0, x), ('y', 0, y), ('width', 1920, width), ('height', 1080, height))],
        spans=[m.span(into[0], out[1], zoom_start='none', zoom_end='none')])


def welcome_lens(m):
    """A viewport lifts off the chart and grows where the lower cards make way; a thin frame tells what it looks at."""
    x, y, width, height = 1244, 366, 416, 270
    frame = m.rectangle('Looked at', x - 4, y - 4, width + 8, height + 8, CLEAR, 20, stroke=color('#A9A9F7'), strokeWidth=2,
                        spans=[m.span(LENS, 7, ('fadeIn', 0.4))])
    begin, end = LENS, LENS + 0.8
    moves = [m.move(prop, there, (begin, end, here, TRAVEL)) for prop, there, here in (
        ('x', x, 480), ('y', y, 564), ('width', width, NARROW),
        ('height', height, height * NARROW / width), ('strokeWidth', 0, 2))]
    fall = [m.key('shadow', time, preset) for time, preset in ((begin, 'none'), (begin + 0.1, 'low'), (begin + 0.25, 'medium'))]
    view = m.rectangle('Viewport', x, y, width, height, WHITE, 20, [*moves, fall], stroke=color('#A9A9F7'), pipRendition=True,
                       spans=[m.span(begin, 7)])
    lens = m.layer('zoom', 'Lens', x, y, width, height, zoomType='pictureInPicture', children=[view], spans=[m.span(LENS, 7)])
    return frame, lens


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
    frame, lens = welcome_lens(m)
    return document(m.scene('Welcome', 1920, 1080, 7, PAPER, [
        welcome_backdrop(m), window, frame, *welcome_note(m), *welcome_pointer(m), welcome_camera(m), lens]))


# ---------------------------------------------------------------- tour

NIGHT, HAZE = color('#17193A'), color('#B9B8F2')
BEAT = 0.5   # of the music: every scene but the last has four beats, and every transition one


def scaled(commands, factor):
    """A path drawn larger."""
    def larger(value):
        return [round(factor * v, 3) for v in value]
    return [{kind: {key: larger(value) for key, value in points.items()} for kind, points in command.items()} for command in commands]


def tour_mark(m, x, y, side, back, bird, moves=(), **fields):
    wide = 0.6 * side
    return m.group('Mark', x, y, side, side, [
        m.rectangle('Tile', 0, 0, side, side, back, 0.29 * side),
        m.path('Bird', 0.2 * side, 0.25 * side, wide, wide * 20 / 24, scaled(wing_path(), wide / 24), bird)], moves, **fields)


def tour_streaks(m, tones, begin, leftward=False):
    """Bars that shoot across the picture."""
    bars = []
    for n, (y, tall, wide) in enumerate(((212, 10, 520), (330, 22, 760), (468, 8, 420), (604, 14, 640), (742, 26, 820), (880, 10, 460))):
        at, there = begin + 0.05 * (n * 5 % 6), 0.55 + 0.04 * (n % 3)
        ends = (1980, -wide - 60) if leftward else (-wide - 60, 1980)
        bars.append(m.bar(f'Streak {n + 1}', ends[0], y, wide, tall, tones[n % len(tones)], [
            m.move('x', ends[0], (at, at + there, ends[1], EASE_IN_OUT))], opacity=0.85))
    return bars


def tour_name(m):
    """The mark drops and turns, and the name shoots out from behind it."""
    mark = tour_mark(m, 648, 402, 176, ACCENT, WHITE, [
        m.move('y', -240, (0.3, 0.85, 402, ARRIVE)), m.move('rotation', -200, (0.3, 1.15, 0, ARRIVE))])
    name = m.text('Perch', 872, 388, 480, 200, 160, WHITE, BOLD, moves=[
        m.move('x', 560, (0.72, 1.3, 872, ARRIVE)), m.move('opacity', 0, (0.72, 0.9, 1, EASE_OUT))])
    line = m.text("Your team's day, in one place", 560, 632, 800, 64, 40, HAZE, MEDIUM, 'center', [
        m.move('y', 664, (1.05, 1.6, 632, ARRIVE)), m.move('opacity', 0, (1.05, 1.35, 1, EASE_OUT))])
    field = m.layer('gradientField', 'Backdrop', 0, 0, 1920, 1080, fill=color('#2C2A86'), stroke=color('#6B2F7E'), opacity=0.55,
                    gradientWarpSpeed=1, gradientPulseAmount=0.3)
    return m.scene('Name', 1920, 1080, 4 * BEAT, NIGHT,
                   [field, *tour_streaks(m, (ACCENT, CORAL, VIOLET, SKY), 0), name, mark, line], then=('zoom', BEAT))


INBOX = (('Mara Lind', 'Can we move the review to four?'), ('Build 214', 'All checks passed'), ('Ivo Tan', 'Sent you the new icons'),
         ('Calendar', 'Stand-up in ten minutes'), ('Spring launch', 'Two tasks are waiting for you'), ('Noor Aziz', 'Looks great to me!'),
         ('Invoices', 'March is ready to send'), ('Jun Park', 'Shall I book the room?'))
TONES = ((CORAL, CORAL_TINT), (MINT, MINT_TINT), (VIOLET, VIOLET_TINT), (SKY, SKY_TINT), (AMBER, AMBER_TINT), (ACCENT, TINT))


def tour_note(m, n, x, y, moves=(), lit=False, name='Note'):
    tone, tint = TONES[n % len(TONES)]
    who, what = INBOX[n % len(INBOX)]
    back = [m.move('stroke', EDGE, (1.3, 1.5, ACCENT, EASE_OUT)), m.move('strokeWidth', 1.5, (1.3, 1.5, 4, EASE_OUT))] if lit else ()
    shadow = [m.soft_shadow(520, 160, 28, 'high', 0.5, after=1.25)] if lit else []
    return m.group(f'{name} {n + 1}', x, y, 520, 160, shadow + [
        m.rectangle('Back', 0, 0, 520, 160, WHITE, 28, back, stroke=EDGE, strokeWidth=1.5),
        m.rectangle('Tile', 32, 40, 80, 80, tint, 24), (m.ellipse if n % 3 else m.rectangle)(
            'Sign', 58, 66, 28, 28, tone, **({} if n % 3 else {'radius': 8})),
        m.text(who, 140, 36, 352, 40, 28, INK, SEMI), m.text(what, 140, 80, 352, 40, 22, GREY)], moves)


def tour_inbox(m):
    """Three tilted columns of notes rush past, two one way and one the other, and come to rest on one note."""
    columns = []
    for k in range(3):
        way = 1728 if k == 1 else -1728   # nine notes with their gaps
        top = -480 + 96 * (k - 1) - (way if k == 1 else 0)
        rush = [m.move('y', top, (0.05, 1.2, top + way, cubic(0.5, 0, 0.15, 1)))]
        dim = [] if k == 1 else [m.move('opacity', 1, (1.2, 1.5, 0.5, EASE_IN_OUT))]
        notes = []
        for n in range(17):
            lit = k == 1 and n == 5
            grow = [m.move(p, 1, (1.25, 1.7, 1.12, LIVELY)) for p in ('scaleX', 'scaleY')] if lit else []
            notes.append(tour_note(m, n + 3 * k, 0, 192 * n, grow, lit))
        if k == 1:   # the lit one lies above its neighbours
            notes.append(notes.pop(5))
        columns.append(m.group(f'Column {k + 1}', 140 + 560 * k, top, 520, 3232, notes, rush + dim))
    wall = m.group('Wall', 0, 0, 1920, 1080, columns, rotation=-9, scale=1.06)
    return m.scene('Inbox', 1920, 1080, 4 * BEAT, color('#20234F'), [wall], then=('slideL', BEAT))


BOARD = (('To do', AMBER), ('Doing', ACCENT), ('Done', MINT))
TASKS = ('Write the brief', 'Pick a date', 'Call the printer', 'Draw the icons', 'Review copy', 'Test the flow', 'Book the room',
         'Send invoices', 'Thank Mara')


def tour_board(m):
    """A pile of tasks flies apart into columns, and one goes on to where it is done."""
    heads = []
    for k, (name, tone) in enumerate(BOARD):
        x = 192 + 528 * k
        heads.append(m.group(name, x, 168, 480, 776, [
            m.rectangle('Back', 0, 0, 480, 776, color('#F3F4FB'), 32),
            m.ellipse('Sign', 36, 42, 20, 20, tone), m.text(name, 72, 28, 320, 48, 30, INK, SEMI)]))
    cards, go = [], 3 * BEAT - 0.15
    for n, name in enumerate(TASKS):
        k, row = n % 3, n // 3
        x, y = 216 + 528 * k, 272 + 168 * row
        px, py, turn = 744 + 14 * (n * 5 % 7 - 3), 432 + 10 * (n * 4 % 9 - 4), (n * 7 % 11 - 5) * 3.2
        at = 0.25 + 0.05 * (8 - n)
        tone = TONES[n % len(TONES)][0]
        closes_up = [(go + 0.12, go + 0.5, y - 168, TRAVEL)] if n == 7 else []
        flight = [m.move('x', px, (at, at + 0.5, x, ARRIVE)), m.move('y', py, (at, at + 0.5, y, CAMERA), *closes_up),
                  m.move('rotation', turn, (at, at + 0.6, 0, LIVELY))]
        extra = []
        if n == 4:   # crosses over
            flight = [m.move('x', px, (at, at + 0.5, x, ARRIVE), (go, go + 0.42, x + 528, TRAVEL)),
                      m.move('y', py, (at, at + 0.5, y, CAMERA), (go, go + 0.42, 272 + 168 * 3, CAMERA)),
                      m.move('rotation', turn, (at, at + 0.6, 0, LIVELY), (go, go + 0.12, 5, EASE_OUT), (go + 0.2, go + 0.5, 0, LIVELY))]
            corners = ((0, 9), (3, 6), (8, 11), (17, 2), (20, 5), (8, 17))
            extra = [m.group('Tick', 360, 44, 48, 48, [
                m.ellipse('Disc', 0, 0, 48, 48, MINT),
                m.path('Check', 14, 15, 20, 17, [move_to(*corners[0]), *(line_to(*c) for c in corners[1:]), CLOSE], WHITE)],
                spans=[m.span(go + 0.32, 4 * BEAT, ('popIn', 0.3))])]
        cards.append(m.group(f'Task {n + 1}', px, py, 432, 136, [
            m.soft_shadow(432, 136, 24, 'low', 0.35), m.rectangle('Back', 0, 0, 432, 136, WHITE, 24, stroke=EDGE, strokeWidth=1.5),
            m.bar('Label', 28, 30, 72, 12, tone), m.text(name, 28, 54, 336, 44, 28, INK, SEMI), *extra],
            flight))
    cards.append(cards.pop(4))
    cards.reverse()   # the first to leave lies on top
    cards.append(cards.pop(0))
    return m.scene('Board', 1920, 1080, 4 * BEAT, color('#E3E3FC'), [*heads, *cards], then=('fade', BEAT))


def tour_figures(m):
    """A figure on the left; on the right bars that shoot up, a line through them, and the pointer that asks for the last."""
    talls = (150, 236, 190, 310, 268, 384, 470)
    ground, left = 640, 96
    bars, points = [], []
    for n, tall in enumerate(talls):
        at, x, last = 0.1 + 0.07 * n, left + 112 * n, n == len(talls) - 1
        bars.append(m.rectangle(f'Bar {n + 1}', x, ground - tall, 72, tall, color('#BFEBDB'), 20, [
            m.move('height', 16, (at, at + 0.75, tall, LIVELY)), m.move('y', ground - 16, (at, at + 0.75, ground - tall, LIVELY)),
            *([m.move('fill', color('#BFEBDB'), (1.25, 1.45, MINT, EASE_OUT))] if last else [])]))
        bars.append(m.text('MTWTFSS'[n], x, ground + 16, 72, 36, 22, GREY, MEDIUM, 'center'))
        points.append([112 * n + 36, 510 - tall])
    trend = m.layer('line', 'Trend', left, ground - 544, 784, 544, linePoints=points, lineCurved=True, stroke=MINT_INK, strokeWidth=6,
                    lineArrowEnd=True, spans=[m.span(0.75, 4 * BEAT, ('drawOn', 0.6))])
    tip = m.group('Tip', left + 112 * 6 - 64, ground - 470 - 136, 200, 72, [
        m.rectangle('Back', 0, 0, 200, 72, INK, 20), m.text('41 tasks', 0, 12, 200, 48, 26, WHITE, SEMI, 'center')],
        spans=[m.span(1.4, 4 * BEAT, ('popIn', 0.3))])
    panel = m.group('Panel', 848, 176, 976, 728, [
        m.soft_shadow(976, 728, 40, 'high', 0.3), m.rectangle('Back', 0, 0, 976, 728, WHITE, 40, stroke=EDGE, strokeWidth=1.5),
        *bars, trend, tip], [m.move('x', 1960, (0, 0.6, 848, ARRIVE))])
    words = [m.text('On time this week', 128, 352, 640, 56, 40, MINT_INK, SEMI),
             m.text('86%', 120, 400, 640, 240, 220, INK, BOLD, moves=[
                 m.move('x', 0, (0.25, 0.95, 120, ARRIVE)), m.move('opacity', 0, (0.25, 0.55, 1, EASE_OUT))]),
             m.group('Change', 128, 664, 200, 64, [
                 m.bar('Back', 0, 0, 200, 64, MINT), m.text('+12 points', 0, 8, 200, 48, 26, WHITE, SEMI, 'center')],
                 spans=[m.span(0.9, 4 * BEAT, ('popIn', 0.4))])]
    pointer = m.layer('cursor', 'Pointer', 1980, 1100, 72, 72, [
        m.move('x', 1980, (0.75, 1.3, 1628, TRAVEL)), m.move('y', 1100, (0.75, 1.3, 520, cubic(0.4, 0, 0.1, 1)))], anchor=(0.39, 0.11))
    return m.scene('Figures', 1920, 1080, 4 * BEAT, color('#DDF5EC'), [*words, panel, pointer], then=('push', BEAT))


def tour_clock(m):
    """A day rushes by: the long hand goes round three times, and the short one comes to five."""
    cx, cy, r = 640, 540, 312
    ticks = []
    for n in range(12):
        wide, tall = (14, 44) if n % 3 == 0 else (8, 26)
        angle = math.radians(30 * n)
        x, y = cx + (r - 44) * math.sin(angle), cy - (r - 44) * math.cos(angle)
        ticks.append(m.bar(f'Hour {n}', x - wide / 2, y - tall / 2, wide, tall, HAZE, rotation=30 * n, opacity=0.9 if n % 3 == 0 else 0.5))
    turn = cubic(0.45, 0, 0.12, 1)
    hands = [m.rectangle('Short hand', cx - 13, cy - 170, 26, 170, WHITE, 13, [
                 m.move('rotation', -90, (0.15, 1.55, 150, turn))], anchor=(0.5, 1)),
             m.rectangle('Long hand', cx - 8, cy - 252, 16, 252, CORAL, 8, [
                 m.move('rotation', 0, (0.15, 1.55, 1080, turn))], anchor=(0.5, 1)),
             m.ellipse('Pin', cx - 24, cy - 24, 48, 48, CORAL, stroke=NIGHT, strokeWidth=8)]
    ring = m.layer('line', 'Day', cx - r - 44, cy - r - 44, 2 * r + 88, 2 * r + 88, lineShape='circle', stroke=ACCENT, strokeWidth=20,
                   spans=[m.span(0.15, 4 * BEAT, ('drawOn', 1.35))])
    words = []
    for n, (word, tone, at) in enumerate((('Done', WHITE, 0.5), ('by five.', CORAL, 0.68))):
        words.append(m.text(word, 1136, 396 + 148 * n, 720, 160, 128, tone, BOLD, moves=[
            m.move('x', 1500, (at, at + 0.7, 1136, ARRIVE)), m.move('opacity', 0, (at, at + 0.25, 1, EASE_OUT))]))
    back = m.ellipse('Track', cx - r - 54, cy - r - 54, 2 * r + 108, 2 * r + 108, CLEAR, stroke=color('#2B2D5E'), strokeWidth=20)
    return m.scene('Clock', 1920, 1080, 4 * BEAT, NIGHT, [back, ring, *ticks, *hands, *words], then=('slideR', BEAT))


def tour_end(m):
    """Mark and name once more; the pointer takes the button. It holds for a second."""
    tap = 2.2
    mark = tour_mark(m, 648, 278, 176, WHITE, ACCENT, [
        m.move('x', 872, (0.35, 0.95, 648, ARRIVE)), m.move('rotation', 220, (0.05, 0.95, 0, ARRIVE)),
        m.move('opacity', 0, (0.05, 0.15, 1, EASE_OUT)), *[m.move(p, 0.2, (0.05, 0.7, 1, LIVELY)) for p in ('scaleX', 'scaleY')]])
    name = m.text('Perch', 872, 264, 480, 200, 160, WHITE, BOLD, moves=[
        m.move('x', 700, (0.4, 1.0, 872, ARRIVE)), m.move('opacity', 0, (0.4, 0.62, 1, EASE_OUT))])
    line = m.text('A calmer day starts here', 460, 508, 1000, 72, 48, color('#E4E3FF'), MEDIUM, 'center', [
        m.move('y', 548, (0.8, 1.4, 508, ARRIVE)), m.move('opacity', 0, (0.8, 1.1, 1, EASE_OUT))])
    dip = [m.move(p, 1, (tap - 0.1, tap + 0.03, 0.93, EASE_OUT), (tap + 0.1, tap + 0.7, 1, LIVELY)) for p in ('scaleX', 'scaleY')]
    button = m.group('Button', 760, 664, 400, 112, [
        m.bar('Light', 0, 0, 400, 112, WHITE, opacity=0.6, pulses=[m.pulse(tap, 'radiate', 'glow')]),
        m.bar('Back', 0, 0, 400, 112, WHITE), m.text('Try it free', 0, 26, 400, 60, 38, ACCENT, SEMI, 'center')],
        dip, spans=[m.span(1.1, 8 * BEAT, ('popIn', 0.45))])
    pointer = m.layer('cursor', 'Pointer', 1960, 1120, 80, 80, [
        m.move('x', 1960, (1.45, 2.05, 1040, TRAVEL), (2.7, 3.3, 1260, TRAVEL)),
        m.move('y', 1120, (1.45, 2.05, 716, cubic(0.4, 0, 0.1, 1)), (2.7, 3.3, 840, CAMERA))], anchor=(0.39, 0.11))
    return m.scene('End', 1920, 1080, 8 * BEAT, ACCENT,
                   [*tour_streaks(m, (color('#7C7BFA'), VIOLET, color('#8E6BF0')), 0.05, leftward=True), name, mark, line, button, pointer],
                   pause=1)


def make_tour():
    """Six scenes to music, joined by each kind of transition. Bars and hands that rush are there for motion blur."""
    m = Maker('tour')
    return document(tour_name(m), tour_inbox(m), tour_board(m), tour_figures(m), tour_clock(m), tour_end(m),
                    music=('tour-music.m4a', 'Four beats to a scene'))


# ---------------------------------------------------------------- gallery

def picture_png():
    """A small landscape: 384 by 256 pixels of 16 colours. Its data stand uncompressed, so that no version of zlib matters."""
    width, height = 384, 256
    palette = ('#6C6CF2', '#8B86F5', '#AFA0F7', '#D6BDF6', '#F6D3E6', '#FFE3D2', '#FFF1D6', '#FFC062',
               '#FF8E72', '#34C79A', '#1F9C78', '#136B57', '#232741', '#FFFFFF', '#56B4FC', '#5B5BF0')

    def tone(x, y):
        far = 168 - 44 * math.sin(x / 62 + 0.4) - 12 * math.sin(x / 23)
        near = 206 - 26 * math.sin(x / 84 + 2.6)
        if y > near:
            return 11
        if y > far:
            return 10 if y > far + 26 + 10 * math.sin(x / 17) else 9
        if math.hypot(x - 262, y - 92) < 40:
            return 7
        return min(int(y / 26), 6)

    rows = b''.join(b'\0' + bytes(tone(x, y) << 4 | tone(x + 1, y) for x in range(0, width, 2)) for y in range(height))
    pieces = [rows[i:i + 65535] for i in range(0, len(rows), 65535)]
    stored = b''.join(struct.pack('<BHH', n == len(pieces) - 1, len(p), len(p) ^ 0xFFFF) + p for n, p in enumerate(pieces))
    chunks = ((b'IHDR', struct.pack('>IIBBBBB', width, height, 4, 3, 0, 0, 0)),
              (b'PLTE', b''.join(bytes.fromhex(c[1:]) for c in palette)),
              (b'IDAT', b'\x78\x01' + stored + struct.pack('>I', zlib.adler32(rows))), (b'IEND', b''))
    return b'\x89PNG\r\n\x1a\n' + b''.join(
        struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data)) for kind, data in chunks)


PICTURE_SVG = b'''<svg xmlns="http://www.w3.org/2000/svg" width="180" height="120" viewBox="0 0 180 120">
  <linearGradient id="g" x1="0" y1="0" x2="1" y2="1">
    <stop offset="0" stop-color="#5B5BF0"/><stop offset="1" stop-color="#A58BFA"/>
  </linearGradient>
  <rect width="180" height="120" fill="url(#g)"/>
  <g fill="none" stroke="#fff" stroke-width="2" opacity="0.35">
    <circle cx="90" cy="60" r="36"/><circle cx="90" cy="60" r="56"/><circle cx="90" cy="60" r="76"/>
  </g>
  <path transform="translate(66 40) scale(2)" fill="#fff"
    d="M0 3C6 1 11 4 13 9C15 4 19 0 24 0C22 10 17 19 10 20C11 16 10 13 7 11C3 9 1 6 0 3Z"/>
</svg>
'''


def gallery_cells(m):
    """What each cell shows, in the space of a stage of 424 by 208: the name, a remark, the layers."""
    def there_and_back(prop, at_first, value, begin, seconds=1.1):
        back = begin + seconds + 0.5
        return m.move(prop, at_first, (begin, begin + seconds, value, TRAVEL), (back, back + seconds, at_first, TRAVEL))

    rectangle = [m.rectangle('Rectangle', 152, 44, 120, 120, TINT, 16, [
        there_and_back('cornerRadius', 16, 60, 1), there_and_back('rotation', 0, 90, 1), there_and_back('strokeWidth', 4, 12, 1)],
        stroke=ACCENT, strokeWidth=4)]
    ellipse = [m.ellipse('Ellipse', 132, 44, 160, 120, CORAL_TINT, [
        there_and_back('width', 160, 120, 1.1), there_and_back('x', 132, 152, 1.1), there_and_back('strokeWidth', 8, 40, 1.1)],
        stroke=CORAL, strokeWidth=8)]
    path = [m.path('Star', 148, 40, 128, 128, star_path(6, 64, 36), AMBER, [m.move('rotation', 0, (0.8, 5.6, 240, EASE_IN_OUT))],
                   stroke=color('#F29C38'), strokeWidth=6)]
    span = m.span(1, 6, ('typeOn', 2.4))
    span['cursorBlinkRanges'] = [{'id': m.id(), 'start': 1, 'end': 6}]
    words = [m.text('Words arrive one\nletter at a time.', 72, 52, 320, 104, 34, INK, SEMI, spans=[span])]
    images = [m.layer('image', name, x, 44, 180, 120, [there_and_back('y', 44, 36, begin, 0.9)], cornerRadius=16,
                      imageData=base64.b64encode(data).decode(), shadow='low')
              for name, x, begin, data in (('PNG', 24, 1, picture_png()), ('SVG', 220, 1.3, PICTURE_SVG))]
    parts = []
    for n, tone in enumerate((ACCENT, CORAL, MINT, SKY)):   # the wide one hands its width on, so that the row stays as long
        turns = [(1 + k, 1.7 + k, 120 if n == k + 1 else 56, TRAVEL) for k in range(3) if n in (k, k + 1)]
        parts.append(m.rectangle(f'Part {n + 1}', 0, 0, 56, 72, tone, 16, [m.move('width', 120 if n == 0 else 56, *turns)]))
    group = [m.group('Row', 44, 68, 336, 72, parts, groupLayout='horizontal', groupGap=16)]
    places = [(40 + 96 * n, 32) for n in range(4)] + [(88 + 96 * n, 124) for n in range(3)]
    cursors = [m.layer('cursor', variant, x, y, 56, 56, [
        m.move('y', y, (1 + 0.35 * n, 1.3 + 0.35 * n, y - 8, EASE_OUT), (1.35 + 0.35 * n, 1.9 + 0.35 * n, y, LIVELY))],
        cursorVariant=variant)
        for n, ((x, y), variant) in enumerate(zip(places, (
            'arrow', 'pointer', 'grab', 'grabbing', 'ibeam', 'duplicate', 'wait')))]
    lines = []
    for n, (shape, tone, more) in enumerate((
            ('freeform', ACCENT, {'linePoints': [[0, 56], [32, 8], [64, 56], [96, 16]],
                                   'lineCurved': True, 'lineArrowEnd': True}),
            ('arc', CORAL, {'lineArcBend': -1.2, 'lineArrowStart': True, 'lineArrowEnd': True}),
            ('wave', MINT, {'lineWaveFrequency': 2, 'lineWaveAmplitude': 0.7, 'lineArrowEnd': True}),
            ('square', AMBER, {}), ('circle', SKY, {}), ('triangle', VIOLET, {}))):
        wide = 96 if n < 3 else 64
        lines.append(m.layer('line', shape, 40 + 124 * (n % 3) + (96 - wide) / 2, 28 + 92 * (n // 3), wide, 64, lineShape=shape,
                             stroke=tone, strokeWidth=4, spans=[m.span(1 + 0.3 * n, 6, ('drawOn', 1))], **more))
    field = [m.layer('gradientField', 'Field', 24, 24, 376, 176, fill=color('#4A3FD0'), stroke=color('#A23E78'),
                     gradientWarpSpeed=4, gradientPulseAmount=0.8)]
    hot = m.layer('hotspot', 'Hot spot', 152, 72, 148, 56, cursorHoverOverride='pointer')
    passing = m.layer('cursor', 'Passing', 40, 144, 48, 48, [
        m.move('x', 40, (1.2, 2.3, 244, TRAVEL), (3.2, 4.3, 352, TRAVEL)),
        m.move('y', 144, (1.2, 2.3, 108, CAMERA), (3.2, 4.3, 144, CAMERA))])
    spot = [m.rectangle('Button', 124, 72, 176, 64, ACCENT, 20),
            m.text('Save', 124, 84, 176, 40, 24, WHITE, SEMI, 'center'), hot, passing]
    pulse = [m.group('Half size', 212, 104, 1, 1, [
        m.ellipse('Source', -52, -52, 104, 104, ACCENT,
                  pulses=[m.pulse(t, 'radiate', 'scale') for t in (1.2, 2.9, 4.6)])], scale=0.5)]
    return (('Rectangle', 'radius, stroke, turn', rectangle), ('Ellipse', 'stroke inside', ellipse),
            ('Path', 'free outline', path), ('Text', 'type on, caret', words),
            ('Image', 'PNG and SVG', images), ('Group', 'a stack makes room', group),
            ('Cursor', 'seven variants', cursors), ('Line', 'shapes, arrows, draw on', lines),
            ('Gradient field', 'drifts and breathes', field), ('Hot spot', 'changes the cursor', spot),
            ('Zoom', 'picture in picture', []), ('Pulse', 'radiate and scale', pulse))


def make_gallery():
    """Every kind but video, which would need a film beside the document: none is kept here."""
    m = Maker('gallery')
    layers = [m.text('Kinds of layers', 64, 56, 960, 72, 52, INK, BOLD),
              m.text('Eleven kinds at work, and a pulse', 1056, 72, 800, 48, 22, GREY, MEDIUM, 'right')]
    for n, (name, note, children) in enumerate(gallery_cells(m)):
        x, y, begin = 64 + 456 * (n % 4), 168 + 296 * (n // 4), 0.06 * n
        layers.append(m.group(name, x, y, 424, 264, [
            m.rectangle('Back', 0, 0, 424, 264, WHITE, 24, stroke=EDGE, strokeWidth=1.5),
            m.text(name, 24, 216, 184, 32, 20, INK, SEMI),
            m.text(note, 184, 216, 216, 32, 16, GREY, alignment='right'), *children,
        ], [m.move('y', y + 40, (begin, begin + 0.7, y, ARRIVE)), m.move('opacity', 0, (begin, begin + 0.3, 1, EASE_OUT))]))
    # The frame goes along the cursors while the viewport in the cell below shows what is in it.
    left, right, y, width, height = 986.25, 1178.25, 474.5, 211.5, 99

    def travel():
        return m.move('x', left, (2.8, 4.2, right, TRAVEL))

    layers.append(m.rectangle('Looked at', left, y, width, height, CLEAR, 9, [travel()], stroke=ACCENT, strokeWidth=2,
                              strokeOutside=True, spans=[m.span(1, 6, ('fadeIn', 0.4))]))
    view = m.rectangle('Viewport', 1000, 784, 376, 176, WHITE, 16, stroke=ACCENT, strokeWidth=2, strokeOutside=True, shadow='low',
                       pipRendition=True, spans=[m.span(1, 6, ('popIn', 0.5))])
    layers.append(m.layer('zoom', 'Lens', left, y, width, height, [travel()], zoomType='pictureInPicture',
                          children=[view], spans=[m.span(1, 6)]))
    return document(m.scene('Gallery', 1920, 1080, 6, PAPER, layers))


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


EXAMPLES = {'welcome': make_welcome, 'tour': make_tour, 'gallery': make_gallery, 'shapes-and-strokes': make_shapes,
            'shadows-and-glow': make_shadows, 'groups-and-stacks': make_groups, 'zoom': make_zoom, 'effects-and-easing': make_effects}


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
