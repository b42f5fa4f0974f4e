#!/usr/bin/env python3
"""Counts the instructions of a T-CONT setter on an unapplied profile, with and without a full OLT of bindings.

Runs operations_bench under callgrind, which counts the same on every run and every machine load, and prints the mean
of the calls from the benchmark. Ends with status 1 when a setter costs more than the limit with bindings than without."""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

SETTERS = ("IdSet", "TypeSet", "FixedRateSet", "AssuredRateSet", "MaximumRateSet", "AllocTypeSet", "SrdbaWeightSet",
           "SrdbaPrioritySet")
LIMIT = 1.5


def instructions(binary, setter, bindings):
    """Of one call, mean over those that the benchmark's loop made."""
    with tempfile.NamedTemporaryFile() as out:
        subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}", "--compress-strings=no",
             "--compress-pos=no", binary, f"--benchmark_filter=^tContProfile{setter}/{bindings}$",
             "--benchmark_min_time=0.002"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        lines = pathlib.Path(out.name).read_text(encoding="utf-8").splitlines()
    calls = cost = 0
    caller = callee = ""
    for number, line in enumerate(lines):
        if line.startswith("fn="):
            caller = line
        elif line.startswith("cfn="):
            callee = line
        elif line.startswith("calls=") and f"onuQos::tContProfile{setter}(" in callee and "onuQos::" not in caller \
                and "prepare" not in caller:
            calls += int(re.match(r"calls=(\d+)", line)[1])
            cost += int(lines[number + 1].split()[-1])
    if calls == 0:
        sys.exit(f"instructions.py: no call of tContProfile{setter} was seen")
    return cost / calls


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=root / "build/release", type=pathlib.Path, help="the build folder")
    parser.add_argument("--bindings", default=16384, choices=(1024, 16384), type=int)
    arguments = parser.parse_args()
    binary = arguments.build / "bin/operations_bench"
    print(f"{'setter':18}{'none':>8}{arguments.bindings:>8}{'ratio':>8}   instructions a call, by bindings")
    worst = 0
    for setter in SETTERS:
        none, full = (instructions(binary, setter, bindings) for bindings in (0, arguments.bindings))
        worst = max(worst, full / none)
        print(f"{setter:18}{none:>8.0f}{full:>8.0f}{full / none:>8.3f}", flush=True)
    return 1 if worst > LIMIT else 0


if __name__ == "__main__":
    sys.exit(main())
