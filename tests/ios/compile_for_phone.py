#!/usr/bin/env python3
"""Compiles the package's sources for an iPhone, each alone, as Xcode would: arm64, iOS 13, with
automatic reference counting and without it.

    compile_for_phone.py CLANG GNUSTEP_HEADERS OBJECTIVE_C_HEADERS

The phone's own headers are not to be had here: those of this machine and the fakes stand in for
them. Exit status 1 where a source does not compile, or where the plug-in's arithmetic is not what it
is on other machines."""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGE = ROOT / "ios/nimbrel/Sources/nimbrel"
FAKES = ROOT / "tests/frameworks"
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror"]
# Makes the headers of this machine's C library usable for another processor. The last two say that
# the compiler has no type of 128 bits.
BORROWED_LIBRARY = ["-U__nonnull", "-D_GNU_SOURCE", "-D__x86_64__", "-D__builtin_ia32_pause()=0",
                    "-D__INTEL_LLVM_COMPILER", "-DSYCL_LANGUAGE_VERSION"]


def host_headers(clang):
    found = subprocess.run([clang, "-E", "-v", "-x", "c++", os.devnull], capture_output=True,
                           text=True, check=True).stderr
    return re.findall(r"^ (/\S+)$", found, re.MULTILINE)


def command(clang, gnustep, objective_c, source, counting):
    system = [FAKES, gnustep, *host_headers(clang), objective_c]
    if "-fobjc-arc" in counting:
        system.insert(0, FAKES / "arc")
    # Optimised if there is arithmetic.
    kind = ["-fobjc-exceptions"] if source.suffix == ".mm" else ["-O2"]
    return [clang, "-target", "arm64-apple-ios13", "-std=c++20", "-S", "-o", "-", *kind, *counting,
            *WARNINGS, *BORROWED_LIBRARY, "-nostdinc", "-nostdinc++", f"-I{PACKAGE}",
            *(part for path in system for part in ("-isystem", str(path))), str(source)]


def fault(clang, gnustep, objective_c, source, counting):
    """What is wrong with a source, or None."""
    compiled = subprocess.run(command(clang, gnustep, objective_c, source, counting),
                              capture_output=True, text=True, check=False)
    if compiled.returncode != 0:
        return f"{' '.join([source.name, *counting])}:\n{compiled.stderr}"
    fused = re.search(r"\tfn?m(?:add|sub|la|ls)\s", compiled.stdout)
    if fused:
        return f"{source.name}: a multiplication is fused with an addition:{fused[0]}"
    return None


def main(clang, gnustep, objective_c):
    sources = sorted([*PACKAGE.glob("*.mm"), *PACKAGE.glob("*.cpp")])
    cases = [(source, counting) for source in sources
             for counting in ([["-fobjc-arc"], ["-fno-objc-arc"]] if source.suffix == ".mm" else [[]])]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        faults = list(filter(None, workers.map(
            lambda case: fault(clang, gnustep, objective_c, *case), cases)))
    print("\n".join(faults) or f"{len(cases)} compiled")
    return bool(faults) or len(sources) < 2


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
