#!/usr/bin/env python3
"""Makes the music of the tour: tour-music.m4a beside this script, or the file that is named.

    python3 make_music.py [FILE]      a name that ends in .wav gives the sound before it is encoded

Python 3 with its standard library, and the ffmpeg command to encode. 120 beats a minute; four beats to a scene of the tour, and
one to each transition of its film, so that pictures begin on a beat. Soft swells lead over the transitions. The sound itself is
the same in every run.
"""
import array
import math
import random
import subprocess
import sys
import tempfile
import wave
from pathlib import Path

RATE = 44100
BEAT = 0.5
LENGTH = 14.5             # the tour asks for 14 seconds
PEAK = 10 ** (-3 / 20)    # of full scale
TRANSITIONS = [2 + 2.5 * n for n in range(5)]   # when they begin in the film of all scenes

NOTES = {name: n for n, name in enumerate(('C', 'C#', 'D', 'D#', 'E', 'F', 'F#', 'G', 'G#', 'A', 'A#', 'B'))}


def hertz(note):
    """"A4" is 440."""
    return 440 * 2 ** ((NOTES[note[:-1]] - NOTES['A']) / 12 + int(note[-1]) - 4)


class Stereo:
    def __init__(self):
        self.left = array.array('d', bytes(8 * round(LENGTH * RATE)))
        self.right = array.array('d', bytes(8 * round(LENGTH * RATE)))

    def add(self, begin, samples, place=0.0):
        """`place` goes from -1, left, to 1, right."""
        first = round(begin * RATE)
        left, right = math.cos((place + 1) * math.pi / 4), math.sin((place + 1) * math.pi / 4)
        for i, value in enumerate(samples[:len(self.left) - first], first):
            self.left[i] += left * value
            self.right[i] += right * value


def tone(frequency, seconds, partials, envelope):
    """A sum of sines: each partial is a multiple of the frequency, a strength, and how fast it dies away."""
    count = round(seconds * RATE)
    samples = [0.0] * count
    for multiple, strength, decay in partials:
        step = 2 * math.pi * frequency * multiple / RATE
        for i in range(count):
            t = i / RATE
            samples[i] += strength * math.exp(-decay * t) * math.sin(step * i)
    return [value * envelope(i / RATE) for i, value in enumerate(samples)]


def pluck(note, strength, seconds=0.9):
    partials = [(1, 1, 4), (2, 0.5, 7), (3, 0.26, 10), (4.01, 0.14, 16), (6.02, 0.07, 24)]
    return tone(hertz(note), seconds, partials,
                lambda t: strength * min(t / 0.004, 1) * min((seconds - t) / 0.05, 1))


def bass(note, strength, seconds):
    return tone(hertz(note), seconds, [(1, 1, 1.5), (2, 0.35, 4), (3, 0.12, 8)],
                lambda t: strength * min(t / 0.01, 1) * min((seconds - t) / 0.06, 1))


def pad(notes, strength, seconds, rise=0.25):
    """Each note twice, a little apart in pitch."""
    total = [0.0] * round(seconds * RATE)
    for n, note in enumerate(notes):
        for detune in (0.9985, 1.0015):
            voice = tone(hertz(note) * detune, seconds, [(1, 1, 0), (2, 0.28, 0), (3, 0.1, 0)],
                         lambda t, n=n: strength * min(t / rise, 1) * min((seconds - t) / 0.3, 1) * (1 + 0.15 * math.sin(2.1 * t + n)))
            total = [a + b for a, b in zip(total, voice)]
    return total


def kick(strength):
    phase, samples = 0.0, []
    for i in range(round(0.32 * RATE)):
        t = i / RATE
        phase += 2 * math.pi * (48 + 110 * math.exp(-28 * t)) / RATE
        samples.append(strength * math.exp(-9 * t) * math.sin(phase))
    return samples


def noise(chance, seconds, envelope, low, high):
    """Noise between two corner frequencies, either of which may be a function of time."""
    def at(corner, t):
        return corner(t) if callable(corner) else corner

    samples, smooth, slow = [], 0.0, 0.0
    for i in range(round(seconds * RATE)):
        t = i / RATE
        smooth += (1 - math.exp(-2 * math.pi * at(high, t) / RATE)) * (chance.uniform(-1, 1) - smooth)
        slow += (1 - math.exp(-2 * math.pi * at(low, t) / RATE)) * (smooth - slow)
        samples.append(envelope(t) * (smooth - slow))
    return samples


def hat(chance, strength):
    return noise(chance, 0.09, lambda t: strength * math.exp(-55 * t), 6000, 16000)


def clap(chance, strength):
    return noise(chance, 0.22, lambda t: strength * (math.exp(-22 * t) if t > 0.02 else abs(math.sin(150 * math.pi * t))), 900, 5000)


