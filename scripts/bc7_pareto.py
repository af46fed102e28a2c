#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Draws speed against quality of BC7 encoding on the pictures of scripts/demo.sh or any others, and prints
the same as a table.

    bc7_pareto.py build/release/bench/bc7_quality docs/bc7-pareto.svg [--rows N] PICTURE.ppm ...
"""
import os
import subprocess
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402

SETS = (("AVX-512", "0x700", "#0072b2"), ("AVX2", "0x300", "#d55e00"), ("SSSE3", "0", "#009e73"))


def measure(tool, mask, arguments):
    done = subprocess.run([tool, *arguments], check=True, capture_output=True, text=True,
                          env={**os.environ, "ZEPCORE_CPU_FEATURES": mask})
    rows = [line.split() for line in done.stdout.splitlines()]
    return {int(row[0]): (float(row[1]), float(row[2]), [float(v) for v in row[3:]]) for row in rows}


def main():
    tool, target, *arguments = sys.argv[1:]
    results = {name: measure(tool, mask, arguments) for name, mask, _ in SETS}
    plt.rcParams.update({"svg.hashsalt": "zepjp", "font.size": 9, "svg.fonttype": "none"})
    figure, axes = plt.subplots(figsize=(7, 4))
    for name, _, color in SETS:
        points = results[name]
        axes.scatter([p[0] for p in points.values()], [p[1] for p in points.values()], s=18,
                     color=color, label=name)
        best = [m for m in points if not any(p[0] > points[m][0] and p[1] > points[m][1]
                                             for p in points.values())]
        best.sort(key=lambda m: points[m][0])
        axes.plot([points[m][0] for m in best], [points[m][1] for m in best], color=color, lw=0.8)
        for mode, point in points.items():
            axes.annotate(str(mode), point[:2], xytext=(4, 3), textcoords="offset points", fontsize=7)
    axes.set_xscale("log")
    axes.set_xlabel("million pixels a second, one core")
    axes.set_ylabel("PSNR, dB")
    axes.grid(alpha=0.3)
    axes.legend(frameon=False)
    figure.tight_layout()
    figure.savefig(target, metadata={"Date": None})
    print("| mode | " + " | ".join(name for name, _, _ in SETS) + " | PSNR, dB | blocks by mode |")
    print("|---|" + "---|" * (len(SETS) + 2))
    for mode, (_, psnr, shares) in results["AVX-512"].items():
        chosen = ", ".join(f"{i}: {100 * v:.0f} %" for i, v in enumerate(shares) if v >= 0.005)
        speeds = " | ".join(f"{results[name][mode][0]:.3g}" for name, _, _ in SETS)
        print(f"| {mode} | {speeds} | {psnr:.2f} | {chosen if mode < 0 else ''} |")


if __name__ == "__main__":
    main()
