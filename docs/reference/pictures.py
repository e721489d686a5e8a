"""Draws the Mermaid blocks of the guides as SVG, for a page whose style sheet colours them.

Forges draw the same blocks by themselves. Of their language this reads what the guides use: states with their transitions,
and sequences of messages and notes.
"""
import html
import re
import subprocess
import textwrap

COLUMN = 160       # pixels between two participants
LINE = 17          # pixels from one line of text to the next
LETTERS = 19       # how many fit between two participants
LETTER = 7.6       # the width of one, in pixels, as a font for a screen has it


def draw(text):
    kind, *lines = (line.strip() for line in text.strip().splitlines())
    if kind == "stateDiagram-v2":
        return states(lines)
    if kind == "sequenceDiagram":
        return sequence(lines)
    raise ValueError(f"'{kind}' is no picture that is drawn here")


def states(lines):
    dot = ['digraph { bgcolor="transparent" margin=0 nodesep=0.5 ranksep=0.45',
           'node [shape=box style=rounded fontname="DejaVu Sans" fontsize=13 margin="0.18,0.07" height=0.4]',
           'edge [fontname="DejaVu Sans" fontsize=12 arrowsize=0.7]']
    for line in lines:
        match = re.fullmatch(r"(\S+) --> (\S+): (.+)", line)
        if not match:
            raise ValueError(f"'{line}' is no transition")
        source, target, label = match.groups()
        if source == "[*]":
            source = "start"
            dot.append('start [shape=circle label="" width=0.16 height=0.16 class=filled]')
        label = "\\l".join(textwrap.wrap(label, 16)) + "\\l"
        dot.append(f'{source} -> {target} [label="  {label}"]')
    drawn = subprocess.run(["dot", "-Tsvg"], input="\n".join(dot) + "}", capture_output=True, text=True, check=True).stdout
    drawn = re.sub(r"<!--.*?-->\n?|<title>.*?</title>\n?", "", drawn[drawn.index("<svg"):], flags=re.S)
    return re.sub(r"<svg .*?>", lambda found: frame(*re.search(r'viewBox="[^ ]+ [^ ]+ ([^ ]+) ([^"]+)"', found[0]).groups()),
                  drawn, count=1, flags=re.S)


def frame(width, height):
    width, height = float(width), float(height)
    return (f'<svg class="picture" role="img" viewBox="0 0 {width:g} {height:g}" style="max-width: {width * 1.2:.0f}px" '
            'xmlns="http://www.w3.org/2000/svg">')


def sequence(lines):
    names = {}                     # what a participant is called in the text: what is written above it
    steps = []
    for line in lines:
        if match := re.fullmatch(r"participant (\w+)(?: as (.+))?", line):
            names[match[1]] = match[2] or match[1]
        elif match := re.fullmatch(r"(\w+)(--?>>)(\w+): (.+)", line):
            steps.append((match[1], match[3], "answer" if match[2] == "-->>" else "", match[4]))
        elif match := re.fullmatch(r"Note over (\w+): (.+)", line):
            steps.append((match[1], None, "", match[2]))
        else:
            raise ValueError(f"'{line}' is no step")
    edge = max([COLUMN / 2] + [breadth(wrapped(label)) / 2 + 1 for _, target, _, label in steps if target is None])
    centre = {name: edge + COLUMN * index for index, name in enumerate(names)}

    shapes = []
    y = 50
    for source, target, look, label in steps:
        words = wrapped(label)
        if target is None:
            height = LINE * len(words) + 10
            width = breadth(words)
            x = centre[source] - width / 2
            shapes.append(f'<rect class="note" x="{x:g}" y="{y}" width="{width:g}" height="{height}" rx="3"/>')
            shapes += lettering(centre[source], y + 17, words)
            y += height + 12
            continue
        y += LINE * len(words)
        start, end = centre[source], centre[target]
        shapes += lettering((start + end) / 2, y - LINE * (len(words) - 1) - 6, words)
        tip = -7 if end > start else 7
        shapes.append(f'<path class="line {look}" d="M{start:g} {y}H{end:g}"/>')
        shapes.append(f'<path class="filled" d="M{end:g} {y}l{tip} -4v8z"/>')
        y += 18
    lines_of_life = [f'<path class="life" d="M{x:g} 32V{y}"/>' for x in centre.values()]
    heads = []
    for name, x in centre.items():
        heads.append(f'<rect class="box" x="{x - 70:g}" y="1" width="140" height="31" rx="5"/>')
        heads += lettering(x, 21, [names[name]])
    return "\n".join([frame(COLUMN * (len(names) - 1) + 2 * edge, y + 4), *lines_of_life, *heads, *shapes, "</svg>"])


def wrapped(label):
    return textwrap.wrap(label, LETTERS, break_long_words=False)


def breadth(words):
    """Of the box around a note."""
    return LETTER * max(map(len, words)) + 20


def lettering(x, y, lines):
    return [f'<text x="{x:g}" y="{y + LINE * index}" text-anchor="middle">{html.escape(line)}</text>'
            for index, line in enumerate(lines)]