def swell(chance, strength):
    """Rises over half a second and falls away over another."""
    return noise(chance, 1.0, lambda t: strength * (t / 0.5) ** 2 if t < 0.5 else strength * math.exp(-7 * (t - 0.5)),
                 lambda t: 200 + 900 * t, lambda t: 900 + 7000 * math.sin(math.pi * t) ** 2)


# A bar each: the chord of the pad, the bass, and what is plucked in eighths.
BARS = (
    (('D4', 'F#4', 'A4', 'E5'), 'D2', ('D5', 'A4', 'E5', 'A4', 'F#5', 'E5', 'A4', 'D5')),
    (('D4', 'F#4', 'B4', 'E5'), 'B1', ('F#5', 'B4', 'D5', 'B4', 'A5', 'F#5', 'D5', 'B4')),
    (('B3', 'D4', 'G4', 'F#5'), 'G1', ('G5', 'D5', 'B4', 'D5', 'F#5', 'D5', 'G5', 'A5')),
    (('C#4', 'E4', 'A4', 'B4'), 'A1', ('E5', 'C#5', 'A4', 'C#5', 'B5', 'A5', 'E5', 'C#5')),
    (('D4', 'F#4', 'B4', 'A4'), 'B1', ('D5', 'F#5', 'A5', 'F#5', 'B5', 'A5', 'F#5', 'D5')),
    (('B3', 'D4', 'G4', 'E5'), 'G1', ('G5', 'B5', 'D5', 'G5', 'A5', 'E5', 'C#5', 'A5')),
)


def tune(chance):
    dry, wet = Stereo(), Stereo()   # the second goes through the echo as well
    for bar, (chord, low, plucked) in enumerate(BARS):
        start = 4 * BEAT * bar
        wet.add(start, pad(chord, 0.05, 4 * BEAT + 0.3))
        for n, note in enumerate(plucked):
            wet.add(start + n * BEAT / 2, pluck(note, 0.2 if n % 2 == 0 else 0.14), 0.5 * math.sin(1.9 * n + bar))
        if bar == 0:
            continue   # the first bar has no ground yet
        for n, seconds in ((0, 0.7), (1.5, 0.45), (2.5, 0.7)):
            dry.add(start + n * BEAT, bass(low[:-1] + str(int(low[-1]) + 1), 0.3, seconds))
        for n in range(4):
            dry.add(start + n * BEAT, kick(0.5))
            dry.add(start + (n + 0.5) * BEAT, hat(chance, 0.5), 0.3)
            if n % 2 == 1:
                wet.add(start + n * BEAT, clap(chance, 0.3), -0.15)
    end = 4 * BEAT * len(BARS)
    wet.add(end, pad(('D4', 'F#4', 'A4', 'E5'), 0.08, 2.5, rise=0.02))
    dry.add(end, bass('D2', 0.4, 2.4))
    dry.add(end, kick(0.6))
    for n, note in enumerate(('D5', 'A5', 'D6', 'F#6')):
        wet.add(end + 0.06 * n, pluck(note, 0.2, 2), 0.3 * (n - 1.5))
    for begin in TRANSITIONS:
        wet.add(begin - 0.25, swell(chance, 0.3), 0.4 * math.sin(begin))
    return dry, wet


def with_echo(dry, wet, delay=1.5 * BEAT / 2, back=0.34):
    """The echo crosses from one side to the other."""
    step = round(delay * RATE)
    left, right = array.array('d', wet.left), array.array('d', wet.right)
    for i in range(step, len(left)):
        left[i] += back * right[i - step]
        right[i] += back * left[i - step]
    return [a + b for a, b in zip(dry.left, left)], [a + b for a, b in zip(dry.right, right)]


def frames(left, right):
    """16 bits, with gentle bends of the loudest, and a short fade at the end."""
    loudest = max(max(map(abs, left)), max(map(abs, right)))
    gain = 1.4 / loudest
    fade = round(0.3 * RATE)
    out = array.array('h')
    for i, pair in enumerate(zip(left, right)):
        end = min((len(left) - i) / fade, 1)
        out.extend(round(32767 * PEAK * end * math.tanh(gain * value) / math.tanh(1.4)) for value in pair)
    return out.tobytes()


def main(arguments):
    target = Path(arguments[0]) if arguments else Path(__file__).parent / 'tour-music.m4a'
    sound = frames(*with_echo(*tune(random.Random(7))))
    with tempfile.TemporaryDirectory() as folder:
        plain = target if target.suffix == '.wav' else Path(folder) / 'music.wav'
        with wave.open(str(plain), 'wb') as file:
            file.setnchannels(2)
            file.setsampwidth(2)
            file.setframerate(RATE)
            file.writeframes(sound)
        if plain != target:
            subprocess.run(['ffmpeg', '-nostdin', '-v', 'error', '-y', '-i', plain, '-c:a', 'aac', '-b:a', '96k', '-map_metadata', '-1',
                            '-fflags', '+bitexact', '-flags:a', '+bitexact', target], check=True)


if __name__ == '__main__':
    main(sys.argv[1:])
