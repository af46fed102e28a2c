#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The list of exports, the dynamic symbols, the public header, tests and benchmarks agree."""
import argparse
import pathlib
import re
import subprocess
import sys

# Adding or removing a function changes the interface, and so its version.
EXPORT_COUNT = 300


def dynamic_symbols(library, nm):
    output = subprocess.run([nm, "-D", "--defined-only", library], check=True, text=True,
                            capture_output=True).stdout
    lines = [line.split() for line in output.splitlines()]
    return {line[-1].split("@")[0] for line in lines if line[-2] != "A"}  # A: a version's name


def declared(header, function=r"ZEP_CALL\s+(zep\w+)\s*\("):
    text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
    return set(re.findall(function, text))


def undocumented(header):
    """Returns the declarations without a comment before them."""
    text = header.read_text()
    return {match.group(2) for match in
            re.finditer(r"(\S[^\n]*)\nZEP_API[^;]*?ZEP_CALL\s+(zep\w+)\s*\(", text)
            if not match.group(1).endswith("*/")}


def words_in(paths):
    words = set()
    for path in paths:
        words.update(re.findall(r"\bzep\w+", path.read_text()))
    return words


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--library", required=True)
    parser.add_argument("--nm", default="nm")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    source = arguments.source
    listed = (source / "src/exports.txt").read_text().split()
    wanted = set(listed)
    header = source / "include/zepjp.h"
    failures = []

    def expect(what, names):
        if names:
            failures.append(f"{what}: {', '.join(sorted(names))}")

    if len(wanted) != EXPORT_COUNT:
        failures.append(f"{len(wanted)} exports instead of {EXPORT_COUNT}")
    expect("listed twice", {name for name in wanted if listed.count(name) > 1})
    symbols = dynamic_symbols(arguments.library, arguments.nm)
    expect("listed but not exported", wanted - symbols)
    expect("exported but not listed", symbols - wanted)
    expect("listed but not declared", wanted - declared(header))
    expect("declared but not listed", declared(header) - wanted)
    expect("not documented", undocumented(header))
    tests = [p for p in (source / "tests").rglob("*.cc") if "reference" not in p.parts]
    expect("without a test", wanted - words_in(tests))
    benches = words_in((source / "bench").glob("*.cc"))
    expect("without a benchmark", {name for name in wanted - benches if needs_benchmark(name)})
    print("\n".join(failures) or f"{len(wanted)} exports agree")
    return 1 if failures else 0


def needs_benchmark(name):
    """Queries, allocation and initialization of states are too little work to time."""
    return not re.search(r"Alloc|Free|GetLibVersion|StateInit|CBProgrInit|CBProgrAttach|PassCounter|"
                         r"Get(BufSize|StateSize|Rate|Dist|TermPassLen|CurBitPlaneNum)", name)


if __name__ == "__main__":
    sys.exit(main())
