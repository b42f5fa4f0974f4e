#!/usr/bin/env python3
"""What an oltmgrd shares with others: files, the control path, the portmapper, its own start and stop.

usage: instances.py OLTMGRD MODULE PRELOAD-LIBRARY [unittest arguments]
"""

import contextlib
import fcntl
import os
import re
import signal
import stat
import subprocess
import sys
import time
import unittest

import harness
from harness import PATIENCE, TCONT_CREATE

PRELOAD = None
NOBODY = 65534


class InstanceTest(harness.DaemonTest):
    def other(self):
        """Another oltmgrd in the same folder, with a control path of its own."""
        other = harness.Daemon(self.program, self.module, self.directory)
        other.control_path = self.path("control.other")
        other.error_path = self.path("stderr.other")
        self.addCleanup(other.kill)
        return other

    def refusal(self, daemon, *more):
        """Status and one line of an oltmgrd that does not start."""
        done = subprocess.run(daemon.arguments(*more), capture_output=True, timeout=PATIENCE, check=False)
        lines = done.stderr.decode().splitlines()
        self.assertEqual((len(lines), done.stdout), (1, b""), done.stderr)
        return done.returncode, lines[0]

    @contextlib.contextmanager
    def preloaded(self, **environment):
        """What is started meanwhile has the library for tests in front."""
        before = dict(os.environ)
        # The address sanitizer wants to come first; what the library replaces it leaves alone.
        options = os.environ.get("ASAN_OPTIONS", "")
        os.environ.update(LD_PRELOAD=PRELOAD, ASAN_OPTIONS=options + ":verify_asan_link_order=0", **environment)
        try:
            yield
        finally:
            os.environ.clear()
            os.environ.update(before)


