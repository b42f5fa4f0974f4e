#!/usr/bin/env python3
"""What an operator looks up: ports, ONUs, services, alarms, tables; and what oltctl does not send unasked."""

import re
import unittest

from clients import ClientTest, main

GOLD = {"fixed": 10240, "overhead": 3008}  # 29 % of 10240, rounded up to 64


class ViewsTest(ClientTest):
    INVENTORY = {
        "ports": [{"interface": 1, "technology": "gpon"}, {"interface": 2, "technology": "10g"},
                  {"interface": 3, "technology": 7}],
        "onus": [{"interface": onu, "parent": onu // 100} for onu in (101, 102, 103, 201)],
    }

    def setUp(self):
        super().setUp()
        for name, number in (("gold", "1"), ("big", "2")):
            self.ask("tcp", "tcont", "create", name, "--type", "1", "--id", number,
                     "--fixed", "10240" if name == "gold" else "640000")
        for name in ("hsi", "vod"):
            self.ask("tcp", "flow", "create", name)

    def bind(self, *bindings):
        for onu, service, flow, tcont, port in bindings:
            self.assertEqual(self.daemon.bind(onu, service, flow, tcont, port), "onuQosResOk")

    def table(self, *words):
        """The rows of the first table that a command prints, by column."""
        lines = self.good(self.oltctl(*words)).out.splitlines()
        header = re.split(r"\s{2,}", lines[0].strip())
        rows = []
        for line in lines[1:]:
            cells = re.split(r"\s{2,}", line.strip())
            if len(cells) != len(header):
                break
            rows.append(dict(zip(header, cells)))
        return rows

    def test_ports_show_what_they_hold_and_lack(self):
        self.bind((101, "a", "hsi", "gold", 1), (101, "b", "vod", "gold", 2), (201, "a", "hsi", "gold", 1))
        fixed = GOLD["fixed"] + GOLD["overhead"] + 1920
        first, second, odd = self.operate("port", "list")["ports"]
        self.assertEqual(first, {
            "interface": 1, "technology": "gpon", "class": "gpon", "minDistance": 0, "maxDistance": 20,
            "fixed": fixed, "assured": 11520, "limitFixed": 358024, "limitTotal": 1240640,
            "available": {"estimated": {"fixed": 358024 - fixed, "total": 1240640 - fixed - 11520},
                          "actual": {"fixed": 1240640 - 10240, "total": 1240640 - 10240}},
            "overCommitted": "no", "violation": False,
            "onus": 3, "configuredOnus": 1, "onusWithoutService": 2, "services": 2})
        self.assertEqual((second["technology"], second["class"], second["limitFixed"]), ("10g", "gpon", 2427072))
        # Of a technology that is not known there is no limit, and what is known is told.
        self.assertEqual((odd["technology"], odd["limitFixed"], odd["available"], odd["overCommitted"], odd["fixed"]),
                         (None, None, {"estimated": None, "actual": None}, None, 0))
        self.assertEqual(self.operate("port", "show", "2")["ports"], [second])

        # Admitted by what the platform has free, and past the distance limit: below nothing, and never clamped.
        self.bind((102, "big", "hsi", "big", 1))
        port = self.operate("port", "show", "1")["ports"][0]
        fixed += 640000 + 51200 + 1920
        self.assertEqual((port["overCommitted"], port["violation"]), ("fixed", True))
        self.assertEqual(port["available"]["estimated"]["fixed"], 358024 - fixed)
        self.assertLess(358024 - fixed, 0)
        rows = self.table("port", "list")
        self.assertEqual((rows[0]["state"], rows[0]["free"], rows[1]["state"], rows[2]["state"]),
                         ("over-committed", str(358024 - fixed), "within limits", "unknown"))
        self.assertRegex(self.good(self.oltctl("port", "show", "1")).out, rf"fixed free +{358024 - fixed}\n")
        self.operate("port", "distance", "1", "0", "70", "--force")
        self.assertEqual(self.operate("port", "show", "1")["ports"][0]["limitFixed"], 0)

        # What the platform does not tell is null; a lock that is not obtained is said.
        self.operate("fault", "set", "getAvailableBandwith", "--times", "1")
        self.assertIsNone(self.operate("port", "show", "2")["ports"][0]["available"]["actual"])
        self.operate("fault", "set", "sharedLock", "--times", "1")
        self.assertIn("lock was not obtained", self.oltctl("port", "list").err)
        self.assertIn("interface 101 is no PON port", self.oltctl("port", "show", "101").err)
        self.assertEqual(self.oltctl("--json", "port", "show", "101").json()["request"], "port show")

    def test_services_name_their_profiles_then_and_now(self):
        self.bind((101, "a", "hsi", "gold", 1), (101, "b", "vod", "gold", 2), (201, "c", "hsi", "gold", 1))
        plain = self.daemon.request("service-list")
        self.ask("tcp", "tcont", "rename", "gold", "golden", *self.force())
        self.ask("tcp", "flow", "delete", "vod", *self.force())
        self.ask("tcp", "flow", "rename", "hsi", "internet", *self.force())
        self.ask("tcp", "flow", "create", "hsi")  # another one under the old name
        self.assertEqual(self.daemon.request("service-list"), plain)
        names = [(row["service"], row["flowProfile"], row["flowProfileNow"], row["tcontProfile"],
                  row["tcontProfileNow"]) for row in self.operate("service", "list")["services"]]
        self.assertEqual(names, [("a", "hsi", "internet", "gold", "golden"), ("b", "vod", None, "gold", "golden"),
                                 ("c", "hsi", "internet", "gold", "golden")])
        rows = self.table("service", "list")
        self.assertEqual([row["flowProfile"] for row in rows],
                         ["hsi (now 'internet')", "vod (deleted)", "hsi (now 'internet')"])
        for words, services in ((("--onu", "101"), "ab"), (("--port", "2"), "c"), (("--port", "9"), ""),
                                (("--tcont", "golden"), "abc"), (("--tcont", "gold", "--flow", "vod"), "b"),
                                (("--flow", "internet", "--port", "1"), "a"), (("--tcont", ""), "")):
            shown = "".join(row["service"] for row in self.operate("service", "list", *words)["services"])
            self.assertEqual(shown, services, words)

        onu = self.operate("onu", "show", "101")
        self.assertEqual([row["service"] for row in onu["services"]], ["a", "b"])
        self.assertEqual(onu["onus"], [{
            "interface": 101, "port": 1, "services": 2, "configured": True, "fixedOverhead": 1920,
            "assuredOverhead": 11520, "tconts": [{"name": "gold", "tContId": None,
                                                  "fixedOverhead": GOLD["overhead"], "assuredOverhead": 0}]}])
        self.assertEqual([row["interface"] for row in self.operate("onu", "list", "--port", "1")["onus"]],
                         [101, 102, 103])
        self.assertIn("interface 7 is no ONU", self.oltctl("onu", "show", "7").err)

    def force(self):
        """The option by which a profile in use is renamed or deleted, where the client has one."""
        return ["--force"] if "--force" in self.onuqosctl("tcp", "tcont", "rename", "--help").out else []

    def test_tables_and_alarms(self):
        self.bind((101, "a", "hsi", "big", 1), (201, "a", "hsi", "gold", 1))
        busy = self.operate("dump", "--busy")
        self.assertEqual([[row["interface"] for row in busy[table]] for table in ("bindings", "ports", "onus", "alarms")],
                         [[101, 201], [1, 2], [101, 201], [1]])
        self.assertEqual([profile["name"] for profile in busy["flowProfiles"]], ["hsi"])
        self.assertEqual(busy["tcontProfiles"][0], {
            "name": "big", "tContId": 2, "tContType": 1, "fixedRate": 640000, "assuredRate": 0, "maximumRate": 640000,
            "dbaAllocType": 2, "dbaWeight": 1, "dbaPriority": 0, "appliedOnus": 1})
        everything = self.operate("dump")
        self.assertEqual(everything.pop("reply"), self.daemon.dump())
        self.assertEqual([len(rows) for rows in everything.values()], [2, 2, 2, 3, 4, 3])
        one = self.operate("dump", "--onu", "201")
        self.assertEqual((one["bindings"], one["onus"]), (everything["bindings"][1:], everything["onus"][3:]))

        held = {"fixed": 640000 + 51200 + 1920, "assured": 11520, "limitFixed": 358024, "limitTotal": 1240640}
        self.operate("service", "remove", "101", "a")
        alarms = self.operate("alarms")
        self.assertEqual(alarms["active"], [])
        raised, cleared = alarms["history"]
        self.assertEqual((raised["action"], raised["name"], raised["severity"], raised["port"]),
                         ("report", "pon-port-over-committed", "major", held))
        self.assertEqual((raised["code"], raised["board"], raised["text"], raised["numbers"]),
                         (1600570, 0, "", [1, 3, 11]))
        self.assertEqual((cleared["action"], cleared["port"]), ("retreat", {**held, "fixed": 0, "assured": 0}))
        self.assertIn("693120 of 358024", self.good(self.oltctl("alarms")).out)

        self.operate("fault", "set", "reportAlarm", "--answer", "2", "--times", "3", "--after", "4")
        self.assertEqual(self.operate("fault", "list")["faults"],
                         [{"operation": "reportAlarm", "answer": 2, "times": 3, "after": 4}])

    def test_what_is_not_sent_unasked(self):
        self.bind((101, "a", "hsi", "gold", 1))
        state = lambda: (self.operate("port", "list"), self.operate("dump"))
        for words, option, text in ((["port", "distance", "1", "30", "20"], "--force", "beyond the farthest"),
                                    (["port", "distance", "1", "0", "61"], "--force", "beyond the 60 km"),
                                    (["default-settings"], "--yes", "all profiles")):
            before = state()
            answer = self.oltctl(*words)
            self.assertEqual((answer.status, answer.out), (2, ""))
            self.assertRegex(answer.err, rf"{text}.*nothing was sent, {option}")
            self.assertEqual(state(), before)
            self.operate(*words, option)
        self.operate("port", "distance", "1", "60", "60")
        self.assertEqual(self.operate("dump")["bindings"], [])

        answer = self.oltctl("message", "nonsense")
        self.assertEqual(answer.status, 1)
        self.assertIn("no entity replied", answer.err)
        self.assertEqual(self.good(self.oltctl("message", "onuQosOMApiDebug", "1")).out, "")
        self.assertRegex(self.oltctl("status", "z", "a", "m").err, "z, a, m")
        self.assertIn("/arguments/z: is not known here, nor is /arguments/a", self.daemon.refused("status", z=1, a=2))


if __name__ == "__main__":
    main()
