#!/usr/bin/env python3
"""The log of a live oltmgrd: what is in it, its limits, and destinations that take nothing.

usage: operatorLog.py OLTMGRD MODULE [unittest arguments]
"""

import fcntl
import os
import re
import signal
import subprocess
import sys
import unittest

import harness
from harness import PATIENCE, TCONT_CREATE

FLOW_ACTION_SET = 7
REFUSED = b" failed for profile: "

SUPPRESSED = re.compile(rb" 1 oltmgrd: (\d+) lines suppressed\n")
LOST = re.compile(rb" 1 oltmgrd: (\d+) lines lost: ")


class OperatorLog(harness.DaemonTest):
    def setUp(self):
        super().setUp()
        self.log = self.daemon.log_path

    def begin_with(self, *more, errors):
        """Starts it with that standard error, and waits until it is ready."""
        self.daemon.process = subprocess.Popen(self.daemon.arguments(*more), stdout=subprocess.PIPE, stderr=errors)
        self.assertTrue(self.daemon.process.stdout.readline().startswith(b"oltmgrd ready "))
        self.daemon.control = harness.Control(self.daemon.control_path)
        self.daemon.tcp_port = self.daemon.request("status")["rpcTcpPort"]

    def await_logged(self, text, name="log"):
        harness.await_true(lambda: text in self.read(name), f"{text} in the log")

    def refused_changes(self, count, name="nobody"):
        """Each of them logs an error."""
        rpc = self.daemon.rpc()
        for _ in range(count):
            self.assertNotEqual(rpc.call(FLOW_ACTION_SET, name, 0, 0, 0, 0, 0, 1), bytes(4))
        rpc.close()

    def test_what_happens_is_told_on_level_2(self):
        self.daemon.start("--log-file", self.log, "--config", self.daemon.config_path)
        rpc = self.daemon.rpc()
        rpc.do(TCONT_CREATE, "t")
        rpc.do(harness.FLOW_CREATE, "f")
        rpc.do(harness.TCONT_MAXIMUM_SET, "t", 4096)
        rpc.do(harness.TCONT_FIXED_SET, "t", 1024)
        self.daemon.bind(101, "s", "f", "t")
        self.daemon.request("port-distance-set", interface=1, min=0, max=60)
        self.daemon.request("port-distance-set", interface=1, min=0, max=20)
        self.daemon.request("config-save")
        rpc.close()
        self.daemon.stop()
        self.daemon.start("--log-file", self.log, "--config", self.daemon.config_path)
        self.daemon.request("log-level", level=1)
        self.daemon.request("config-save")
        self.daemon.stop()
        ready = f"ready control={self.daemon.control_path} rpc-udp=N rpc-tcp=N"
        started = [f"starting, inventory {self.daemon.inventory_path}, configuration {self.daemon.config_path}"]
        expected = [*started, ready, "alarm raised: code 1600570, interface 1, numbers 1 3 11",
                    "alarm cleared: code 1600570, interface 1, numbers 1 3 11",
                    f"configuration saved to {self.daemon.config_path}: 2 profiles, 1 bindings", "stopping", "stopped",
                    *started, f"configuration {self.daemon.config_path}: restored 2 profiles, 1 bindings in N ms", ready]
        lines = re.sub(r"(rpc-...=|in )\d+", r"\1N", self.read("log").decode()).splitlines()
        stamp = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z 2 oltmgrd: ")
        self.assertEqual([stamp.sub("", line, 1) for line in lines if stamp.match(line)], expected)

    def test_a_name_is_cut_marked_and_measured(self):
        self.daemon.start("--log-file", self.log)
        rows = ((b"x" * 8000, b"x" * 256), (b"\x1b" * 8000, b"\\x1B" * 64), (b"\xff" * 8000, b"\\xff" * 64))
        for name, shown in rows:
            self.refused_changes(1, name)
            self.await_logged(REFUSED + shown + b"...[8000 bytes]")
        # What a terminal would obey, in UTF-8: a control character of eight bits, a change of direction.
        self.refused_changes(1, "a\u009b\u202eb\u00e9")
        self.await_logged("a\\xc2\\x9b\\xe2\\x80\\xaeb\u00e9".encode())
        self.assertLessEqual(max(len(line) for line in self.read("log").splitlines(True)), 1024)

    def test_each_level_has_a_rate_of_its_own_and_what_is_suppressed_is_counted(self):
        self.daemon.start("--log-file", self.log, "--log-rate", "1", "--config", self.daemon.config_path)
        self.refused_changes(3000)
        self.daemon.request("config-save")
        self.await_logged(b" 2 oltmgrd: configuration saved to ")
        self.await_logged(b" lines suppressed\n")
        told = len(SUPPRESSED.findall(self.read("log")))
        self.refused_changes(3000)
        harness.await_true(lambda: len(SUPPRESSED.findall(self.read("log"))) > told, "word of it again")
        self.daemon.stop()
        log = self.read("log")
        written = log.count(REFUSED)
        self.assertLess(written, 2500)
        self.assertEqual(written + sum(int(count) for count in SUPPRESSED.findall(log)), 6000)

    def test_without_a_rate_every_line_is_written(self):
        self.daemon.start("--log-file", self.log, "--log-rate", "0")
        self.refused_changes(3000)
        harness.await_true(lambda: self.read("log").count(REFUSED) == 3000, "the lines")

    def test_a_standard_error_that_nobody_reads_holds_up_nothing(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        flags = fcntl.fcntl(writing, fcntl.F_GETFL)
        self.begin_with("--log-rate", "0", errors=writing)
        lines = 9000
        self.refused_changes(lines)
        self.daemon.request("status")
        self.assertEqual(fcntl.fcntl(writing, fcntl.F_GETFL), flags)
        # Once it is read, what waited comes, and then how much was lost.
        os.set_blocking(reading, False)
        read = b""

        def drain(wanted):
            nonlocal read
            try:
                read += os.read(reading, 1 << 16)
            except BlockingIOError:
                pass
            return wanted.search(read)
        harness.await_true(lambda: drain(LOST), "word of the lines lost, after those that waited")
        written, lost = read.count(REFUSED), int(LOST.search(read).group(1))
        self.assertEqual(written + lost, lines)
        self.assertLess(8000, written)
        # The lines of the RPC thread stay what they are.
        pid = self.daemon.process.pid
        self.assertIn(f"\n[{pid}] BLLManager_mng: Starting main RPC loop - custom made.\n".encode(), b"\n" + read)
        os.set_blocking(writing, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(writing, b"x" * 4096)
        os.close(writing)
        self.refused_changes(100)
        self.daemon.stop()

    def test_a_fifo_holds_up_nothing(self):
        os.mkfifo(self.log)
        done = subprocess.run(self.daemon.arguments("--log-file", self.log), capture_output=True, timeout=PATIENCE,
                              check=False)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (1, f"oltmgrd: log file {self.log} cannot be opened: nobody reads from it\n"))
        os.remove(self.log)

        # Put in place before SIGHUP: without a reader the old file stays in use, and says so.
        self.daemon.start("--log-file", self.log, "--log-rate", "0")
        os.rename(self.log, self.path("old"))
        os.mkfifo(self.log)
        self.daemon.process.send_signal(signal.SIGHUP)
        self.await_logged(f"1 oltmgrd: the log goes on where it was: log file {self.log} cannot be opened: nobody reads "
                          "from it\n".encode(), "old")
        self.refused_changes(1, "kept")
        self.await_logged(b"kept\n", "old")

        # With a reader that takes nothing, lines wait.
        reader = os.open(self.log, os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, reader)
        fcntl.fcntl(reader, fcntl.F_SETPIPE_SZ, 4096)
        self.daemon.process.send_signal(signal.SIGHUP)
        self.refused_changes(1000)
        harness.await_true(lambda: len(os.read(reader, 1)) == 1, "a line in the FIFO")
        self.daemon.request("status")

        # Another SIGHUP leads away from it, with what waits.
        os.remove(self.log)
        self.daemon.process.send_signal(signal.SIGHUP)
        harness.await_true(lambda: os.path.exists(self.log), "the new log")
        self.await_logged(REFUSED)
        os.remove(self.log)
        os.mkfifo(self.log)
        other = os.open(self.log, os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, other)
        self.daemon.process.send_signal(signal.SIGHUP)
        self.refused_changes(1000)
        self.daemon.stop()

    def test_a_log_that_cannot_be_opened_anew_leaves_the_old_one(self):
        self.daemon.start("--log-file", self.log)
        os.rename(self.log, self.path("old"))
        os.mkdir(self.log)
        self.daemon.process.send_signal(signal.SIGHUP)
        self.await_logged(b"the log goes on where it was: ", "old")
        self.assertIn("the log goes on where it was: ", self.daemon.errors())
        self.daemon.stop()

    def test_lines_that_cannot_be_written_are_counted(self):
        os.symlink("/dev/full", self.log)
        self.daemon.start("--log-file", self.log)
        self.refused_changes(10)
        self.daemon.request("log-level", level=0)
        os.remove(self.log)
        self.daemon.process.send_signal(signal.SIGHUP)
        harness.await_true(lambda: os.path.exists(self.log), "the new log")
        self.await_logged(b" lines lost: ")
        self.daemon.stop()
        # With "starting" and "ready", and word of a portmapper that is missing. What was not tried before the
        # log was opened again is in it.
        log = self.read("log")
        lost = [int(count) for count in LOST.findall(log)]
        self.assertIn(sum(lost) + log.count(b"\n") - len(lost), (12, 13))

    def test_many_reopenings_leave_no_descriptor_behind(self):
        self.daemon.start("--log-file", self.log)
        self.daemon.request("status")

        def descriptors():
            return len(os.listdir(f"/proc/{self.daemon.process.pid}/fd"))
        before = descriptors()
        for _ in range(30):
            os.remove(self.log)
            self.daemon.process.send_signal(signal.SIGHUP)
            harness.await_true(lambda: os.path.exists(self.log), "the new log")
        harness.await_true(lambda: descriptors() == before, "as many descriptors as before")


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module = sys.argv[1], sys.argv[2]
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