class Files(InstanceTest):
    def test_one_configuration_belongs_to_one_process(self):
        config = self.daemon.config_path
        self.daemon.start_with_config()
        self.daemon.request("config-save")
        holder = f"{config}: process {self.daemon.process.pid} uses it"
        refused = (2, f"oltmgrd: configuration {holder}; stop that one or give another file with --config")
        os.symlink("config.json", self.path("link"))
        for file in (config, self.path("link")):
            self.assertEqual(self.refusal(self.other(), "--config", file), refused)
        other = self.other().start("--take-over")
        self.assertEqual(other.refused("config-save", file=config), f"config-save: nothing is saved: {holder}")
        other.stop()
        self.daemon.request("config-save")
        self.daemon.kill()
        # The lock ends with its holder, its file does not.
        self.assertEqual(self.read("config.json.lock"), f"{self.daemon.process.pid}\n".encode())
        self.daemon.start_with_config()
        self.daemon.stop()
        self.assertTrue(os.path.exists(config + ".lock"))

    def test_a_configuration_has_one_name_before_and_after_it_is_made(self):
        os.mkdir(self.path("folder"))
        os.symlink("folder", self.path("link"))
        self.daemon.prepare = lambda: os.chdir(self.directory)
        for config in ("config.json", "./folder/../config.other", "link/config", self.path("link/config.absolute")):
            self.daemon.start("--config", config)
            for _ in range(2):
                self.daemon.request("config-save")
            self.daemon.request("config-save", file=os.path.realpath(os.path.join(self.directory, config)))
            self.daemon.stop()
        # Nor does a link become the file that it names.
        self.daemon.start()
        os.symlink("later", self.path("early"))
        for _ in range(2):
            self.daemon.request("config-save", file=self.path("early"))
        self.assertEqual(os.readlink(self.path("early")), "later")
        self.assertTrue(self.read("later"))

    def test_a_save_to_another_path_takes_its_lock(self):
        self.daemon.start()
        path = self.path("saved")
        with open(path + ".lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertEqual(self.daemon.refused("config-save", file=path),
                             f"config-save: nothing is saved: {path}: another process uses it")
            self.assertFalse(os.path.exists(path))
        self.daemon.request("config-save", file=path)
        with open(path + ".lock", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)  # free again
        self.write("kept.lock", "somebody's work\n")
        self.assertIn("is no lock of oltmgrd", self.daemon.refused("config-save", file=self.path("kept")))
        self.assertEqual(self.read("kept.lock"), b"somebody's work\n")
        for lock in (path + ".lock", self.daemon.control_path + ".lock"):
            held = os.stat(lock).st_ino
            self.assertIn("is the name of a lock", self.daemon.refused("config-save", file=lock))
            self.assertEqual(os.stat(lock).st_ino, held)

    @unittest.skipUnless(os.geteuid() == 0, "needs another user")
    def test_in_a_folder_that_cannot_be_written_the_restore_works_and_saving_is_refused(self):
        self.daemon.start_with_config()
        rpc = self.daemon.rpc()
        rpc.do(TCONT_CREATE, "kept")
        rpc.close()
        self.daemon.request("config-save")
        self.daemon.stop()
        os.remove(self.daemon.config_path + ".lock")
        os.chmod(self.directory, 0o755)
        os.chmod(self.daemon.config_path, 0o644)
        os.mkdir(self.path("writable"))
        os.chown(self.path("writable"), NOBODY, NOBODY)
        self.daemon.control_path = self.path("writable/control")
        self.daemon.start_as = NOBODY
        self.daemon.start_with_config()
        lock = f"{self.daemon.config_path}.lock: Permission denied"
        self.assertIn(f"oltmgrd: warning: configuration is restored but cannot be saved: {lock}\n", self.daemon.errors())
        self.assertIn("kept", self.daemon.dump())
        self.assertEqual(self.daemon.refused("config-save"), f"config-save: nothing is saved: {lock}")
        self.daemon.stop()

    def test_a_device_is_not_replaced(self):
        self.daemon.start()
        device = self.path("device")
        try:
            os.mknod(device, stat.S_IFCHR | 0o666, os.makedev(1, 3))
        except PermissionError:
            os.mkfifo(device)
        before = os.stat(device)
        self.assertIn("is no regular file", self.daemon.refused("config-save", file=device))
        self.assertEqual(os.stat(device).st_ino, before.st_ino)
        self.assertFalse(os.path.exists(device + ".lock"))

    def test_files_above_16_mib_are_not_read(self):
        for file, text in (("config.json", "configuration"), ("inventory.json", "inventory")):
            with open(self.path(file), "wb") as large:
                large.truncate(3 << 30)
            status, line = self.refusal(self.daemon, "--config", self.daemon.config_path)
            self.assertEqual((status, line), (2, f"oltmgrd: {text} {self.path(file)}: has more than 16 MiB"))
            os.remove(self.path(file))
        # Just as many are read: all of them blanks, but for an empty document.
        self.write("inventory.json", "{}" + " " * ((16 << 20) - 2))
        self.daemon.start()
        self.daemon.stop()

    def test_the_order_in_which_a_save_reaches_the_disk(self):
        trace, config = self.path("trace"), self.daemon.config_path
        with self.preloaded(ONUQOS_TRACE=trace):
            self.daemon.start_with_config()
        self.write("config.json.new-a1B2c3", "what a kill left behind")
        self.daemon.request("config-save")
        self.daemon.request("config-save")
        self.daemon.kill()
        lines = self.read("trace").decode().splitlines()
        # What is written has a name only once it is on the disk, where the file system can do that.
        order = [re.sub(rf"{config}\.new-\w{{6}}|{self.directory}/#\d+ \(deleted\)", "NEW", line) for line in lines]
        self.assertEqual(order, 2 * ["fsync NEW", f"rename NEW {config}", f"fsync {self.directory}"])
        self.assertNotEqual(lines[1], lines[4])
        self.assertTrue(os.path.exists(config + ".new-a1B2c3"))
        self.daemon.start_with_config()
        self.assertFalse(os.path.exists(config + ".new-a1B2c3"))
        self.daemon.stop()

    def test_what_others_put_in_place_of_the_socket_and_its_lock_stays(self):
        self.daemon.start()
        control = self.daemon.control_path
        for path in (control, control + ".lock"):
            os.remove(path)
            with open(path, "w", encoding="utf-8") as file:
                file.write("a stranger's")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        self.assertEqual((self.read("control.sock"), self.read("control.sock.lock")), (b"a stranger's",) * 2)


