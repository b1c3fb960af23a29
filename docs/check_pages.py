#!/usr/bin/env python3
"""Holds the pages to the tree: check_pages.py <project root>

- every C++ block of docs/client.md stands in the example, line by line, whatever its indentation;
- docs/engine-interface.md names every entry point of the two tables, and only those;
- every link of a page to a file or a heading leads somewhere.
"""
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
faults = []


def stripped(text):
    return [line.strip() for line in text.splitlines() if line.strip()]


def contains(lines, block):
    return any(lines[i : i + len(block)] == block for i in range(len(lines) - len(block) + 1))


def check_quotes(page, example):
    lines = stripped(example.read_text())
    blocks = re.findall(r"^```cpp\n(.*?)^```", page.read_text(), re.M | re.S)
    if not blocks:
        faults.append(f"{page.name} quotes nothing")
    for block in map(stripped, blocks):
        if not contains(lines, block):
            faults.append(f"{page.name} quotes what {example.name} does not say: {block[0]}")


def check_entry_points(page, tables):
    wanted = set()
    for table, column in tables:
        for row in re.findall(r"^ENTRY\((.*)", table.read_text(), re.M):
            wanted.add([word.strip() for word in row.split(",")][column])
    named = set(re.findall(r"`((?:RV|VxAlgo_FCU)_\w+)`", page.read_text()))
    named.discard("RV_CreatePlayerFromVod")  # the pointer's name, spoken of beside the entry's
    for name in sorted(wanted - named):
        faults.append(f"{page.name} does not name {name}")
    for name in sorted(named - wanted):
        faults.append(f"{page.name} names {name}, which no table has")


def anchors(page):
    """Of the headings, as the usual renderers of Markdown make them."""
    found = set()
    for heading in re.findall(r"^#+ +(.*)$", page.read_text(), re.M):
        kept = re.sub(r"[^\w\- ]", "", heading.lower())
        found.add(kept.replace(" ", "-"))
    return found


def check_links(page):
    for target in re.findall(r"\]\(([^)\s]+)\)", page.read_text()):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = target.partition("#")
        file = (page.parent / path) if path else page
        if not file.exists():
            faults.append(f"{page.name} links to {target}, which is not there")
        elif anchor and file.suffix == ".md" and anchor not in anchors(file):
            faults.append(f"{page.name} links to {target}: no such heading")


check_quotes(root / "docs/client.md", root / "docs/examples/one_stream.cpp")
check_entry_points(
    root / "docs/engine-interface.md",
    [
        (root / "VideoPlayer_Vx/EngineEntries.def", 1),
        (root / "VideoPlayer_FishEye/fec/AlgorithmEntries.def", 0),
    ],
)
for page in [*root.glob("*.md"), *root.glob("docs/*.md")]:
    check_links(page)
print("\n".join(faults) or "the pages agree with the tree")
sys.exit(1 if faults else 0)
