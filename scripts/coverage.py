#!/usr/bin/env python3
"""Line and branch coverage of src/, per folder, from gcovr's JSON report.

Usage: coverage.py REPORT.json [--lines 95] [--branches 90]
Exits 1 when the whole of src/ is below either floor.

Branches count only on lines that hold a decision (if, ?, &&, ||, a loop, a
switch). GCC also gives a branch to every call that may throw, on any line;
those exception-only branches say nothing about which paths the tests take,
and gcov does not mark all of them as such.
"""
import argparse
import collections
import json
import re
import sys

DECISION = re.compile(r"\b(if|for|while|switch|case|catch)\b|\?|&&|\|\|")

parser = argparse.ArgumentParser()
parser.add_argument("report")
parser.add_argument("--lines", type=float, default=95.0)
parser.add_argument("--branches", type=float, default=90.0)
args = parser.parse_args()

with open(args.report) as f:
    files = json.load(f)["files"]

folders = collections.OrderedDict()
for entry in sorted(files, key=lambda e: e["file"]):
    name = entry["file"]
    if not name.startswith("src/"):
        continue
    with open(name, encoding="utf-8") as f:
        source = f.read().split("\n")
    folder = name.split("/")[1] if name.count("/") > 1 else "."
    t = folders.setdefault(folder, [0, 0, 0, 0])
    for line in entry["lines"]:
        if line.get("gcovr/noncode"):
            continue
        t[1] += 1
        t[0] += line["count"] > 0
        text = source[line["line_number"] - 1] if line["line_number"] <= len(source) else ""
        code = text.split("//")[0]
        if not DECISION.search(code):
            continue
        for branch in line["branches"]:
            if branch.get("throw"):
                continue
            t[3] += 1
            t[2] += branch["count"] > 0


def percent(covered, total):
    return 100.0 * covered / total if total else 100.0


print(f"{'src/':<14}{'lines':>16}{'branches':>18}")
whole = [0, 0, 0, 0]
for folder, t in folders.items():
    whole = [a + b for a, b in zip(whole, t)]
    print(f"  {folder + '/':<12}{percent(t[0], t[1]):7.1f}% {t[0]:>4}/{t[1]:<4}"
          f"{percent(t[2], t[3]):8.1f}% {t[2]:>4}/{t[3]:<4}")
lines, branches = percent(whole[0], whole[1]), percent(whole[2], whole[3])
print(f"  {'all':<12}{lines:7.1f}% {whole[0]:>4}/{whole[1]:<4}"
      f"{branches:8.1f}% {whole[2]:>4}/{whole[3]:<4}")
failed = False
if lines < args.lines:
    print(f"coverage: lines {lines:.1f}% below the floor of {args.lines}%")
    failed = True
if branches < args.branches:
    print(f"coverage: branches {branches:.1f}% below the floor of {args.branches}%")
    failed = True
sys.exit(1 if failed else 0)
