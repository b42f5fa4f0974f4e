#!/usr/bin/env python3
"""onuqosplan against a running oltmgrd and its files.

usage: planning.py DIRECTORY-OF-PROGRAMS MODULE [unittest arguments]
"""

import json
import os
import pty
import shutil

import clients
import harness

ONUS = 128
# Beside the rules: T-CONT id, fixed and assured rate.
PROFILES = {"gold": (1, 1024, 0), "home": (2, 0, 10240), "mixed": (3, 4032, 2048), "best": (4, 0, 0)}


def without(answer, *members):
    return {name: value for name, value in answer.items() if name not in members}


class Planning(clients.ClientTest):
    INVENTORY = {
        "features": {"5": True},
        "ports": [{"interface": 1, "technology": "gpon"},
                  {"interface": 2, "technology": "gpon", "minDistance": 10, "maxDistance": 55},
                  {"interface": 3, "technology": "10g", "capacityTotal": 500000000}],
        "onus": [{"interface": 1000 * port + onu, "parent": port} for port in (1, 2, 3) for onu in range(1, ONUS + 1)],
    }

    def setUp(self):
        super().setUp()
        rpc = self.daemon.rpc()
        self.addCleanup(rpc.close)
        rpc.do(harness.FLOW_CREATE, "flow")
        for name, (tcont_id, fixed, assured) in PROFILES.items():
            self.ask("tcp", "tcont", "create", name, "--id", str(tcont_id), "--type", "5", "--fixed", str(fixed),
                     "--assured", str(assured), "--maximum", "1000000")

    def bind_onu(self, interface, tcont):
        """What the module answers for a further service, with a flow profile of its own."""
        flow = f"flow-{tcont}"
        if flow not in self.names("tcp", "flow"):
            self.ask("tcp", "flow", "create", flow)
        return self.daemon.bind(interface, tcont, flow, tcont, PROFILES[tcont][0])

    def plan(self, *arguments, **options):
        answer = clients.run([self.client("onuqosplan"), *arguments], **options)
        if "--json" in arguments and answer.out:
            clients.validate(answer, ("--control", "--inventory", "--config", "--tcont-profile", "--port", "--on",
                                      "--count", "--technology"))
        return answer

    def live(self, *arguments):
        """The JSON of a live answer that says yes or no."""
        answer = self.plan("--control", self.daemon.control_path, "--json", *arguments)
        self.assertIn(answer.status, (0, 1), answer.err)
        return answer.json() | {"status": answer.status}

    def files(self):
        return "--inventory", self.daemon.inventory_path, "--config", self.daemon.config_path

    def offline(self, *arguments):
        answer = self.plan(*self.files(), "--json", *arguments)
        self.assertIn(answer.status, (0, 1), answer.err)
        return answer.json() | {"status": answer.status}

    def violation(self, port):
        return self.daemon.request("ledger-get", interface=port)["ports"][0]["violation"]

    def test_a_port_takes_what_fit_says(self):
        told = self.live("fit", "--tcont-profile", "gold", "--port", "1")
        self.assertEqual(told["fit"], {"alarm": 81, "admission": 128,
                                       "distance": [{"maxDistance": 19, "fit": 83, "limitFixed": 369024}]})
        self.assertEqual((told["stops"], told["status"]), ({"alarm": "fixed", "admission": "onus"}, 0))
        for onu in range(1, 82):
            self.assertEqual(self.bind_onu(1000 + onu, "gold"), "onuQosResOk")
        self.assertFalse(self.violation(1))
        told = self.live("fit", "--tcont-profile", "gold", "--port", "1")
        self.assertEqual((told["fit"]["alarm"], told["fit"]["admission"], told["status"]), (0, 47, 1))
        self.assertEqual(self.bind_onu(1082, "gold"), "onuQosResOk")
        self.assertTrue(self.violation(1))

    def test_files_and_the_running_olt_tell_the_same(self):
        self.files_tell_what_is()  # nothing bound yet
        for onu in range(1, 60):
            for port, tcont in ((1, "gold"), (2, "home"), (3, "mixed"), (1, "mixed")):
                if onu % (port + 1) or tcont == "mixed":
                    self.bind_onu(1000 * port + onu, tcont)
        self.files_tell_what_is()
        for onu in (1, 2, 3):  # the sums keep what the order of bindings made of them
            self.daemon.request("service-remove", interface=1000 + onu, service="gold")
        self.files_tell_what_is()
        for onu in range(60, ONUS + 1):
            self.bind_onu(1000 + onu, "gold")
        self.assertTrue(self.violation(1))
        self.files_tell_what_is()

    def files_tell_what_is(self):
        """Saves, and compares what is told of the files with what is told of the running OLT."""
        self.operate("config", "save")
        self.write("plan.json", json.dumps({
            "tariffs": [{"name": "a", "tcontProfile": "gold"}, {"name": "b", "tcontProfile": {"type": 2, "assured": "20M"}}],
            "demand": [{"port": "*", "tariff": "a", "subscribers": 30}, {"port": 3, "tariff": "b", "subscribers": 70}],
            "whatIf": [{"port": 2, "maxDistance": 54}, {"port": 1, "technology": "10g"},
                       {"tcontProfile": "gold", "fixed": 2048}]}))
        for command in [("distance",), ("heat",), ("plan", self.path("plan.json")),
                        *(("fit", "--tcont-profile", name, "--on", on) for name in PROFILES for on in ("idle", "busy"))]:
            live, offline = self.live(*command), self.offline(*command)
            self.assertEqual(without(live, "assumes"), without(offline, "assumes"), command)
        self.assertIn("platformFreeNow", offline["assumes"])
        self.assertNotIn("platformFreeNow", live["assumes"])

    def test_a_further_tcont_is_counted_where_one_can_be(self):
        for onu in range(1, 11):
            self.bind_onu(1000 + onu, "home" if onu < 5 else "gold")
        count = self.live("fit", "--tcont-profile", "home", "--port", "1", "--on", "busy")["fit"]
        self.assertEqual((count["alarm"], count["admission"]), (6, 6))

    def test_a_plan_is_what_would_happen(self):
        self.write("plan.json", """{ // in this order
            "tariffs": [{"name": "big", "tcontProfile": "home"}, {"name": "small", "tcontProfile": {"type": 5, "fixed": "1024", "maximum": "1G"}}],
            "demand": [{"port": 1, "tariff": "small", "subscribers": 70}, {"port": 1, "tariff": "big", "subscribers": 60}]}""")
        told = self.live("plan", self.path("plan.json"))
        port = told["ports"][0]
        alarm, bound = [0, 0], [0, 0]
        for onu in range(1, ONUS + 1):
            at = 0 if onu <= 70 else 1
            if self.bind_onu(1000 + onu, ("gold", "home")[at]) == "onuQosResOk":
                bound[at] += 1
                alarm[at] += 0 if self.violation(1) else 1
        self.assertEqual([line["admission"] for line in port["demand"]], bound)
        self.assertEqual([line["alarm"] for line in port["demand"]], alarm)
        self.assertEqual((told["fits"], told["status"], port["wanted"]), (False, 1, 130))
        self.assertEqual(port["alarm"]["first"]["tariff"], "big")
        self.assertIn("order", told["order"])
        text = self.plan("--control", self.daemon.control_path, "plan", self.path("plan.json"))
        self.assertIn("not everything fits", text.out)

    def test_supposed_rates_are_those_of_a_restart_with_them(self):
        for onu in range(1, 30):
            self.bind_onu(1000 + onu, "gold")
            self.bind_onu(1000 + onu // 2 + 1, "home")
        self.operate("config", "save")
        self.write("plan.json", json.dumps({"whatIf": [{"tcontProfile": "gold", "fixed": "20M"}]}))
        told = self.offline("plan", self.path("plan.json"))["ports"][0]
        saved = json.loads(self.read("config.json"))
        next(profile for profile in saved["tcontProfiles"] if profile["name"] == "gold")["fixedRate"] = 20032
        self.daemon.stop()
        self.write("config.json", json.dumps(saved))
        self.daemon.start_with_config()
        ledger = self.daemon.request("ledger-get", interface=1)["ports"][0]
        self.assertEqual(told["alarm"]["fixed"]["used"], ledger["fixed"])
        self.assertEqual(told["alarm"]["total"]["used"], ledger["fixed"] + ledger["assured"])
        self.assertEqual(told["admission"]["free"], ledger["available"]["actual"])
        self.assertTrue(ledger["violation"] and told["alarm"]["state"] == "over")

    def test_the_map_fits_its_terminal_and_colours_are_told_by_signs(self):
        inventory = {"ports": [{"interface": port, "technology": "gpon"} for port in range(1, 33)]}
        bound = {"version": 2, "ports": [{"interface": 1, "fixedAlloc": 362112, "assuredAlloc": 900000},
                                         {"interface": 2, "fixedAlloc": 310000, "assuredAlloc": 0}]}
        self.write("i.json", json.dumps(inventory))
        self.write("c.json", json.dumps(bound))
        files = ["--inventory", self.path("i.json"), "--config", self.path("c.json")]
        for columns in (60, 80, 200):
            map_ = self.plan("heat", *files, env=dict(os.environ, COLUMNS=str(columns)))
            self.assertEqual(map_.status, 1)
            rows = [line for line in map_.out.splitlines() if line.startswith(("port ", "fixed", "total"))]
            self.assertLessEqual(max(map(len, rows)), columns)
            self.assertIn("101!", rows[1])
            self.assertIn("86+", rows[1])
            self.assertIn("port 1 over: fixed 362112 of 358024\nport 1 over: total 1262112 of 1240640\n", map_.out)
            self.assertNotIn("\x1b", map_.out)
        for more, colours in (({}, True), ({"NO_COLOR": "1"}, False)):
            self.assertEqual("\x1b[48;5;" in self.on_terminal([*files, "heat"], more), colours)
        self.assertNotIn("\x1b[48;5;", self.on_terminal([*files, "heat", "--no-color"], {}))

    def on_terminal(self, arguments, environment):
        """What the program prints on a terminal."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.execve(self.client("onuqosplan"), ["onuqosplan", *arguments],
                      {name: value for name, value in os.environ.items() if name != "NO_COLOR"} | environment)
        text = b""
        try:
            while data := os.read(terminal, 4096):
                text += data
        except OSError:
            pass
        os.close(terminal)
        os.waitpid(pid, 0)
        return text.decode()

    def test_a_fleet_goes_on_past_what_is_at_fault(self):
        self.bind_onu(1001, "home")
        self.operate("config", "save")
        os.mkdir(self.path("fleet"))
        for olt in ("east", "west", "bad", "lacking"):
            os.mkdir(self.path(f"fleet/{olt}"))
            shutil.copy(self.daemon.inventory_path, self.path(f"fleet/{olt}/inventory.json"))
            if olt != "lacking":
                shutil.copy(self.daemon.config_path, self.path(f"fleet/{olt}/configuration.json"))
        self.write("fleet/bad/configuration.json", '{"version": 2, "bindings": [{}]}')
        one = self.offline("fit", "--tcont-profile", "home")["ports"]
        answer = self.plan("--json", "fleet", self.path("fleet"), "--tcont-profile", "home")
        self.assertEqual(answer.status, 2)
        self.assertIn("lacking: lacks configuration.json", answer.err)
        self.assertIn('/bindings/0: "interface" is missing', answer.err)
        told = {olt["olt"]: olt for olt in answer.json()["olts"]}
        self.assertEqual(list(told), ["bad", "east", "lacking", "west"])
        self.assertEqual(told["east"]["fit"]["alarm"], sum(port["fit"]["alarm"] for port in one))
        self.assertEqual(answer.json()["all"]["fit"]["admission"], 2 * sum(port["fit"]["admission"] for port in one))
        for olt in ("bad", "lacking"):
            shutil.rmtree(self.path(f"fleet/{olt}"))
        self.good(self.plan("fleet", self.path("fleet"), "--tcont-profile", "home"))
        self.assertEqual(self.plan("fleet", self.path("fleet"), "--tcont-profile", "home", "--count", "9999").status, 1)

    def test_prices_warn_of_dear_rates(self):
        told = self.good(self.plan("price", "--json")).json()
        for family, count in (("fixed", 10), ("assured", 6)):
            self.assertEqual(sum("dear" in band for band in told[family]), count)
        self.assertIn("384 to 448 cost more than 512: sell 512", self.good(self.plan("price")).out)

    def test_what_is_wrong_is_told_with_its_status(self):
        self.operate("config", "save")
        files = self.files()
        self.write("plan.json", '{"tariffs": [{"name": "t", "tcontProfile": {"type": 1, "assured": 512}}]}')
        self.write("broken.json", '{"demand": [{"port": 1, "tariff": "none", "subscribers": 1}]}')
        for arguments, status, said in (
                (["fit", *files, "--tcont-profile", "nobody"], 2, "there is no T-CONT profile 'nobody'"),
                (["fit", *files], 2, "--tcont-profile NAME, or --type"),
                (["fit", *files, "--tcont-profile", "gold", "--port", "9"], 2, "there are: 1, 2, 3"),
                (["fit", *files, "--type", "1", "--fixed", "100"], 2, "takes 256 to 1244160"),
                (["fit", "--config", self.daemon.config_path, "--type", "4"], 2, "--inventory"),
                (["heat", "--inventory", self.path("plan.json")], 2, "/tariffs: is not known here"),
                (["plan", self.path("plan.json"), *files], 2, "/tariffs/0/tcontProfile: T-CONT type 1 carries no assured"),
                (["plan", self.path("broken.json"), *files], 2, "/demand/0/tariff: no tariff"),
                (["plan", self.path("missing.json"), *files], 2, "missing.json"),
                (["fleet", self.path("nowhere"), "--type", "4"], 2, "No such file"),
                (["fleet", self.path("nowhere")], 2, "--tcont-profile NAME, or --type"),
                (["fit", *files, "--tcont-profile", "gold", "--count", "999"], 1, ""),
                (["fit", "--control", self.path("nobody"), "--tcont-profile", "gold"], 3, "is oltmgrd running")):
            answer = self.plan(*arguments)
            self.assertEqual(answer.status, status, (arguments, answer.err))
            self.assertIn(said, answer.err)
            self.assertEqual(self.plan("--json", *arguments).status, status)
            self.assertLessEqual(len(answer.err.splitlines()), 1)


if __name__ == "__main__":
    clients.main()
