#!/usr/bin/env python3
"""Holds the floors: a folder of src/ includes only what lies below it.

    floors.py [PROJECT]

What a folder may include of the project is what it links, directly or through what it links (its CMakeLists.txt tells).
The compiler already misses a header that is not linked; this also sees an include that climbs out with "..", and a library
from outside in a folder that should not know it. Prints one line for each violation and ends with status 1 if there is any.
"""
import re
import sys
from pathlib import Path

# Libraries from outside: how their headers are spelled, and the folders that may include them.
OUTSIDE = {
    'Cairo': (r'cairo', {'platform'}),
    'Pango': (r'pango|glib|gobject|hb|harfbuzz|fontconfig|freetype|ft2build', {'platform'}),
    'FFmpeg': (r'libav|libsw', {'platform'}),
    'libcurl': (r'curl/', {'platform'}),
    'librsvg': (r'librsvg', {'platform'}),
    'libpng': (r'png', {'platform'}),
    'Qt': (r'Q[A-Z]|Qt', {'views', 'app'}),
    'ICU': (r'unicode/', {'foundation'}),
    'RapidJSON': (r'rapidjson/', {'foundation'}),
    'simdjson': (r'simdjson', {'foundation'}),
}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*(?:include|import)[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)
MODULE = re.compile(r'larkspool_module\(\s*(\w+)([^)]*)\)')
SOURCES = {'.h', '.hpp', '.cpp', '.cc', '.inl'}


def read_links(source_folder):
    """Folder name -> the folders that it links, as the CMakeLists.txt of each tells."""
    links = {}
    for listing in sorted(source_folder.glob('*/CMakeLists.txt')):
        module = MODULE.search(listing.read_text(encoding='utf-8'))
        if module is None:
            continue
        words = module.group(2).split()
        after = words[words.index('LINKS') + 1:] if 'LINKS' in words else []
        links[module.group(1)] = set(after[:after.index('OUTSIDE')] if 'OUTSIDE' in after else after)
    return links


def below(folder, links):
    """Every folder that `folder` may include, itself among them."""
    reached, waiting = set(), [folder]
    while waiting:
        name = waiting.pop()
        if name not in reached:
            reached.add(name)
            waiting += links.get(name, ())
    return reached


def problem_of(header, folder, may_include, folders):
    """What is wrong with the include, in words, or None."""
    parts = header.split('/')
    if '..' in parts or '.' in parts or header.startswith('/'):
        return 'includes run from src/, without "." or ".."'
    if len(parts) > 1 and parts[0] in folders:
        return None if parts[0] in may_include else f'{folder} does not link {parts[0]}'
    for library, (spelling, allowed) in OUTSIDE.items():
        if re.match(spelling, header) and folder not in allowed:
            return f'{library} belongs to {" and ".join(sorted(allowed))}'
    return None


def violations(project):
    source_folder = Path(project) / 'src'
    links = read_links(source_folder)
    folders = {path.name for path in source_folder.iterdir() if path.is_dir()}
    found = [f'src/{name}: no larkspool_module in its CMakeLists.txt' for name in sorted(folders - set(links))]
    for path in sorted(p for p in source_folder.rglob('*') if p.suffix in SOURCES):
        folder = path.relative_to(source_folder).parts[0]
        text = path.read_text(encoding='utf-8')
        for include in INCLUDE.finditer(text):
            problem = problem_of(include.group(2), folder, below(folder, links), folders)
            if problem:
                line = text.count('\n', 0, include.start(2)) + 1
                found.append(f'{path.relative_to(project)}:{line}: {include.group(2)}: {problem}')
    return found


if __name__ == '__main__':
    here = Path(__file__).resolve().parents[2]
    found = violations(Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else here)
    print('\n'.join(found) if found else 'Every include stays on its floor.')
    sys.exit(1 if found else 0)
