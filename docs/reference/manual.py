#!/usr/bin/env python3
"""Writes man pages from Doxygen's XML: one for each public header, and one for each page with a title such as brindle(7).

    docs/reference/manual.py XML_DIRECTORY DIRECTORY VERSION DATE

Doxygen's own man pages list each member twice, break its signature, and make groff warn.
"""
import pathlib
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree

WIDTH = 69          # of code, which no reader breaks: what is left of 80 columns beside the indents
TABLE_WIDTH = 70
TABLE_GAP = 3


class Manual:
    def __init__(self, xml, directory, version, date):
        self.xml, self.directory, self.version, self.date = pathlib.Path(xml), pathlib.Path(directory), version, date
        self.compounds = {}
        for compound in ElementTree.parse(self.xml / "index.xml").getroot():
            definition = ElementTree.parse(self.xml / f"{compound.get('refid')}.xml").getroot().find("compounddef")
            self.compounds[definition.get("id")] = definition

    def write(self, name, section, brief, body, aliases=()):
        folder = self.directory / f"man{section}"
        folder.mkdir(parents=True, exist_ok=True)
        head = f'.TH {name.upper()} {section} {self.date} "brindle {self.version}" brindle\n'
        title = ", ".join(code(word) for word in aliases) or code(name)
        text = f"{head}.SH NAME\n{title} \\- {brief}\n{body}"
        (folder / f"{name}.{section}").write_text(tidy(text), encoding="utf-8")
        for alias in aliases:
            (folder / f"{alias}.{section}").symlink_to(f"{name}.{section}")

    def write_pages(self):
        for definition in self.compounds.values():
            title = definition.findtext("title") or ""
            if match := re.fullmatch(r"([\w-]+)\((\d)\): (.+)", title):
                self.write(match[1], match[2], escape(match[3]), blocks(definition.find("detaileddescription")))

    def write_headers(self):
        for file in self.compounds.values():
            if file.get("kind") != "file" or not (things := self.things_of(file)):
                continue
            header = file.find("location").get("file").removeprefix("include/")
            first = things[0]
            brief = line(first.find("briefdescription/para")).rstrip(".")
            names = [qualified(thing) for thing in things if "operator" not in thing.findtext("name", "")]
            name = "brindle-" + pathlib.Path(header).stem.lower()
            self.write(name, 3, brief, "".join([
                ".SH SYNOPSIS\n.nf\n", f".B #include <{code(header)}>\n.fi\n",
                *[self.declaration(thing) for thing in things],
                ".SH DESCRIPTION\n", *[self.description(thing) for thing in things],
                *[self.nested(inner) for thing in things for inner in self.inner_classes(thing)],
                ".SH SEE ALSO\n", self.see_also(things, name)]), names)

    def things_of(self, file):
        """The public classes and functions of a header, the class first."""
        path = file.find("location").get("file")
        classes = [self.compounds.get(inner.get("refid")) for inner in file.findall("innerclass")]
        things = [thing for thing in classes if thing is not None and not self.is_nested(thing)
                  and thing.find("briefdescription/para") is not None]
        for namespace in self.compounds.values():
            if namespace.get("kind") == "namespace":
                things += [member for member in namespace.iter("memberdef") if member.find("location").get("file") == path]
        return things

    def is_nested(self, thing):
        return any(inner.get("refid") == thing.get("id") for outer in self.compounds.values()
                   if outer.get("kind") in ("class", "struct") for inner in outer.findall("innerclass"))

    def inner_classes(self, thing):
        inner = [self.compounds.get(inner.get("refid")) for inner in thing.findall("innerclass")]
        return [one for one in inner if one is not None and any(one.iter("memberdef"))]

    def declaration(self, thing):
        """As a header has it, without what is private."""
        if thing.tag == "memberdef":
            return ".PP\n.nf\n" + "\n".join(map(code, broken(signature(thing, qualified(thing)) + ";"))) + "\n.fi\n"
        lines = []
        if thing.find("templateparamlist") is not None:
            lines.append(f"template <{template_parameters(thing)}>")
        base = thing.find("basecompoundref")
        bases = f" : public {base.text}" if base is not None else ""
        lines.append(f"{thing.get('kind')} {qualified(thing)}{bases} {{")
        for access in ("public", "protected"):
            members = [member for member in in_order(thing)
                       if member.get("prot") == access and member.get("kind") != "friend"]
            inner = [one for one in self.inner_classes(thing) if one.get("prot") == access]
            if members or inner:
                lines += [f"{access}:"] if thing.get("kind") == "class" else []
                lines += [f"    {one.get('kind')} {qualified(one).split('::')[-1]};" for one in inner]
                for member in members:
                    lines += broken(signature(member) + ";", "    ")
        return ".PP\n.nf\n" + "\n".join(map(code, lines + ["};"])) + "\n.fi\n"

    def description(self, thing):
        text = blocks(thing.find("briefdescription")) + blocks(thing.find("detaileddescription"))
        if thing.tag == "memberdef":
            return heading(thing) + text if "operator" in thing.findtext("name") else text
        return text + self.members(thing)

    def members(self, thing):
        parts = []
        before = None
        for member in in_order(thing):
            text = blocks(member.find("briefdescription")) + blocks(member.find("detaileddescription"))
            if member.get("prot") == "private" or not text:
                continue
            if text == before:                      # one comment for several, such as comparisons
                parts.insert(-1, heading(member))
            else:
                parts += [heading(member), text]
            before = text
        return "".join(parts)

    def nested(self, inner):
        outer, name = qualified(inner).split("::")[-2:]
        return f".SH {outer}::{name}\n{self.description(inner)}"

    def see_also(self, things, own):
        pages = {pathlib.Path(file.find("location").get("file")).stem: file for file in self.compounds.values()
                 if file.get("kind") == "file" and self.things_of(file)}
        text = "".join("".join(thing.itertext()) for thing in things)
        related = [f"brindle-{stem.lower()}" for stem in sorted(pages) if re.search(rf"\b{stem}\b", text)]
        pages = [".BR brindle (7)"] + ([".BR brindle\\-config (5)"] if own == "brindle-configuration" else [])
        return ",\n".join(pages + [f".BR {code(page)} (3)" for page in related if page != own]) + "\n"


