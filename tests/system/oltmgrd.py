#!/usr/bin/env python3
"""Drives a live oltmgrd: command line, signals, control channel, saving and restoring.

usage: oltmgrd.py OLTMGRD MODULE [unittest arguments]
"""

import contextlib
import json
import os
import random
import signal
import socket
import subprocess
import sys
import time
import unittest

import harness
from harness import (FLOW_CREATE, FLOW_DELETE, FLOW_RENAME, PATIENCE, TCONT_CREATE, TCONT_DELETE, TCONT_FIXED_SET,
                     TCONT_ID_SET, TCONT_MAXIMUM_SET, TCONT_RENAME, Control)

HAS_OWN_NETWORK = False


class CommandLine(harness.DaemonTest):
    def refusal(self, *arguments, status=2):
        done = subprocess.run([self.program, *arguments], capture_output=True, timeout=PATIENCE, check=False)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(done.stdout, b"")
        lines = done.stderr.decode().splitlines()
        self.assertEqual(len(lines), 1, lines)
        left = [name for name in os.listdir(self.directory) if name not in ("c.lock", "config.json.lock")]
        self.assertEqual(sorted(left), self.files)
        return lines[0]

    def setUp(self):
        super().setUp()
        self.inventory = self.daemon.inventory_path
        self.files = ["inventory.json"]

    def test_help_and_version(self):
        for option, text in (("--help", "--inventory"), ("--version", "oltmgrd ")):
            done = subprocess.run([self.program, option], capture_output=True, timeout=PATIENCE, check=False)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertIn(text, done.stdout.decode())

    def test_refusals_name_the_thing(self):
        nowhere = self.path("nowhere")
        rows = (
            ((), 2, "--inventory is required; oltmgrd --help lists the options"),
            (("--bad",), 2, "unknown argument: --bad; oltmgrd --help lists the options"),
            (("--inventory", self.inventory, "--bad"), 2, "--bad; oltmgrd --help lists the options"),
            (("--inventory", self.inventory, "--log-level", "x"), 2, "--log-level"),
            (("--inventory", nowhere), 2, f"inventory {nowhere}: No such file or directory"),
            (("--inventory", self.directory), 2, f"inventory {self.directory}: is no regular file"),
            (("--inventory", self.inventory, "--config", nowhere + "/c"), 2,
             f"configuration {nowhere}/c: there is no directory {nowhere}"),
            (("--inventory", self.inventory, "--control", nowhere + "/c"), 1, f"control path {nowhere}/c: "),
            (("--inventory", self.inventory, "--control", self.inventory), 1,
             f"control path {self.inventory}: is there already and is no socket; remove it or give another path with "
             "--control"),
            (("--inventory", self.inventory, "--control", "/" + "x" * 107), 1, ": a socket's path has 1 to 107 bytes"),
            (("--inventory", self.inventory, "--log-file", nowhere + "/l"), 1, f"log file "),
            (("--inventory", self.inventory, "--control", self.path("c"), "--module", nowhere), 1,
             f"module {nowhere}: No such file or directory; give its path with --module"),
            (("--inventory", self.inventory, "--control", self.path("c"), "--module", self.inventory), 1,
             f"module {self.inventory} cannot be loaded: "),
        )
        for arguments, status, text in rows:
            with self.subTest(arguments=arguments):
                line = self.refusal(*arguments, status=status)
                self.assertTrue(line.startswith("oltmgrd: "), line)
                self.assertIn(text, line)

    def test_bad_files_are_named_with_the_place(self):
        rows = (
            ("{\n\"ports\": [}", "/ports/0: parse error at line 2, column 11"),
            ('{"ports": [{"interface": 1, "technology": "gpon"}], "onus": [{"interface": 2, "parent": 3}]}',
             "/onus/0/parent: interface 3 is not a PON port of this inventory"),
        )
        for text, reason in rows:
            self.write("inventory.json", text)
            self.assertIn(f"oltmgrd: inventory {self.inventory}: {reason}", self.refusal("--inventory", self.inventory))

        self.daemon.write_inventory(harness.INVENTORY)
        config = self.daemon.config_path
        self.files = ["config.json", "inventory.json"]
        for text, reason in (("", "top level: parse error"), ('{"version": 9}', "/version: must be"),
                             ('{"version": 1, "bindings": [{}]}', '/bindings/0: "interface" is missing')):
            self.write("config.json", text)
            self.assertIn(f"oltmgrd: configuration {config}: {reason}",
                          self.refusal(*self.daemon.arguments("--config", config)[1:]))
            self.assertEqual(self.read("config.json").decode(), text)

    def test_a_doubtful_inventory_is_a_warning_at_most(self):
        self.daemon.write_inventory({"ports": [{"interface": 1, "olt": 2, "technology": 77},
                                               {"interface": 2, "olt": 1, "technology": "gpon"}]})
        self.daemon.start()
        self.assertIn(f"warning: inventory {self.inventory}: /ports/0: interface 1 is OLT port 2: its free bandwidth "
                      "is read from OLT port 2", self.daemon.errors())
        self.daemon.stop()


