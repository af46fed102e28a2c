#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Draws speed against quality of texture encoding on the pictures of scripts/demo.sh or any others,
and prints the same as a table.

    texture_pareto.py TOOL docs/bc1-pareto.svg bc1 [--rows N] PICTURE.ppm ...

TOOL is build/release/bench/texture_quality. The format is bc1, bc3 or bc7.
"""
import os
import subprocess
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402

SETS = (("AVX-512", "0x700", "#0072b2"), ("AVX2", "0x300", "#d55e00"), ("SSSE3", "0", "#009e73"))
RIVALS = ("stb_dxt", "squish")
RIVAL_COLOR = "#666666"


def measure(tool, mask, arguments):
    done = subprocess.run([tool, *arguments], check=True, capture_output=True, text=True,
                          env={**os.environ, "ZEPCORE_CPU_FEATURES": mask})
    rows = [line.split() for line in done.stdout.splitlines()]
    return {row[0]: (float(row[1]), float(row[2]), [float(v) for v in row[3:]]) for row in rows}


def draw(axes, points, color, label):
    axes.scatter([p[0] for p in points.values()], [p[1] for p in points.values()], s=18,
                 color=color, label=label)
    best = [m for m in points if not any(p[0] > points[m][0] and p[1] > points[m][1]
                                         for p in points.values())]
    best.sort(key=lambda m: points[m][0])
    axes.plot([points[m][0] for m in best], [points[m][1] for m in best], color=color, lw=0.8)
    for name, point in points.items():
        axes.annotate(name, point[:2], xytext=(4, 3), textcoords="offset points", fontsize=7)


def main():
    tool, target, form, *arguments = sys.argv[1:]
    results, rivals = {}, {}
    for name, mask, _ in SETS:  # the rivals do not depend on the set
        own = ["--coders", ",".join(results[SETS[0][0]])] if results else []
        rows = measure(tool, mask, [form, *own, *arguments])
        rivals |= {k: v for k, v in rows.items() if k.startswith(RIVALS)}
        results[name] = {k: v for k, v in rows.items() if k not in rivals}
    plt.rcParams.update({"svg.hashsalt": "zepjp", "font.size": 9, "svg.fonttype": "none"})
    figure, axes = plt.subplots(figsize=(7, 4))
    for name, _, color in SETS:
        draw(axes, results[name], color, name)
    if rivals:
        draw(axes, rivals, RIVAL_COLOR, "rivals")
    axes.set_xscale("log")
    axes.set_xlabel("million pixels a second, one core")
    axes.set_ylabel("PSNR, dB")
    axes.margins(x=0.12)
    axes.grid(alpha=0.3)
    axes.legend(frameon=False)
    figure.tight_layout()
    figure.savefig(target, metadata={"Date": None})
    titles = [name for name, _, _ in SETS] + ["PSNR, dB"]
    shares = form == "bc7"
    print("| mode | " + " | ".join(titles) + (" | blocks by mode |" if shares else " |"))
    print("|---|" + "---|" * (len(titles) + shares))
    for mode, (speed, psnr, modes) in (results["AVX-512"] | rivals).items():
        speeds = [results[name].get(mode, (speed,))[0] for name, _, _ in SETS]
        cells = [f"{float(f'{v:.3g}'):g}" for v in speeds]  # without an exponent
        cells.append(f"{psnr:.2f}")
        if shares:
            cells.append(", ".join(f"{i}: {100 * v:.0f} %" for i, v in enumerate(modes)
                                   if v >= 0.005) if int(mode) < 0 else "")
        print(f"| {mode} | " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main()
