#!/usr/bin/env python3
"""Reads the JSON output of brelvane_bench and prints what the targets are
judged on: the catalogue against its floor, the by-name overhead, the members
above twice their floor, and the worst ten.

    brelvane_bench --benchmark_format=json [--benchmark_repetitions=5] > bench.json
    python3 bench/summary.py bench.json [--worst N]
"""
import argparse
import json
import statistics


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("report")
    parser.add_argument("--worst", type=int, default=10)
    args = parser.parse_args()
    with open(args.report, encoding="utf-8") as f:
        runs = json.load(f)["benchmarks"]
    # With --benchmark_repetitions, the medians of the repetitions stand for
    # each benchmark; otherwise its single run does.
    medians = {r["run_name"]: r for r in runs
               if r.get("run_type") == "aggregate" and r.get("aggregate_name") == "median"}
    by_name = medians or {r["name"]: r for r in runs if r.get("run_type", "iteration") == "iteration"}

    for kind in ("direct", "byname"):
        r = by_name.get(f"catalogue/{kind}")
        if r:
            print(f"catalogue/{kind}: {r['cpu_time']:.0f} ns, floor {r['floor_ns']:.0f} ns, "
                  f"ratio {r['ratio']:.2f}, {r['allocs']:.0f} allocations")

    members = sorted({n[: -len("/direct")] for n in by_name
                      if n.startswith("member/") and n.endswith("/direct")})
    if not members:
        return
    direct = [by_name[m + "/direct"] for m in members]
    overhead = [by_name[m + "/byname"]["cpu_time"] - by_name[m + "/direct"]["cpu_time"]
                for m in members if m + "/byname" in by_name]
    if overhead:
        print(f"by name minus direct: median {statistics.median(overhead):.1f} ns "
              f"over {len(overhead)} members")
    above = [r for r in direct if r["ratio"] > 2]
    print(f"members above 2x their floor: {len(above)} of {len(direct)}")
    print()
    print("| Member | ns | floor ns | ratio | allocs | host calls | out bytes |")
    print("|---|---:|---:|---:|---:|---:|---:|")
    for r in sorted(direct, key=lambda r: -r["ratio"])[: args.worst]:
        name = r.get("run_name", r["name"])[len("member/"): -len("/direct")]
        print(f"| {name} | {r['cpu_time']:.0f} | {r['floor_ns']:.0f} | {r['ratio']:.2f} | "
              f"{r['allocs']:.0f} | {r['host_calls']:.0f} | {r['out_bytes']:.0f} |")


if __name__ == "__main__":
    main()