def qualified(thing):
    return (thing.findtext("qualifiedname") or thing.findtext("compoundname")).strip()


def in_order(thing):
    """The members as the header has them, which Doxygen sorts by kind."""
    return sorted(thing.iter("memberdef"), key=lambda member: int(member.find("location").get("line")))


def heading(member):
    return f".SS {whole(code(signature(member)))}\n"


def broken(declaration, indent=""):
    """A declaration on as many lines as it needs."""
    return textwrap.wrap(declaration, WIDTH, initial_indent=indent, subsequent_indent=indent + "    ",
                         break_on_hyphens=False)


def tidy(text):
    """Without paragraphs that are empty, which readers warn of."""
    text = re.sub(r"\n{2,}", "\n", text)
    text = re.sub(r"(?m)^((?:\.S[SH] .*\n)+)\.PP\n", r"\1", text)
    return re.sub(r"(?m)^\.PP\n(?=\.PP$|\.S[HS] |\.RE$|\.RS |\.IP |\.TP$|\Z)", "", text)


def template_parameters(thing):
    return ", ".join(f"{parameter.findtext('type')} {parameter.findtext('declname') or ''}".strip()
                     for parameter in thing.find("templateparamlist"))


def signature(member, name=None):
    kind = " ".join(plain(member.find("type")).split())
    words = [word for word, is_there in (("static", member.get("static") == "yes" and member.get("kind") != "friend"),
                                         ("explicit", member.get("explicit") == "yes"),
                                         ("virtual", member.get("virt") == "virtual")) if is_there]
    text = " ".join([*words, kind, (name or member.findtext("name")) + (member.findtext("argsstring") or "")])
    text = re.sub(r" ([&*]+) ?", r"\1 ", " ".join(text.split()))
    for written, wanted in (("( ", "("), (" )", ")"), ("< ", "<"), (" >", ">"), (")=", ") = ")):
        text = text.replace(written, wanted)
    return text


