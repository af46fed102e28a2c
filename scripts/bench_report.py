#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes docs/performance.md and its plots from the results of the benchmarks.

Rows are named <work>/<who>/<size>; `ours` and `rival` of the same work and size make a ratio.
"""
import collections
import datetime
import json
import pathlib
import platform
import sys

import matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plot  # noqa: E402  (after the choice of the backend)

SETS = ["AVX-512", "AVX2", "SSSE3"]


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":")[1].strip()
    return platform.machine()


def read(directory):
    """{bench: {(work, size): {set: {who: calls a second, in the bench's own unit}}}}"""
    benches = collections.defaultdict(lambda: collections.defaultdict(dict))
    for path in sorted(pathlib.Path(directory).glob("*.json")):
        instruction_set, bench, _ = path.name.split(".")
        for row in json.loads(path.read_text())["benchmarks"]:
            parts = row["name"].removesuffix("/manual_time").split("/")
            work, who, size = parts[0], parts[1], "/".join(parts[2:])
            speed = row.get("items_per_second", row.get("blocks/s"))
            if speed is None:
                continue
            cell = benches[bench][(work, size)].setdefault(instruction_set, {})
            cell[who] = speed
    return benches


def number(value):
    for unit, scale in (("G", 1e9), ("M", 1e6), ("k", 1e3)):
        if value >= scale:
            return f"{value / scale:.3g} {unit}"
    return f"{value:.3g}"


def table(rows):
    lines = ["| work | " + " | ".join(f"{s} | ratio" for s in SETS) + " | rival |",
             "|---|" + "---:|---:|" * len(SETS) + "---:|"]
    for (work, size), cells in rows.items():
        rival = max((cell.get("rival", 0) for cell in cells.values()), default=0)
        line = [f"{work} {size}"]
        for name in SETS:
            ours = cells.get(name, {}).get("ours")
            own_rival = cells.get(name, {}).get("rival")
            line.append(number(ours) if ours else "")
            line.append(f"{ours / own_rival:.2f}" if ours and own_rival else "")
        line.append(number(rival) if rival else "")
        lines.append("| " + " | ".join(line) + " |")
    return "\n".join(lines)


def draw(rows, path):
    """Bars of the ratios to the rival, where there is one."""
    names = [key for key, cells in rows.items()
             if any("ours" in c and "rival" in c for c in cells.values())]
    if not names:
        return False
    figure, axes = plot.subplots(figsize=(9, 0.5 * len(names) + 1.2))
    for i, instruction_set in enumerate(SETS):
        ratios = []
        for key in names:
            cell = rows[key].get(instruction_set, {})
            both = "ours" in cell and "rival" in cell
            ratios.append(cell["ours"] / cell["rival"] if both else 0)
        axes.barh([y + 0.27 * (i - 1) for y in range(len(names))], ratios, height=0.25,
                  label=instruction_set)
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_yticks(range(len(names)), [f"{work} {size}" for work, size in names], fontsize=7)
    axes.invert_yaxis()
    axes.set_xlabel("speed, as a multiple of the rival's best kernel for this processor")
    axes.legend(fontsize=7)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plot.close(figure)
    return True


def main():
    results, docs = sys.argv[1], pathlib.Path(sys.argv[2])
    parts = [
        "# Performance", "",
        f"Measured by `scripts/bench.sh` on {datetime.date.today()}: {processor()}, one core, g++, "
        "release build. Items (pixels, samples, blocks) a second; the ratio is to the rival in the "
        "same run. The rival is libjpeg-turbo's best kernel for this processor (AVX2 where it has "
        "one) also in the columns of the older instruction sets; for textures stb_dxt (encoding) and "
        "libsquish (decoding), for JPEG 2000 OpenJPEG, for JPEG XR libjxr (refinement bits: a plain "
        "loop), for PackBits libtiff, for prediction a copy. Rows without a rival have none that "
        "does the same work.", ""]
    for bench, rows in read(results).items():
        title = bench.replace("_bench", "").replace("_", " ")
        parts += [f"## {title.capitalize()}", ""]
        picture = f"performance-{title.replace(' ', '-')}.svg"
        if draw(rows, docs / picture):
            parts += [f"![ratios]({picture})", ""]
        parts += [table(rows), ""]
    (docs / "performance.md").write_text("\n".join(parts))


if __name__ == "__main__":
    main()
