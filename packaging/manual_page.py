"""Writes a manual page from a page in Markdown, which may take sections of the documents, so that both
are one text.

usage: manual_page.py VERSION FOLDER_OF_DOCUMENTS SOURCE PAGE

A line "{include FILE}" stands for the text of a document below its title, "{include FILE: SECTION;
SECTION}" for these sections of it. Of Markdown the headings, paragraphs, lists, tables, fenced blocks,
links, code and emphasis are known.
"""
import pathlib
import re
import sys

PAGES = {"manual.md": "tarntest(1)", "q32.md": "q32(5)", "simulator.md": "tarn-simulator.ini(5)"}
ITEM = re.compile(r"(\d+\.|-) +(.*)")
BLOCK = re.compile(rf"#+ |\||```|{ITEM.pattern}")


def main(version, documents, source, page):
    lines = [line for text in pathlib.Path(source).read_text().splitlines()
             for line in included(text, pathlib.Path(documents))]
    name, section = re.fullmatch(r"# (\S+)\((\d)\)", lines[0]).groups()
    title = f'.TH "{escaped(name.upper())}" {section} "" "TarnTest {version}"'
    pathlib.Path(page).write_text("\n".join((title, *roff(lines[1:]))) + "\n")


def included(line, documents):
    match = re.fullmatch(r"\{include ([^:}]+)(?:: (.*))?\}", line)
    if not match:
        return [line]
    _, text = (documents / match[1]).read_text().split("\n", 1)
    sections = {part.partition("\n")[0]: part for part in re.split(r"^(?=## )", text, flags=re.M)}
    wanted = [f"## {title}" for title in match[2].split("; ")] if match[2] else sections
    return "".join(map(sections.get, wanted)).splitlines()


def roff(lines):
    """The lines of the page, block by block."""
    while lines:
        line = lines[0]
        if line.startswith("#"):
            yield {2: ".SH ", 3: ".SS "}[line.index(" ")] + f'"{escaped(line.lstrip("# ").upper())}"'
            lines = lines[1:]
        elif line.startswith("```"):
            end = lines.index("```", 1)
            yield from (".PP", ".RS 4", ".nf", *map(escaped, lines[1:end]), ".fi", ".RE")
            lines = lines[end + 1:]
        elif line.startswith("|"):
            rows, lines = taken(lines, lambda text: text.startswith("|"))
            yield from table(rows)
        elif ITEM.match(line):
            item, lines = taken(lines, lambda text: text.startswith("  "))
            mark, text = ITEM.match(" ".join(map(str.strip, item))).groups()
            yield from (f'.IP "{mark if mark != "-" else chr(92) + "(bu"}" 4', spans(text))
        elif not line.strip() or line.startswith("!["):
            lines = lines[1:]
        else:
            text, lines = taken(lines, lambda text: text.strip() and not BLOCK.match(text))
            yield from (".PP", spans(" ".join(text)))


def taken(lines, belongs):
    """The first line and those after it that belong to it, and the rest."""
    count = next((n for n, line in enumerate(lines[1:], 1) if not belongs(line)), len(lines))
    return lines[:count], lines[count:]


def table(rows):
    """A paragraph per row, with the first column as its tag and the names of the others in it."""
    names, _, *rows = [[cell.strip() for cell in row.strip("|").split("|")] for row in rows]
    are_words = len({row[0] for row in rows}) == len(rows) and not rows[0][0][:1].isdigit()
    for row in rows:
        tag = row[0] if are_words else f"{names[0]} {row[0]}"
        cells = [cell if len(names) == 2 else f"{name}: {cell}"
                 for name, cell in zip(names[1:], row[1:]) if cell]
        yield from (".TP", rf"\fB{spans(re.sub('[*`]', '', tag))}\fR", spans("; ".join(cells).rstrip(".") + "."))


def spans(text):
    """A paragraph with its emphasis, code and links."""
    text = re.sub(r"\[([^]]+)\]\(([^)]+)\)", lambda link: PAGES.get(link[2], link[1]), text)
    pieces = re.split(r"(`[^`]+`|\*\*[^*]+\*\*|\*[^*]+\*)", text)
    for n in range(1, len(pieces), 2):
        font = "I" if re.match(r"\*[^*]", pieces[n]) else "B"
        pieces[n] = rf"\f{font}\%{escaped(pieces[n].strip('*`'))}\fR"
    line = "".join(escaped(piece) if n % 2 == 0 else piece for n, piece in enumerate(pieces))
    return r"\&" + line if line.startswith((".", "'")) else line


def escaped(text):
    """Text without the meaning that characters have in roff."""
    text = text.replace("\\", "\\e").replace("-", "\\-").replace('"', "\\(dq")
    return r"\&" + text if text.startswith((".", "'")) else text


main(*sys.argv[1:])
