#!/usr/bin/env python3
"""Prints line, branch and MC/DC coverage of source folders; fails below 100 %.

    coverage_report.py EXPORT.json EXPORT.lcov FOLDER...

The two files are llvm-cov's exports, text and lcov. A line that no test can reach carries a
comment "coverage: excluded, REASON"; whatever begins on it does not count.
"""
import json
import os
import sys

MARK = "coverage: excluded, "


class Tally:
    """Covered and missed items of one kind; the missed ones as (file, line, what)."""

    def __init__(self, name):
        self.name, self.covered, self.missed = name, 0, []

    def add(self, covered, place):
        if covered:
            self.covered += 1
        else:
            self.missed.append(place)

    def __str__(self):
        total = self.covered + len(self.missed)
        share = 100.0 * self.covered / total if total else 100.0
        return f"{self.name:10} {self.covered:5} of {total:5}  {share:6.2f} %"


def excluded_lines(path):
    with open(path, encoding="utf-8") as source:
        return {n for n, text in enumerate(source, 1) if MARK in text}


def line_counts(lcov):
    """{file: {line: count}}"""
    counts, current = {}, None
    with open(lcov, encoding="utf-8") as export:
        for row in export:
            if row.startswith("SF:"):
                current = counts.setdefault(row[3:].strip(), {})
            elif row.startswith("DA:"):
                line, count = row[3:].split(",")[:2]
                current[int(line)] = int(count)
    return counts


def main(export, lcov, *folders):
    roots = tuple(os.path.abspath(folder) + os.sep for folder in folders)
    with open(export, encoding="utf-8") as text:
        files = json.load(text)["data"][0]["files"]
    counts = line_counts(lcov)
    lines, branches, mcdc = Tally("lines"), Tally("branches"), Tally("MC/DC")
    exclusions = 0
    for entry in files:
        path = entry["filename"]
        if not path.startswith(roots):
            continue
        excluded = excluded_lines(path)
        exclusions += len(excluded)
        name = os.path.relpath(path)
        for line, count in counts.get(path, {}).items():
            if line not in excluded:
                lines.add(count > 0, (name, line, "line"))
        for branch in entry["branches"]:
            line, column, taken, not_taken = branch[0], branch[1], branch[4], branch[5]
            if line not in excluded:
                branches.add(taken > 0, (name, line, f"column {column} never true"))
                branches.add(not_taken > 0, (name, line, f"column {column} never false"))
        for record in entry.get("mcdc_records", []):
            if record[0] not in excluded:
                for number, covered in enumerate(record[-1], 1):
                    mcdc.add(covered, (name, record[0], f"condition {number} decides nothing"))
    for tally in (lines, branches, mcdc):
        for name, line, what in sorted(tally.missed):
            print(f"{name}:{line}: {tally.name}: {what}")
    for tally in (lines, branches, mcdc):
        print(tally)
    print(f"excluded in place: {exclusions} lines")
    return 1 if lines.missed or branches.missed or mcdc.missed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
