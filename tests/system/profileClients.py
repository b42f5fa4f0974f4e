#!/usr/bin/env python3
"""T-CONT and ONU flow profiles through onuqosctl."""

import base64
import shlex

from clients import BOTH, ClientTest, main


def tcont(name, **changed):
    profile = {"name": name, "tContId": 1, "tContType": 5, "fixedRate": 0, "assuredRate": 0, "maximumRate": 256,
               "dbaAllocType": 1, "dbaWeight": 1, "dbaPriority": 0}
    profile.update(changed)
    return profile


def flow(name, **changed):
    profile = {"name": name, "cPcp": -1, "cVlan": [], "guarRateUs": 128, "peakRateUs": 1244160, "flowPriorityUs": 0,
               "flowPriorityDs": 0}
    profile.update(changed)
    return profile


class BothFamiliesTest(ClientTest):
    def test_life_of_a_profile(self):
        for transport, prefix in BOTH:
            first, second, copy = prefix + "first", prefix + "second", prefix + "copy"
            for family, fresh, options, changed, not_copied in [
                ("tcont", tcont, "--type 3 --assured 1M --maximum 2.5M --id 3 --weight 4 --alloc-type 2 --priority 2",
                 {"tContId": 3, "tContType": 3, "assuredRate": 1024, "maximumRate": 2560, "dbaAllocType": 2,
                  "dbaWeight": 4, "dbaPriority": 2}, {"dbaAllocType": 1, "dbaWeight": 1, "dbaPriority": 0}),
                ("flow", flow, "--vlan 4094,100-199,10 --pcp 3 --guaranteed 1M --peak 2M --priority-up 7 "
                               "--priority-down 1",
                 {"cPcp": 3, "cVlan": [10, *range(100, 200), 4094], "guarRateUs": 1024, "peakRateUs": 2048,
                  "flowPriorityUs": 7, "flowPriorityDs": 1}, {}),
            ]:
                ask = lambda *arguments: self.ask(transport, family, *arguments)
                wanted = fresh(second, **changed)
                self.assertEqual(ask("create", first)["profile"], fresh(first))
                self.assertEqual(ask("create", second, *options.split())["profile"], wanted)
                self.assertEqual(ask("show", second), wanted)
                listed = ask("list")
                self.assertTrue(listed["complete"])
                self.assertEqual(listed["profiles"][-2:], [fresh(first), wanted])
                self.assertEqual(ask("copy", second, copy)["result"], 0)
                self.assertEqual(ask("show", copy), {**wanted, "name": copy, **not_copied})
                ask("rename", copy, prefix + "new")
                self.assertEqual(ask("attached", prefix + "new"), {"name": prefix + "new", "attached": False})
                self.assertTrue(ask("delete", prefix + "new")["resultName"].endswith("ProfileResOk"))
                self.assertNotIn(prefix + "new", self.names(transport, family))
            self.assertIn("10,100-199,4094\n", self.good(self.onuqosctl(transport, "flow", "show", second)).out)

    def test_refusals(self):
        for transport, prefix in BOTH:
            one, five, new = prefix + "one", prefix + "five", prefix + "n"
            self.ask(transport, "tcont", "create", one, "--type", "1")
            for family in ("tcont", "flow"):
                self.ask(transport, family, "create", five)
            for result, name, command, hint in [
                (11, "Exists", f"tcont create {five}", "another name"),
                (1, "Error", "tcont create ''", "must not be empty"),
                (13, "BadName", f"tcont create {'n' * 65}", "1 to 64 bytes"),
                (3, "NotFound", "tcont show nobody", "tcont list"),
                (3, "NotFound", "tcont delete nobody", "tcont list"),
                (3, "NotFound", "tcont attached nobody", "tcont list"),
                (3, "NotFound", "tcont set nobody --together --id 2", "tcont list"),
                (11, "Exists", f"tcont rename {one} {five}", "another name"),
                (11, "Exists", f"tcont copy {one} {five}", "another name"),
                (15, "OutOfRange", f"tcont set {five} --id 7", "1 to 6"),
                (1, "Error", f"tcont set {five} --type 6", "1 to 5"),
                (15, "OutOfRange", f"tcont set {one} --assured 1M", "type 1 carries a fixed rate only"),
                (15, "OutOfRange", f"tcont set {one} --alloc-type 2", "type 1 does not let it be chosen"),
                (1, "Error", f"tcont set {five} --alloc-type 3", "1 or 2"),
                (7, "RateError", f"tcont set {five} --assured 256", "fixed + assured rate + 256"),
                (7, "RateError", f"tcont set {five} --assured 64", "0 or at least 256"),
                (7, "RateError", f"tcont set {five} --maximum 2G", "at most 1244160"),
                (7, "RateError", f"tcont set {five} --id 2 --maximum 64", "carried out before: --id"),
                (15, "OutOfRange", f"tcont create {new} --type 4 --fixed 1M", "type 4 carries a maximum rate only"),
                (15, "OutOfRange", f"tcont create {new} --type 3 --maximum 400", "at least 512"),
                (7, "RateError", f"tcont create {new} --type 3 --assured 512 --maximum 600", "assured rate + 256"),
                (7, "RateError", f"tcont create {new} --type 2 --assured 0", "at least 256"),
                (15, "OutOfRange", f"tcont create {new} --id 7", "1 to 6"),
                (1, "Error", f"tcont create {new} --type 7", "1 to 5"),
                (13, "BadName", f"tcont create {'n' * 65} --maximum 1M", "1 to 64 bytes"),
                (10, "Exists", f"flow create {five} --pcp 1", "another name"),
                (1, "Error", "flow create ''", "must not be empty"),
                (16, "BadName", f"flow create {'n' * 65}", "1 to 64 bytes"),
                (3, "NotFound", "flow attached nobody", "flow list"),
                (3, "NotFound", "flow vlan add nobody 1", "flow list"),
                (1, "Error", f"flow vlan set {five} 0", "1 to 4094"),
                (1, "Error", f"flow set {five} --vlan 4095", "1 to 4094"),
                (18, "OutOfRange", f"flow create {new} --vlan 0-3", "1 to 4094"),
                (18, "OutOfRange", f"flow pcp set {five} 8", "0 to 7"),
                (18, "OutOfRange", f"flow set {five} --priority-down 8", "0 to 7"),
                (18, "OutOfRange", f"flow set {five} --guaranteed 64", "128"),
                (12, "GuarAbovePeak", f"flow create {new} --guaranteed 2M --peak 1M", "at least"),
                (12, "GuarAbovePeak", f"flow set {five} --peak 1M --guaranteed 2M", "carried out before: --peak"),
            ]:
                with self.subTest(command=command):
                    family, *arguments = shlex.split(command)
                    res = {"tcont": "rpcTContProfileRes", "flow": "rpcOnuFlowProfileRes"}[family]
                    self.refused(transport, result, res + name, family, *arguments, hint=hint)
            for family in ("tcont", "flow"):
                self.assertNotIn(new, self.names(transport, family))


