#!/usr/bin/env python3
"""Compares oltmgrd with a server that the RPC library's generator makes from the same definition.

Both serve from one core, together with the load, in short turns that alternate, so that whatever else the machine
does falls on both alike. Prints the median of calls per second for each and the median of the ratios of turns that
followed each other."""

import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

# The least ratio of calls per second: with one call under way, and with 16 over UDP and over TCP.
PROCEDURES = {
    "null": 0.95,
    "tcontprofile_get": 0.95,
    "tcontprofile_create": 0.95,
    "tcontprofile_create_and_set": 0.95,
    "onuflowprofile_get": 1.0,
    "onuflowprofile_create_and_set": 1.0,
}
WINDOW = 16
WINDOW_GOALS = {"udp": 1.4, "tcp": 5.0}


def start(command, marker):
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    for line in process.stdout:
        if line.startswith(marker):
            ports = dict(word.split("=", 1) for word in line.split() if "=" in word)
            return process, {"udp": ports["rpc-udp"], "tcp": ports["rpc-tcp"]}
    sys.exit(f"compare.py: {command[0]} did not come up")


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=root / "build/release", type=pathlib.Path, help="the build folder")
    parser.add_argument("--rounds", default=11, type=int, help="turns of each server at each row")
    parser.add_argument("--seconds", default=0.4, type=float, help="length of a turn")
    parser.add_argument("--procedure", choices=PROCEDURES, action="append", help="only this one")
    parser.add_argument("--core", default=0, type=int, help="the core that both ends share")
    arguments = parser.parse_args()
    binaries = arguments.build / "bin"
    os.sched_setaffinity(0, {arguments.core})

    with tempfile.TemporaryDirectory() as state:
        manager, manager_ports = start(
            [binaries / "oltmgrd", "--inventory", root / "examples/small.json", "--control", f"{state}/control"],
            "oltmgrd ready")
        reference, reference_ports = start([binaries / "referenceServer"], "referenceServer ready")
        missed = 0
        try:
            print(f"{'procedure':32}{'transport':>10}{'under way':>11}{'oltmgrd/s':>12}{'reference/s':>13}"
                  f"{'ratio':>8}{'goal':>7}")
            for procedure in arguments.procedure or PROCEDURES:
                for transport in ("udp", "tcp"):
                    for window in (1, WINDOW):
                        rates = {"manager": [], "reference": []}
                        for _ in range(arguments.rounds):
                            for who, process, ports in (("manager", manager, manager_ports),
                                                        ("reference", reference, reference_ports)):
                                answer = subprocess.run(
                                    [binaries / "rpcLoad", "--procedure", procedure, "--transport", transport,
                                     "--port", ports[transport], "--seconds", str(arguments.seconds),
                                     "--window", str(window), "--server-pid", str(process.pid)],
                                    check=True, capture_output=True, text=True)
                                rates[who].append(json.loads(answer.stdout)["callsPerSecond"])
                        ours, theirs = (statistics.median(rates[who]) for who in ("manager", "reference"))
                        ratio = statistics.median(a / b for a, b in zip(rates["manager"], rates["reference"]))
                        goal = PROCEDURES[procedure] if window == 1 else WINDOW_GOALS[transport]
                        missed += ratio < goal
                        print(f"{procedure:32}{transport:>10}{window:>11}{ours:>12.0f}{theirs:>13.0f}{ratio:>8.2f}"
                              f"{goal:>7.2f}", flush=True)
        finally:
            manager.terminate()
            reference.terminate()
            manager.wait()
            reference.wait()
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
