#!/usr/bin/env python3
"""Turns a Markdown file of the tree into what Doxygen 1.9.4 reads as the same page: its INPUT_FILTER.

Doxygen makes up names for headings where forges take their words, knows no link to a file that is not a page, and takes
pictures for code. A link that leads nowhere becomes a reference that Doxygen cannot resolve, which is its error.
"""
import html
import os
import re
import sys

# Code blocks with fences, indented code blocks, headings; what lies between them is prose.
BLOCKS = re.compile(r"(?P<fenced>^```(?P<language>[^\n]*)\n(?P<body>.*?)^```$)"
                    r"|(?P<indented>(?:(?<=\n\n)|\A)(?:    [^\n]*\n|\n(?=    ))+)"
                    r"|(?P<heading>^#+ [^\n]*$)", re.S | re.M)

# Where a public header is not named after its class.
CLASS_OF_HEADER = {"Uuid": "generateUuid"}


def page_name(path):
    """docs/guides/timers.md is the page timers."""
    stem = os.path.splitext(os.path.basename(path))[0]
    return "index" if path == "README.md" else stem.lower().replace(".", "-")


def example_name(path):
    return "example-" + os.path.basename(path).replace(".", "-")


def section_name(page, words, taken):
    """The name that forges give a heading, behind that of its page, since Doxygen's names are the whole reference's."""
    words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", words)
    slug = re.sub(r"[^\w\- ]", "", words.lower()).strip().replace(" ", "-")
    count = taken.get(slug, 0)
    taken[slug] = count + 1
    return f"{page}-{slug}" + (f"-{count}" if count else "")


def title_of(path):
    with open(path, encoding="utf-8") as file:
        return file.readline().strip("# \n")


def link(path, words, target):
    """A Markdown link in the file at this path, with a target that Doxygen knows."""
    if re.match(r"[a-z]+:", target):
        return f"[{words}]({target})"
    file, _, anchor = target.partition("#")
    file = os.path.normpath(os.path.join(os.path.dirname(path), file)) if file else path
    if not os.path.exists(file):
        return f"[{words}](@ref {file}-is-not-in-the-tree)"
    code, words = words, words.replace("`", "")      # which Doxygen would show as they are
    if file.endswith(".md"):
        page = page_name(file)
        if words.endswith(".md"):
            words = title_of(file)
        return f"[{words}](@ref {page}{'-' + anchor if anchor else ''})"
    if file.startswith("include/brindle/") and file.endswith(".hpp"):
        name = os.path.splitext(os.path.relpath(file, "include/brindle"))[0].replace("/", "::")
        stem = name.split("::")[-1]
        return f"[{words}](@ref brindle::{name[:-len(stem)]}{CLASS_OF_HEADER.get(stem, stem)})"
    if file.startswith("examples/") and file.endswith((".cpp", ".hpp", ".conf")):
        return f"[{words}](@ref {example_name(file)})"
    return code if "`" in code else f"`{words}`"


def prose(path, text):
    """Links and images in text that has no code blocks; code within a line stays."""
    def replace(found):
        if found["code"]:
            return code(found["code"])
        if found["image"]:
            return f"![{found['words']}]({os.path.basename(found['target'])})"
        return link(path, " ".join(found["words"].split()), found["target"])
    return re.sub(r"(?P<code>`[^`]*`)|(?P<image>!?)\[(?P<words>(?:`[^`]*`|[^\]`])*)\]\((?P<target>[^)\s]+)\)", replace, text)


def code(span):
    """Doxygen would take a command within a line's code for its own."""
    if not re.search(r"@[a-z]", span):
        return span
    return f"<code>{html.escape(span.strip('`'), quote=False).replace('@', '@@')}</code>"


def heading(path, line, taken):
    level, words = re.fullmatch(r"(#+) (.*)", line).groups()
    page = page_name(path)
    if level == "#":
        return f"# {prose(path, words)}" + ("" if page == "index" else f" {{#{page}}}")
    if page == "index":                               # whose sections Doxygen would list in the sidebar before all pages
        return f"@anchor {section_name(page, words, taken)}\n<h{len(level)}>{words}</h{len(level)}>"
    return f"{level} {prose(path, words)} {{#{section_name(page, words, taken)}}}"


DOT = """bgcolor=transparent;
node [shape=box style=rounded fontname="DejaVu Sans" fontsize=13];
edge [fontname="DejaVu Sans" fontsize=12];
"[*]" [shape=circle label="" width=0.16];
"""
ARC = {"->>": "=>", "-->>": ">>"}


def diagram(text):
    """What forges draw with Mermaid, for the two programs that Doxygen has: transitions of states, or a sequence."""
    kind, body = text.split("\n", 1)
    if kind == "stateDiagram-v2":
        arrows = re.sub(r"(?m)^ *(\S+) --> (\S+): (.+)$", r'"\1" -> "\2" [label="  \3"];', body)
        return f"@dot\ndigraph {{\n{DOT}{arrows}}}\n@enddot"
    participants = re.findall(r"(?m)^ *participant (\w+)(?: as (.+))?$", body)
    lines = ['wordwraparcs=1, hscale="1.3";', ", ".join(f'{name} [label="{label or name}"]' for name, label in participants) + ";"]
    for note, source, arrow, target, label in re.findall(
            r"(?m)^ *(?:Note over (\w+)|(\w+)(--?>>)(\w+)): (.+)$", body):
        lines.append(f'{note} note {note} [label="{label}"];' if note
                     else f'{source}{ARC[arrow]}{target} [label="{label}"];')
    return "\n".join(["@msc", *lines, "@endmsc"])


def page(path, text):
    parts = []
    taken = {}
    last = 0
    for found in BLOCKS.finditer(text):
        parts.append(prose(path, text[last:found.start()]))
        last = found.end()
        if found["heading"]:
            parts.append(heading(path, found["heading"], taken))
        elif found["language"] == "mermaid":
            parts.append(diagram(found["body"]))
        else:
            parts.append(found[0])
    parts.append(prose(path, text[last:]))
    return "".join(parts)


def main():
    path = os.path.relpath(sys.argv[1])
    with open(path, encoding="utf-8") as file:
        sys.stdout.write(page(path, file.read()))


if __name__ == "__main__":
    main()
