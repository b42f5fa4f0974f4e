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


class TContTest(ClientTest):
    def test_life_of_a_profile(self):
        for transport, prefix in BOTH:
            ask = lambda *arguments: self.ask(transport, "tcont", *arguments)
            gold, silver, copy = prefix + "gold", prefix + "silver", prefix + "copy"
            self.assertEqual(ask("create", gold)["profile"], tcont(gold))
            wanted = tcont(silver, tContId=3, tContType=3, assuredRate=1024, maximumRate=2560, dbaAllocType=2,
                           dbaWeight=4, dbaPriority=2)
            self.assertEqual(ask("create", silver, "--type", "3", "--assured", "1M", "--maximum", "2.5M", "--id", "3",
                                 "--weight", "4", "--alloc-type", "2", "--priority", "2")["profile"], wanted)
            self.assertEqual(ask("show", silver), wanted)
            listed = ask("list")
            self.assertTrue(listed["complete"])
            self.assertEqual(listed["profiles"][-2:], [tcont(gold), wanted])

            self.assertEqual(ask("copy", silver, copy)["result"], 0)
            self.assertEqual(ask("show", copy),
                             {**wanted, "name": copy, "dbaAllocType": 1, "dbaWeight": 1, "dbaPriority": 0})
            ask("rename", copy, prefix + "bronze")
            self.assertEqual(ask("attached", prefix + "bronze"), {"name": prefix + "bronze", "attached": False})
            self.assertEqual(ask("delete", prefix + "bronze")["resultName"], "rpcTContProfileResOk")
            self.refused(transport, 3, "rpcTContProfileResNotFound", "tcont", "show", prefix + "bronze",
                         hint="tcont list")

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

    def test_refusals(self):
        res = "rpcTContProfileRes"
        for transport, prefix in BOTH:
            one, five = prefix + "one", prefix + "five"
            self.ask(transport, "tcont", "create", one, "--type", "1")
            self.ask(transport, "tcont", "create", five)
            for result, name, arguments, hint in [
                (11, "Exists", ["create", five], "another name"),
                (1, "Error", ["create", ""], "must not be empty"),
                (13, "BadName", ["create", "n" * 65], "1 to 64 bytes"),
                (3, "NotFound", ["delete", "nobody"], "tcont list"),
                (3, "NotFound", ["attached", "nobody"], "tcont list"),
                (3, "NotFound", ["set", "nobody", "--together", "--id", "2"], "tcont list"),
                (11, "Exists", ["rename", one, five], "another name"),
                (11, "Exists", ["copy", one, five], "another name"),
                (15, "OutOfRange", ["set", five, "--id", "7"], "1 to 6"),
                (1, "Error", ["set", five, "--type", "6"], "1 to 5"),
                (15, "OutOfRange", ["set", one, "--assured", "1M"], "type 1 carries a fixed rate only"),
                (15, "OutOfRange", ["set", one, "--alloc-type", "2"], "type 1 does not let it be chosen"),
                (1, "Error", ["set", five, "--alloc-type", "3"], "1 or 2"),
                (7, "RateError", ["set", five, "--assured", "256"], "fixed + assured rate + 256"),
                (7, "RateError", ["set", five, "--assured", "64"], "0 or at least 256"),
                (7, "RateError", ["set", five, "--maximum", "2G"], "at most 1244160"),
                (7, "RateError", ["set", five, "--id", "2", "--maximum", "64"], "carried out before: --id"),
                (15, "OutOfRange", ["create", prefix + "n", "--type", "4", "--fixed", "1M"],
                 "type 4 carries a maximum rate only"),
                (15, "OutOfRange", ["create", prefix + "n", "--type", "3", "--maximum", "400"], "at least 512"),
                (7, "RateError", ["create", prefix + "n", "--type", "3", "--assured", "512", "--maximum", "600"],
                 "assured rate + 256"),
                (7, "RateError", ["create", prefix + "n", "--type", "2", "--assured", "0"], "at least 256"),
                (15, "OutOfRange", ["create", prefix + "n", "--id", "7"], "1 to 6"),
                (1, "Error", ["create", prefix + "n", "--type", "7"], "1 to 5"),
                (13, "BadName", ["create", "n" * 65, "--maximum", "1M"], "1 to 64 bytes"),
            ]:
                with self.subTest(arguments=arguments):
                    self.refused(transport, result, res + name, "tcont", *arguments, hint=hint)
            self.assertNotIn(prefix + "n", self.names(transport, "tcont"))

    def test_small_assured_rates_are_made_in_the_steps_the_refusal_tells(self):
        for transport, prefix in BOTH:
            for number, (fixed, assured, maximum) in enumerate([(256, 128, 1024), (128, 192, 576), (2048, 64, 4096)]):
                name = f"{prefix}{number}"
                arguments = ["tcont", "create", name, "--fixed", str(fixed), "--assured", str(assured), "--maximum",
                             str(maximum), "--id", "2"]
                hint = self.refused(transport, 7, "rpcTContProfileResRateError", *arguments)["hint"]
                for command in hint[hint.index("onuqosctl"):].split("&&"):
                    self.good(self.onuqosctl(transport, *shlex.split(command)[1:]))
                self.assertEqual(self.ask(transport, "tcont", "show", name),
                                 tcont(name, tContId=2, fixedRate=fixed, assuredRate=assured, maximumRate=maximum))
            name = prefix + "stored"
            self.ask(transport, "tcont", "create", name)
            hint = self.refused(transport, 7, "rpcTContProfileResRateError", "tcont", "set", name, "--together",
                                "--fixed", "192", "--assured", "64", "--maximum", "512")["hint"]
            self.good(self.onuqosctl(transport, *shlex.split(hint[hint.index("onuqosctl"):])[1:]))
            self.assertEqual(self.ask(transport, "tcont", "show", name),
                             tcont(name, fixedRate=192, assuredRate=64, maximumRate=512))


