# SPDX-License-Identifier: MIT
"""The results of the benchmarks: reads what the programs wrote, keeps it as one JSON file, and
compares two such files.

Rows are named <work>/<who>/<size>. `ours` and `rival` of the same work and size make a ratio;
`bound` is a copy or a fill of the same bytes. Speeds are items (pixels, samples, blocks) a second.
"""
import collections
import datetime
import json
import pathlib
import platform

SLOWER = 0.95


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":")[1].strip()
    return platform.machine()


def speeds(path):
    """{(work, size): {who: items a second}} of one run of a program."""
    found = collections.defaultdict(dict)
    for run in json.loads(path.read_text())["benchmarks"]:
        speed = run.get("items_per_second", run.get("blocks/s"))
        if run["run_type"] != "iteration" or speed is None:
            continue
        work, who, *size = run["run_name"].removesuffix("/manual_time").split("/")
        found[(work, "/".join(size))][who] = speed
    return found


def collect(directory):
    """All files <round>.<compiler>.<set>.<bench>.json of a directory, the best of the rounds."""
    families = collections.defaultdict(lambda: collections.defaultdict(dict))
    for path in sorted(pathlib.Path(directory).glob("*.json")):
        _, compiler, instructions, bench, _ = path.name.split(".")
        family = bench.replace("_bench", "").replace("_", " ")
        for row, cell in speeds(path).items():
            sets = families[family][" ".join(row)].setdefault(compiler, {})
            best = sets.setdefault(instructions, {})
            for who, speed in cell.items():
                best[who] = max(best.get(who, 0), float(f"{speed:.4g}"))
    return {"date": str(datetime.date.today()), "processor": processor(), "families": families}


def save(results, path):
    """One line a row, so that changes are easy to see."""
    head = {key: value for key, value in results.items() if key != "families"}
    lines = [json.dumps(head)[:-1] + ', "families": {']
    for i, (family, rows) in enumerate(results["families"].items()):
        lines.append(("," if i else "") + json.dumps(family) + ": {")
        lines += [("," if k else "") + json.dumps(row) + ": " + json.dumps(cells)
                  for k, (row, cells) in enumerate(rows.items())]
        lines.append("}")
    pathlib.Path(path).write_text("\n".join(lines) + "\n}}\n")


def load(path):
    return json.loads(pathlib.Path(path).read_text())


def each(results):
    """(row, compiler, set, {who: speed}) of all rows."""
    for rows in results["families"].values():
        for row, compilers in rows.items():
            for compiler, sets in compilers.items():
                for instructions, cell in sets.items():
                    yield row, compiler, instructions, cell


def print_slower(old, new):
    """Prints the rows that lost more than 5 % of their speed."""
    if old["processor"] != new["processor"]:
        print(f"The old numbers come from another processor: {old['processor']}.")
    before = {
        (row, compiler, instructions): cell for row, compiler, instructions, cell in each(old)}
    count = 0
    for row, compiler, instructions, cell in each(new):
        then = before.get((row, compiler, instructions), {})
        if "ours" not in then or "ours" not in cell or cell["ours"] >= SLOWER * then["ours"]:
            continue
        count += 1
        line = f"{row}, {compiler}, {instructions}: {cell['ours'] / then['ours']:.2f} of the speed"
        if "rival" in then and "rival" in cell:
            line += (f", ratio {cell['ours'] / cell['rival']:.2f} "
                     f"after {then['ours'] / then['rival']:.2f}")
        print(line)
    print(f"{count} rows are slower by more than {1 - SLOWER:.0%} than on {old['date']}.")
