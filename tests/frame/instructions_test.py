#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Kernels have the instructions of their instruction set, and nothing else has.

Disassembles the libraries. The namespace of a kernel's target (N_AVX2 and so on) is part of the
symbol; functions of no target belong to the floor, SSSE3. Three checks:

  - no function has an instruction of a higher set;
  - the kernels of each source file have the instructions that EXPECTED names;
  - kernels of AVX2 and AVX-512 call no function of the floor but those of RARE. If a compiler does
    not inline a helper that all sets share, all of them run its code for the floor.
"""
import collections
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

FLOOR, SSE4_LEVEL, AVX2_LEVEL, AVX512_LEVEL = range(4)
NAMESPACES = {"N_AVX3": AVX512_LEVEL, "N_AVX2": AVX2_LEVEL, "N_SSE4": SSE4_LEVEL, "N_SSSE3": FLOOR}
LEVEL_NAMES = ("SSSE3", "SSE4", "AVX2", "AVX-512")

# For AVX2 and AVX-512: the kind of instruction, and the least share of it, in percent of all that
# the kernels of a file have. Vector kernels use whole registers; None: no kernel for that set.
VECTORS = (("ymm", 10), ("zmm", 10))
BIT_CODER = (("bmi", 2), None)
AVX2_VECTORS = (("ymm", 10), None)
EXPECTED = collections.defaultdict(lambda: VECTORS, {
    "block_decoder.cc": BIT_CODER,
    "difference_coder.cc": BIT_CODER,
    "vlc_decoder.cc": BIT_CODER,
    "block_encoder.cc": (("bmi", 3), ("bmi", 3)),
    "codeblock_decoder.cc": BIT_CODER,
    "codeblock_encoder.cc": (("bmi", 1.5), ("bmi", 1.5)),
    "huffman_statistics.cc": (("bmi", 2), ("zmm", 5)),
    "progressive_decoder.cc": (("bmi", 2), ("bmi", 2)),
    "progressive_encoder.cc": (("bmi", 3), ("bmi", 3)),
    "byte_planes.cc": AVX2_VECTORS,
    "prediction.cc": AVX2_VECTORS,
    "vlc_encoder.cc": (("bmi", 1.5), None),
    "fixed_length.cc": (("bmi", 5), None),
    "forward_dct.cc": (("ymm", 30), ("ymm", 30)),  # a row of a block has 8 values of 32 bits
    "inverse_dct.cc": (("ymm", 30), ("ymm", 30)),
    "bc6h_decoder.cc": (("ymm", 5), ("zmm", 5)),  # much of it takes blocks apart
})

# What kernels leave to code of the floor: damaged and rare input, and functions that would gain
# nothing. A number starts the mangled name of a class, all of whose members are meant.
RARE = ("DecodeRare", "DecodeCarefully", "EncodeCarefully", "TakeCarefully", "TakeDcCarefully",
        "FillByBytes", "FindLongCode", "TakeLong", "PutRare", "StoreStuffed", "TakeRareCoefficient",
        "TakeRareFirst", "PutEscaped", "10WriterSink", "9BitWriter", "LengthUpTo", "Neighbours",
        "PackBc7", "PackFlatBc7")
RARE_NAME = re.compile("|".join(n if n[0].isdigit() else f"{len(n)}{n}" for n in RARE))


class Function:
    def __init__(self, file, symbol):
        self.file, self.symbol = file, symbol
        self.level = next((l for name, l in NAMESPACES.items() if name in symbol), None)
        self.counts = collections.Counter()
        self.callees = set()
        self.failures = []

    def add(self, line, vex, mnemonic, operands):
        need = needed(mnemonic, operands)
        if vex or need > (self.level or FLOOR):
            self.failures.append(f"{self.symbol}: {line.strip()}")
        self.counts["all"] += 1
        self.counts[need] += 1
        self.counts["bmi"] += BMI.match(mnemonic) is not None
        self.counts["evex"] += EVEX.search(operands) is not None
        self.counts["zmm"] += "%zmm" in operands
        self.counts["ymm"] += "%ymm" in operands
        callee = re.match(r"[0-9a-f]+ <([^>+@]+)>$", operands)
        if callee and callee.group(1) != self.symbol:
            self.callees.add(callee.group(1))


def needed(mnemonic, operands):
    if AVX.match(mnemonic):
        return AVX512_LEVEL if EVEX.search(operands) else AVX2_LEVEL
    if BMI.match(mnemonic):
        return AVX2_LEVEL
    return SSE4_LEVEL if SSE4.match(mnemonic) else FLOOR


def objdump(*arguments):
    return subprocess.run(["objdump", *arguments], check=True, capture_output=True,
                          text=True).stdout.splitlines()


def files_of_addresses(library):
    """Source files of local functions: each file's symbols stand after its own in the table."""
    file, files = "", {}
    for line in objdump("-t", library):
        if " df *ABS*" in line:
            file = line.split()[-1]
        elif " l     F " in line:
            files[int(line.split()[0], 16)] = file
    return files


def functions_of(library):
    files, functions = files_of_addresses(library), []
    for line in objdump("-d", "--no-show-raw-insn", library):
        start = re.match(r"^([0-9a-f]+) <(.+)>:$", line)
        if start:
            functions.append(Function(files.get(int(start.group(1), 16), ""), start.group(2)))
            continue
        instruction = re.match(r"^\s+[0-9a-f]+:\s+(\{vex\}\s+)?(\S+)\s*(.*)$", line)
        if instruction:
            functions[-1].add(line, *instruction.groups())
    return functions


def check_expected(functions):
    """Compares each file's kernels with EXPECTED."""
    counts = collections.defaultdict(lambda: [collections.Counter() for _ in LEVEL_NAMES])
    for function in functions:
        if function.level is not None:
            counts[function.file][function.level] += function.counts
    for file, of_level in sorted(counts.items()):
        for level, expected in zip((AVX2_LEVEL, AVX512_LEVEL), EXPECTED[file]):
            have = of_level[level]
            if expected is None:
                continue
            kind, least = expected
            share = 100 * have[kind] / max(have["all"], 1)
            if share < least:
                yield (f"{file}: the kernels of {LEVEL_NAMES[level]} have {share:.1f} % {kind} "
                       f"instructions, expected {least} %")


def check_calls(functions):
    for function in functions:
        if (function.level or FLOOR) < AVX2_LEVEL:
            continue
        for callee in function.callees:
            if not re.search("N_AVX[23]", callee) and not RARE_NAME.search(callee):
                yield f"{function.symbol}: calls {callee}, which is code of the floor"


def main():
    failures = []
    for library in sys.argv[1:]:
        functions = functions_of(library)
        found = [failure for function in functions for failure in function.failures]
        found += check_expected(functions)
        found += check_calls(functions)
        failures += [f"{library}: {failure}" for failure in found]
        total = sum((function.counts for function in functions), collections.Counter())
        print(f"{library}: {total[FLOOR]} of the floor, {total[SSE4_LEVEL]} SSE4, "
              f"{total[AVX2_LEVEL]} AVX2, {total[AVX512_LEVEL]} AVX-512 instructions")
        if "zepcore" not in library and min(total[level] for level in range(4)) == 0:
            failures.append(f"{library}: an instruction set is missing; is the library stripped?")
    print("\n".join(failures[:20]))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
