#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Two binary PGM or PPM files: equal sizes, and samples that are close.

    compare_pnm.py A B MOST MEAN
"""
import re
import sys


def read(path):
    with open(path, "rb") as file:
        data = file.read()
    head = re.match(rb"(P[56])\s(?:#[^\n]*\n)*(\d+)\s+(\d+)\s+255\s", data)
    if head is None:
        sys.exit("%s: not a PNM file with samples of 8 bits" % path)
    return head.groups(), data[head.end():]


def main():
    first, second = sys.argv[1:3]
    most_allowed, mean_allowed = int(sys.argv[3]), float(sys.argv[4])
    (head, a), (other_head, b) = read(first), read(second)
    if head != other_head or len(a) != len(b):
        sys.exit("%s is %s, %s is %s" % (first, head, second, other_head))
    distances = [abs(x - y) for x, y in zip(a, b)]
    most, mean = max(distances), sum(distances) / len(distances)
    if most > most_allowed or mean >= mean_allowed:
        sys.exit("%s and %s: at most %d, mean %.3f apart" % (first, second, most, mean))


main()
