#!/usr/bin/env python3
"""Hostile and unlucky RPC clients against a live oltmgrd: others are served all the while.

usage: robustness.py OLTMGRD MODULE [unittest arguments]

Each attack goes on in processes of its own while a client that behaves asks over an old connection, a new one, UDP
and the control channel. With OLTMGRD_TIMES set, the answers must come within the times that docs/robustness.md tells;
else only some time. Other variables make an attack longer; they are read where they are used.
"""

import contextlib
import multiprocessing
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
FLOW_REPLY = 2380  # bytes of a record
NOT_FOUND, BAD_NAME = 3, 16  # results
TICKS = os.sysconf("SC_CLK_TCK")
MILLION = 1_000_000
LIMITS = {"old connection": 0.2, "new connection": 0.5, "datagram": 0.2, "control channel": 0.2}


def number_of(variable, usual):
    return int(os.environ.get(variable, usual))


def connected(port, receive_buffer=0):
    connection = socket.socket()
    if receive_buffer:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
    connection.settimeout(harness.PATIENCE)
    connection.connect(("127.0.0.1", port))
    return connection


def records(procedure, arguments, count):
    return b"".join(Rpc.record(Rpc.message(number, procedure, arguments)) for number in range(count))


# Attacks: each gets the ports, tells by `begun` that it is under way, and goes on until it is killed.

def drip(ports, begun, connections):
    """Asks for much and reads 600 bytes every 30 ms."""
    clients = [connected(ports.tcp, 4096) for _ in range(connections)]
    for client in clients:
        client.setblocking(False)
    calls = records(FLOW_GET, ("f",), 50)
    while True:
        for client in clients:
            with contextlib.suppress(BlockingIOError):
                client.send(calls)
            with contextlib.suppress(BlockingIOError):
                if not client.recv(600):
                    raise ConnectionError("a slow reader was cut")
        begun.set()
        time.sleep(0.03)


def never_read(ports, begun, connections):
    clients = [connected(ports.tcp, 4096) for _ in range(connections)]
    for client in clients:
        client.setblocking(False)
    calls = records(FLOW_GET, ("f",), 300)
    while True:
        for client in clients:
            with contextlib.suppress(BlockingIOError, ConnectionError):
                client.send(calls)
        begun.set()
        time.sleep(0.1)


def open_and_close(ports, begun, kept):
    clients = []
    while True:
        clients.append(connected(ports.tcp))
        if len(clients) > kept:
            clients.pop(0).close()
            begun.set()


def hold_unfinished_records(ports, begun, connections):
    """Sends records of 1 MiB but for their last byte, and again whenever one is cut."""
    whole = struct.pack(">I", 0x80000000 | 1 << 20) + bytes((1 << 20) - 1)
    clients = {}
    while True:
        while len(clients) < connections:
            client = connected(ports.tcp)
            client.setblocking(False)
            clients[client] = 0
        for client, sent in list(clients.items()):
            try:
                clients[client] += client.send(whole[sent:sent + 65536]) if sent < len(whole) else 0
                if sent == len(whole) and client.recv(1) == b"":
                    raise ConnectionError
            except BlockingIOError:
                pass
            except ConnectionError:
                del clients[client]
        begun.set()


def send_malformed(ports, begun, count):
    chance = random.Random(3)
    whole = Rpc.message(1, FLOW_CREATE, ("x" * 100,))
    datagrams = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    for _ in range(count):
        message = bytearray(whole)
        for _ in range(chance.randrange(4)):
            message[chance.randrange(len(message))] = chance.randrange(256)
        message = message[:chance.randrange(len(message) + 1)]
        datagrams.sendto(bytes(message), ("127.0.0.1", ports.udp))
        with connected(ports.tcp) as client:
            length = chance.choice((len(message), 0, 0x7FFFFFFF, chance.randrange(1 << 32)))
            client.sendall(struct.pack(">I", 0x80000000 | length) + message)
        begun.set()


class Ports:
    def __init__(self, daemon):
        self.tcp, self.udp = daemon.tcp_port, daemon.udp_port


