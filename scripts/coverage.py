#!/usr/bin/env python3
"""Line and branch coverage of src/, per folder, from `llvm-cov export
-summary-only` (Clang's source-based coverage).

Usage: coverage.py REPORT.json [--lines 95] [--branches 90]
Exits 1 when the whole of src/ is below either floor.

A branch is one outcome of a condition: each operand of && and ||, and each
if, loop, ?: and case, counts its true and its false outcome. Exceptions are
not branches, so the count says only which paths of the code the tests take.
"""
import argparse
import collections
import json
import os
import sys

parser = argparse.ArgumentParser()
parser.add_argument("report")
parser.add_argument("--lines", type=float, default=95.0)
parser.add_argument("--branches", type=float, default=90.0)
args = parser.parse_args()

with open(args.report) as f:
    files = json.load(f)["data"][0]["files"]

root = os.getcwd() + "/"
folders = collections.OrderedDict()
for entry in sorted(files, key=lambda e: e["filename"]):
    name = entry["filename"].removeprefix(root)
    if not name.startswith("src/"):
        continue
    folder = name.split("/")[1] if name.count("/") > 1 else "."
    t = folders.setdefault(folder, [0, 0, 0, 0])
    summary = entry["summary"]
    for i, kind in ((0, "lines"), (2, "branches")):
        t[i] += summary[kind]["covered"]
        t[i + 1] += summary[kind]["count"]


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
failed = not folders
if failed:
    print("coverage: the report holds no file of src/")
if lines < args.lines:
    print(f"coverage: lines {lines:.1f}% below the floor of {args.lines}%")
    failed = True
if branches < args.branches:
    print(f"coverage: branches {branches:.1f}% below the floor of {args.branches}%")
    failed = True
sys.exit(1 if failed else 0)