class TContTest(ClientTest):
    def test_setters_one_by_one(self):
        for transport, prefix in BOTH:
            name = prefix + "p"
            self.ask(transport, "tcont", "create", name)
            for options, changed in [
                (["--id", "6"], {"tContId": 6}),
                (["--id", "default"], {"tContId": 1}),
                (["--maximum", "100M"], {"maximumRate": 100032}),
                (["--fixed", "300"], {"fixedRate": 320}),
                (["--assured", "64"], {"assuredRate": 64}),
                (["--assured", "default"], {"assuredRate": 0}),
                (["--fixed", "-1"], {"fixedRate": 0}),
                (["--weight", "4294967295"], {"dbaWeight": 4294967295}),
                (["--priority", "7"], {"dbaPriority": 7}),
                (["--alloc-type", "2"], {"dbaAllocType": 2}),
                (["--type", "2"], {"tContType": 2, "assuredRate": 256, "maximumRate": 256}),
                (["--type", "default"], {"tContType": 5, "assuredRate": 0}),
                (["--maximum", "2M", "--fixed", "1M", "--maximum", "1.5M"],
                 {"fixedRate": 1024, "maximumRate": 1536}),
                (["--together", "--fixed", "default", "--maximum", "default", "--id", "2"],
                 {"fixedRate": 0, "maximumRate": 256, "tContId": 2}),
                (["--together", "--type", "default", "--assured", "256", "--maximum", "512"],
                 {"assuredRate": 256, "maximumRate": 512}),
            ]:
                before = self.ask(transport, "tcont", "show", name)
                after = self.ask(transport, "tcont", "set", name, *options)["profile"]
                self.assertEqual(after, {**before, **changed}, options)
            # The hardware layer numbers the two allocation types the other way round.
            hardware = self.mirror("tcontProfiles", name)
            self.assertEqual((hardware["dbaAllocType"], hardware["dbaWeight"], hardware["assuredRate"]),
                             (1, 4294967295, 256))

    def test_create_or_set(self):
        for transport, prefix in BOTH:
            name = prefix + "p"
            create = lambda *options: self.ask(transport, "tcont", "create", name, *options)["profile"]
            self.assertEqual(create("--or-set"), tcont(name))
            self.assertEqual(create("--or-set", "--maximum", "1024", "--weight", "9"),
                             tcont(name, maximumRate=1024, dbaWeight=9))
            self.refused(transport, 11, "rpcTContProfileResExists", "tcont", "create", name, "--id", "4")
            self.assertEqual(self.ask(transport, "tcont", "show", name)["tContId"], 1)

    def test_defaults(self):
        rates = {1: (256, 0, 256), 2: (0, 256, 256), 3: (0, 256, 512), 4: (0, 0, 256), 5: (0, 0, 256)}
        for transport, _ in BOTH:
            expected = tcont("")
            del expected["name"]
            self.assertEqual(self.ask(transport, "tcont", "defaults"), expected)
            for kind, (fixed, assured, maximum) in rates.items():
                shown = self.ask(transport, "tcont", "defaults", "--type", str(kind))
                self.assertEqual((shown["fixedRate"], shown["assuredRate"], shown["maximumRate"]),
                                 (fixed, assured, maximum))
                self.assertIsNone(shown["dbaWeight"])

    def test_small_assured_rates_are_made_in_the_steps_the_refusal_tells(self):
        for transport, prefix in BOTH:
            for number, (fixed, assured, maximum) in enumerate([(256, 128, 1024), (128, 192, 576), (2048, 64, 4096)]):
                name = f"{prefix}{number}"
                arguments = ["tcont", "create", name, "--fixed", str(fixed), "--assured", str(assured), "--maximum",
                             str(maximum), "--id", "2"]
                hint = self.refused(transport, 7, "rpcTContProfileResRateError", *arguments)["hint"]
                for command in hint[hint.index("onuqosctl"):].split("&&"):
                    self.ask(transport, *shlex.split(command)[1:])
                self.assertEqual(self.ask(transport, "tcont", "show", name),
                                 tcont(name, tContId=2, fixedRate=fixed, assuredRate=assured, maximumRate=maximum))
            name = prefix + "stored"
            self.ask(transport, "tcont", "create", name)
            hint = self.refused(transport, 7, "rpcTContProfileResRateError", "tcont", "set", name, "--together",
                                "--fixed", "192", "--assured", "64", "--maximum", "512")["hint"]
            self.ask(transport, *shlex.split(hint[hint.index("onuqosctl"):])[1:])
            self.assertEqual(self.ask(transport, "tcont", "show", name),
                             tcont(name, fixedRate=192, assuredRate=64, maximumRate=512))


