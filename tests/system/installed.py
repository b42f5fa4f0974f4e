#!/usr/bin/env python3
"""The built tree and the installed one: where programs look for libraries, and that the installed tree runs anywhere.

usage: installed.py CMAKE BUILD-DIRECTORY BUILD-TYPE [unittest arguments]
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import harness

CMAKE = BUILD = BUILD_TYPE = None


def elf_files(*folders):
    """Every program and library below the folders."""
    for folder in folders:
        for directory, _, names in os.walk(folder):
            for name in names:
                path = os.path.join(directory, name)
                with open(path, "rb") as file:
                    header = file.read(18)
                if header[:4] == b"\x7fELF" and header[16] in (2, 3) and not os.path.islink(path):
                    yield path


def readelf(option, path):
    return subprocess.run(["readelf", "-W", option, path], capture_output=True, check=True).stdout.decode()


class Installed(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        first = self.path("first")
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", first], check=True, stdout=subprocess.DEVNULL)
        self.tree = self.path("moved")
        os.rename(first, self.tree)

    def test_libraries_are_looked_for_in_named_folders_only(self):
        built = list(elf_files(os.path.join(BUILD, "bin"), os.path.join(BUILD, "lib")))
        installed = list(elf_files(self.tree))
        self.assertLessEqual({"oltmgrd", "oltctl", "onuqosctl", "onuqosplan", "libonuqos.so", "liboltplatform.so"},
                             {os.path.basename(path) for path in installed})
        for path in (*built, *installed):
            for elements in re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", readelf("-d", path)):
                for element in elements.split(":"):
                    self.assertRegex(element, r"^(/|\$ORIGIN/)", path)

    @unittest.skipUnless(sys.argv[3:4] == ["RelWithDebInfo"], "of release builds")
    def test_release_builds_are_hardened(self):
        for path in elf_files(self.tree):
            self.assertRegex(readelf("-d", path), r"\bBIND_NOW\b", path)
            self.assertIn("GNU_RELRO", readelf("-l", path), path)
            symbols = set(re.findall(r"\b__\w+(?=@)", readelf("--dyn-syms", path)))
            self.assertIn("__stack_chk_fail", symbols, path)
            if path.endswith("oltmgrd"):
                self.assertLessEqual({"__snprintf_chk"}, symbols)

    def test_the_schema_of_the_outputs_is_installed(self):
        with open(os.path.join(self.tree, "share", "onuqos", "schema", "clients.schema.json"), encoding="utf-8") as file:
            self.assertIn("onuqosctl refusal", json.load(file)["$defs"])

    def test_the_installed_tree_runs_from_anywhere(self):
        environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
        binaries = os.path.join(self.tree, "bin")
        self.daemon.program = os.path.join(binaries, "oltmgrd")
        arguments = self.daemon.arguments
        self.daemon.arguments = lambda *more: [each for each in arguments(*more) if each not in ("--module", self.module)]
        self.daemon.start()
        with open(f"/proc/{self.daemon.process.pid}/maps", encoding="utf-8") as maps:
            loaded = {line.split()[-1] for line in maps if line.rstrip().endswith((".so", "oltmgrd"))}
        own = {path for path in loaded if "onuqos" in path or "oltplatform" in path}
        self.assertEqual(own, {os.path.join(self.tree, "lib", name) for name in ("libonuqos.so", "liboltplatform.so")})
        for command in (["oltctl", "--control", self.daemon.control_path, "status"],
                        ["onuqosctl", "--port", str(self.daemon.tcp_port), "tcont", "list"]):
            subprocess.run([os.path.join(binaries, command[0]), *command[1:]], check=True, cwd="/", env=environment,
                           stdout=subprocess.DEVNULL)
        self.daemon.stop()


if __name__ == "__main__":
    CMAKE, BUILD, BUILD_TYPE = sys.argv[1:4]
    harness.DaemonTest.module = "none"
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
