#!/usr/bin/env python3
"""The floors check sees what it should see, shown on made-up projects."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = Path(__file__).with_name('floors.py')

HOUSE = {
    'src/foundation/CMakeLists.txt': 'larkspool_module(foundation OUTSIDE ICU)\n',
    'src/document/CMakeLists.txt': '# records\nlarkspool_module(document LINKS foundation)\n',
    'src/platform/CMakeLists.txt': 'larkspool_module(platform LINKS foundation OUTSIDE CAIRO)\n',
    'src/evaluation/CMakeLists.txt': 'larkspool_module(evaluation LINKS document)\n',
    'src/rendering/CMakeLists.txt': 'larkspool_module(rendering LINKS evaluation\n  platform)\n',
    'src/views/CMakeLists.txt': 'larkspool_module(views LINKS rendering OUTSIDE Qt6::Widgets)\n',
    'src/foundation/text.h': '#include <fmt/format.h>\n#include <unicode/brkiter.h>\n',
    'src/platform/raster.cpp': '#include "platform/raster.h"\n#include <cairo.h>\n#include <pango/pangocairo.h>\n',
    'src/platform/movie.cpp': 'extern "C" {\n#include <libavcodec/avcodec.h>\n}\n',
    'src/rendering/frame.cpp': '#include "foundation/text.h"\n#include "document/layer.h"\n#include <cmath>\n',
    'src/views/canvas.cpp': '#include <QWidget>\n#include "rendering/frame.h"\n',
}


def check(changes):
    """Writes the house with `changes` laid over it and runs the check: its exit status and its lines."""
    with tempfile.TemporaryDirectory() as project:
        for name, text in {**HOUSE, **changes}.items():
            path = Path(project) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding='utf-8')
        run = subprocess.run([sys.executable, CHECK, project], capture_output=True, text=True, check=False)
        return run.returncode, run.stdout.splitlines()


class Floors(unittest.TestCase):
    def refuses(self, name, text, *words):
        status, lines = check({name: text})
        self.assertEqual((status, len(lines)), (1, 1), lines)
        for word in words:
            self.assertIn(word, lines[0])

    def test_a_house_in_order_passes(self):
        self.assertEqual(check({}), (0, ['Every include stays on its floor.']))

    def test_a_folder_above(self):
        self.refuses('src/document/layer.cpp', '#pragma once\n\n#include "rendering/frame.h"\n',
                     'src/document/layer.cpp:3', 'document does not link rendering')

    def test_a_sibling_that_is_not_linked(self):
        self.refuses('src/evaluation/pulses.h', '#include "platform/raster.h"\n', 'evaluation does not link platform')

    def test_angle_brackets_and_spaces_hide_nothing(self):
        self.refuses('src/document/layer.h', '  #  include <evaluation/pulses.h>\n', 'document does not link evaluation')

    def test_climbing_out_of_the_folder(self):
        self.refuses('src/document/layer.h', '#include "../rendering/frame.h"\n', 'without "." or ".."')
        self.refuses('src/rendering/raster/shadow.cpp', '#include "rendering/../views/canvas.h"\n', 'without "." or ".."')

    def test_libraries_from_outside_stay_in_their_folders(self):
        for folder, header, library in (('rendering', 'cairo.h', 'Cairo'), ('rendering', 'cairo/cairo.h', 'Cairo'),
                                        ('document', 'pango/pango.h', 'Pango'), ('rendering', 'libavutil/frame.h', 'FFmpeg'),
                                        ('rendering', 'libswscale/swscale.h', 'FFmpeg'), ('evaluation', 'curl/curl.h', 'libcurl'),
                                        ('rendering', 'librsvg/rsvg.h', 'librsvg'), ('rendering', 'png.h', 'libpng'),
                                        ('rendering', 'QImage', 'Qt'), ('platform', 'QtCore/QTimer', 'Qt'),
                                        ('document', 'rapidjson/reader.h', 'RapidJSON'), ('document', 'simdjson.h', 'simdjson'),
                                        ('platform', 'unicode/uchar.h', 'ICU')):
            with self.subTest(header=header):
                self.refuses(f'src/{folder}/new.cpp', f'#include <{header}>\n', header, library)

    def test_a_folder_that_is_no_module(self):
        self.refuses('src/utils/strings.h', '', 'src/utils', 'no larkspool_module')


if __name__ == '__main__':
    unittest.main()
