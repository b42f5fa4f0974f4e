#!/usr/bin/env python3
"""What onuqosctl says of a refusal, against the rules as the manual tells them, and what comes of its advice."""

import shlex
import socket
import threading

from clients import BOTH, ClientTest, main

STEP, MOST = 64, 1244160
LEAST = {1: (256, 0, 256), 2: (0, 256, 256), 3: (0, 256, 512), 4: (0, 0, 256), 5: (0, 0, 256)}
CARRIED = {1: (0,), 2: (1,), 3: (1, 2), 4: (2,), 5: (0, 1, 2)}
RATES = ("fixed", "assured", "maximum")


def rounded(rate):
    return -(-rate // STEP) * STEP


def keeps_rules(kind, rates):
    fixed, assured, maximum = rates
    if kind == 3:
        return maximum >= assured + 256
    return kind != 5 or (not 0 < fixed + assured < 256 and maximum >= fixed + assured + 256)


def setter(kind, stored, place, value):
    """The rates after setting one of them; nothing when it is refused."""
    if place not in CARRIED[kind] or not LEAST[kind][place] <= value <= MOST:
        return None
    rates = list(stored)
    rates[place] = rounded(value)
    if kind in (1, 2):
        rates = [rates[0] if kind == 1 else 0, rates[1] if kind == 2 else 0, rates[place]]
    return tuple(rates) if keeps_rules(kind, rates) else None


def create(kind, given):
    """The rates of a profile made in one request with {place: rate}; nothing when it is refused."""
    rates = list(LEAST[kind])
    for place, value in given.items():
        least = LEAST[kind][place]
        if (value != 0 and not least <= value <= MOST) or (place not in CARRIED[kind] and value != least):
            return None
        rates[place] = rounded(value)
    if kind in (1, 2):
        rates[2] = rates[kind - 1]
    if not keeps_rules(kind, rates):
        return None
    written = LEAST[kind]
    for place in (2, 1, 0):
        if place in given and place in CARRIED[kind]:
            written = setter(kind, written, place, rates[place])
            if written is None:
                return None
    return written


def numbers(asked, legal):
    """What an explanation has to tell of the legal values among the multiples of the step."""
    values = [value for value in range(0, MOST + 1, STEP) if legal(value)]
    rates = [value for value in values if value > 0] or [None]
    if 0 in values and STEP in values:
        rates = values
    return {"asked": asked, "least": rates[0], "most": rates[-1], "step": STEP,
            "nearest": {"below": max((value for value in values if value <= asked), default=None),
                        "above": min((value for value in values if value >= asked), default=None)}}


class TContTest(ClientTest):
    def explanation(self, reason, answer_of, *arguments):
        answer = self.onuqosctl("tcp", "--json", *arguments)
        self.assertEqual(answer.status, 1, answer.out)
        explanation = answer.json()["explanation"]
        self.assertEqual(explanation.pop("reason"), reason, answer.err)
        self.assertEqual({key: explanation[key] for key in answer_of}, answer_of, answer.err)
        return answer.json()

    def test_setters(self):
        for number, (kind, stored, option, asked, reason) in enumerate([
            (1, (1024, 0, 1024), "fixed", 100, "belowLeast"), (1, (256, 0, 256), "fixed", 1244161, "aboveMost"),
            (1, (256, 0, 256), "fixed", 0, "belowLeast"), (2, (0, 256, 256), "assured", 255, "belowLeast"),
            (3, (0, 256, 512), "assured", 257, "type3Maximum"), (3, (0, 2048, 4096), "assured", 100, "belowLeast"),
            (3, (0, 2048, 4096), "assured", 1000000, "type3Maximum"),
            (3, (0, 2048, 4096), "maximum", 511, "belowLeast"), (3, (0, 2048, 4096), "maximum", 2240, "type3Maximum"),
            (4, (0, 0, 4096), "maximum", 1, "belowLeast"), (4, (0, 0, 4096), "maximum", 2000000, "aboveMost"),
            (5, (0, 0, 4096), "fixed", 64, "type5Guarantee"), (5, (0, 0, 4096), "assured", 3841, "type5Maximum"),
            (5, (256, 0, 4096), "assured", 3585, "type5Maximum"), (5, (192, 64, 512), "fixed", 191 - 64, "type5Guarantee"),
            (5, (192, 64, 512), "assured", 0, "type5Guarantee"), (5, (192, 64, 512), "maximum", 448, "type5Maximum"),
            (5, (256, 256, 1024), "maximum", 255, "belowLeast"), (5, (0, 0, 256), "fixed", 256, "type5Maximum"),
        ]):
            with self.subTest(kind=kind, stored=stored, option=option, asked=asked):
                name, place = f"p{number}", RATES.index(option)
                self.ask("tcp", "tcont", "create", name, "--type", str(kind))
                for each, rate in ((2, stored[2]), (0, stored[0]), (1, stored[1])):
                    if each in CARRIED[kind]:
                        if (kind, each, stored) == (5, 0, (192, 64, 512)):  # in steps that keep the rules
                            self.ask("tcp", "tcont", "set", name, "--maximum", "1024", "--assured", "256", "--fixed", "192",
                                     "--assured", "64", "--maximum", "512")
                        self.ask("tcp", "tcont", "set", name, f"--{RATES[each]}", str(rate))
                told = self.explanation(reason, numbers(asked, lambda value: setter(kind, stored, place, value)),
                                        "tcont", "set", name, f"--{option}", str(asked))
                self.assertEqual(told["explanation"]["value"], option)
                # The command that it names is taken.
                self.ask("tcp", *shlex.split(told["hint"][told["hint"].rindex("onuqosctl"):])[1:])

    def test_one_request(self):
        for number, (kind, given, place, reason) in enumerate([
            (3, {2: 400}, 2, "belowLeast"), (3, {1: 512, 2: 600}, 2, "type3Maximum"), (3, {1: 257}, 1, "type3Maximum"),
            (2, {1: 0}, 1, "belowLeast"), (1, {0: 2000000}, 0, "aboveMost"), (4, {2: 255}, 2, "belowLeast"),
            (5, {0: 100}, 0, "type5Guarantee"), (5, {0: 300, 2: 500}, 2, "type5Maximum"),
            (5, {0: 300, 1: 1000, 2: 1500}, 2, "type5Maximum"), (5, {0: 64, 1: 64, 2: 1024}, 1, "type5Guarantee"),
        ]):
            with self.subTest(kind=kind, given=given):
                options = [word for each, rate in given.items() for word in (f"--{RATES[each]}", str(rate))]
                asked = given.get(place, LEAST[kind][place])
                told = self.explanation(
                    reason, numbers(asked, lambda value: create(kind, {**given, place: value})),
                    "tcont", "create", f"p{number}", "--type", str(kind), *options)
                self.assertEqual(told["explanation"]["value"], RATES[place])
                made = self.ask("tcp", *shlex.split(told["hint"][told["hint"].rindex("onuqosctl"):])[1:])["profile"]
                self.assertEqual(made["tContType"], kind)

    def test_several_rates_that_are_wrong(self):
        own = {"least": 256, "most": MOST, "nearest": {"below": None, "above": 256}}
        none = {"least": None, "most": None, "nearest": {"below": None, "above": None}}
        for number, (kind, given, reason, told, near) in enumerate([
            (3, {1: 100, 2: 300}, "belowLeast", own, (0, 256, 512)), (5, {0: 2509, 1: 192, 2: 143}, "belowLeast", own,
                                                                      (2560, 192, 3008)),
            (5, {0: 100, 1: 192, 2: 0}, "type5Maximum", none, (128, 192, 576)),
            (5, {0: 128, 1: 0, 2: 0}, "type5Guarantee", none, (256, 0, 512)),
            (5, {0: 70165, 1: 128}, "type5Maximum", none, (70208, 128, 70592)),
        ]):
            with self.subTest(kind=kind, given=given):
                options = [word for each, rate in given.items() for word in (f"--{RATES[each]}", str(rate))]
                hint = self.explanation(reason, told, "tcont", "create", f"p{number}", "--type", str(kind), *options)["hint"]
                self.assertIn("/".join(str(rate) for rate in near), hint)
                for command in hint[hint.index("onuqosctl"):].split("&&"):
                    made = self.ask("tcp", *shlex.split(command)[1:])["profile"]
                self.assertEqual((made["fixedRate"], made["assuredRate"], made["maximumRate"]), near)

    def test_values_that_are_no_rates(self):
        self.ask("tcp", "tcont", "create", "one", "--type", "1")
        for reason, told, arguments in [
            ("outOfDomain", {"value": "id", "asked": 7, "most": 6, "nearest": {"below": 6, "above": None}}, "set one --id 7"),
            ("outOfDomain", {"value": "type", "asked": 9, "most": 5}, "set one --type 9"),
            ("outOfDomain", {"value": "alloc-type", "asked": 0, "least": 1, "nearest": {"below": None, "above": 1}},
             "set one --alloc-type 0"),
            ("notCarried", {"value": "alloc-type", "asked": 1, "least": None}, "set one --alloc-type 1"),
            ("notCarried", {"value": "maximum", "asked": 512}, "set one --maximum 512"),
            ("notCarried", {"value": "fixed", "asked": 1000}, "create new --type 4 --fixed 1M"),
            ("outOfDomain", {"value": "id", "asked": 7}, "create new --id 7"),
            ("stepOrder", {"value": "assured", "asked": 192}, "create new --fixed 128 --assured 192 --maximum 576"),
        ]:
            with self.subTest(arguments=arguments):
                self.explanation(reason, told, "tcont", *arguments.split())

    def test_roundings_and_ids_are_told(self):
        made = self.ask("tcp", "tcont", "create", "p", "--type", "3", "--maximum", "100000", "--assured", "300", "--id", "2")
        self.assertEqual(made["rounded"], [{"rate": "assured", "asked": 300, "stored": 320},
                                           {"rate": "maximum", "asked": 100000, "stored": 100032}])
        self.assertNotIn("note", made)
        changed = self.onuqosctl("udp", "tcont", "set", "p", "--maximum", "900", "--maximum", "1000", "--assured", "640")
        self.assertEqual((changed.status, changed.err), (0, "note: 1000 was rounded up to 1024 (step 64)\n"))
        self.assertNotIn("rounded", self.ask("tcp", "tcont", "set", "p", "--assured", "default", "--maximum", "1024"))
        for arguments in (["create", "q"], ["create", "r", "--maximum", "512"], ["create", "s", "--or-set"]):
            self.assertIn("id is 1", self.ask("tcp", "tcont", *arguments)["note"])
        self.assertNotIn("note", self.ask("tcp", "tcont", "create", "s", "--or-set", "--weight", "2"))
        made = self.ask("tcp", "flow", "create", "p", "--guaranteed", "129", "--peak", "1000")
        self.assertEqual(made["rounded"], [{"rate": "guaranteed", "asked": 129, "stored": 192},
                                           {"rate": "peak", "asked": 1000, "stored": 1024}])
        self.assertIn("rounded up to 128 (step 64)", self.onuqosctl("tcp", "flow", "set", "p", "--guaranteed", "100").err)


class FlowTest(ClientTest):
    def test_reasons(self):
        self.ask("tcp", "flow", "create", "p", "--guaranteed", "512", "--peak", "1024")
        for reason, least, most, below, above, arguments in [
            ("belowLeast", 128, 1024, None, 128, "set p --guaranteed 64"),
            ("aboveMost", 512, MOST, MOST, None, "set p --peak 2G"),
            ("guaranteedAbovePeak", 128, 1024, 1024, None, "set p --guaranteed 1025"),
            ("guaranteedAbovePeak", 512, MOST, None, 512, "set p --peak 448"),
            ("aboveMost", 0, 7, 7, None, "set p --priority-up 8"), ("aboveMost", 0, 7, 7, None, "set p --priority-down 9"),
            ("aboveMost", 0, 7, 7, None, "pcp set p 8"), ("aboveMost", 0, 7, 7, None, "set p --together --pcp 8"),
            ("reservedVlan", 1, 4094, 4094, None, "vlan set p 4095"), ("reservedVlan", 1, 4094, None, 1, "vlan add p 0-9"),
            ("reservedVlan", 1, 4094, None, 1, "create new --vlan 0,7"),
            ("belowLeast", 128, 1024, None, 128, "set p --together --guaranteed 100"),
            ("belowLeast", 128, MOST, None, 128, "create new --peak 127 --vlan 1,4"),
            ("guaranteedAbovePeak", 128, 1000, 1000, None, "create new --peak 1000 --guaranteed 1001 --pcp none"),
            ("guaranteedAbovePeak", 512, MOST, None, 512, "set p --together --peak 500"),
        ]:
            with self.subTest(arguments=arguments):
                answer = self.onuqosctl("tcp", "--json", "flow", *arguments.split())
                why = answer.json()["explanation"]
                self.assertEqual((why["reason"], why["least"], why["most"], why["nearest"]),
                                 (reason, least, most, {"below": below, "above": above}), answer.err)
                hint = answer.json()["hint"]
                if "onuqosctl" in hint:
                    before = self.ask("tcp", "flow", "show", "p")
                    self.ask("tcp", *shlex.split(hint[hint.rindex("onuqosctl"):])[1:])
                    if "create" in arguments:
                        self.ask("tcp", "flow", "delete", "new")
                    for field in ("guaranteed", "peak"):  # a rise before a fall
                        self.ask("tcp", "flow", "set", "p", "--peak", "2048", "--guaranteed", str(before["guarRateUs"]),
                                 "--peak", str(before["peakRateUs"]))


class ChangedMeanwhileTest(ClientTest):
    """Another client changes the profile after a refusal, before it is explained."""

    def through(self, procedure, change, *arguments):
        """The answer to a client whose datagrams pass here; `change` happens before the answer of the procedure."""
        relay = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.addCleanup(relay.close)
        relay.bind(("127.0.0.1", 0))
        server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.addCleanup(server.close)
        server.connect(("127.0.0.1", self.daemon.udp_port))

        def serve():
            while True:
                request, client = relay.recvfrom(1 << 16)
                if not request:
                    return
                server.send(request)
                reply = server.recv(1 << 16)
                if int.from_bytes(request[20:24], "big") == procedure:
                    change()
                relay.sendto(reply, client)
        thread = threading.Thread(target=serve)
        thread.start()
        try:
            return self.checked([self.client("onuqosctl"), "--transport", "udp", "--port", str(relay.getsockname()[1]),
                                 "--json", *arguments])
        finally:
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as end:
                end.sendto(b"", relay.getsockname())
            thread.join()

    def test_the_numbers_told_are_never_guessed(self):
        again = "the tables have changed since; as they are now the request would be accepted: try again"
        other = "the tables have changed since: try again"
        for procedure, family, command, change, hint, reason in [
            (112, "tcont", "set p --assured 1024", "tcont set p --maximum 2048", again, "tablesChanged"),
            (112, "tcont", "set p --assured 1024", "tcont set p --maximum 1024", "may be 256 to 768 now", "type3Maximum"),
            (112, "tcont", "set p --assured 1024", "tcont set p --type 4", other, "tablesChanged"),
            (112, "tcont", "set p --assured 1024", "tcont delete p", other, "tablesChanged"),
            (115, "tcont", "set p --together --assured 1024", "tcont set p --maximum 2048", again, "tablesChanged"),
            (115, "tcont", "set p --together --assured 1024", "tcont set p --maximum 1024", "assured", "type3Maximum"),
            (7, "flow", "set p --guaranteed 2048", "flow set p --peak 4096", again, "tablesChanged"),
            (7, "flow", "set p --guaranteed 2048", "flow set p --peak 1536", "may be 128 to 1536 now",
             "guaranteedAbovePeak"),
            (12, "flow", "set p --together --guaranteed 2048", "flow set p --peak 4096", again, "tablesChanged"),
        ]:
            with self.subTest(command=command, change=change):
                self.ask("tcp", family, "create", "p", *(("--type", "3") if family == "tcont" else ("--peak", "1024")))
                answer = self.through(procedure, lambda words=change: self.ask("tcp", *words.split()), family,
                                      *command.split())
                self.assertEqual(answer.status, 1)
                self.assertIn(hint, answer.json()["hint"])
                self.assertEqual(answer.json()["explanation"]["reason"], reason)
                self.onuqosctl("tcp", family, "delete", "p")


class InUseTest(ClientTest):
    def test_profiles_of_services_are_deleted_and_renamed_with_force_only(self):
        self.ask("tcp", "tcont", "create", "gold", "--fixed", "10240", "--maximum", "100M")
        self.ask("tcp", "flow", "create", "hsi")
        free = lambda: self.ask("tcp", "cac", "show", "1")["ports"][0]["estAvailFixedRate"]
        before = free()
        self.operate("service", "apply", "101", "s", "--flow-profile", "hsi", "--tcont-profile", "gold",
                     "--virtual-port", "1", "--term-point-type", "1", "--term-point-id", "1")
        for transport, _ in BOTH:
            for family, name in (("tcont", "gold"), ("flow", "hsi")):
                for command in (["delete", name], ["rename", name, "other"]):
                    answer = self.onuqosctl(transport, "--json", family, *command)
                    told = self.told(answer, 2, None, "usage", f"{family} {command[0]}")
                    self.assertIn("restart", told["text"])
                    self.assertIn(f"oltctl service list --{family} {name} shows them", told["hint"])
                    self.assertIn("--force", told["hint"])
                self.assertEqual(self.names(transport, family), [name])
                self.refused(transport, 5, {"tcont": "rpcTContProfileResApplied", "flow": "rpcOnuFlowProfileResApplied"}[
                    family], family, "create", name, "--or-set", *{"tcont": ["--id", "2"], "flow": ["--pcp", "1"]}[family],
                             hint=f"oltctl service list --{family} {name} shows them")
        self.ask("tcp", "tcont", "rename", "gold", "silver", "--force")
        # What it warns of comes about: the service goes, its bandwidth stays.
        self.assertEqual(self.oltctl("service", "remove", "101", "s").status, 1)
        self.assertEqual(self.operate("service", "list")["services"], [])
        self.assertLess(free(), before - 10240)


if __name__ == "__main__":
    main()