class FlowTest(ClientTest):
    def test_changes(self):
        for transport, prefix in BOTH:
            name = prefix + "p"
            self.ask(transport, "flow", "create", name)
            for arguments, changed in [
                (["vlan", "set", name, "5,10"], {"cVlan": [5, 10]}),
                (["vlan", "add", name, "7-9"], {"cVlan": [5, 7, 8, 9, 10]}),
                (["vlan", "remove", name, "5-8,4000"], {"cVlan": [9, 10]}),
                (["vlan", "set", name, "1-4094"], {"cVlan": list(range(1, 4095))}),
                (["vlan", "clear", name], {"cVlan": []}),
                (["pcp", "set", name, "0"], {"cPcp": 0}),
                (["pcp", "clear", name], {"cPcp": -1}),
                (["set", name, "--pcp", "7", "--vlan", "2"], {"cPcp": 7, "cVlan": [2]}),
                (["set", name, "--pcp", "none", "--vlan", ""], {"cPcp": -1, "cVlan": []}),
                (["set", name, "--guaranteed", "130"], {"guarRateUs": 192}),
                (["set", name, "--peak", "1M", "--priority-up", "3", "--priority-down", "4"],
                 {"peakRateUs": 1024, "flowPriorityUs": 3, "flowPriorityDs": 4}),
                (["reset", name, "peak"], {"peakRateUs": 1244160}),
                (["reset", name, "guaranteed"], {"guarRateUs": 128}),
                (["reset", name, "priority-up"], {"flowPriorityUs": 0}),
                (["reset", name, "priority-down"], {"flowPriorityDs": 0}),
                (["set", name, "--together", "--guaranteed", "2M", "--peak", "2M", "--vlan", "3", "--pcp", "1"],
                 {"guarRateUs": 2048, "peakRateUs": 2048, "cVlan": [3], "cPcp": 1}),
                (["set", name, "--together", "--peak", "default", "--pcp", "none"],
                 {"peakRateUs": 1244160, "cPcp": -1}),
                (["create", name, "--or-set", "--priority-up", "5"], {"flowPriorityUs": 5}),
                (["set", name, "--priority-up", "default"], {"flowPriorityUs": 0}),
            ]:
                before = self.ask(transport, "flow", "show", name)
                after = self.ask(transport, "flow", *arguments)["profile"]
                self.assertEqual(after, {**before, **changed}, arguments)
                hardware = self.mirror("flowProfiles", name)
                self.assertEqual({**hardware, "cVlan": sorted(hardware["cVlan"])}, after, arguments)


