#!/usr/bin/env python3
"""Runs every example of docs/admission.md against the module.

usage: pages.py DIRECTORY-OF-PROGRAMS MODULE TREE [unittest arguments]
"""

import json
import os
import re
import shlex
import subprocess
import sys

import clients
from harness import PATIENCE

TREE = None
PROMPT = "    $ "


def page(name):
    with open(os.path.join(TREE, "docs", name), encoding="utf-8") as text:
        return text.read()


def examples(text):
    """The examples of each section: pairs of a command and the lines that it is to print."""
    for section in re.split(r"^#+ ", text, flags=re.M)[1:]:
        found = []
        for line in section.splitlines():
            if line.startswith(PROMPT):
                found.append((line[len(PROMPT):], []))
            elif line.startswith("    ") and found:
                found[-1][1].append(line[4:])
        yield section.splitlines()[0], found


def agrees(expected, printed):
    """Whether lines are those of an example, where "..." stands for any number of lines."""
    parts = [r"(?:.*\n)*?" if line == "..." else re.escape(line) + "\n" for line in expected]
    return re.fullmatch("".join(parts), "".join(line + "\n" for line in printed)) is not None


class Admission(clients.ClientTest):
    def test_every_example_is_what_the_module_does(self):
        sections = list(examples(page("admission.md")))
        helpers = sections[0][1]
        self.assertEqual([expected for _, expected in helpers], [[]] * len(helpers))
        run = 0
        for title, section in sections[1:]:
            if section:
                self.operate("default-settings", "--yes")
                self.operate("port", "available", "1", "computed", "computed")
                self.operate("port", "distance", "1", "0", "20")
                self.compare(title, helpers, section)
                run += len(section)
        self.assertGreater(run, 30)

    def compare(self, title, helpers, section):
        wrap = f"cd {shlex.quote(self.directory)}\n" + "".join(
            f'{name}() {{ {shlex.quote(self.client(name))} {option} {shlex.quote(value)} "$@"; }}\n'
            for name, option, value in (("oltctl", "--control", self.daemon.control_path),
                                        ("onuqosctl", "--port", str(self.daemon.tcp_port))))
        mark = "end of an example"
        script = wrap + "".join(f"{{ {command}\n}} 2>&1\necho {mark}\n" for command, _ in [*helpers, *section])
        done = subprocess.run(["bash", "-c", script], capture_output=True, timeout=PATIENCE, check=True)
        outputs = done.stdout.decode().split(mark + "\n")[len(helpers):]
        for (command, expected), output in zip(section, outputs, strict=False):
            printed = [line.rstrip() for line in output.splitlines()]
            self.assertTrue(agrees(expected, printed),
                            f"{title}: $ {command}\nthe page has\n" + "\n".join(expected) + "\nprinted is\n" + output)

    def setUp(self):
        with open(os.path.join(TREE, "examples", "full.json"), encoding="utf-8") as inventory:
            self.INVENTORY = json.load(inventory)  # pylint: disable=invalid-name
        super().setUp()


if __name__ == "__main__":
    TREE = sys.argv.pop(3)
    clients.main()