class StartAndStop(InstanceTest):
    def test_descriptors_that_were_closed_are_not_taken(self):
        def close_all():
            for descriptor in range(3):
                os.close(descriptor)
        self.daemon.process = subprocess.Popen(self.daemon.arguments("--log-file", self.daemon.log_path),
                                               preexec_fn=close_all)  # pylint: disable=subprocess-popen-preexec-fn
        self.daemon.process.stdout = open(os.devnull, "rb")  # pylint: disable=consider-using-with
        harness.await_true(lambda: os.path.exists(self.daemon.log_path) and b" ready " in self.read("log"), "the start")
        self.assertEqual([os.readlink(f"/proc/{self.daemon.process.pid}/fd/{descriptor}") for descriptor in range(3)],
                         ["/dev/null"] * 3)
        self.daemon.control = harness.Control(self.daemon.control_path)
        self.daemon.stop()

    def test_signals_are_heard_while_it_starts(self):
        self.daemon.start_with_config()
        self.daemon.request("config-save")
        self.daemon.stop()
        held = self.path("held")
        with self.preloaded(ONUQOS_HOLD=f"open config.json {held}"):
            self.daemon.begin("--config", self.daemon.config_path, "--log-file", self.daemon.log_path)
        # First the lock, then the file itself: both are before the control path is taken.
        harness.await_true(lambda: os.path.exists(held), "the reading")
        self.daemon.process.send_signal(signal.SIGHUP)
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        self.assertFalse(os.path.exists(self.daemon.control_path))
        self.assertIn(b"stopped with work under way", self.read("log"))

    def test_a_stop_with_a_request_under_way(self):
        held = self.path("held")
        with self.preloaded(ONUQOS_HOLD=f"fsync {self.directory} {held}"):
            self.daemon.start_with_config()
        idle = harness.Control(self.daemon.control_path)
        self.addCleanup(idle.close)
        self.daemon.control.send(b'{"command": "config-save"}\n')
        harness.await_true(lambda: os.path.exists(held), "the save")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        self.assertIsNone(idle.line())
        self.assertIsNone(self.daemon.control.line())
        self.assertIn("stopped with work under way", self.daemon.errors())
        self.assertFalse(os.path.exists(self.daemon.control_path))
        self.assertFalse(os.path.exists(self.daemon.config_path))