class Lifecycle(harness.DaemonTest):
    def test_stops_at_once_and_leaves_nothing(self):
        for how in (signal.SIGTERM, signal.SIGINT, "shutdown"):
            with self.subTest(how=how):
                self.daemon.start()
                if how == "shutdown":
                    begin = time.monotonic()
                    self.daemon.request("shutdown")
                    seconds = self.daemon.await_clean_end(begin)
                else:
                    seconds = self.daemon.stop(how)
                self.assertLess(seconds, 2)

    def test_starts_and_stops_again_and_again(self):
        for _ in range(int(os.environ.get("OLTMGRD_STARTS", "10"))):
            self.daemon.start_with_config()
            self.daemon.stop()

    def test_status(self):
        self.addCleanup(os.umask, os.umask(0))
        self.daemon.start("--module", self.module)  # named twice, it is loaded once
        status = self.daemon.request("status")
        self.assertEqual({entity["name"]: entity["state"] for entity in status["entities"]},
                         dict.fromkeys(("interfaces", "zqbridge", "servprofile", "ports", "onuqos"), "started"))
        self.assertEqual(status["pid"], self.daemon.process.pid)
        self.assertEqual((status["rpcUdpPort"], status["rpcTcpPort"]), (self.daemon.udp_port, self.daemon.tcp_port))
        self.assertIs(status["configApply"], False)
        self.assertGreaterEqual(status["uptime"], 0)
        self.assertNotIn("restore", status)
        self.assertEqual(os.stat(self.daemon.control_path).st_mode & 0o777, 0o600, "for its owner, whatever the umask")

    def test_a_second_instance_is_refused_and_the_first_goes_on(self):
        self.daemon.start()
        done = subprocess.run(self.daemon.arguments(), capture_output=True, timeout=PATIENCE, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.decode(), f"oltmgrd: control path {self.daemon.control_path}: another oltmgrd "
                                               "serves it; stop that one or give another path with --control\n")
        self.daemon.request("status")
        self.daemon.stop()

    def test_a_killed_one_is_replaced(self):
        self.daemon.start()
        self.daemon.kill()
        self.assertTrue(os.path.exists(self.daemon.control_path))
        self.daemon.start()
        self.daemon.stop()

    def test_hangup_reopens_the_log_whose_level_can_be_set(self):
        self.daemon.start("--log-file", self.daemon.log_path)

        def log_an_error():
            self.assertEqual(self.daemon.bind(1, "s", "f", "t"), "onuQosResWrongIntf")
        log_an_error()
        os.rename(self.daemon.log_path, self.path("log.1"))
        log_an_error()
        harness.await_true(lambda: self.read("log.1").count(b"onuQosServiceApply") == 2, "the lines")
        self.daemon.process.send_signal(signal.SIGHUP)
        harness.await_true(lambda: os.path.exists(self.daemon.log_path), "the new log")
        log_an_error()
        harness.await_true(lambda: self.read("log").count(b"onuQosServiceApply") == 1, "the line")

        def trace():
            self.daemon.request("onu-config-event", interface=101, ready=True)
        trace()
        self.daemon.request("log-level", level=3)
        trace()
        harness.await_true(lambda: b"onuConfigEventHandler(101,True)" in self.read("log"), "the trace")
        self.daemon.stop()
        self.assertEqual(self.read("log").count(b"onuConfigEventHandler(101,True)"), 1)

    def test_a_second_signal_ends_a_stop_that_takes_long(self):
        self.daemon.start()
        self.stall_an_answer()
        self.daemon.process.send_signal(signal.SIGTERM)
        # The channel takes no more connections once the stop is under way.
        harness.await_true(lambda: not self.can_connect() or self.daemon.process.poll() is not None, "the stop")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertIn(self.daemon.process.wait(PATIENCE), (0, -signal.SIGTERM))

    def test_hangups_do_not_cut_a_stop_short(self):
        self.daemon.start()
        begin = time.monotonic()
        self.daemon.process.send_signal(signal.SIGTERM)
        while self.daemon.process.poll() is None:
            self.daemon.process.send_signal(signal.SIGHUP)
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.daemon.process.wait(0.005)
        self.daemon.await_clean_end(begin)

    def test_an_answer_that_is_not_read_does_not_hold_up_the_stop(self):
        self.daemon.start()
        self.stall_an_answer()
        self.assertLess(self.daemon.stop(), harness.PATIENCE)

    def stall_an_answer(self):
        """Asks for more than the connection can hold and reads nothing."""
        connection = Control(self.daemon.control_path)
        self.addCleanup(connection.close)
        connection.send(b'{"command": "list-commands"}\n' * 200)
        self.daemon.request("status")

    def can_connect(self):
        try:
            Control(self.daemon.control_path).close()
            return True
        except OSError:
            return False


