#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes docs/performance.md, its plots and docs/performance.json from the results of the
benchmarks.

  bench_report.py RESULTS DOCS [--compare OLD.json]
  bench_report.py RESULTS DOCS --doubtful    prints the rows that are worth another run
"""
import argparse
import json
import math
import pathlib
import re

import matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plot  # noqa: E402  (after the choice of the backend)

import bench_results  # noqa: E402

SETS = ["AVX-512", "AVX2", "SSSE3"]
COMPILERS = ["g++", "clang++"]
NOISE = 0.97

HEAD = """# Performance

Measured by `scripts/bench.sh` on {date}: {processor}, one core, release builds by g++ and by clang.
All numbers are in `docs/performance.json`, and `scripts/bench.sh --compare OLD.json`
shows rows that became slower.

Speeds are items (pixels, samples, blocks) a second, built by g++. *Ratio* is our speed divided by
the rival's in the same run, for g++ / clang. The rivals:

- JPEG: libjpeg-turbo with its kernels for AVX2, also in the columns of the other sets. The column
  *SSE2* is the ratio of our SSSE3 kernel to its kernel for SSE2 (only where it has both).
- JPEG 2000: OpenJPEG. JPEG XR: libjxr (refinement bits: a plain loop). PackBits: libtiff.
- Textures: stb_dxt (encoding) and libsquish (decoding).
- Prediction: plain loops, turned into vectors by the same compiler.

Rows without a rival have none that does the same work. *Bound* is a copy or a fill of the same
bytes. [performance-notes.md](performance-notes.md) lists experiments. Whole codecs on two
threads: [performance-threads.md](performance-threads.md).
"""


def number(value):
    for unit, scale in (("G", 1e9), ("M", 1e6), ("k", 1e3)):
        if value >= scale:
            return f"{value / scale:.3g} {unit}"
    return f"{value:.3g}"


def ratio(row, compiler, instructions):
    cell = row.get(compiler, {}).get(instructions, {})
    return cell["ours"] / cell["rival"] if {"ours", "rival"} <= cell.keys() else None


def ratios(row, instructions):
    """The ratios of all compilers, as text."""
    found = [ratio(row, compiler, instructions) for compiler in COMPILERS]
    return " / ".join(f"{r:.2f}" for r in found if r)


def best(row, who):
    speeds = [cell.get(who, 0) for cell in row.get("g++", {}).values()]
    return number(max(speeds)) if any(speeds) else ""


def table(rows):
    fair = any(ratios(row, "SSE2") for row in rows.values())
    names = [column for name in SETS for column in (name, "ratio")] + ["SSE2"] * fair
    lines = ["| work | " + " | ".join(names) + " | rival | bound |",
             "|---|" + "---:|" * (len(names) + 2)]
    for work, row in rows.items():
        line = [work]
        for name in SETS:
            ours = row.get("g++", {}).get(name, {}).get("ours")
            line += [number(ours) if ours else "", ratios(row, name)]
        line += [ratios(row, "SSE2")] * fair
        lines.append("| " + " | ".join(line + [best(row, "rival"), best(row, "bound")]) + " |")
    return "\n".join(lines)


def draw(rows, path):
    """Bars of the ratios to the rival, built by g++."""
    names = [work for work, row in rows.items() if any(ratio(row, "g++", s) for s in SETS)]
    if not names:
        return False
    figure, axes = plot.subplots(figsize=(9, 0.5 * len(names) + 1.2))
    for i, instructions in enumerate(SETS):
        axes.barh([y + 0.27 * (i - 1) for y in range(len(names))],
                  [ratio(rows[work], "g++", instructions) or 0 for work in names],
                  height=0.25, label=instructions)
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_yticks(range(len(names)), names, fontsize=7)
    axes.invert_yaxis()
    axes.set_xlabel("speed, as a multiple of the rival's best kernel for this processor")
    axes.legend(fontsize=7)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plot.close(figure)
    return True


def means(families):
    """Geometric means of the ratios, a row for each family with a rival."""
    columns = SETS + ["SSE2"]
    lines = ["| family | rows | " + " | ".join(columns) + " |",
             "|---|---:|" + "---:|" * len(columns)]
    for family, rows in families.items():
        count = sum(1 for row in rows.values() if ratios(row, "AVX2"))
        if count == 0:
            continue
        cells = []
        for instructions in columns:
            means_of = []
            for compiler in COMPILERS:
                found = [ratio(row, compiler, instructions) for row in rows.values()]
                logs = [math.log(r) for r in found if r]
                if logs:
                    means_of.append(f"{math.exp(sum(logs) / len(logs)):.2f}")
            cells.append(" / ".join(means_of))
        lines.append(f"| {family} | {count} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def reason(limits, text):
    """The first entry of bench/limits.json that matches `<work> <set>`."""
    return next((limit["reason"] for limit in limits if re.search(limit["rows"], text)), "not known")


def fair_set(row, instructions):
    """For SSSE3 the rival's kernel of the same age counts, where it can be chosen."""
    return "SSE2" if instructions == "SSSE3" and ratios(row, "SSE2") else instructions


