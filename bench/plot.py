#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Draws the table that qelutf_bench prints (markdown on stdin or in a file) as
# one SVG: GB/s of the 1 MiB inputs per pair and corpus for qelutf's bounded
# entry point, ICU, iconv and memcpy, and ns per call of the 64 B inputs.
#
#   bench/plot.py TABLE.md OUT.svg
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt


def rows(lines):
    header = None
    for line in lines:
        cells = [c.strip() for c in line.strip().strip("|").split("|")]
        if cells and cells[0] == "conversion":
            header = cells
            continue
        if header is None or len(cells) != len(header) or set(cells[0]) <= set("-: "):
            continue
        yield dict(zip(header, cells))


def number(cell):
    try:
        return float(cell.replace("ns", "").replace("×", "").strip())
    except ValueError:
        return None


def main():
    table, out = sys.argv[1], sys.argv[2]
    with open(table, encoding="utf-8") as f:
        data = list(rows(f))
    big = [r for r in data if r.get("input") == "1 MiB"]
    small = [r for r in data if r.get("input") == "64 B"]
    fig, (top, bottom) = plt.subplots(2, 1, figsize=(16, 10))
    series = [("bounded", "qelutf"), ("ICU", "ICU"), ("iconv", "iconv"), ("memcpy", "memcpy")]
    width = 0.2
    for i, (column, label) in enumerate(series):
        xs = [j + (i - 1.5) * width for j in range(len(big))]
        top.bar(xs, [number(r[column]) or 0 for r in big], width, label=label)
    top.set_yscale("log")
    top.set_ylabel("GB/s of input (1 MiB)")
    top.set_xticks(range(len(big)))
    top.set_xticklabels([f'{r["conversion"]}\n{r["corpus"]}' for r in big], rotation=90, fontsize=7)
    top.legend()
    for i, (column, label) in enumerate([("bounded", "qelutf"), ("ICU", "ICU")]):
        xs = [j + (i - 0.5) * width * 2 for j in range(len(small))]
        bottom.bar(xs, [number(r[column]) or 0 for r in small], width * 2, label=label)
    bottom.set_ylabel("ns per call (64 B)")
    bottom.set_xticks(range(len(small)))
    bottom.set_xticklabels([f'{r["conversion"]}\n{r["corpus"]}' for r in small], rotation=90, fontsize=7)
    bottom.legend()
    fig.tight_layout()
    fig.savefig(out)


if __name__ == "__main__":
    main()
