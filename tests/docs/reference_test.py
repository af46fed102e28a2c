#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The reference builds without a warning, every export has a brief, and every local link has a target."""
import argparse
import html.parser
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse
import xml.etree.ElementTree as ElementTree


def build(doxygen, doxyfile, output):
    """Returns Doxygen's warnings."""
    settings = (f'{doxyfile.read_text()}\nOUTPUT_DIRECTORY = "{output}"\n'
                "GENERATE_HTML = YES\nGENERATE_XML = YES\nXML_PROGRAMLISTING = NO\n")
    run = subprocess.run([doxygen, "-"], input=settings, text=True, capture_output=True)
    complaints = [line for line in (run.stdout + run.stderr).splitlines() if line.strip()]
    if run.returncode != 0 and not complaints:
        complaints = [f"doxygen ended with status {run.returncode}"]
    return complaints


def briefs(xml):
    """Returns {function: the text of its brief}."""
    texts = {}
    for path in xml.glob("*.xml"):
        for member in ElementTree.parse(path).iter("memberdef"):
            if member.get("kind") == "function":
                brief = member.find("briefdescription")
                text = " ".join("".join(brief.itertext()).split()) if brief is not None else ""
                texts[member.findtext("name")] = text
    return texts


class Page(html.parser.HTMLParser):
    """The names and the links of a page."""

    def __init__(self, path):
        super().__init__()
        self.names, self.links = set(), set()
        self.feed(path.read_text(errors="replace"))

    def handle_starttag(self, tag, attrs):
        for key, value in attrs:
            if key in ("id", "name") and tag != "meta":
                self.names.add(value)
            elif key in ("href", "src", "data") and value:
                self.links.add(value)


def is_local(link):
    return not re.match(r"[a-z]+:|//", link)


def broken_html_links(root):
    pages = {path: Page(path) for path in root.rglob("*.html")}
    for path, page in sorted(pages.items()):
        for link in sorted(filter(is_local, page.links)):
            file, _, name = urllib.parse.unquote(link).partition("#")
            target = (path.parent / file).resolve() if file else path
            if not target.is_file():
                yield f"{path.name}: {link} is no file"
            elif name and target in pages and name not in pages[target].names:
                yield f"{path.name}: {link} has no such place"


def anchors(text):
    """Returns the anchors that web sites make from Markdown headings."""
    headings = re.findall(r"^#+ +(.+?) *$", text, flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def broken_markdown_links(source):
    for path in sorted([*source.glob("*.md"), *(source / "docs").glob("*.md")]):
        text = re.sub(r"^```.*?^```", "", path.read_text(), flags=re.M | re.S)
        for link in filter(is_local, re.findall(r"\]\(([^)\s]+)\)", text)):
            file, _, name = urllib.parse.unquote(link).partition("#")
            target = path.parent / file if file else path
            if not target.exists():
                yield f"{path.name}: {link} is not there"
            elif name and target.suffix == ".md" and name not in anchors(target.read_text()):
                yield f"{path.name}: {link} has no such heading"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--doxyfile", type=pathlib.Path, required=True)
    parser.add_argument("--doxygen", default="doxygen")
    arguments = parser.parse_args()
    exports = (arguments.source / "src/exports.txt").read_text().split()
    with tempfile.TemporaryDirectory() as directory:
        output = pathlib.Path(directory).resolve()
        failures = build(arguments.doxygen, arguments.doxyfile, output)
        found = briefs(output / "xml")
        failures += [f"{name} has no brief" for name in exports if not found.get(name)]
        links = list(broken_html_links(output / "html"))
        # The tables of functions show the briefs.
        tables = "".join(path.read_text() for path in (output / "html").glob("group__*.html"))
        if tables.count('class="mdescRight"') < len(exports):
            failures.append("the tables of functions have no briefs")
        failures += links + list(broken_markdown_links(arguments.source))
    print("\n".join(failures) or f"{len(exports)} exports in the reference")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
