#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""No instruction stands outside the kernels of its instruction set.

Disassembles the libraries and looks at each function: the namespace of its target (N_AVX2 and so on)
is part of its symbol. Functions of no target belong to the floor, SSSE3.
"""
import re
import subprocess
import sys

SSE4 = re.compile(
    r"^(p(min|max)(sb|uw|ud|sd)|pmov[sz]x\w+|ptest|pmulld|pmuldq|pextr[bdq]|pinsr[bdq]|p?blend\w*|"
    r"round[ps][sd]|pcmpeqq|pcmpgtq|packusdw|insertps|extractps|mpsadbw|phminposuw|dpp[sd]|"
    r"movntdqa|popcnt|crc32\w*|pcmp[ei]str[im]|pclmul\w*|aes\w+)$")
BMI = re.compile(r"^(andn|bextr|bls[ir]|blsmsk|shlx|shrx|sarx|rorx|mulx|pdep|pext|bzhi|lzcnt)l?q?$")
AVX = re.compile(r"^(v(?!err|erw|mcall|mlaunch)\w+|k(mov|or|and|xor|not|test|shift|unpck|add)\w+)$")
EVEX = re.compile(r"%zmm|%[xy]mm(1[6-9]|2\d|3[01])|\{%k\d\}|%k\d\b|\{1to\d+\}")


def level(symbol):
    for number, name in ((3, "N_AVX3"), (2, "N_AVX2"), (1, "N_SSE4")):
        if name in symbol:
            return number
    return 0


def needed(mnemonic, operands):
    if AVX.match(mnemonic):
        return 3 if EVEX.search(operands) else 2
    if BMI.match(mnemonic):
        return 2
    return 1 if SSE4.match(mnemonic) else 0


def check(library):
    listing = subprocess.run(["objdump", "-d", "--no-show-raw-insn", library], check=True,
                             capture_output=True, text=True).stdout
    symbol, counts, failures = "", [0, 0, 0, 0], []
    for line in listing.splitlines():
        start = re.match(r"^[0-9a-f]+ <(.+)>:$", line)
        if start:
            symbol = start.group(1)
            continue
        instruction = re.match(r"^\s+[0-9a-f]+:\s+(\{vex\}\s+)?(\S+)\s*(.*)$", line)
        if not instruction:
            continue
        vex, mnemonic, operands = instruction.groups()
        need = needed(mnemonic, operands)
        counts[need] += 1
        if vex or need > level(symbol):
            failures.append(f"{library}: {symbol}: {line.strip()}")
    return counts, failures


def main():
    failures = []
    for library in sys.argv[1:]:
        counts, found = check(library)
        failures += found
        print(f"{library}: {counts[0]} of the floor, {counts[1]} SSE4, {counts[2]} AVX2, "
              f"{counts[3]} AVX-512 instructions")
        if "zepcore" not in library and min(counts) == 0:
            failures.append(f"{library}: an instruction set is missing; is the library stripped?")
    print("\n".join(failures[:20]))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
