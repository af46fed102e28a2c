#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The codecs' library exports the functions that its header declares, and nothing else."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "frame"))
from exports_test import declared, dynamic_symbols, parse_arguments, words_in  # noqa: E402


def main():
    arguments = parse_arguments()
    wanted = declared(arguments.source / "codecs/include/zepcodec.h",
                      r"ZEPC_API\s[^;()]*?(zepc\w+)\s*\(")
    symbols = dynamic_symbols(arguments.library, arguments.nm)
    tests = words_in((arguments.source / "tests/codecs/api").glob("*.cc"))
    failures = [f"{what}: {', '.join(sorted(names))}" for what, names in (
        ("declared but not exported", wanted - symbols),
        ("exported but not declared", symbols - wanted),
        ("without a test", wanted - tests)) if names]
    if not wanted:
        failures.append("the header declares no function")
    print("\n".join(failures) or f"{len(wanted)} exports agree")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
