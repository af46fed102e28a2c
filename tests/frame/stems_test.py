#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A family's stem, or its folder's name, is the name of its test, model, benchmark, fuzz target and page.

docs/architecture.md has the rule under "Names".
"""
import argparse
import pathlib
import re
import sys

# Families without a model of their own. The comment says what the test compares with.
NO_MODEL = {
    "bc7_encoder",  # squared errors of the decoded blocks, decoded by the decoder's model
    "huffman_states",  # records: sizes and zeros
    "huffman_statistics",  # counts of the symbols that reference/progressive_encoder.cc writes
    "version",  # a constant record
}
# Folders without a benchmark and a page, because their exports do no work.
NO_BENCH_OR_PAGE = {"frame"}
# Families that read bytes or tables from outside but are not decoders.
READS_TOO = {"block_encoder", "difference_coder", "fixed_length", "huffman_tables", "packbits"}
# Decoders that the fuzz target of another family runs.
NO_TARGET = {"direct_coder"}  # progressive_decoder_fuzz.cc, one of its five kinds
# Fuzz targets of codecs/ are named after the codec, such as jpeg_decoder_fuzz.cc.
CODEC_TARGET = (r"(dds|jpeg|jpeg2000|jpegxr|ljpeg|tiff)_decoder|"
                r"zepcodec_(decoder|encoder|parts|transcode)")


def families(source):
    """{stem: the folder below src/} of the sources with exports."""
    found = {}
    for path in sorted((source / "src").rglob("*.cc")):
        if re.search(r"^[\w *]*ZEP_CALL zep\w", path.read_text(), re.M):
            found[path.stem] = path.parent.relative_to(source / "src")
    return found


def names(folder, suffix):
    return {path.name.removesuffix(suffix) for path in folder.glob("*" + suffix)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    source = parser.parse_args().source
    stems = families(source)
    folders = {folder.name for folder in stems.values()}
    failures = [] if len(stems) > 30 else [f"only {len(stems)} families found"]

    def expect(what, missing):
        failures.extend(f"{what}: {name}" for name in sorted(missing))

    expect("no test of its stem", {
        str(folder / stem) for stem, folder in stems.items()
        if not (source / "tests" / folder / f"{stem}_test.cc").exists()})

    kinds = {
        "model": names(source / "tests/reference", ".cc"),
        "benchmark": names(source / "bench", "_bench.cc"),
        "fuzz target": {name for name in names(source / "fuzz", "_fuzz.cc")
                        if not re.fullmatch(CODEC_TARGET, name)},
    }
    for kind, found in kinds.items():
        expect(f"{kind} named after no family and no folder", found - stems.keys() - folders)
    expect("no model by stem or folder", {
        stem for stem, folder in stems.items()
        if stem not in NO_MODEL and not kinds["model"] & {stem, folder.name}})
    expect("no fuzz target by stem or folder", {
        stem for stem, folder in stems.items()
        if (stem.endswith(("_decoder", "_coder")) or stem in READS_TOO) and stem not in NO_TARGET
        and not kinds["fuzz target"] & {stem, folder.name}})
    expect("exception that is none", {
        stem for stem in NO_MODEL | NO_TARGET
        if stem not in stems or stem in kinds["model"] & NO_MODEL or stem in kinds["fuzz target"]})

    pages = {name.replace("-", "_") for name in names(source / "docs", ".md")}
    for folder in sorted(folders - NO_BENCH_OR_PAGE):
        own = {folder} | {stem for stem, place in stems.items() if place.name == folder}
        expect("no benchmark by stem or folder", {folder} if not kinds["benchmark"] & own else set())
        expect("no page by stem or folder", {folder} if not pages & own else set())

    targets = names(source / "fuzz", "_fuzz.cc")
    corpora = {path.name for path in (source / "fuzz/corpus").iterdir()}
    expect("fuzz target without a corpus", targets - corpora)
    expect("corpus without a fuzz target", corpora - targets)
    print("\n".join(failures) or f"{len(stems)} families, {len(folders)} folders")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