class NamesTest(ClientTest):
    FAMILIES = ("tcont", "flow")
    # Every other one is given as it stands.
    NAMES = [b"a\xff\x01", b" ", b"list", b"{}", b"\\", b"%%", b"a\n", b"[a]", b"\xe2\x80\xae", "gr\u00fcn".encode(),
             b"-", b"-x", b"\xc0\xaf", b"++", b"+", b"--json", b"base64:AA==", b"n" * 64]

    def test_names_are_bytes(self):
        for transport, prefix in BOTH:
            for family in self.FAMILIES:
                for number, name in enumerate(self.NAMES):
                    plain = number % 2 == 1 and not name.startswith(b"base64:")
                    argument = name.decode() if plain else "base64:" + base64.b64encode(name).decode()
                    with self.subTest(family=family, name=name):
                        shown = self.ask(transport, family, "create", "--", argument)["profile"]["name"]
                        try:
                            self.assertEqual(shown, name.decode())
                        except UnicodeDecodeError:
                            self.assertEqual(base64.b64decode(shown["base64"]), name)
                        self.assertIn(shown, self.names(transport, family))
                        table = self.good(self.onuqosctl(transport, family, "list")).out
                        self.assertNotIn("\x01", table)
                        self.ask(transport, family, "delete", "--", argument)

    def test_a_full_table_is_listed_in_order(self):
        for family, full in (("tcont", (2, "rpcTContProfileResTableFull")),
                             ("flow", (2, "rpcOnuFlowProfileResTableFull"))):
            names = [f"{number:03}" + "x" * 61 for number in range(256)]
            for number, name in enumerate(reversed(names)):
                self.ask(("tcp", "udp")[number % 2], family, "create", name)
            for transport, _ in BOTH:
                self.assertEqual(self.names(transport, family), names)
                self.refused(transport, *full, family, "create", "one-more", hint="256")

    def cut_short(self, transport, family, expected, *complaints):
        answer = self.onuqosctl(transport, family, "list", "--json")
        self.assertEqual(answer.status, 1)
        document = answer.json()
        self.assertFalse(document["complete"])
        self.assertEqual([profile["name"] for profile in document["profiles"]], expected)
        self.assertEqual(len(answer.err.splitlines()), 1, answer.err)
        for complaint in complaints:
            self.assertIn(complaint, answer.err)
        table = self.onuqosctl(transport, family, "list")
        self.assertEqual(table.status, 1)
        self.assertEqual(len(table.out.splitlines()), len(expected) + 1)
        return document["profiles"]

    def test_names_that_a_list_cannot_pass(self):
        for transport, _ in BOTH:
            for family in self.FAMILIES:
                ask = lambda *arguments: self.ask(transport, family, *arguments)
                start, whole = "m" * 64, "m" * 80
                for name in ("a", "p", "z"):
                    ask("create", name)

                self.assertEqual(self.onuqosctl(transport, family, "rename", "p", whole).status, 0)
                profiles = self.cut_short(transport, family, ["a", start], "longer than 64 bytes", f"{family} rename")
                self.assertTrue(profiles[-1]["nameCut"])
                self.assertEqual(ask("show", whole)["name"], whole)
                ask("create", start)
                self.cut_short(transport, family, ["a", start, start], "longer than 64 bytes")
                ask("delete", start)
                ask("rename", whole, "p")
                self.assertEqual(self.names(transport, family), ["a", "p", "z"])

                self.assertEqual(self.onuqosctl(transport, family, "rename", "p", "").status, 0)
                self.cut_short(transport, family, [""], "empty name", f"{family} rename ''")
                ask("rename", "", "p")
                for name in ("a", "p", "z"):
                    ask("delete", name)
                self.assertEqual(self.names(transport, family), [])


if __name__ == "__main__":
    main()