class ControlChannel(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        self.daemon.start()

    def raw(self, line):
        self.daemon.control.send(line + b"\n")
        return self.daemon.control.answer()

    def test_bad_requests_are_answered_and_the_connection_stays(self):
        rows = (
            (b"", 1, "parse error"),
            (b"[]", 1, "top level: must be an object"),
            (b'{"arguments": {}}', 1, '"command" is missing'),
            (b'{"command": 5}', 1, "/command: must be a string"),
            (b'{"command": "status", "argument": {}}', 1, "/argument: is not known here"),
            (b'{"command": "status", "arguments": []}', 1, "/arguments: must be an object"),
            (b'{"command": "nothing"}', 2, "there is no command 'nothing'"),
            (b'{"command": "status", "arguments": {"x": 1}}', 1, "/arguments/x: is not known here"),
            (b'{"command": "log-level"}', 1, '/arguments: "level" is missing'),
            (b'{"command": "log-level", "arguments": {"level": "1"}}', 1, "/arguments/level: must be an integer"),
            (b'{"command": "log-level", "arguments": {"level": 10}}', 1, "level: must be from 0 to 9"),
            (b'{"command": "fault-set", "arguments": {"operation": "nothing"}}', 1, "no platform operation"),
            (b'{"command": "service-remove", "arguments": {"interface": 4294967296, "service": ""}}', 1,
             "/arguments/interface: must be an integer from 0 to 4294967295"),
            (b'{"command": "service-remove", "arguments": {"interface": 1, "service": {"base64": "a"}}}', 1,
             "/arguments/service: must be a name"),
            (b'{"command": "onu-config-event", "arguments": {"interface": 1, "ready": 1}}', 1,
             "/arguments/ready: must be true or false"),
            (b'{"command": "onu-config-event", "arguments": {"interface": 1, "ready": true, "other": null}}', 1,
             "/arguments/other: must be true or false"),
            (b'{"command": "fault-set", "arguments": {"operation": "reportAlarm", "answer": true}}', 1,
             "/arguments/answer: must be an integer"),
            (b'{"command": "fault-set", "arguments": {"operation": "reportAlarm", "times": "1"}}', 1,
             "/arguments/times: must be an integer"),
            (b'{"command": "fault-clear", "arguments": {"operation": 7}}', 1, "/arguments/operation: must be a string"),
            (b'{"command": "message", "arguments": {"name": "x", "argument": 0}}', 1,
             "/arguments/argument: must be a name"),
            (b'{"command": "config-save", "arguments": {"file": []}}', 1, "/arguments/file: must be a name"),
            (b'{"command": "status", "arguments": ' + b'{"a": ' * 100000 + b"1" + b"}" * 100001, 1, "nested more than"),
        )
        for line, result, text in rows:
            with self.subTest(line=line[:80]):
                answer = self.raw(line)
                self.assertEqual(answer["result"], result)
                self.assertIn(text, answer["text"])
        self.daemon.request("status")

    def test_a_line_of_a_mebibyte_is_read_and_a_longer_one_refused(self):
        rest = len('{"command": "message", "arguments": {"name": ""}}')
        line = json.dumps({"command": "message", "arguments": {"name": "x" * ((1 << 20) - rest)}}).encode()
        self.assertEqual(len(line), 1 << 20)
        self.assertEqual(self.raw(line)["result"], 0)
        answer = self.raw(line + b" ")
        self.assertEqual(answer["result"], 1)
        self.assertIn("at most 1048576 bytes", answer["text"])
        self.assertIsNone(self.daemon.control.line())
        self.daemon.control.close()
        self.daemon.control = Control(self.daemon.control_path)
        self.daemon.request("status")

    def test_requests_of_a_connection_are_answered_in_order(self):
        members = {"service-list": "services", "status": "entities", "hardware-get": "tcontProfiles"}
        for command in 20 * list(members):
            self.daemon.control.send(f'{{"command": "{command}"}}\n'.encode())
        for member in 20 * list(members.values()):
            self.assertIn(member, self.daemon.control.answer()["arguments"])

    def test_a_last_line_needs_no_end_and_blanks_may_surround_it(self):
        control = self.daemon.control
        control.send(b' \t{"command" : "status"} \r')
        control.socket.shutdown(socket.SHUT_WR)
        self.assertEqual(control.answer()["result"], 0)
        self.assertIsNone(control.line())

    def test_many_idle_connections_do_not_shut_others_out(self):
        idle = []
        for _ in range(200):
            idle.append(Control(self.daemon.control_path))
            self.addCleanup(idle[-1].close)
            idle[-1].send(b'{"command": ')
        begin = time.monotonic()
        newcomer = Control(self.daemon.control_path)
        self.addCleanup(newcomer.close)
        self.assertEqual(newcomer.request("status")["result"], 0)
        self.assertLess(time.monotonic() - begin, 1)
        descriptors = len(os.listdir(f"/proc/{self.daemon.process.pid}/fd"))
        self.assertLess(descriptors, 100)

    def test_with_too_many_connections_the_one_silent_for_longest_goes(self):
        first, second = (Control(self.daemon.control_path) for _ in range(2))
        for control in (first, second, first, self.daemon.control):
            control.request("status")
        others = [Control(self.daemon.control_path) for _ in range(62)]
        for control in (first, second, *others):
            self.addCleanup(control.close)
        self.assertIsNone(second.line())
        for control in (first, self.daemon.control, *others):
            self.assertEqual(control.request("status")["result"], 0)

    def test_list_commands_describes_every_command(self):
        commands = {row["name"]: row for row in self.daemon.request("list-commands")["commands"]}
        self.assertTrue(all(row["help"] for row in commands.values()))
        self.assertEqual(commands["fault-set"]["arguments"], [
            {"name": "operation", "kind": "operation", "required": True},
            {"name": "answer", "kind": "integer", "required": False, "default": 1},
            {"name": "times", "kind": "number", "required": False, "default": 1},
            {"name": "after", "kind": "number", "required": False, "default": 0}])
        # Without arguments every command that needs none is carried out, and every other says what is missing.
        for name, row in commands.items():
            if name == "shutdown":
                continue
            answer = self.daemon.control.request(name)
            required = [argument["name"] for argument in row["arguments"] if argument["required"]]
            if required:
                self.assertIn(f'"{required[0]}" is missing', answer["text"])
            elif name != "config-save":
                self.assertEqual(answer["result"], 0, name)


class Commands(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        self.daemon.start()
        self.rpc = self.daemon.rpc()
        self.addCleanup(self.rpc.close)

    def make_profiles(self):
        self.rpc.do(FLOW_CREATE, "f")
        self.rpc.do(TCONT_CREATE, "t")
        self.rpc.do(TCONT_MAXIMUM_SET, "t", 4096)
        self.rpc.do(TCONT_FIXED_SET, "t", 1024)

    def test_services_and_the_hardware_layer(self):
        self.make_profiles()
        daemon, odd = self.daemon, {"base64": "/w=="}
        self.assertEqual(daemon.bind(101, odd, "f", "t", 7, (2, -1)), "onuQosResOk")
        self.assertEqual(daemon.bind(101, "wrong", "f", "t", 7, (3, 0)), "onuQosResOk")  # equal, so never pushed
        self.assertEqual(daemon.request("service-list")["services"], [
            {"interface": 101, "service": odd, "flowProfile": "f", "tcontProfile": "t", "virtualPort": 7,
             "termPointType": 2, "termPointId": -1},
            {"interface": 101, "service": "wrong", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 7,
             "termPointType": 3, "termPointId": 0}])
        self.assertEqual(daemon.request("flow-service-get", interface=101, flowId=1),
                         {"res": 0, "resName": "onuQosResOk", "service": "wrong"})  # of equal ones the first by name
        self.assertEqual(daemon.request("flow-service-get", interface=101, flowId=2)["resName"], "onuQosResError")
        daemon.request("interface-event", interface=102, event=4)
        daemon.request("onu-config-event", interface=201, ready=True)
        daemon.request("message", name="onuQosOMApiDebug", argument="on")
        hardware = daemon.request("hardware-get")
        self.assertEqual(hardware["tcontProfiles"], [
            {"name": "t", "tContId": 1, "tContType": 5, "fixedRate": 1024, "assuredRate": 0, "maximumRate": 4096,
             "dbaAllocType": 0, "dbaWeight": 0, "dbaPriority": 0}])
        self.assertEqual(hardware["bindings"], [
            {"interface": 101, "name": "f-t", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 7, "tcontId": 1,
             "uniType": 1, "termPointId": 4294967295, "flowId": 1}])
        self.assertEqual(hardware["onus"], [101, 102, 201])
        self.assertEqual(hardware["onuEvents"], [
            {"event": "state", "interface": 102, "slot": 0, "port": 1, "onu": 2, "up": True},
            {"event": "ready", "interface": 201, "slot": 0, "port": 2, "onu": 1, "ready": True}])
        self.assertIs(hardware["debug"], True)
        self.assertEqual(hardware["calls"]["onuQosServiceApply"], 1)
        self.assertEqual(daemon.request("service-remove", interface=1, service="a")["resName"], "onuQosResWrongIntf")
        self.assertEqual(daemon.request("service-remove", interface=101, service=odd)["resName"], "onuQosResOk")
        self.assertEqual([row["service"] for row in daemon.request("service-list")["services"]], ["wrong"])
        daemon.request("fault-set", operation="onuQosClearConfig")
        self.assertEqual(daemon.control.request("default-settings"),
                         {"result": 0, "text": "failed; the log says why: onuqos", "arguments": {"ok": False}})
        self.assertEqual(daemon.request("default-settings"), {"ok": True})
        self.assertEqual(daemon.request("service-list")["services"], [])

    def test_an_alarm_and_ports_that_are_none(self):
        self.make_profiles()
        self.daemon.bind(101, "a", "f", "t")
        time.sleep(1 - time.time() % 1)  # until the milliseconds of its time need zeros before them
        self.daemon.request("port-distance-set", interface=1, min=0, max=60)
        alarm = self.daemon.request("alarms-get")["active"][0]
        self.assertRegex(alarm.pop("time"), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        passed = {"action": "report", "code": 1600570, "interface": 1, "board": 0, "text": "", "numbers": [1, 3, 11]}
        self.assertEqual({member: alarm[member] for member in passed}, passed)
        self.assertIn("101", self.daemon.refused("port-distance-set", interface=101, min=0, max=1))
        self.assertIn("both", self.daemon.refused("port-available-set", interface=1, fixed=None, total=5))

    def test_interface_types_and_faults(self):
        self.make_profiles()
        daemon = self.daemon
        daemon.request("interface-type-set", interface=101, type=3)
        self.assertEqual(daemon.bind(101, "a", "f", "t"), "onuQosResWrongIntf")
        daemon.request("interface-type-set", interface=101, type=4)
        daemon.request("fault-set", operation="onuQosServiceApply", answer=5, after=1)
        self.assertEqual(daemon.bind(101, "a", "f", "t"), "onuQosResOk")
        self.assertEqual(daemon.bind(102, "a", "f", "t"), "onuQosResOMApiRefused")
        self.assertEqual(daemon.bind(102, "a", "f", "t"), "onuQosResOk")
        daemon.request("fault-set", operation="exclusiveLock", times=1000)
        self.assertEqual(daemon.bind(201, "a", "f", "t"), "onuQosResError")
        self.assertIn("nothing was done: the lock was not obtained", daemon.refused("default-settings"))
        daemon.request("fault-set", operation="exclusiveLock", times=0)  # in place of the first
        self.assertEqual(daemon.bind(201, "a", "f", "t"), "onuQosResOk")
        daemon.request("fault-set", operation="sharedLock", times=1000)
        self.assertIn("lock was not obtained", daemon.refused("config-save", file=self.path("saved")))
        daemon.request("fault-clear", operation="sharedLock")
        daemon.request("config-save", file=self.path("saved"))
        daemon.request("fault-set", operation="onuQosOMApiDebug")
        daemon.request("message", name="onuQosOMApiDebug", argument="on")
        self.assertIs(daemon.request("hardware-get")["debug"], False)

    def test_service_profiles(self):
        profile = {"name": "internet", "tcontProfile": "t", "flowProfile": "f"}
        self.daemon.request("service-profile-add", **profile)
        self.assertEqual(self.daemon.request("service-profile-list"), {"serviceProfiles": [profile]})
        self.assertIn("internet", self.daemon.refused("service-profile-add", **profile))
        for name, flow in (("", "f"), ("n" * 65, "f"), ("n", "f" * 65)):
            self.daemon.refused("service-profile-add", name=name, tcontProfile="t", flowProfile=flow)
        self.daemon.request("service-profile-remove", name="internet")
        self.assertIn("internet", self.daemon.refused("service-profile-remove", name="internet"))

    def test_configuration_apply(self):
        daemon = self.daemon
        daemon.request("config-apply-start")
        self.assertIs(daemon.request("status")["configApply"], True)
        self.assertEqual(self.rpc.call(200), bytes([0, 0, 0, 1, 0, 0, 0, 0]))
        self.assertIn("a configuration apply is in progress", daemon.refused("config-save", file=self.path("saved")))
        self.assertFalse(os.path.exists(self.path("saved")))
        daemon.request("config-save", file=self.path("saved"), force=True)
        daemon.request("config-apply-stop")
        self.assertIs(daemon.request("status")["configApply"], False)
        self.assertIn("must name one", daemon.refused("config-save"))

    def test_the_equipment_manager_needs_its_feature(self):
        self.daemon.stop()
        for features in ({}, {"5": False}):
            self.daemon.write_inventory({**harness.INVENTORY, "features": features})
            self.daemon.start()
            self.assertIn("feature 5 is not active", self.daemon.refused("onu-config-event", interface=101, ready=True))
            self.daemon.stop()


class Configuration(harness.DaemonTest):
    def restart(self):
        self.daemon.stop()
        self.daemon.start_with_config()

    def test_what_is_saved_comes_back_healed_where_only_a_history_could_reach_it(self):
        daemon = self.daemon.start_with_config()
        self.assertIn("is not there yet; starting without", daemon.errors())
        rpc = daemon.rpc()
        for name in ("f", "g", "h", "gone"):
            rpc.do(FLOW_CREATE, name)
            rpc.do(TCONT_CREATE, name)
        rpc.do(TCONT_MAXIMUM_SET, "g", 8192)
        rpc.do(TCONT_FIXED_SET, "g", 2048)
        rpc.do(TCONT_ID_SET, "h", 2)
        for interface, service, flow, tcont, port in ((201, "z", "f", "g", 1), (101, "y", "g", "h", 2),
                                                      (102, "x", "gone", "gone", 3), (101, "w", "h", "g", 4)):
            self.assertEqual(daemon.bind(interface, service, flow, tcont, port, (1, 3)), "onuQosResOk")
        # Renamed and deleted while bound; the old name taken by another.
        long_name = "x" * 100
        rpc.do(FLOW_DELETE, "gone")
        rpc.do(TCONT_DELETE, "gone")
        rpc.do(TCONT_RENAME, "h", "")
        rpc.do(FLOW_RENAME, "h", long_name)
        rpc.do(TCONT_CREATE, "h")
        daemon.request("service-profile-add", name="s", tcontProfile="g", flowProfile="")
        self.assertEqual(daemon.request("config-save"), {"profiles": 7, "bindings": 4})
        services = daemon.request("service-list")["services"]
        rpc.close()
        self.restart()

        told = ["flow profile 'gone': made again: it was deleted while services were bound to it",
                "T-CONT profile 'gone': made again: it was deleted while services were bound to it",
                "service 'y' of interface 101: bound to T-CONT profile '', not 'h': it was renamed",
                f"service 'w' of interface 101: bound to flow profile '{long_name}', not 'h': it was renamed"]
        restored = daemon.request("status")["restore"]
        self.assertEqual((restored["profiles"], restored["bindings"], restored["serviceProfiles"]), (9, 4, 1))
        self.assertEqual((restored["lostCount"], restored["lost"]), (0, []))
        self.assertEqual(sorted(restored["differences"]), sorted(told))
        self.assertEqual(restored["differenceCount"], len(told))
        for line in told:
            self.assertIn(f"configuration {daemon.config_path}: {line}\n", daemon.errors())
        self.assertIn(f"{len(told)} differences from what was saved", daemon.errors())
        services[1]["tcontProfile"], services[3]["flowProfile"] = "", long_name
        self.assertEqual(daemon.request("service-list")["services"], services)

        def state():
            hardware = daemon.request("hardware-get")
            del hardware["calls"]
            return (daemon.dump(), hardware, daemon.request("service-list"), daemon.request("service-profile-list"))
        before = state()
        daemon.request("config-save")
        first = self.read("config.json")
        self.restart()
        self.assertEqual(state(), before)
        restored = daemon.request("status")["restore"]
        self.assertEqual((restored["lost"], restored["differences"]), ([], []))
        # Saved again it is the same file, byte for byte.
        daemon.request("config-save")
        self.assertEqual(self.read("config.json"), first)
        daemon.stop()

    def test_saved_service_profiles_take_the_place_of_the_inventorys(self):
        daemon = self.daemon
        profiles = [{"name": name, "tcontProfile": "", "flowProfile": "f"} for name in ("kept", "changed", "removed")]
        daemon.write_inventory({**harness.INVENTORY, "serviceProfiles": profiles})
        daemon.start_with_config()
        self.assertEqual(daemon.request("service-profile-list")["serviceProfiles"], profiles)
        for name in ("changed", "removed"):
            daemon.request("service-profile-remove", name=name)
        saved = [profiles[0], {"name": "changed", "tcontProfile": "t", "flowProfile": ""}]
        daemon.request("service-profile-add", **saved[1])
        daemon.request("config-save")
        self.restart()
        self.assertEqual(daemon.request("service-profile-list")["serviceProfiles"], saved)
        self.assertEqual(daemon.request("status")["restore"]["lost"], [])
        daemon.stop()

    def test_an_alarm_that_is_raised_again_is_no_difference(self):
        daemon = self.daemon
        port = {"interface": 1, "technology": "gpon", "maxDistance": 60}
        daemon.write_inventory({"ports": [port], "onus": [{"interface": 101, "parent": 1, "port": 1}]})
        daemon.start_with_config()
        rpc = daemon.rpc()
        rpc.do(FLOW_CREATE, "f")
        rpc.do(TCONT_CREATE, "t")
        rpc.close()
        self.assertEqual(daemon.bind(101, "s", "f", "t"), "onuQosResOk")
        daemon.request("config-save")
        self.restart()
        self.assertEqual(len(daemon.request("alarms-get")["active"]), 1)
        restored = daemon.request("status")["restore"]
        self.assertEqual((restored["lost"], restored["differences"]), ([], []))
        daemon.stop()

    def test_what_cannot_be_restored_is_told_and_kept(self):
        daemon = self.daemon.start_with_config()
        rpc = daemon.rpc()
        rpc.do(FLOW_CREATE, "f")
        rpc.do(TCONT_CREATE, "t")
        for interface in (101, 201):
            self.assertEqual(daemon.bind(interface, "s", "f", "t"), "onuQosResOk")
        daemon.request("config-save")
        rpc.close()
        daemon.stop()
        kept = self.read("config.json")
        # The second port is gone, and its ONU with it.
        daemon.write_inventory({"ports": harness.INVENTORY["ports"][:1], "onus": harness.INVENTORY["onus"][:2]})
        daemon.start_with_config()
        lost = ["service 's' of interface 201: there is no such ONU (onuQosResWrongIntf)"]
        self.assertEqual(daemon.request("status")["restore"]["lost"], lost)
        self.assertIn(f"configuration {daemon.config_path}: not restored: {lost[0]}\n", daemon.errors())
        self.assertEqual([row["interface"] for row in daemon.request("service-list")["services"]], [101])
        daemon.request("config-save", file=self.path("other.json"))
        self.assertIn("restoring it lost 1 entries", daemon.refused("config-save"))
        self.assertIn("restoring it lost", daemon.refused("config-save", file=self.path("./config.json")))
        self.assertEqual(self.read("config.json"), kept)
        self.assertEqual(daemon.request("config-save", force=True)["bindings"], 1)
        daemon.request("config-save")
        daemon.stop()

    def test_a_save_that_fails_changes_nothing(self):
        daemon = self.daemon.start_with_config()
        daemon.request("config-save")
        before = self.read("config.json")
        rpc = daemon.rpc()
        rpc.do(TCONT_CREATE, "t")
        rpc.close()
        os.remove(daemon.config_path)
        os.mkdir(daemon.config_path)  # in the way of the file
        self.assertIn("is no regular file", daemon.refused("config-save"))
        os.rmdir(daemon.config_path)
        self.write("config.json", before.decode())
        self.assertEqual(self.read("config.json"), before)
        self.assertIn("no-such-directory", daemon.refused("config-save", file=self.path("no-such-directory/file")))
        self.assertIn(self.directory, daemon.refused("config-save", file=self.directory))
        daemon.stop()

    def test_a_save_replaces_the_file_and_nothing_else(self):
        self.addCleanup(os.umask, os.umask(0))
        daemon = self.daemon.start_with_config()
        daemon.request("config-save")
        self.assertEqual(os.stat(daemon.config_path).st_mode & 0o007, 0, "new files are not for everybody")
        # A link stays, and its target keeps its permissions.
        self.write("target", "")
        os.chmod(self.path("target"), 0o604)
        os.remove(daemon.config_path)
        os.symlink("target", daemon.config_path)
        daemon.request("config-save")
        self.assertEqual((os.readlink(daemon.config_path), os.stat(self.path("target")).st_mode & 0o777),
                         ("target", 0o604))
        self.assertIn(b'"version"', self.read("target"))
        daemon.stop()

    def test_kill_while_saving_or_restoring_leaves_a_whole_file(self):
        chance = random.Random(int(os.environ.get("OLTMGRD_SEED", "5")))
        self.daemon.start_with_config()
        self.daemon.request("config-save")  # from here on there is always a file
        self.daemon.stop()
        for _ in range(int(os.environ.get("OLTMGRD_KILLS", "12")) // 2):
            daemon = self.daemon.begin("--config", self.daemon.config_path)
            time.sleep(chance.random() * 0.1)  # the moment of a kill is meant to be any
            daemon.kill()
            daemon = self.daemon.start_with_config()
            self.assertNotIn("not restored", daemon.errors())
            rpc = daemon.rpc()
            name = f"t{chance.randrange(1 << 30)}"
            rpc.do(TCONT_CREATE, name)
            rpc.close()
            for _ in range(chance.randrange(1, 4)):
                daemon.control.send(b'{"command": "config-save"}\n')
            time.sleep(chance.random() * 0.02)
            daemon.kill()
        self.daemon.start_with_config()
        self.assertEqual(self.daemon.request("status")["restore"]["lost"], [])
        self.daemon.request("config-save")
        self.daemon.stop()


class Portmapper(harness.DaemonTest):
    def registered(self):
        listing = subprocess.run(["rpcinfo", "-p", "127.0.0.1"], capture_output=True, timeout=PATIENCE, check=False)
        rows = [line.split() for line in listing.stdout.decode().splitlines()]
        return {(row[2], int(row[3])) for row in rows if row[:2] == [str(harness.PROGRAM), "1"]}

    def test_without_one_the_operator_is_told(self):
        if HAS_OWN_NETWORK:
            self.daemon.start()
            self.assertEqual(self.daemon.errors().count("no portmapper takes connections"), 1)
            self.assertIs(self.daemon.request("status")["portmapper"], False)
            self.daemon.rpc().close()
            self.daemon.stop()

    @unittest.skipUnless(os.geteuid() == 0, "needs a network of its own")
    def test_the_program_is_published_while_it_runs(self):
        with harness.portmapper():
            self.daemon.start()
            ports = {("udp", self.daemon.udp_port), ("tcp", self.daemon.tcp_port)}
            self.assertEqual(self.registered(), ports)
            self.assertNotIn("portmapper", self.daemon.errors())
            self.assertLess(self.daemon.stop(), harness.PATIENCE)
            self.assertEqual(self.registered(), set())

    @unittest.skipUnless(os.geteuid() == 0, "needs a network of its own")
    def test_one_that_hangs_holds_nothing_up(self):
        with harness.portmapper() as rpcbind:
            os.kill(rpcbind.pid, signal.SIGSTOP)
            begin = time.monotonic()
            self.daemon.start()
            self.assertLess(time.monotonic() - begin, 10)
            self.assertEqual((self.daemon.udp_port, self.daemon.tcp_port), (0, 0))
            self.assertIn("the portmapper does not answer", self.daemon.errors())
            self.daemon.request("status")
            self.assertLess(self.daemon.stop(), harness.PATIENCE)

            self.daemon.start()
            os.kill(rpcbind.pid, signal.SIGCONT)
            harness.await_true(lambda: self.daemon.request("status")["rpcTcpPort"] != 0, "the registration")
            harness.await_true(lambda: "RPC clients are served now" in self.daemon.errors(), "word of it")
            self.daemon.tcp_port = self.daemon.request("status")["rpcTcpPort"]
            begin = time.monotonic()
            rpc = self.daemon.rpc()
            rpc.call(0)
            self.assertLess(time.monotonic() - begin, 0.5)
            rpc.close()
            self.assertLess(self.daemon.stop(), harness.PATIENCE)


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module = sys.argv[1], sys.argv[2]
    HAS_OWN_NETWORK = harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