@unittest.skipUnless(os.geteuid() == 0, "needs a network of its own")
class Registration(InstanceTest):
    def setUp(self):
        super().setUp()
        self.portmapper = contextlib.ExitStack()
        self.addCleanup(self.portmapper.close)
        self.portmapper.enter_context(harness.portmapper())

    def registered(self):
        listing = subprocess.run(["rpcinfo", "-p", "127.0.0.1"], capture_output=True, timeout=PATIENCE, check=False)
        rows = [line.split() for line in listing.stdout.decode().splitlines()]
        return {row[2]: int(row[3]) for row in rows if row[:2] == [str(harness.PROGRAM), "1"]}

    @staticmethod
    def ports(daemon):
        return {"udp": daemon.udp_port, "tcp": daemon.tcp_port}

    @staticmethod
    def is_published(daemon):
        return daemon.request("status")["portmapper"]

    def test_a_second_process_starts_only_when_told_to_take_over(self):
        first = self.daemon.start()
        self.assertIs(self.is_published(first), True)
        self.assertEqual(self.refusal(self.other()), (
            1, f"oltmgrd: another process serves the RPC program, rpc-udp={first.udp_port} rpc-tcp={first.tcp_port}; "
               "stop that one, or have the portmapper lead clients here with --take-over"))
        self.assertEqual(self.registered(), self.ports(first))

        second = self.other().start("--take-over")
        self.assertEqual((self.is_published(first), self.is_published(second)), (False, True))
        self.assertEqual(self.registered(), self.ports(second))
        told = f"another process has registered the RPC program, rpc-udp={second.udp_port}"
        harness.await_true(lambda: told in first.errors(), "word of it")
        first.stop()
        self.assertEqual(self.registered(), self.ports(second))
        self.assertEqual(first.errors().count(told), 1)
        second.stop()
        self.assertEqual(self.registered(), {})

    def test_of_two_that_start_at_once_one_serves(self):
        for _ in range(4):
            both = [subprocess.Popen(daemon.arguments(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                    for daemon in (self.daemon, self.other())]
            harness.await_true(lambda: any(process.poll() is not None for process in both), "one that does not start")
            refused, served = sorted(both, key=lambda process: process.poll() is None)
            self.assertEqual(refused.returncode, 1)
            self.assertIn("another process serves the RPC program", refused.communicate()[1])
            ready = next(line for line in served.stdout if line.startswith("oltmgrd ready"))
            self.assertEqual(self.registered(), {word[4:7]: int(word[8:]) for word in ready.split()[3:]})
            served.terminate()
            served.communicate(timeout=PATIENCE)
            self.assertEqual(served.returncode, 0)

    def test_who_was_taken_over_leaves_the_portmapper_alone(self):
        first = self.daemon.start()
        second = self.other().start("--take-over")
        harness.await_true(lambda: "another process has registered" in first.errors(), "word of it")
        second.stop()
        # A third one finds nothing, and is not disturbed; the time is that of two looks at the portmapper.
        time.sleep(4)
        self.assertEqual(self.registered(), {})
        first.stop()

    def test_the_portmapper_of_another_network_is_left_alone(self):
        self.daemon.start()
        done = subprocess.run(["unshare", "-n", "sh", "-c", 'ip link set lo up && exec "$@"', "sh",
                               *self.other().arguments()], capture_output=True, timeout=PATIENCE, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"oltmgrd: the portmapper is that of another network, and has the RPC program ", done.stderr)
        self.assertEqual(self.registered(), self.ports(self.daemon))

    def test_a_stale_registration_does_not_keep_a_new_process_out(self):
        self.daemon.start()
        self.daemon.kill()
        self.assertNotEqual(self.registered(), {})
        self.daemon.start()
        self.assertEqual(self.registered(), self.ports(self.daemon))
        self.daemon.stop()

    def test_ports_are_published_again_after_a_restart_of_the_portmapper(self):
        self.daemon.start()
        self.portmapper.close()
        self.assertIs(self.is_published(self.daemon), False)
        self.portmapper.enter_context(harness.portmapper())
        self.assertEqual(self.registered(), {})
        harness.await_true(lambda: self.registered() == self.ports(self.daemon), "the ports")
        self.assertIs(self.is_published(self.daemon), True)
        self.daemon.stop()
        self.assertEqual(self.registered(), {})

    def test_a_stop_with_a_request_under_way_leaves_another_registration_alone(self):
        held = self.path("held")
        with self.preloaded(ONUQOS_HOLD=f"fsync {self.directory} {held}"):
            self.daemon.start_with_config()
        second = self.other().start("--take-over")
        self.daemon.control.send(b'{"command": "config-save"}\n')
        harness.await_true(lambda: os.path.exists(held), "the save")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        self.assertEqual(self.registered(), self.ports(second))
        second.stop()

    def test_a_process_that_is_stopped_while_it_starts_takes_its_registration_along(self):
        self.daemon.begin()
        harness.await_true(self.registered, "the registration")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.daemon.process.wait(PATIENCE), 0)
        self.assertEqual(self.registered(), {})
        self.assertFalse(os.path.exists(self.daemon.control_path))


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module, PRELOAD = sys.argv[1:4]
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