class FlowTest(ClientTest):
    def test_life_of_a_profile(self):
        for transport, prefix in BOTH:
            ask = lambda *arguments: self.ask(transport, "flow", *arguments)
            hsi, other = prefix + "hsi", prefix + "other"
            wanted = flow(hsi, cPcp=3, cVlan=[10, *range(100, 200), 4094], guarRateUs=1024, peakRateUs=2048,
                          flowPriorityUs=7, flowPriorityDs=1)
            self.assertEqual(ask("create", hsi, "--vlan", "4094,100-199,10", "--pcp", "3", "--guaranteed", "1M",
                                 "--peak", "2M", "--priority-up", "7", "--priority-down", "1")["profile"], wanted)
            self.assertEqual(ask("create", other)["profile"], flow(other))
            self.assertEqual(ask("list")["profiles"][-2:], [wanted, flow(other)])
            ask("copy", hsi, prefix + "copy")
            self.assertEqual(ask("show", prefix + "copy"), {**wanted, "name": prefix + "copy"})
            ask("rename", prefix + "copy", prefix + "renamed")
            self.assertEqual(ask("attached", prefix + "renamed")["attached"], False)
            ask("delete", prefix + "renamed")
            self.assertNotIn(prefix + "renamed", self.names(transport, "flow"))
            shown = self.good(self.onuqosctl(transport, "flow", "show", hsi)).out
            self.assertIn("10,100-199,4094\n", shown)

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

    def test_refusals(self):
        res = "rpcOnuFlowProfileRes"
        for transport, prefix in BOTH:
            name = prefix + "p"
            self.ask(transport, "flow", "create", name)
            for result, result_name, arguments, hint in [
                (10, "Exists", ["create", name, "--pcp", "1"], "another name"),
                (1, "Error", ["create", ""], "must not be empty"),
                (16, "BadName", ["create", "n" * 65], "1 to 64 bytes"),
                (3, "NotFound", ["attached", "nobody"], "flow list"),
                (3, "NotFound", ["vlan", "add", "nobody", "1"], "flow list"),
                (1, "Error", ["vlan", "set", name, "0"], "1 to 4094"),
                (1, "Error", ["set", name, "--vlan", "4095"], "1 to 4094"),
                (18, "OutOfRange", ["create", prefix + "n", "--vlan", "0-3"], "1 to 4094"),
                (18, "OutOfRange", ["pcp", "set", name, "8"], "0 to 7"),
                (18, "OutOfRange", ["set", name, "--priority-down", "8"], "0 to 7"),
                (18, "OutOfRange", ["set", name, "--guaranteed", "64"], "128"),
                (12, "GuarAbovePeak", ["create", prefix + "n", "--guaranteed", "2M", "--peak", "1M"], "at least"),
                (12, "GuarAbovePeak", ["set", name, "--peak", "1M", "--guaranteed", "2M"],
                 "carried out before: --peak"),
            ]:
                with self.subTest(arguments=arguments):
                    self.refused(transport, result, res + result_name, "flow", *arguments, hint=hint)
            self.assertNotIn(prefix + "n", self.names(transport, "flow"))

    def test_defaults(self):
        for transport, _ in BOTH:
            self.assertEqual(self.ask(transport, "flow", "defaults"),
                             {"guarRateUs": 128, "peakRateUs": 1244160, "flowPriorityUs": 0, "flowPriorityDs": 0})


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
