#!/usr/bin/env python3
"""Why a service is refused, as oltctl tells it: each reason with its numbers, and service check, which changes nothing."""

import re

from clients import ClientTest, main

FULL_PORT = """\
oltctl: service apply: onuQosResRateError (9): PON port 1 has not enough left for T-CONT profile big
    kbit/s               fixed  assured    total
    rate               1100032        0  1100032
    overhead             88064        0    88064  8 % of fixed rates from 256000, rounded up to 64
    demand             1188096        0  1188096
    platform has free  1156672        -  1156672
    missing              31424        -    31424  the fixed limit binds
largest fixed rate that fits: 1070976 (would raise the over-commitment alarm: 0 to 20 km carry 358024, 5952 are committed)
without an alarm: largest fixed rate that fits: 325952
see: onuqosplan fit --tcont-profile big --port 1
"""


class ExplainTest(ClientTest):
    def setUp(self):
        super().setUp()
        for name, *rates in [("gold", "--type", "5", "--fixed", "2048", "--assured", "2048", "--maximum", "100M"),
                             ("big", "--type", "1", "--id", "2", "--fixed", "1100032"),
                             ("same", "--type", "2", "--assured", "10240"),
                             ("other", "--type", "2", "--id", "3", "--assured", "10240")]:
            self.ask("tcp", "tcont", "create", name, *rates)
        for name in ["hsi", "voip", "f2"]:
            self.ask("tcp", "flow", "create", name)

    @staticmethod
    def words(verb, onu, service, flow, tcont, port, point):
        return ["service", verb, str(onu), service, "--flow-profile", flow, "--tcont-profile", tcont,
                "--virtual-port", str(port), "--term-point-type", str(point), "--term-point-id", "1"]

    def ends(self, verb, *request):
        """How a request ends: status and standard error as a person sees them, and the arguments in JSON."""
        words = self.words(verb, *request)
        faults = self.faults
        for fault in faults:
            self.operate("fault", "set", *fault)
        shown = self.oltctl(*words)
        for fault in faults:
            self.operate("fault", "set", *fault)
        answer = self.oltctl("--json", *words)
        self.assertEqual((answer.status, answer.err), (shown.status, shown.err))
        if answer.status != 0:
            # The table is the terminal's.
            document = answer.json()
            self.assertEqual(shown.err.splitlines()[0], f"oltctl: {document['request']}: {document['text']}")
            self.assertNotIn("\n", document["hint"])
        return shown.status, shown.err, self.arguments(answer)

    @staticmethod
    def arguments(answer):
        """Those of the answer, with the explanation, which stands beside them in a refusal."""
        document = answer.json()
        more = {"explanation": document["explanation"]} if "explanation" in document else {}
        return {**document["arguments"], **more}

    faults = ()

    def state(self):
        """Everything that a service may change: not the number of calls that the platform has counted."""
        hardware = self.operate("hardware")
        del hardware["calls"]
        return (self.good(self.oltctl("dump")).out, hardware, self.operate("service", "list"), self.operate("alarms"))

    def both(self, *request):
        """Applied and only checked: the same but for their names. The check changes nothing."""
        before = self.state()
        status, err, arguments = self.ends("check", *request)
        self.assertRegex(arguments.pop("checkedAt"), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        self.assertEqual(self.state(), before)
        applied = self.ends("apply", *request)
        self.assertEqual((status, err.replace("service check", "service apply")), applied[:2])
        if "explanation" in arguments:
            self.assertEqual(arguments["explanation"].pop("operation"), "onuQosServiceCheck")
            self.assertEqual(applied[2]["explanation"].pop("operation"), "onuQosServiceApply")
        self.assertEqual(arguments, applied[2])
        return applied

    def test_every_reason_has_its_sentence_and_its_name(self):
        self.operate(*self.words("apply", 101, "s", "hsi", "gold", 1, 0))
        self.operate(*self.words("apply", 101, "t", "f2", "other", 2, 0))
        unbound = (101, "b", "voip", "big", 3, 0)
        self.operate("port", "available", "2", "1000", "1000000")
        cases = [
            ("flowProfileNotFound", (101, "b", "none", "gold", 3, 0), (),
             'onuQosResNotFound (5): there is no flow profile "none"; onuqosctl flow list shows them'),
            ("tcontProfileNotFound", (101, "b", "voip", "none", 3, 0), (),
             'onuQosResNotFound (5): there is no T-CONT profile "none"; onuqosctl tcont list shows them'),
            ("duplicateVirtualPort", (101, "b", "voip", "gold", 1, 0), (),
             'onuQosResDuplicateVirtualPortId (13): virtual port 1 of ONU 101 carries service "s" (hsi, gold)'),
            ("duplicateFlowProfile", (101, "b", "hsi", "gold", 3, 0), (),
             'onuQosResDuplicateOnuFlowProfile (16): flow profile hsi is bound to virtual port 1 by service "s"'),
            ("duplicateTContId", (101, "b", "voip", "same", 3, 0), (),
             'onuQosResDuplicateTContId (12): T-CONT id 1 is used by profile gold (service "s"); '
             "free ids on this ONU: 2,4,5,6"),
            ("wrongInterface", (1, "b", "voip", "gold", 3, 0), (),
             "onuQosResWrongIntf (14): interface 1 is of type 3, a PON port; services are bound on ONUs"),
            ("wrongInterface", (999, "b", "voip", "gold", 3, 0), (),
             "onuQosResWrongIntf (14): interface 999 is unknown to the platform; services are bound on ONUs"),
            ("admissionUnknown", unbound, [("getAvailableBandwith", "--answer", "3")],
             "onuQosResRateError (9): whether the port has enough left is not known, and it may have: "
             "getAvailableBandwith answered 3"),
            ("admissionFixed", (201, "b", "voip", "gold", 1, 0), (), None),
            ("termPointType", (102, "b", "voip", "gold", 3, 7), (),
             "onuQosResError (1): termination point type 7 is none of 0, 1 and 2"),
            ("platformFailed", (102, "b", "voip", "gold", 3, 0), [("interfaceGetOMApiInterfaceById", "--answer", "2")],
             "onuQosResError (1): the platform refused: interfaceGetOMApiInterfaceById answered 2"),
        ]
        for reason, request, self.faults, sentence in cases:
            with self.subTest(reason=reason, request=request):
                status, err, arguments = self.both(*request)
                self.assertEqual((status, arguments["explanation"]["reason"]), (1, reason))
                if sentence is not None:
                    self.assertEqual(err, f"oltctl: service apply: {sentence}\n")
        self.faults = ()

    def test_what_comes_after_the_check_is_told_by_apply(self):
        for fault, reason, sentence in [
                (("onuQosServiceApply", "--answer", "5"), "platformFailed",
                 r"onuQosResOMApiRefused \(18\): the platform refused: onuQosServiceApply answered 5\n"),
                (("interfaceParentGet", "--after", "2"), "accounting",
                 r"onuQosResError \(1\): the binding stands; accounting failed: "
                 r"onuQosCalcAllocRatesOnTContChange answered 1; the port's sums hold nothing of it\n.+\n"),
                (("interfaceSlotPortIntfGet",), "stateUpdate",
                 r"onuQosResError \(1\): the binding stands and is accounted; [^\n]+: "
                 r"onuQosOltCacStateUpdate answered 1\n.+\n")]:
            with self.subTest(reason=reason):
                self.operate("fault", "set", *fault)
                answer = self.oltctl("--json", *self.words("apply", 101, reason, "hsi", "gold", 1, 0))
                self.assertEqual((answer.status, self.arguments(answer)["explanation"]["reason"]), (1, reason))
                self.assertRegex(answer.err, f"^oltctl: service apply: {sentence}$")
                bound = [row["service"] for row in self.operate("service", "list")["services"]]
                self.assertEqual(bound, [] if reason == "platformFailed" else [reason])
                self.oltctl("service", "remove", "101", reason)

    def test_a_full_port_is_told_with_its_ledger(self):
        self.operate(*self.words("apply", 101, "s", "hsi", "gold", 1, 0))
        self.operate("port", "available", "1", "144584000", "144584000")
        status, err, arguments = self.both(101, "b", "voip", "big", 2, 0)
        self.assertEqual((status, err), (1, FULL_PORT))
        document = self.oltctl("--json", *self.words("check", 101, "b", "voip", "big", 2, 0)).json()
        self.assertEqual(document["hint"], "; ".join(FULL_PORT.splitlines()[-3:]))
        self.assertEqual(arguments["explanation"]["admission"], {
            "port": 1, "rate": {"fixed": 1100032, "assured": 0}, "overhead": {"fixed": 88064, "assured": 0},
            "overheadPercent": {"fixed": 8, "assured": 50}, "overheadBand": {"fixed": 256000, "assured": 0},
            "demand": {"fixed": 1188096, "total": 1188096}, "free": {"fixed": 1156672, "total": 1156672},
            "binding": "fixed", "missing": {"fixed": 31424, "total": 31424},
            "largest": {"fixed": 1070976, "assured": None}, "largestWithoutAlarm": {"fixed": 325952, "assured": None},
            "alarmAtLargest": "fixed",
            "ledger": {"fixed": 2048 + 1984 + 1920, "assured": 2048 + 960 + 11520, "limitFixed": 358024,
                       "limitTotal": 1240640, "violation": False, "minDistance": 0, "maxDistance": 20}})

        # What is said to fit does, and a step more does not.
        for rate, status in [("1071040", 1), ("1070976", 0)]:
            self.ask("tcp", "tcont", "set", "big", "--fixed", rate)
            checked, _, arguments = self.ends("check", 101, "b", "voip", "big", 2, 0)
            self.assertEqual(checked, status)
        self.assertTrue(arguments["raisesAlarm"])
        self.good(self.oltctl(*self.words("apply", 101, "b", "voip", "big", 2, 0)))
        self.assertEqual(len(self.operate("alarms")["active"]), 1)

    def test_a_larger_rate_may_cost_less(self):
        self.operate("port", "available", "1", str(1700 * 125), str(1700 * 125))
        self.ask("tcp", "tcont", "set", "big", "--fixed", "448")
        status, err, _ = self.both(101, "b", "voip", "big", 2, 0)
        self.assertEqual(status, 1)
        self.assertIn("largest fixed rate that fits: 512\nthat is more than was asked for", err)

    def test_rates_above_those_of_the_tcont_are_bound_and_warned_of(self):
        self.ask("tcp", "tcont", "create", "small", "--type", "4", "--id", "4", "--maximum", "1024")
        for onu, guaranteed, peak, told in [(101, 512, 1024, None), (102, 1024, 1088, "peak rate of 1088"),
                                            (201, 1088, 2048, "guaranteed rate of 1088")]:
            flow = f"flow-{onu}"
            self.ask("tcp", "flow", "create", flow, "--guaranteed", str(guaranteed), "--peak", str(peak))
            said = told and (f"oltctl: warning: flow profile {flow} has a {told} kbit/s, and T-CONT profile small "
                             "carries 1024 at most\n")
            warning = told and {"reason": "flowAboveMaximum", "flowProfile": flow, "tcontProfile": "small",
                                "guarRateUs": guaranteed, "peakRateUs": peak, "maximumRate": 1024}
            for verb in ("check", "apply"):
                words = self.words(verb, onu, "s", flow, "small", 1, 0)
                shown = self.good(self.oltctl(*words), said or "")
                self.assertNotIn("warning", shown.out)
                self.operate("service", "remove", str(onu), "s")
                answer = self.good(self.oltctl("--json", *words), said or "")
                self.assertEqual(answer.json()["arguments"].get("warning"), warning)
            # Bound already: nothing new to warn of.
            self.assertNotIn("warning", self.good(self.oltctl("--json", *words)).json()["arguments"])

    def test_a_service_that_is_bound_already(self):
        self.operate(*self.words("apply", 101, "s", "hsi", "gold", 1, 0))
        status, err, arguments = self.both(101, "s", "hsi", "gold", 1, 0)
        self.assertEqual((status, err, arguments["changed"], arguments["differs"]), (0, "", False, False))
        shown = self.good(self.oltctl(*self.words("apply", 101, "s", "hsi", "gold", 1, 0))).out
        self.assertTrue(re.search(r"^changed +no$", shown, re.MULTILINE), shown)
        for request, asked in [((101, "s", "hsi", "other", 1, 0), "hsi, other, port 1, termination point 0/1"),
                               ((101, "s", "hsi", "gold", 2, 0), "hsi, gold, port 2, termination point 0/1"),
                               ((101, "s", "hsi", "gold", 1, 1), "hsi, gold, port 1, termination point 1/1")]:
            status, err, arguments = self.both(*request)
            self.assertEqual((status, arguments["res"], arguments["changed"], arguments["differs"]),
                             (1, 0, False, True))
            self.assertEqual(err, 'oltctl: service apply: service "s" is bound as (hsi, gold, port 1, termination '
                                  "point 0/1); the request differs and changed nothing\n"
                                  f"asked for: ({asked})\n")


if __name__ == "__main__":
    main()
