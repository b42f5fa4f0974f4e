#!/usr/bin/env python3
"""Hostile and unlucky RPC clients against a live oltmgrd: others are served all the while.

usage: robustness.py OLTMGRD MODULE [unittest arguments]
"""

import os
import random
import resource
import socket
import struct
import sys
import threading
import time
import unittest

import harness
from harness import FLOW_CREATE, Rpc

FLOW_GET = 5
TICKS = os.sysconf("SC_CLK_TCK")


class Robustness(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        self.daemon.start()
        self.witness = self.daemon.rpc()  # a client that behaves
        self.addCleanup(self.witness.close)
        self.witness.do(FLOW_CREATE, "f")
        self.newcomers = (self.call_anew, self.call_by_datagram, lambda: self.daemon.request("status"))
        self.sockets = []
        self.addCleanup(lambda: [each.close() for each in self.sockets])
        self.worst = 0.0
        self.addCleanup(self.report, self.memory())

    def report(self, before):
        """The figures, for those who look (ctest -V)."""
        if self.daemon.process.poll() is None:
            print(f"{self._testMethodName}: worst answer {1000 * self.worst:.0f} ms, VmRSS {before} kB before, "
                  f"{self.memory()} kB after", flush=True)

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", self.daemon.tcp_port), harness.PATIENCE)
        self.sockets.append(connection)
        return connection

    def expect_service(self, seconds=1.5):
        """Old and new connections and datagrams are answered within a second each, for some time."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.expect_answers((lambda: self.witness.call(0), *self.newcomers))

    def expect_answers(self, calls):
        for call in calls:
            begin = time.monotonic()
            call()
            seconds = time.monotonic() - begin
            self.worst = max(self.worst, seconds)
            self.assertLess(seconds, 1)

    def call_anew(self):
        client = self.daemon.rpc()
        client.call(0)
        client.close()

    def call_by_datagram(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
            client.settimeout(harness.PATIENCE)
            client.sendto(Rpc.message(1, 0, ()), ("127.0.0.1", self.daemon.udp_port))
            self.assertEqual(len(client.recv(1000)), 24)

    def cpu_seconds(self):
        with open(f"/proc/{self.daemon.process.pid}/stat", encoding="utf-8") as stat:
            fields = stat.read().rsplit(") ", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def expect_idle(self):
        """Nothing is to be done, so next to nothing is done."""
        before = self.cpu_seconds()
        time.sleep(1)  # the time over which it is measured
        self.assertLess(self.cpu_seconds() - before, 0.25)

    def memory(self):
        with open(f"/proc/{self.daemon.process.pid}/status", encoding="utf-8") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    def expect_no_growth(self, before):
        with open(self.program, "rb") as program:
            image = program.read()
        if b"__asan_init" not in image and b"__tsan_init" not in image:  # those keep freed memory back
            self.assertLess(self.memory() - before, 4096)

    def test_stalled_requests(self):
        for number in range(200):
            whole = Rpc.record(Rpc.message(number, FLOW_CREATE, ("stalled",)))
            self.connect().sendall(whole[:1 + number % (len(whole) - 1)])
        self.expect_service()
        self.expect_idle()

    def test_clients_that_do_not_read(self):
        call = Rpc.record(Rpc.message(1, FLOW_GET, ("f",)))
        for _ in range(8):
            connection = self.connect()
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            connection.setblocking(False)
        end = time.monotonic() + 3
        while time.monotonic() < end:
            for connection in self.sockets:
                try:
                    connection.send(call * 200)
                except (BlockingIOError, ConnectionError):
                    pass
            self.expect_service(0.05)
        self.expect_service()
        self.expect_idle()

    def test_more_connections_than_there_are_descriptors(self):
        hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
        if hard != resource.RLIM_INFINITY and hard < 1500:
            self.skipTest("this process may not open enough descriptors")
        resource.setrlimit(resource.RLIMIT_NOFILE, (1500, hard))
        for _ in range(1100):
            self.connect()
        for _ in range(20):
            self.expect_answers(self.newcomers)
        self.expect_idle()
        while self.sockets:
            self.sockets.pop().close()
        self.witness = self.daemon.rpc()
        self.expect_service()

    def test_floods_of_connections_and_of_malformed_calls(self):
        chance = random.Random(3)
        calls = int(os.environ.get("OLTMGRD_MALFORMED", "4000"))
        whole = Rpc.message(1, FLOW_CREATE, ("x" * 100,))
        datagrams = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.sockets.append(datagrams)

        def flood(count):
            for _ in range(count):
                message = bytearray(whole)
                for _ in range(chance.randrange(4)):
                    message[chance.randrange(len(message))] = chance.randrange(256)
                message = message[:chance.randrange(len(message) + 1)]
                datagrams.sendto(bytes(message), ("127.0.0.1", self.daemon.udp_port))
                with socket.create_connection(("127.0.0.1", self.daemon.tcp_port), harness.PATIENCE) as client:
                    length = chance.choice((len(message), 0, 0x7FFFFFFF, chance.randrange(1 << 32)))
                    client.sendall(struct.pack(">I", 0x80000000 | length) + message)
            self.expect_service(0.2)
        flood(calls // 4)
        before = self.memory()
        flood(calls)
        self.expect_no_growth(before)
        self.expect_service()
        self.expect_idle()

    def test_gss_initiations_are_denied(self):
        """The RPC library loses some memory at each: see the figures."""
        version, initiate, sequence, service, no_handle = 1, 1, 0, 1, 0
        credential = struct.pack(">5I", version, initiate, sequence, service, no_handle)
        body = struct.pack(">6I", 0, 2, harness.PROGRAM, 1, 0, 6) + struct.pack(">I", len(credential)) + credential
        token = struct.pack(">3I", 0, 0, 4) + b"none"  # no verifier
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
            client.settimeout(harness.PATIENCE)
            for number in range(int(os.environ.get("OLTMGRD_GSS", "200"))):
                client.sendto(struct.pack(">I", number) + body + token, ("127.0.0.1", self.daemon.udp_port))
                answer = struct.unpack(">4I", client.recv(1000)[:16])
                self.assertEqual(answer[:4], (number, 1, 1, 1))  # denied for its authentication
        self.expect_service(0.1)

    def test_hostile_control_connections(self):
        nested = b'{"command": "status", "arguments": ' + b"[" * 100_000 + b"]" * 100_000 + b"}\n"
        full = b'{"command": "message", "arguments": {"name": "' + b"x" * ((1 << 20) - 60) + b'"}}\n'

        def flood(count):
            for number in range(count):
                with harness.contextlib.closing(harness.Control(self.daemon.control_path)) as control:
                    control.send((b'{"command": "sta', nested, full, b"x" * (1 << 20) + b"x\n")[number % 4])
                    if number % 4 == 3:
                        control.line()
                    elif number % 4 != 0:
                        self.assertEqual(control.answer()["result"], number % 4 % 2)
            self.expect_service(0.2)
        for _ in range(50):
            half = harness.Control(self.daemon.control_path)
            half.send(full[:500_000])
            self.sockets.append(half)
        self.expect_service(0.2)
        for each in self.sockets:
            each.close()
        flood(40)
        before = self.memory()
        flood(200)
        self.expect_no_growth(before)
        self.expect_service()
        self.expect_idle()

    def test_everything_at_once(self):
        """Clients of both kinds, events and dumps together; the process answers all and ends cleanly."""
        failures = []

        def run(work):
            control, rpc = harness.Control(self.daemon.control_path), self.daemon.rpc()
            try:
                for number in range(int(os.environ.get("OLTMGRD_ROUNDS", "60"))):
                    work(control.request, rpc, number)
            except Exception as error:  # pylint: disable=broad-except
                failures.append(repr(error))
            finally:
                control.close()
                rpc.close()

        def profiles(_, rpc, number):
            rpc.do(harness.TCONT_CREATE, f"own{number}")
            rpc.call(harness.TCONT_FIXED_SET, f"own{number}", 512)
            rpc.do(harness.TCONT_DELETE, f"own{number}")

        def services(request, _, number):
            onu = (101, 102, 201)[number % 3]
            answer = request("service-apply", interface=onu, service="s", flowProfile="f", tcontProfile="t",
                             virtualPort=1, termPointType=0, termPointId=0)
            request("service-remove", interface=onu, service="s")
            assert answer["result"] == 0, answer

        def events(request, _, number):
            assert request("interface-event", interface=101, event=3 + number % 2)["result"] == 0
            assert request("onu-config-event", interface=102, ready=True)["result"] == 0
            assert request("port-distance-set", interface=1, min=0, max=20 + number % 2 * 34)["result"] == 0
            assert request(("config-apply-start", "config-apply-stop")[number % 2])["result"] == 0

        def dumps(request, rpc, _):
            assert "onuQosOltCacMap" in request("message", name="onuQosDump")["arguments"]["reply"]
            assert request("hardware-get")["result"] == 0
            assert request("config-save", file=self.path("saved"), force=True)["result"] == 0
            rpc.call(201, 1)

        self.witness.do(harness.TCONT_CREATE, "t")
        threads = [threading.Thread(target=run, args=(work,))
                   for work in (profiles, services, services, events, dumps, dumps)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])
        self.expect_service(0.1)
        self.daemon.stop()


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module = sys.argv[1], sys.argv[2]
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