class Robustness(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        self.start()

    def start(self):
        self.daemon.start()
        self.ports = Ports(self.daemon)
        self.witness = self.daemon.rpc()  # a client that behaves
        self.addCleanup(self.witness.close)
        self.witness.do(FLOW_CREATE, "f")
        self.sockets = []
        self.addCleanup(lambda: [each.close() for each in self.sockets])
        self.ways = {"old connection": lambda: self.witness.call(0), "new connection": self.call_anew,
                     "datagram": self.call_by_datagram, "control channel": lambda: self.daemon.request("status")}
        self.worst = dict.fromkeys(self.ways, 0.0)
        self.addCleanup(self.report)

    def report(self):
        """The figures, for those who look (ctest -V)."""
        if self.daemon.process.poll() is None:
            worst = ", ".join(f"{way} {1000 * seconds:.0f} ms" for way, seconds in self.worst.items())
            print(f"{self._testMethodName}: {worst}; RssAnon {self.memory()} kB", flush=True)

    def connect(self, receive_buffer=0):
        self.sockets.append(connected(self.daemon.tcp_port, receive_buffer))
        return self.sockets[-1]

    @contextlib.contextmanager
    def attack(self, what, *arguments, processes=1):
        """The attack is under way within the block, and fails the test if it ended on its own."""
        begun = multiprocessing.Event()
        attackers = [multiprocessing.Process(target=what, args=(self.ports, begun, *arguments), daemon=True)
                     for _ in range(processes)]
        for attacker in attackers:
            attacker.start()
        try:
            self.assertTrue(begun.wait(harness.PATIENCE))
            yield
            for attacker in attackers:
                self.assertTrue(attacker.is_alive(), "the attack ended")
        finally:
            for attacker in attackers:
                attacker.kill()
                attacker.join()

    def expect_service(self, seconds=1.5):
        end = time.monotonic() + number_of("OLTMGRD_ATTACK_SECONDS", seconds)
        self.expect_answers()
        while time.monotonic() < end:
            self.expect_answers()
            time.sleep(0.002)

    def expect_answers(self):
        for way, call in self.ways.items():
            begin = time.monotonic()
            call()
            seconds = time.monotonic() - begin
            self.worst[way] = max(self.worst[way], seconds)
            if "OLTMGRD_TIMES" in os.environ:
                self.assertLess(seconds, LIMITS[way], way)

    def call_anew(self):
        client = self.daemon.rpc()
        client.call(0)
        client.close()

    def call_by_datagram(self):
        self.assertEqual(len(self.datagram(Rpc.message(1, 0, ()))), 24)

    def datagram(self, message):
        """The reply; a client sends again when its datagram may have been lost."""
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
            client.settimeout(1)
            for _ in range(harness.PATIENCE):
                client.sendto(message, ("127.0.0.1", self.daemon.udp_port))
                with contextlib.suppress(TimeoutError):
                    return client.recv(10_000)
        raise AssertionError("no reply")

    def expect_replies(self, client, procedure, size, count):
        """All replies, in order."""
        received = bytearray()
        while len(received) < size * count:
            data = client.recv(1 << 20)
            self.assertTrue(data, f"closed after {len(received) // size} replies")
            received += data
        for number in range(count):
            reply = struct.unpack_from(">4I", received, size * number)
            self.assertEqual(reply, (0x80000000 | size - 4, number, 1, 0), procedure)

    def expect_idle(self):
        """Nothing is to be done, so next to nothing is done: whoever spins takes the whole second."""
        before = self.cpu_seconds()
        time.sleep(1)  # the time over which it is measured
        self.assertLess(self.cpu_seconds() - before, 0.6)

    def cpu_seconds(self):
        with open(f"/proc/{self.daemon.process.pid}/stat", encoding="utf-8") as stat:
            fields = stat.read().rsplit(") ", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def memory(self):
        with open(f"/proc/{self.daemon.process.pid}/status", encoding="utf-8") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("RssAnon"))

    def is_instrumented(self):
        with open(self.program, "rb") as program:
            image = program.read()
        return b"__asan_init" in image or b"__tsan_init" in image  # those keep freed memory back

    def warm_up(self):
        """Each procedure and 100 connections; the memory after them."""
        for procedure in (*range(1, 13), *range(100, 119), 200, 201, 202):
            with contextlib.suppress(AssertionError):  # arguments that some do not take
                self.witness.call(procedure, "f", "f")
        for _ in range(100):
            self.call_anew()
        return self.memory()

    def expect_memory_of(self, before, kilobytes):
        if not self.is_instrumented():
            harness.await_true(lambda: self.memory() - before <= kilobytes, f"at most {kilobytes} kB more")

    def test_half_requests(self):
        calls = [Rpc.record(Rpc.message(number, FLOW_GET, ("f",))) for number in range(200)]
        for number, call in enumerate(calls):
            self.connect().sendall(call[:1 + number % (len(call) - 1)])
        self.expect_service()
        self.expect_idle()
        for number, call in enumerate(calls):
            self.sockets[number].sendall(call[1 + number % (len(call) - 1):])
        for number, client in enumerate(self.sockets):
            reply = client.recv(FLOW_REPLY, socket.MSG_WAITALL)
            self.assertEqual(struct.unpack_from(">4I", reply), (0x80000000 | FLOW_REPLY - 4, number, 1, 0))

    def test_clients_that_never_read(self):
        with self.attack(never_read, number_of("OLTMGRD_SILENT", 8)):
            self.expect_service()
            self.expect_idle()

    def test_slow_readers(self):
        with self.attack(drip, number_of("OLTMGRD_SLOW", 4)):
            self.expect_service()
            self.expect_idle()

    def test_late_readers(self):
        count = number_of("OLTMGRD_PIPELINED", 3000)
        for procedure, arguments, size in ((FLOW_GET, ("f",), FLOW_REPLY), (0, (), 28)):
            client = self.connect()
            client.sendall(records(procedure, arguments, count))
            self.expect_service(number_of("OLTMGRD_LATE", 1))
            self.expect_replies(client, procedure, size, count)

    def test_readers_that_stop(self):
        """Cut after half a minute, not before; who reads a byte now and then never is."""
        seconds = number_of("OLTMGRD_STALL_SECONDS", 0)
        if seconds == 0:
            self.skipTest("takes as many seconds as OLTMGRD_STALL_SECONDS says")
        calls = records(FLOW_GET, ("f",), 2000)
        stopped, slow = self.connect(), self.connect()
        for client in (stopped, slow):
            client.sendall(calls)
        stopped.setblocking(False)
        begin = time.monotonic()
        cut = None
        while time.monotonic() < begin + seconds:
            slow.recv(1)
            try:
                stopped.send(b"")
            except ConnectionError:
                cut = cut or time.monotonic() - begin
            self.expect_answers()
            time.sleep(1)
        print(f"cut after {cut} s", flush=True)
        self.assertTrue(cut is not None and 29 < cut < 35)
        slow.settimeout(harness.PATIENCE)
        rest = 2000 * FLOW_REPLY - seconds - 10
        while rest > 0:
            data = slow.recv(1 << 20)
            self.assertTrue(data)
            rest -= len(data)

    def test_any_fragmentation(self):
        chance = random.Random(number_of("OLTMGRD_SEED", 7))
        count = number_of("OLTMGRD_FRAGMENTED", 300)
        stream = b""
        for number in range(count):
            message = Rpc.message(number, FLOW_GET, ("f",))
            while message:
                size = chance.randrange(min(len(message), chance.choice((4, 40))) + 1)
                stream += struct.pack(">I", size | (0x80000000 if size == len(message) else 0)) + message[:size]
                message = message[size:]
        client = self.connect()
        reader = threading.Thread(target=self.expect_replies, args=(client, FLOW_GET, FLOW_REPLY, count))
        reader.start()
        while stream:
            size = chance.randrange(1, chance.choice((8, 2000)))
            client.send(stream[:size])
            stream = stream[size:]
        reader.join()

    def test_idle_connections(self):
        before = self.warm_up()
        quiet = self.daemon.rpc()
        quiet.call(0)
        for _ in range(1100):
            self.connect()
        self.expect_service()
        self.expect_idle()
        quiet.call(0)  # was not evicted
        quiet.close()
        clients = [self.daemon.rpc() for _ in range(1000)]
        for client in clients:
            client.call(0)
        self.expect_memory_of(before, 2100 * 8)
        for client in (*clients, *self.sockets):
            client.close()
        self.expect_memory_of(before, 2048)

    def test_crowds(self):
        self.expect_answers()
        with self.attack(open_and_close, number_of("OLTMGRD_CROWD", 500), processes=4):
            self.expect_service()

    def test_more_connections_than_descriptors(self):
        self.daemon.stop()
        hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
        self.daemon.prepare = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (200, 300))
        self.start()
        resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, 2000), hard))
        for _ in range(600):
            self.connect()
        self.expect_service()
        self.expect_idle()
        self.daemon.request("message", name="onuQosDump")

    def test_unfinished_records(self):
        before = self.warm_up()
        with self.attack(hold_unfinished_records, number_of("OLTMGRD_UNFINISHED", 100)):
            self.expect_service()
            self.expect_memory_of(before, 66 << 10)
            client = self.connect()
            client.sendall(records(FLOW_GET, ("f",), 1000))
            self.expect_replies(client, FLOW_GET, FLOW_REPLY, 1000)
        self.expect_memory_of(before, 2048)
        self.expect_idle()

    def test_floods_of_malformed_calls(self):
        count = number_of("OLTMGRD_MALFORMED", 4000)
        before = self.warm_up()
        with self.attack(send_malformed, 1 << 30):
            self.expect_service()
        send_malformed(self.ports, threading.Event(), count)
        self.expect_memory_of(before, 2048)
        self.expect_idle()

    def test_credentials(self):
        """Contexts that are begun are denied, and keep nothing; of broken credentials nothing is written to standard
        output, which is a pipe here that nobody reads."""
        context = struct.pack(">5I", 1, 1, 0, 1, 0)  # version, initiation, sequence, service, no handle
        before = self.warm_up()
        for flavour, body, why in ((6, context, 2), (3, context, 2), (1, b"\0" * 16, 1)):
            call = struct.pack(">8I", 0, 0, 2, harness.PROGRAM, 1, 0, flavour, len(body)) + body + bytes(8)
            client = self.connect()
            for number in range(number_of("OLTMGRD_CREDENTIALS", 2000)):
                message = struct.pack(">I", number) + call[4:]
                denied = struct.pack(">5I", number, 1, 1, 1, why)
                self.assertEqual(self.datagram(message), denied)
                client.sendall(Rpc.record(message))
                self.assertEqual(client.recv(24, socket.MSG_WAITALL), Rpc.record(denied))
        self.expect_memory_of(before, 512)
        self.expect_service(0)

    def test_names_of_any_length(self):
        for size in (65_537, MILLION):
            name = "x" * size
            for procedure, names, result in ((FLOW_CREATE, (name,), BAD_NAME),
                                             (harness.FLOW_RENAME, (name, "g"), NOT_FOUND)):
                self.assertEqual(struct.unpack(">i", self.witness.call(procedure, *names)), (result,))
        reply = self.datagram(Rpc.message(9, FLOW_CREATE, ("x" * 60_000,)))
        self.assertEqual(struct.unpack(">7I", reply), (9, 1, 0, 0, 0, 0, BAD_NAME))
        beyond = Rpc.message(9, FLOW_CREATE, (5, 0))
        self.assertEqual(struct.unpack(">6I", self.datagram(beyond)), (9, 1, 0, 0, 0, 4))

    def test_everything_hostile_at_once(self):
        """For OLTMGRD_ATTACK_SECONDS seconds."""
        before = self.warm_up()
        with self.attack(drip, 20), self.attack(never_read, 20), self.attack(open_and_close, 200), \
                self.attack(hold_unfinished_records, 80), self.attack(send_malformed, 1 << 30):
            self.expect_service(3)
        self.expect_memory_of(before, 2048)
        self.expect_idle()

    def test_hostile_control_connections(self):
        nested = b'{"command": "status", "arguments": ' + b"[" * 100_000 + b"]" * 100_000 + b"}\n"
        full = b'{"command": "message", "arguments": {"name": "' + b"x" * ((1 << 20) - 60) + b'"}}\n'

        def flood(count):
            for number in range(count):
                with contextlib.closing(harness.Control(self.daemon.control_path)) as control:
                    control.send((b'{"command": "sta', nested, full, b"x" * (1 << 20) + b"x\n")[number % 4])
                    if number % 4 == 3:
                        control.line()
                    elif number % 4 != 0:
                        self.assertEqual(control.answer()["result"], number % 4 % 2)
            self.expect_service(0)
        for _ in range(50):
            half = harness.Control(self.daemon.control_path)
            half.send(full[:500_000])
            self.sockets.append(half)
        self.expect_service(0)
        for each in self.sockets:
            each.close()
        flood(40)
        before = self.memory()
        flood(200)
        self.expect_memory_of(before, 4096)
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
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], warnings="ignore")