def plain(element):
    return "" if element is None else "".join(element.itertext())


def escape(text):
    """Prose for roff."""
    text = text.replace("\\", "\\e").replace("\u2212", "\\-").replace("--", "\\-\\-")
    return re.sub(r"[^\x00-\x7f]", lambda found: f"\\[u{ord(found[0]):04X}]", text)


def whole(text):
    """The same, where no word that looks like a name in a program is hyphenated."""
    words = re.split(r"(?<!\\) ", text)
    return " ".join("\\%" + word if re.search(r"::|\w\(|_|[a-z][A-Z]", word) else word for word in words)


def code(text):
    """Code for roff, where every hyphen is a minus and a dot at the start of a line is no request."""
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("\u2212", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")
    text = text.replace("^", "\\(ha").replace("~", "\\(ti").replace('"', "\\(dq")
    text = re.sub(r"[^\x00-\x7f]", lambda found: f"\\[u{ord(found[0]):04X}]", text)
    return re.sub(r"^(?=[.'])", "\\\\&", text, flags=re.M)


def line(element):
    """The words of a paragraph, on one line."""
    parts = [escape(element.text or "")]
    for child in element:
        if child.tag in ("computeroutput", "bold"):
            parts.append(f"\\fB{code(plain(child))}\\fR")
        elif child.tag == "emphasis":
            parts.append(f"\\fI{escape(plain(child))}\\fR")
        elif child.tag == "ulink":
            address = code(child.get("url"))
            parts.append(address if child.get("url") == plain(child) else f"{line(child)} <{address}>")
        elif child.tag in ("ndash", "mdash"):
            parts.append("\\-\\-")
        elif child.tag == "nonbreakablespace":
            parts.append("\\ ")
        elif child.tag == "linebreak":
            parts.append(" ")
        elif child.tag == "ref":
            parts.append(line(child))
        elif child.tag != "anchor":
            raise ValueError(f"<{child.tag}> within a line: {plain(child)[:60]}")
        parts.append(escape(child.tail or ""))
    return whole(re.sub(r"^(?=[.'])", "\\\\&", " ".join("".join(parts).split())))


BLOCKS = {"itemizedlist", "orderedlist", "programlisting", "simplesect", "parameterlist", "table", "verbatim"}


def blocks(element):
    """Everything in a description."""
    if element is None:
        return ""
    parts = []
    for child in element:
        if child.tag == "para":
            parts += paragraph(child)
        elif child.tag in ("sect1", "sect2", "sect3"):
            title = escape(child.findtext("title"))
            parts.append(f".SH {title.upper()}\n" if child.tag == "sect1" else f".SS {title}\n")
            parts.append(blocks(child))
        elif child.tag != "title":
            raise ValueError(f"<{child.tag}> in a description")
    return "".join(parts)


def paragraph(para):
    """Doxygen puts lists, code and tables into the paragraph before them."""
    words = ElementTree.Element("para")
    words.text = para.text
    for child in para:
        if child.tag in BLOCKS:
            if text := line(words):
                yield f".PP\n{text}\n"
            yield block(child)
            words = ElementTree.Element("para")
            words.text = child.tail
        else:
            words.append(child)
    if text := line(words):
        yield f".PP\n{text}\n"


def block(element):
    if element.tag == "programlisting":
        return listing([listing_line(one) for one in element.findall("codeline")])
    if element.tag == "verbatim":
        return listing(plain(element).strip("\n").split("\n"))
    if element.tag in ("itemizedlist", "orderedlist"):
        return items(element)
    if element.tag == "simplesect":
        return f".PP\n.I {element.get('kind').capitalize()}s:\n" + indented(blocks(element))
    if element.tag == "parameterlist":
        return parameters(element)
    return table(element)


def indented(text):
    return f".RS 4\n{text.removeprefix('.PP' + chr(10))}.RE\n"


def items(element):
    parts = []
    for number, item in enumerate(element.findall("listitem"), 1):
        mark = "\\(bu 2" if element.tag == "itemizedlist" else f"{number}. 3"
        first, *rest = blocks(item).split("\n", 1)
        text = rest[0] if first == ".PP" else blocks(item)
        head, _, more = text.partition("\n")
        parts.append(f".IP {mark}\n{head}\n" + (f".RS {3 if 'bu' in mark else 4}\n{more}.RE\n" if more.strip() else ""))
    return "".join(parts) + ".PP\n"


def parameters(element):
    parts = []
    for item in element.findall("parameteritem"):
        name = plain(item.find("parameternamelist")).strip()
        kind = "\\fRthrows " if element.get("kind") == "exception" else ""
        text = blocks(item.find("parameterdescription")).removeprefix(".PP\n")
        parts.append(f".TP\n{kind}\\fI{code(name)}\\fR\n{text}")
    return "".join(parts) + ".PP\n"


def table(element):
    """By tbl, which breaks long cells."""
    rows = [[cell_text(entry) for entry in row.findall("entry")] for row in element.findall("row")]
    widths = share([[seen(cell) for cell in column] for column in zip(*rows)])
    form = " ".join(f"lw({width}n)" for width in widths)
    out = [".TS", "tab(\t) nospaces;", " ".join(f"lbw({width}n)" for width in widths), f"{form}."]
    for row in rows:
        out.append("\t".join(f"T{{\n.na\n.nh\n{cell}\nT}}" for cell in row))
    return "\n".join(out) + "\n.TE\n"


def seen(cell):
    """What of a cell is seen, with what cannot be broken as one word."""
    text = re.sub(r"\\f.|\\%|\\&", "", cell).replace("\\ ", "_")
    return re.sub(r"\\\(..|\\\[[^]]*\]|\\.", "_", text)


def share(columns):
    """Of the width of the page for each column: what it needs, where the widest give as far as their longest word."""
    least = [max(len(word) for cell in column for word in cell.split() or [""]) for column in columns]
    widths = [max(map(len, column)) for column in columns]
    while sum(widths) > TABLE_WIDTH - TABLE_GAP * (len(columns) - 1):
        giving = [index for index, width in enumerate(widths) if width > least[index]]
        widths[max(giving, key=lambda index: widths[index])] -= 1
    return widths


def cell_text(entry):
    """With code in one piece, where that fits into a column."""
    for part in entry.iter("computeroutput"):
        if len(plain(part)) <= 24 and part.text:
            part.text = part.text.replace(" ", "\u00a0")
    return (" ".join(line(para) for para in entry.findall("para")) or "\\&").replace("\\[u00A0]", "\\ ")


def listing_line(codeline):
    def text(element):
        out = [element.text or ""]
        for child in element:
            out.append(" " if child.tag == "sp" else text(child))
            out.append(child.tail or "")
        return "".join(out)
    return "".join(text(part) for part in codeline).rstrip()


def listing(lines):
    """Code; a comment that makes its line too long stands above it."""
    fitting = []
    for one in lines:
        match = re.fullmatch(r"(.*?\S) +(//.*)", one)
        if len(one) <= WIDTH or not match:
            fitting.append(one)
            continue
        before, comment = match.groups()
        if len(before) + 2 + len(comment) <= WIDTH:
            fitting.append(f"{before}  {comment}")
            continue
        indent = max((gap.end() for gap in re.finditer(r"^ *|  +", before)), default=0)
        fitting += textwrap.wrap(comment, WIDTH, initial_indent=" " * indent, subsequent_indent=" " * indent + "// ")
        fitting.append(before)
    return '.IP "" 2\n.EX\n' + "\n".join(code(one) or "\\&" for one in fitting) + "\n.EE\n.PP\n"


def main():
    manual = Manual(*sys.argv[1:])
    manual.write_pages()
    manual.write_headers()


if __name__ == "__main__":
    main()
