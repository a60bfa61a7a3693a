"""Table of the ratio benchmark: reads the JSON of
`stabletime_bench --benchmark_filter=Ratio/ --benchmark_format=json` on stdin
and prints, per family, numbering and caller count, the library's elements per
second, the gather-only reference's, and the library's share of the reference.
With repetitions, the median of each is used."""
import json
import re
import sys

NAME = re.compile(r"^Ratio/([^/]+)/([^/]+)/(entry|gather)/.*threads:(\d+)")


def main():
    data = json.load(sys.stdin)
    rates = {}
    medians = any(b.get("aggregate_name") == "median" for b in data["benchmarks"])
    for b in data["benchmarks"]:
        if medians and b.get("aggregate_name") != "median":
            continue
        if not medians and b.get("run_type") == "aggregate":
            continue
        m = NAME.match(b["name"])
        if not m:
            continue
        family, numbering, kind, threads = m.group(1), m.group(2), m.group(3), int(m.group(4))
        rates[(family, numbering, threads, kind)] = b["items_per_second"] / 1e6

    single = {}
    for (family, numbering, threads, kind), rate in rates.items():
        if threads == 1:
            single[(family, numbering, kind)] = rate
    print(f"{'family':8} {'numbering':10} {'callers':>7} {'M el/s':>9} {'ref M el/s':>10} "
          f"{'% of ref':>8} {'speed-up':>8}")
    order = []
    for key in rates:
        row = key[:3]
        if row not in order:
            order.append(row)
    for family, numbering, threads in order:
        entry = rates.get((family, numbering, threads, "entry"))
        ref = rates.get((family, numbering, threads, "gather"))
        if entry is None or ref is None:
            continue
        base = single.get((family, numbering, "entry"))
        speedup = f"{entry / base:7.1f}x" if base and threads > 1 else ""
        print(f"{family:8} {numbering:10} {threads:7d} {entry:9.2f} {ref:10.2f} "
              f"{100.0 * entry / ref:7.0f}% {speedup:>8}")


if __name__ == "__main__":
    main()
