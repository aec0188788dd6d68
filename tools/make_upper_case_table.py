#!/usr/bin/env python3
"""Generates Classes/text/UpperCaseTable.inc from the Unicode Character Database.

usage: make_upper_case_table.py [FOLDER]   (default: where Debian's package unicode-data puts it)
The table goes to the standard output.
"""

import sys
from pathlib import Path


def simple_mappings(folder):
    """Code point to upper-case code point, from field 12 of UnicodeData.txt."""
    mappings = {}
    for line in (folder / "UnicodeData.txt").read_text(encoding="utf-8").splitlines():
        fields = line.split(";")
        if fields[12]:
            mappings[int(fields[0], 16)] = int(fields[12], 16)
    return mappings


def expansions(folder):
    """Code point to several, from the unconditional lines of SpecialCasing.txt."""
    found = {}
    for line in (folder / "SpecialCasing.txt").read_text(encoding="utf-8").splitlines():
        fields = [field.strip() for field in line.split("#")[0].split(";")]
        if len(fields) == 5:  # code; lower; title; upper; and nothing behind the last semicolon
            upper = [int(part, 16) for part in fields[3].split()]
            if len(upper) > 1:
                found[int(fields[0], 16)] = upper
    return found


def ranges(mappings):
    """Runs of equal offset and equal step, as (first, last, step, offset)."""
    runs = []
    for code, upper in sorted(mappings.items()):
        offset = upper - code
        if runs:
            first, last, step, run_offset = runs[-1]
            gap = code - last
            if offset == run_offset and gap <= 2 and (first == last or gap == step):
                runs[-1] = (first, code, gap, offset)
                continue
        runs.append((code, code, 1, offset))
    return runs


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else "/usr/share/unicode")
    special = expansions(folder)
    simple = {c: u for c, u in simple_mappings(folder).items() if c not in special}
    print("// Made by tools/make_upper_case_table.py from the Unicode Character Database.\n")
    print("constexpr Range kRanges[] = {")
    for first, last, step, offset in ranges(simple):
        print(f"    {{0x{first:04X}, 0x{last:04X}, {step}, {offset}}},")
    print("};\n")
    print("constexpr Expansion kExpansions[] = {")
    for code, upper in sorted(special.items()):
        parts = ", ".join(f"0x{part:04X}" for part in upper + [0] * (3 - len(upper)))
        print(f"    {{0x{code:04X}, {{{parts}}}}},")
    print("};")


if __name__ == "__main__":
    main()
