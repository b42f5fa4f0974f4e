#!/usr/bin/env python3
"""Everything but profiles: admission control and the module through onuqosctl, the control channel through oltctl."""

import base64
import contextlib
import json
import os
import pty
import shutil
import signal
import socket
import struct
import subprocess
import unittest

import harness
from clients import BOTH, ClientTest, main, run
from harness import PATIENCE


def on_terminal(command):
    """What a command shows on a terminal."""
    ours, theirs = pty.openpty()
    with subprocess.Popen(command, stdin=theirs, stdout=theirs, stderr=theirs) as client:
        os.close(theirs)
        shown = b""
        try:
            while data := os.read(ours, 1 << 16):
                shown += data
        except OSError:  # at its end
            pass
        client.wait(PATIENCE)
    os.close(ours)
    return shown.decode()


class AdmissionTest(ClientTest):
    def apply(self, onu, service, *options):
        arguments = {"--flow-profile": "hsi", "--tcont-profile": "gold", "--virtual-port": "1",
                     "--term-point-type": "1", "--term-point-id": "1"}
        arguments.update(zip(options[::2], options[1::2]))
        return self.oltctl("--json", "service", "apply", str(onu), service,
                           *[word for pair in arguments.items() for word in pair])

    def setUp(self):
        super().setUp()
        self.ask("tcp", "tcont", "create", "gold", "--fixed", "10240", "--assured", "2048", "--maximum", "100M")
        self.ask("tcp", "flow", "create", "hsi", "--vlan", "100")

    def port(self, transport, number):
        answer = self.ask(transport, "cac", "show", str(number))
        self.assertEqual(answer["capacity"], 1240640)
        return answer["ports"][0]

    def test_services_take_what_is_free(self):
        self.assertEqual([port["interface"] for port in self.ask("udp", "cac", "show", "--probe", "1-4")["ports"]],
                         [1, 2])
        before = self.port("tcp", 1)
        self.assertEqual(self.good(self.apply(101, "internet")).json()["arguments"]["resName"], "onuQosResOk")
        for transport, _ in BOTH:
            after = self.port(transport, 1)
            self.assertEqual((after["actAvailFixedRate"], after["actAvailAssuredRate"], after["cacViolation"]),
                             (1240640 - 10240, 1240640 - 12288, False))
            self.assertLess(after["estAvailFixedRate"], before["estAvailFixedRate"] - 10240 + 1)
            self.assertTrue(self.ask(transport, "tcont", "attached", "gold")["attached"])
            self.assertTrue(self.ask(transport, "flow", "attached", "hsi")["attached"])
            self.refused(transport, 5, "rpcTContProfileResApplied", "tcont", "set", "gold", "--id", "2",
                         hint="oltctl service list")
            self.refused(transport, 5, "rpcOnuFlowProfileResApplied", "flow", "pcp", "set", "hsi", "1")
        self.assertEqual(self.operate("service", "remove", "101", "internet")["res"], 0)
        self.assertEqual(self.port("tcp", 1), before)

    def test_a_refused_service_ends_with_1_and_its_result(self):
        for options, name in [(["--tcont-profile", "nobody"], "onuQosResNotFound"),
                              (["--term-point-type", "3"], "onuQosResError")]:
            answer = self.apply(101, "internet", *options)
            number = {"onuQosResNotFound": 5, "onuQosResError": 1}[name]
            document = self.told(answer, 1, number, name, "service apply")
            self.assertEqual((document["arguments"]["res"], document["arguments"]["resName"]), (number, name))
            self.assertRegex(answer.err, rf"^oltctl: service apply: {name} \({number}\): [^\n]+\n$")

    def test_violation_alarm_and_unknown_figures(self):
        self.good(self.apply(101, "internet"))
        self.operate("port", "distance", "1", "0", "60")
        for transport, _ in BOTH:
            self.assertTrue(self.port(transport, 1)["cacViolation"])
            table = self.good(self.onuqosctl(transport, "cac", "show", "1", "2", "--fixed-capacity", "358024")).out
            first, second, more = table.splitlines()[2:]
            self.assertIn("oltctl port show", more)
            self.assertIn("VIOLATION", first)
            self.assertTrue(first.endswith("[####################] 100.0%"), first)
            self.assertNotIn("VIOLATION", second)
        self.assertEqual([alarm["interface"] for alarm in self.operate("alarms")["active"]], [1])
        self.operate("port", "distance", "1", "0", "20")
        alarms = self.operate("alarms")
        self.assertEqual((alarms["active"], [alarm["action"] for alarm in alarms["history"]]),
                         ([], ["report", "retreat"]))

        self.operate("port", "available", "1", "125000", "250000")
        shown = self.port("udp", 1)
        self.assertEqual((shown["actAvailFixedRate"], shown["actAvailAssuredRate"]), (1000, 2000))
        self.operate("port", "available", "1", "computed", "computed")
        self.assertEqual(self.port("udp", 1)["actAvailFixedRate"], 1240640 - 10240)

        self.operate("fault", "set", "getAvailableBandwith", "--times", "2")
        self.assertIsNone(self.port("tcp", 1)["actAvailAssuredRate"])
        self.assertIn("unknown", self.good(self.onuqosctl("udp", "cac", "show", "1")).out)
        self.assertEqual(self.port("tcp", 1)["actAvailFixedRate"], 1240640 - 10240)

    def test_ports_that_are_none_do_not_hide_the_others(self):
        for transport, _ in BOTH:
            answer = self.onuqosctl(transport, "--json", "cac", "show", "101", "999", "2")
            self.assertEqual(answer.status, 1)
            self.assertEqual([port["resultName"] for port in answer.json()["ports"]],
                             ["rpcTContProfileResError", "rpcTContProfileResError", "rpcTContProfileResOk"])
            self.assertEqual(len(answer.err.splitlines()), 2)
            none = self.onuqosctl(transport, "--json", "cac", "show", "101", "999")
            self.assertEqual((none.status, none.json()["result"], none.json()["request"]), (1, 1, "cac show 101 999"))
            self.assertIn("oltctl port list", none.json()["hint"])

    def test_watching(self):
        for transport, _ in BOTH:
            lines = self.good(self.onuqosctl(transport, "--json", "cac", "show", "1", "--watch=0.01", "--count",
                                             "3")).out.splitlines()
            self.assertEqual([json.loads(line)["ports"][0]["interface"] for line in lines], [1, 1, 1])

    def test_watching_ends_with_one_line_when_nobody_answers_any_more(self):
        command = [self.client("onuqosctl"), "--port", str(self.daemon.tcp_port), "--json", "cac", "show", "1",
                   "--watch=0.01"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as client:
            lines = [client.stdout.readline()]
            self.daemon.process.kill()
            lines += client.stdout.readlines()
            self.assertEqual(client.wait(PATIENCE), 3)
            self.assertEqual(len(client.stderr.read().splitlines()), 1)
        documents = [json.loads(line) for line in lines]
        self.assertEqual({document["capacity"] for document in documents[:-1]}, {1240640})
        self.assertEqual((documents[-1]["result"], documents[-1]["resultName"]), (None, "noAnswer"))

    def test_output_that_is_not_read_to_its_end(self):
        watch = (self.client("onuqosctl"), "--port", str(self.daemon.tcp_port), "cac", "show", "1", "--watch=0.01")
        with subprocess.Popen(watch, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as client:
            client.stdout.readline()
            client.stdout.close()
            self.assertEqual((client.wait(PATIENCE), client.stderr.read()), (0, b""))
        with open("/dev/full", "wb") as full:
            shown = subprocess.run(watch[:-1], stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual((shown.returncode, shown.stderr), (1, b"onuqosctl: standard output cannot be written\n"))


class ModuleTest(ClientTest):
    def test_ranges_state_and_ping(self):
        for transport, _ in BOTH:
            ranges = self.ask(transport, "ranges")
            self.assertEqual((len(ranges), ranges["guarRateUsMin"], ranges["maximumRateMax"]), (12, 128, 1244160))
            self.assertEqual(self.ask(transport, "state"), {"configurationApply": False})
            self.operate("config", "apply-start")
            self.assertEqual(self.ask(transport, "state"), {"configurationApply": True})
            self.operate("config", "apply-stop")
            answer = self.ask(transport, "ping", "--count", "3", "--interval", "0.01")
            self.assertEqual((answer["asked"], answer["answered"], len(answer["milliseconds"])), (3, 3, 3))

    def test_tables_have_headers_with_units(self):
        for transport, prefix in BOTH:
            self.ask(transport, "tcont", "create", prefix + "p")
            self.ask(transport, "flow", "create", prefix + "p", "--vlan", "1-3")
            for arguments, words in [
                (["tcont", "list"], ["fixed (kbit/s)", prefix + "p"]),
                (["tcont", "show", prefix + "p"], ["(kbit/s)"]),
                (["flow", "list"], ["peak (kbit/s)", "1-3"]), (["flow", "show", prefix + "p"], ["1-3"]),
                (["tcont", "defaults"], ["256"]), (["flow", "defaults"], ["1244160"]), (["ranges"], ["(kbit/s)"]),
                (["cac", "show", "1"], ["kbit/s", "[-"]), (["state"], ["no"]), (["ping", "--count", "1"], [" ms"]),
            ]:
                out = self.good(self.onuqosctl(transport, *arguments)).out
                for word in words:
                    self.assertIn(word, out)

    def test_without_an_answer_the_status_is_3_and_one_line_says_what_to_do(self):
        with socket.socket(socket.AF_INET) as unused:
            unused.bind(("127.0.0.1", 0))
            free = str(unused.getsockname()[1])
            for transport, _ in BOTH:
                answer = run([self.client("onuqosctl"), "--transport", transport, "--port", free, "state"])
                self.assertEqual((answer.status, answer.out), (3, ""))
                self.assertRegex(answer.err, r"^onuqosctl: nothing listens on .*oltmgrd.*\n$")
                document = self.checked([*answer.command, "--json"])
                self.assertEqual(document.err, answer.err)
                document = self.told(document, 3, None, "noAnswer", "state")
                self.assertEqual(answer.err, f"onuqosctl: {document['text']}\n")
        self.daemon.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.daemon.process.send_signal, signal.SIGCONT)
        for transport, _ in BOTH:
            answer = self.onuqosctl(transport, "--timeout", "0.2", "tcont", "delete", "--force", "x")
            self.assertEqual(answer.status, 3)
            self.assertRegex(answer.err, r"^onuqosctl: no answer .*may have been carried out.*\n$")
        answer = self.oltctl("--timeout", "0.2", "status")
        self.assertEqual(answer.status, 3)
        self.assertRegex(answer.err, r"^oltctl: control path .*no answer in time.*\n$")
        document = self.told(self.oltctl("--timeout", "0.2", "--json", "service", "list"), 3, None, "noAnswer",
                             "service list")
        self.assertEqual(answer.err, f"oltctl: {document['text']}\n")

    def test_over_udp_reads_are_repeated_and_changes_sent_once(self):
        def ask(command, timeout):
            """A client of a server that has not answered yet, and that server."""
            server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            self.addCleanup(server.close)
            server.bind(("127.0.0.1", 0))
            server.settimeout(PATIENCE)
            client = subprocess.Popen([self.client("onuqosctl"), "--transport", "udp", "--port",
                                       str(server.getsockname()[1]), "--timeout", timeout, *command.split()],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.addCleanup(client.wait)
            self.addCleanup(client.kill)
            return client, server

        def received(server):
            data, peer = server.recvfrom(1 << 16)
            return struct.unpack(">6I", data[:24])[5], data[:4], peer
        changes = {"tcont create p": 100, "tcont delete p --force": 101, "tcont rename p q --force": 102, "tcont copy p q": 103,
                   "tcont set p --id 2": 109, "tcont create p --id 2": 115, "flow create p": 1, "flow create p --pcp 1": 12,
                   "flow vlan add p 1": 6, "flow reset p peak": 7}
        telling = {}
        for command in changes:
            telling[command] = ask(command, "1.5")
            if "create" in command:  # which looks first whether the profile is there
                _, transaction, peer = received(telling[command][1])
                size = 292 if command.startswith("tcont") else 2348
                telling[command][1].sendto(transaction + struct.pack(f">5I{size}xI", 1, 0, 0, 0, 0, 3), peer)
        asking = {command: ask(command, str(PATIENCE)) for command in ("state", "ranges", "tcont list", "cac show 1")}
        for command, (_, server) in asking.items():
            self.assertEqual(received(server)[0], received(server)[0], command)
        for command, (client, server) in telling.items():
            self.assertEqual(client.wait(PATIENCE), 3, command)
            server.setblocking(False)
            procedures = []
            with contextlib.suppress(BlockingIOError):
                while True:
                    procedures.append(received(server)[0])
            self.assertEqual(procedures.count(changes[command]), 1, command)

    def test_the_portmapper_is_asked(self):
        if not self.has_own_network or shutil.which("rpcbind") is None:
            self.skipTest("needs root and rpcbind")
        for transport, _ in BOTH:
            answer = run([self.client("onuqosctl"), "--transport", transport, "state"])
            self.assertEqual(answer.status, 3)
            self.assertRegex(answer.err, r"^onuqosctl: no portmapper answers .*--port.*\n$")
        self.daemon.stop()
        with harness.portmapper():
            for transport, _ in BOTH:
                answer = run([self.client("onuqosctl"), "--transport", transport, "state"])
                self.assertEqual(answer.status, 3)
                self.assertRegex(answer.err, r"^onuqosctl: program 536870950 version 1 is not registered "
                                             r".*oltmgrd.*\n$")
            self.daemon.start_with_config()
            for transport, _ in BOTH:
                answer = self.good(run([self.client("onuqosctl"), "--transport", transport, "--json", "state"]))
                self.assertEqual(answer.json(), {"configurationApply": False})
            self.daemon.stop()

    def test_what_cannot_be_understood_ends_with_2_and_one_line(self):
        for arguments in [[], ["tcont"], ["nonsense"], ["tcont", "show"], ["tcont", "list", "extra"],
                          ["-o", "xml", "state"], ["--transport", "sctp", "state"], ["--port", "0", "state"],
                          ["--port", "65536", "state"], ["--timeout", "0", "state"], ["tcont", "set", "p"],
                          ["tcont", "set", "p", "--maximum", "4294967295"], ["tcont", "set", "p", "--type", "-1"],
                          ["tcont", "set", "p", "--weight", "default"], ["flow", "pcp", "set", "p", "2147483648"],
                          ["tcont", "set", "p", "--fixed", "1.5"], ["tcont", "set", "p", "--fixed", "5000G"],
                          ["tcont", "set", "p", "--together", "--weight", "1"], ["tcont", "show", "base64:?"],
                          ["tcont", "show", "base64:AA=="], ["flow", "vlan", "set", "p", "4096"],
                          ["flow", "vlan", "set", "p", "9-1"], ["flow", "reset", "p", "vlan"],
                          ["cac", "show", "x"], ["cac", "show"], ["cac", "show", "1", "--probe", "1-2"],
                          ["cac", "show", "--probe", "2-1"], ["cac", "show", "--probe", "1-"],
                          ["cac", "show", "--probe", "1-65537"], ["cac", "show", "--probe", "0-4294967295"],
                          ["cac", "show", "--count", "1"], ["ping", "--count", "0"]]:
            answer = run([self.client("onuqosctl"), "--port", str(self.daemon.tcp_port), *arguments])
            self.assertEqual((answer.status, answer.out), (2, ""), arguments)
            self.assertRegex(answer.err, r"^onuqosctl: [^\n]+\n$", arguments)
            self.usage_told_as_json(answer)
        for arguments in [[], ["service"], ["service", "apply", "1"], ["port", "distance", "1", "x", "2"],
                          ["onu", "config-event", "101", "maybe"], ["call", "status", "[]"], ["call", "status", "{"],
                          ["--control", "/" + "x" * 200, "status"], ["nonsense"],
                          ["--socket-owner", "no such user", "status"]]:
            answer = self.oltctl(*arguments)
            self.assertEqual((answer.status, answer.out), (2, ""), arguments)
            self.assertRegex(answer.err, r"^oltctl: [^\n]+\n$", arguments)
            self.usage_told_as_json(answer)

    def usage_told_as_json(self, answer):
        """The same in JSON, wherever on the line it is asked for."""
        program, *arguments = answer.command
        for more in ((["--json"], []), ([], ["--json"]), (["-o", "json"], []), ([], ["--output=json"])):
            if "-o" in arguments and more[1] != ["--json"]:
                continue
            with self.subTest(arguments=arguments, more=more):
                document = self.checked([program, *more[0], *arguments, *more[1]])
                self.assertEqual(document.err, answer.err)
                told = self.told(document, 2, None, "usage", document.json()["request"])
                self.assertIn(told["request"], " ".join(arguments))
                hint = f" ({told['hint']})" if told["hint"] else ""
                self.assertEqual(f"{os.path.basename(program)}: {told['text']}{hint}\n", answer.err)


class OperatorTest(ClientTest):
    def test_every_control_command_is_reached(self):
        listed = {command["name"] for command in self.operate("commands")["commands"]}
        self.ask("tcp", "tcont", "create", "gold")
        self.ask("tcp", "flow", "create", "hsi")
        config = os.path.join(self.directory, "saved.json")
        sent = {
            "list-commands": ["commands"], "status": ["status"], "message": ["message", "onuQosDump", "17"],
            "hardware-get": ["hardware"], "alarms-get": ["alarms"], "service-list": ["service", "list"],
            "service-apply": ["service", "apply", "101", "s", "--flow-profile", "hsi", "--tcont-profile", "gold",
                              "--virtual-port", "1", "--term-point-type", "1", "--term-point-id", "2"],
            "service-check": ["service", "check", "101", "s2", "--flow-profile", "hsi", "--tcont-profile", "gold",
                              "--virtual-port", "1", "--term-point-type", "1", "--term-point-id", "2"],
            "flow-service-get": ["service", "flow", "101", "1"], "service-remove": ["service", "remove", "101", "s"],
            "service-profile-add": ["service-profile", "add", "base64:/w==", "--tcont-profile", "gold",
                                    "--flow-profile", "hsi"],
            "service-profile-list": ["service-profile", "list"],
            "service-profile-remove": ["service-profile", "remove", "base64:/w=="],
            "config-apply-start": ["config", "apply-start"], "config-apply-stop": ["config", "apply-stop"],
            "config-get": ["config", "get"], "config-save": ["config", "save", "--file", config],
            "interface-event": ["interface", "event", "101", "4"],
            "onu-config-event": ["onu", "config-event", "101", "yes", "--other"],
            "interface-type-set": ["interface", "type", "102", "none"],
            "port-distance-set": ["port", "distance", "1", "0", "10"],
            "port-available-set": ["port", "available", "1", "computed", "computed"],
            "fault-set": ["fault", "set", "reportAlarm", "--answer", "2", "--times", "3", "--after", "4"],
            "fault-clear": ["fault", "clear", "reportAlarm"], "log-level": ["log-level", "3"],
            "ledger-get": ["port", "list"], "onu-list": ["onu", "list"], "tables-get": ["dump", "--busy"],
            "fault-list": ["fault", "list"],
            "default-settings": ["default-settings", "--yes"], "shutdown": ["shutdown"],
        }
        self.assertEqual(set(sent), listed)
        for command, words in sent.items():
            with self.subTest(command=command):
                if command not in ("service-profile-add", "service-profile-remove", "shutdown"):
                    self.assertNotEqual(self.good(self.oltctl(*words)).out, "")
                self.assertEqual(self.good(self.oltctl("--json", *words)).json()["result"], 0)
        self.assertTrue(os.path.exists(config))
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        answer = self.oltctl("status")
        self.assertEqual(answer.status, 3)
        self.assertRegex(answer.err, r"^oltctl: control path .*control\.sock: .*oltmgrd.*--control.*\n$")

    def test_dumps_are_printed_as_they_are(self):
        self.ask("tcp", "tcont", "create", "base64:" + base64.b64encode(b"g\xff").decode())
        raw = lambda *arguments: subprocess.run(self.oltctl_command(*arguments), capture_output=True, check=True,
                                                timeout=PATIENCE).stdout
        dump = raw("dump")
        self.assertTrue(dump.startswith(b" onuFlowProfileMap:\n -----------------\n\n tContProfileMap:\n"), dump)
        self.assertIn(b" \tname: g\xff (g\xff)\n", dump)
        self.assertEqual(raw("message", "onuQosDump"), dump)
        self.assertEqual(self.oltctl("dump", "abc").status, 2)
        self.assertEqual(base64.b64decode(self.operate("dump")["reply"]["base64"]), dump)

    def test_a_terminal_shows_names_and_obeys_none(self):
        hostile = "a\x1b[31m\u009b2J\u202e\u00e9"
        encoded = "base64:" + base64.b64encode(hostile.encode()).decode()
        self.ask("tcp", "tcont", "create", encoded)
        port = ("--port", str(self.daemon.tcp_port))
        commands = [self.oltctl_command("dump"), self.oltctl_command("--json", "dump"),
                    self.oltctl_command("call", hostile), self.oltctl_command(hostile),
                    [self.client("onuqosctl"), *port, "tcont", "list"],
                    [self.client("onuqosctl"), *port, "--json", "tcont", "list"],
                    [self.client("onuqosctl"), *port, "tcont", "show", hostile + "!"]]
        for command in commands:
            shown = on_terminal(command)
            self.assertIn("a", shown)
            hidden = [character for character in shown if not character.isprintable() and character not in "\r\n\t"]
            self.assertEqual(hidden, [], (command, shown))
            if "--json" in command:
                self.assertIn(json.dumps(hostile)[1:-1], json.dumps(json.loads(shown)))
        # Without a terminal every byte stays.
        self.assertIn(hostile, self.good(self.oltctl("dump")).out)

    @unittest.skipUnless(os.geteuid() == 0, "needs another user")
    def test_only_a_socket_of_the_own_user_or_root_is_believed(self):
        os.chmod(self.directory, 0o755)
        nobody = 65534
        os.mkdir(self.path("theirs"))
        os.chown(self.path("theirs"), nobody, nobody)
        theirs = harness.Daemon(self.program, self.module, self.path("theirs"))
        theirs.write_inventory(self.INVENTORY)
        theirs.start_as = nobody
        self.addCleanup(theirs.kill)
        theirs.start("--take-over")
        for owner, status in (((), 3), (("--socket-owner", "nobody"), 0), (("--socket-owner", str(nobody)), 0),
                              (("--socket-owner", "daemon"), 3)):
            answer = run([self.client("oltctl"), "--control", theirs.control_path, *owner, "status"])
            self.assertEqual(answer.status, status, answer.err)
            if status:
                self.assertEqual(answer.err, f"oltctl: control path {theirs.control_path}: served by user {nobody}, "
                                             "neither you nor root; --socket-owner names one to believe\n")
        self.good(run([self.client("oltctl"), "--control", theirs.control_path, "status"], user=nobody))
        # A socket that somebody else serves and root owns, and the other way round.
        os.chown(theirs.control_path, 0, 0)
        self.assertEqual(run([self.client("oltctl"), "--control", theirs.control_path, "status"]).status, 3)
        os.chown(self.daemon.control_path, nobody, nobody)
        self.assertEqual(self.oltctl("status").status, 3)
        self.good(self.oltctl("--socket-owner", "nobody", "status"))

    def test_descriptors_that_were_closed_are_not_taken(self):
        for client, command in (("oltctl", self.oltctl_command("--json", "status")),
                                ("onuqosctl", [self.client("onuqosctl"), "--port", str(self.daemon.tcp_port), "state"])):
            answer = run(["sh", "-c", 'exec "$@" <&- >&-', "sh", *command])
            self.assertEqual((answer.status, answer.err), (1, f"{client}: standard output cannot be written\n"))
            self.assertEqual(run(["sh", "-c", 'exec "$@" <&- 2>&-', "sh", *command]).status, 0)

    def test_raw_calls(self):
        self.operate("call", "log-level", '{"level": 1}')
        self.good(self.oltctl("call", "port-distance-set", "-", input=b'{"interface": 1, "min": 0, "max": 20}'))
        for arguments, status, text in [(["nonsense"], 2, "nonsense"), (["log-level"], 1, "level"),
                                        (["log-level", '{"level": "high"}'], 1, "level"),
                                        (["status", '{"more": 1}'], 1, "more")]:
            answer = self.oltctl("--json", "call", *arguments)
            self.told(answer, 1, status, {1: "refused", 2: "unknownCommand"}[status], "call " + arguments[0])
            self.assertRegex(answer.err, rf"^oltctl: .*{text}.*\n$")

    def test_who_refuses_a_request_before_all_of_it_came_is_heard(self):
        path = os.path.join(self.directory, "theirs")
        with open(os.path.join(self.directory, "request"), "w+", encoding="utf-8") as request, \
                socket.socket(socket.AF_UNIX) as server:
            json.dump({"name": "x" * (4 << 20)}, request)
            request.seek(0)
            server.bind(path)
            server.listen()
            with subprocess.Popen([self.client("oltctl"), "--control", path, "call", "message", "-"], stdin=request,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE) as client:
                connection, _ = server.accept()
                connection.sendall(b'{"result": 1, "text": "far too long"}\n')
                connection.close()
                out, err = client.communicate(timeout=PATIENCE)
        self.assertEqual((client.returncode, out, err), (1, b"", b"oltctl: far too long\n"))

    def test_names_in_use_by_service_profiles(self):
        for transport, _ in BOTH:
            for family, name in (("tcont", "rpcTContProfileResPartOfService"),
                                 ("flow", "rpcOnuFlowProfileResPartOfService")):
                self.ask(transport, family, "create", "named")
                self.refused(transport, 4, name, family, "delete", "named", hint="oltctl service-profile list")
                self.refused(transport, 4, name, family, "rename", "named", "other")
                self.operate("service-profile", "remove", "internet")
                self.ask(transport, family, "delete", "named")
                self.operate("service-profile", "add", "internet", "--tcont-profile", "named", "--flow-profile",
                             "named")


if __name__ == "__main__":
    main()
