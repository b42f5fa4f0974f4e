#!/usr/bin/env python3
"""Fills a full OLT (16 ports of 128 ONUs) with service bindings, and measures what oltmgrd takes for them.

For each number of bindings: time to apply them over the control channel, to save, to start with the saved file and of
that to restore, to dump, to stop, and memory. Times are medians over the rounds; the bindings are spread so that each
ONU has as many as any other, eight at most."""

import argparse
import json
import pathlib
import socket
import statistics
import subprocess
import sys
import tempfile
import time

SERVICES = 8
TCONTS = 6  # T-CONT ids


class Manager:
    def __init__(self, binaries, inventory, state, options):
        self.begin = time.monotonic()
        self.process = subprocess.Popen(
            [binaries / "oltmgrd", "--inventory", inventory, "--control", f"{state}/control", *options],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        line = self.process.stdout.readline()
        if not line.startswith("oltmgrd ready"):
            sys.exit("fullOlt.py: oltmgrd did not come up")
        self.start_seconds = time.monotonic() - self.begin
        self.port = line.rsplit("=", 1)[1].strip()
        self.channel = socket.socket(socket.AF_UNIX)
        self.channel.connect(f"{state}/control")
        self.lines = self.channel.makefile("rb")

    def send(self, command, arguments):
        self.channel.sendall(json.dumps({"command": command, "arguments": arguments}).encode() + b"\n")

    def answer(self):
        answer = json.loads(self.lines.readline())
        if answer["result"] != 0 or answer["arguments"].get("res", 0) != 0:
            sys.exit(f"fullOlt.py: {answer}")
        return answer["arguments"]

    def request(self, command, **arguments):
        self.send(command, arguments)
        return self.answer()

    def memory(self, field):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as status:
            return next(int(line.split()[1]) for line in status if line.startswith(field)) / 1024

    def stop(self):
        begin = time.monotonic()
        self.process.terminate()
        if self.process.wait() != 0:
            sys.exit("fullOlt.py: oltmgrd did not stop cleanly")
        return time.monotonic() - begin


def make_profiles(binaries, port):
    for kind, count in (("flow", SERVICES), ("tcont", TCONTS)):
        for number in range(count):
            options = ["--id", str(number + 1)] if kind == "tcont" else []
            subprocess.run([binaries / "onuqosctl", "--port", port, kind, "create", f"{kind}{number}", *options],
                           check=True, stdout=subprocess.DEVNULL)


def apply(manager, onus, bindings):
    """Keeps some requests under way, as a client that does not wait for each answer."""
    window = 64
    begin = time.monotonic()
    for number in range(bindings + window):
        if number >= window:
            manager.answer()
        if number < bindings:
            service, onu = divmod(number, len(onus))
            manager.send("service-apply", {
                "interface": onus[onu], "service": f"service{service}", "flowProfile": f"flow{service}",
                "tcontProfile": f"tcont{service % TCONTS}", "virtualPort": service, "termPointType": 0,
                "termPointId": 0})
    return time.monotonic() - begin


def measure(arguments, inventory, onus, bindings):
    figures = {}

    def note(name, value):
        figures.setdefault(name, []).append(value)

    binaries = arguments.build / "bin"
    with tempfile.TemporaryDirectory() as state:
        saved = ["--config", f"{state}/configuration"]
        manager = Manager(binaries, inventory, state, saved)
        make_profiles(binaries, manager.port)
        note("apply ms", 1000 * apply(manager, onus, bindings))
        begin = time.monotonic()
        manager.request("config-save")
        note("save ms", 1000 * (time.monotonic() - begin))
        dump = manager.request("message", name="onuQosDump")["reply"]
        manager.stop()
        for _ in range(arguments.rounds):
            manager = Manager(binaries, inventory, state, saved)
            report = manager.request("status")["restore"]
            if report["lost"] or report["bindings"] != bindings:
                sys.exit(f"fullOlt.py: {report}")
            note("start ms", 1000 * manager.start_seconds)
            note("restore ms", report["milliseconds"])
            note("VmRSS MiB", manager.memory("VmRSS"))
            note("VmHWM MiB", manager.memory("VmHWM"))
            begin = time.monotonic()
            if manager.request("message", name="onuQosDump")["reply"] != dump:
                sys.exit("fullOlt.py: the dump is another one after restoring")
            note("dump ms", 1000 * (time.monotonic() - begin))
            note("stop ms", 1000 * manager.stop())
    return {name: statistics.median(values) for name, values in figures.items()}


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=root / "build/release", type=pathlib.Path, help="the build folder")
    parser.add_argument("--rounds", default=5, type=int, help="restarts for each number of bindings")
    parser.add_argument("--bindings", default="0,1024,16384", help="numbers of bindings, up to 16384")
    arguments = parser.parse_args()
    inventory = root / "examples/full.json"
    onus = [onu["interface"] for onu in json.loads(inventory.read_text(encoding="utf-8"))["onus"]]
    first = True
    for bindings in map(int, arguments.bindings.split(",")):
        figures = measure(arguments, inventory, onus, bindings)
        if first:
            print(f"{'bindings':>9}" + "".join(f"{name:>12}" for name in figures))
            first = False
        print(f"{bindings:>9}" + "".join(f"{value:>12.1f}" for value in figures.values()), flush=True)


if __name__ == "__main__":
    main()
