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
        self.sockets = []
        self.addCleanup(lambda: [each.close() for each in self.sockets])

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", self.daemon.tcp_port), harness.PATIENCE)
        self.sockets.append(connection)
        return connection

    def expect_service(self, seconds=1.5):
        """Old and new connections and datagrams are answered within a second each, for some time."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            for call in (lambda: self.witness.call(0), self.call_anew, self.call_by_datagram,
                         lambda: self.daemon.request("status")):
                begin = time.monotonic()
                call()
                self.assertLess(time.monotonic() - begin, 1)

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
        self.expect_service_of_newcomers()
        self.expect_idle()
        while self.sockets:
            self.sockets.pop().close()
        self.witness = self.daemon.rpc()
        self.expect_service()

    def expect_service_of_newcomers(self):
        for _ in range(20):
            for call in (self.call_anew, self.call_by_datagram, lambda: self.daemon.request("status")):
                begin = time.monotonic()
                call()
                self.assertLess(time.monotonic() - begin, 1)

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
        self.assertLess(self.memory() - before, 4096)
        self.expect_service()
        self.expect_idle()


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module = sys.argv[1], sys.argv[2]
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