def below(families, limits):
    """The rows that are slower than the rival on some set."""
    lines = ["| work | set | ratio | reason |", "|---|---|---:|---|"]
    for rows in families.values():
        for work, row in rows.items():
            for instructions in SETS:
                fair = fair_set(row, instructions)
                found = [r for r in (ratio(row, c, fair) for c in COMPILERS) if r]
                if not found or min(found) >= 1:
                    continue
                why = reason(limits, f"{work} {instructions}")
                lines.append(f"| {work} | {instructions} | {ratios(row, fair)} | {why} |")
    return "\n".join(lines)


def against_older(families, limits):
    """The rows that are slower on an instruction set than on the older one, in both builds: the
    sets run one after another, and a shared machine changes its speed meanwhile."""
    lines = ["| work | sets | speed | reason |", "|---|---|---:|---|"]
    for rows in families.values():
        for work, row in rows.items():
            for newer, older in zip(SETS, SETS[1:]):
                found = []
                for compiler in COMPILERS:
                    ours = [row.get(compiler, {}).get(s, {}).get("ours") for s in (newer, older)]
                    found += [ours[0] / ours[1]] if all(ours) else []
                if found and max(found) < NOISE:
                    lines.append(f"| {work} | {newer}, {older} | "
                                 + " / ".join(f"{r:.2f}" for r in found)
                                 + f" | {reason(limits, f'{work} {newer} older')} |")
    return "\n".join(lines)


def is_doubtful(row, compiler):
    """True if a row looks slower than the rival, or than on an older instruction set."""
    ratios_found = [ratio(row, compiler, fair_set(row, name)) for name in SETS]
    speeds = [row.get(compiler, {}).get(name, {}).get("ours") for name in SETS]
    pairs = [(newer, older) for newer, older in zip(speeds, speeds[1:]) if newer and older]
    return (any(found and found < 1 for found in ratios_found)
            or any(newer < NOISE * older for newer, older in pairs))


def print_doubtful(families):
    """A line for each program: compiler, program, and a pattern for its doubtful rows."""
    for family, rows in families.items():
        for compiler in COMPILERS:
            patterns = []
            for name, row in rows.items():
                if is_doubtful(row, compiler):
                    work, _, size = name.partition(" ")
                    patterns.append(f"{work}/.*{size}".replace(" ", "."))
            if patterns:
                print(compiler, family.replace(" ", "_") + "_bench",
                      f"^({'|'.join(patterns)})(/manual_time)?$")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("docs", type=pathlib.Path)
    parser.add_argument("--compare", type=pathlib.Path, metavar="OLD.json")
    parser.add_argument("--doubtful", action="store_true")
    arguments = parser.parse_args()
    if arguments.doubtful:
        print_doubtful(bench_results.collect(arguments.results)["families"])
        return
    old = bench_results.load(arguments.compare) if arguments.compare else None
    results = bench_results.collect(arguments.results)
    bench_results.save(results, arguments.docs / "performance.json")

    families = results["families"]
    limits = json.loads(pathlib.Path("bench/limits.json").read_text())
    parts = [HEAD.format(**results), "## Geometric means of the ratios", "", means(families), "",
             "## Rows below the rival", "", below(families, limits), "",
             "## Rows slower than on an older instruction set", "",
             "In both builds, by more than 3 %.", "", against_older(families, limits), ""]
    for family, rows in families.items():
        parts += [f"## {family.capitalize()}", ""]
        picture = f"performance-{family.replace(' ', '-')}.svg"
        if draw(rows, arguments.docs / picture):
            parts += [f"![ratios]({picture})", ""]
        parts += [table(rows), ""]
    (arguments.docs / "performance.md").write_text("\n".join(parts))
    if old:
        bench_results.print_slower(old, results)


if __name__ == "__main__":
    main()
