"""Drives the clients against an oltmgrd of their own, over UDP and TCP."""

import json
import os
import re
import subprocess
import sys
import unittest

import jsonschema

import harness
from harness import PATIENCE

BOTH = (("tcp", "tcp-"), ("udp", "udp-"))  # the transports, and a prefix for the names a test uses over each


class Answer:
    """What a client printed and how it ended."""

    def __init__(self, command, status, out, err):
        self.command, self.status, self.out, self.err = command, status, out, err

    def json(self):
        return json.loads(self.out)


def run(command, **options):
    done = subprocess.run(command, capture_output=True, timeout=PATIENCE, check=False, **options)
    return Answer(command, done.returncode, done.stdout.decode(), done.stderr.decode())


with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "share", "schema",
                       "clients.schema.json"), encoding="utf-8") as schema_file:
    SCHEMA = json.load(schema_file)


def definition(program, words):
    """The name of the schema's definition for what a command line asks for, the one with the most words."""
    line = " ".join([program, *words]) + " "
    return max((name for name in SCHEMA["$defs"] if line.startswith(name + " ")), key=len, default=f"{program} answer")


def validate(answer, options_with_value):
    """Holds the documents that a client printed against the definition of what was asked."""
    words, skip = [], False
    for word in answer.command[1:]:
        if not skip and not word.startswith("-"):
            words.append(word)
        skip = not skip and word in options_with_value
    program = os.path.basename(answer.command[0])
    try:
        documents = [json.loads(answer.out)]
    except json.JSONDecodeError:
        documents = [json.loads(line) for line in answer.out.splitlines()]
    for document in documents:
        name = f"{program} refusal" if "request" in document else definition(program, words)
        if answer.status == 0 and "request" in document:
            raise AssertionError(f"{answer.command} was carried out: {document}")
        jsonschema.Draft202012Validator({**SCHEMA, "anyOf": [{"$ref": "#/$defs/" + name.replace(" ", "%20")}]}).validate(
            document)
    return answer


class ClientTest(harness.DaemonTest):
    """A fresh oltmgrd for every test."""

    programs = None
    has_own_network = False

    INVENTORY = {
        "features": {"5": True},
        "ports": [{"interface": 1, "olt": 1, "technology": "gpon", "minDistance": 0, "maxDistance": 20,
                   "capacityFixed": 155080000, "capacityTotal": 155080000},
                  {"interface": 2, "olt": 2, "technology": "gpon"}],
        "onus": [{"interface": 101, "parent": 1, "port": 1}, {"interface": 102, "parent": 1, "port": 2},
                 {"interface": 201, "parent": 2, "port": 1}],
        "serviceProfiles": [{"name": "empty"}, {"name": "internet", "tcontProfile": "named", "flowProfile": "named"}],
    }

    def setUp(self):
        super().setUp()
        self.daemon.write_inventory(self.INVENTORY)
        self.daemon.start_with_config()

    def client(self, name):
        return os.path.join(self.programs, name)

    def onuqosctl(self, transport, *arguments):
        port = self.daemon.udp_port if transport == "udp" else self.daemon.tcp_port
        return self.checked([self.client("onuqosctl"), "--transport", transport, "--port", str(port), *arguments])

    def oltctl_command(self, *arguments):
        return [self.client("oltctl"), "--control", self.daemon.control_path, *arguments]

    def oltctl(self, *arguments, **options):
        return self.checked(self.oltctl_command(*arguments), **options)

    def checked(self, command, **options):
        """Runs a client; what it prints in JSON must be as the schema says."""
        answer = run(command, **options)
        if "--json" in command:
            validate(answer, ("--transport", "--port", "--timeout", "--control", "--socket-owner"))
        return answer

    def good(self, answer, err=None):
        """A request that was carried out; unless `err` is given, with nothing to say but that a flow's rates are
        above those of its T-CONT, as those of most tests are."""
        silent = err is None and re.fullmatch(r"(oltctl: warning: flow profile [^\n]+\n)?", answer.err)
        self.assertEqual((answer.status, answer.err), (0, answer.err if silent else err or ""), answer.command)
        return answer

    def ask(self, transport, *arguments):
        """A request that is carried out; gives its JSON."""
        return self.good(self.onuqosctl(transport, "--json", *arguments)).json()

    def operate(self, *arguments):
        """A control command that is carried out; gives its arguments."""
        return self.good(self.oltctl("--json", *arguments)).json().get("arguments", {})

    def refused(self, transport, result, name, *arguments, hint=""):
        """A request that the module refuses; gives the JSON of the refusal."""
        answer = self.onuqosctl(transport, "--json", *arguments)
        self.assertEqual(answer.status, 1, answer.command)
        refusal = answer.json()
        self.assertEqual((refusal["result"], refusal["resultName"]), (result, name), answer.err)
        lines = answer.err.splitlines()
        self.assertIn(f"{name} ({result}): ", lines[0])
        self.assertLessEqual(len(lines), 3, answer.err)
        self.assertIn(hint, answer.err)
        return refusal

    def told(self, answer, status, result, name, request):
        """What a client prints with --json of what it did not carry out."""
        self.assertEqual(answer.status, status, answer.command)
        document = answer.json()
        self.assertEqual(list(document)[:5], ["result", "resultName", "request", "text", "hint"])
        self.assertLessEqual(set(document) - {"explanation", "arguments"},
                             {"result", "resultName", "request", "text", "hint"})
        self.assertEqual((document["result"], document["resultName"], document["request"]), (result, name, request))
        self.assertNotEqual(document["text"], "")
        return document

    def names(self, transport, family):
        return [profile["name"] for profile in self.ask(transport, family, "list")["profiles"]]

    def mirror(self, kind, name):
        found = [profile for profile in self.operate("hardware")[kind] if profile["name"] == name]
        self.assertEqual(len(found), 1)
        return found[0]


def main():
    """Runs the tests of the script, in a network of their own where that can be had."""
    if len(sys.argv) < 3:
        sys.exit(f"usage: {sys.argv[0]} DIRECTORY-OF-PROGRAMS MODULE [unittest arguments]")
    ClientTest.programs = sys.argv[1]
    ClientTest.program, ClientTest.module = os.path.join(sys.argv[1], "oltmgrd"), sys.argv[2]
    ClientTest.has_own_network = harness.enter_own_network()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
