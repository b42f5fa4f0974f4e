"""What the system tests share: an oltmgrd of their own, its control channel, and a small ONC RPC client."""

import contextlib
import ctypes
import fcntl
import json
import os
import select
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time
import unittest

PATIENCE = 60  # seconds until something that must happen counts as lost
PROGRAM = 0x20000026
has_own_network = False  # after enter_own_network

INVENTORY = {
    "features": {"5": True},
    "ports": [{"interface": 1, "technology": "gpon"}, {"interface": 2, "technology": "gpon"}],
    "onus": [{"interface": 101, "parent": 1, "port": 1}, {"interface": 102, "parent": 1, "port": 2},
             {"interface": 201, "parent": 2, "port": 1}],
}


def enter_own_network():
    """Gives this process and its children a network and a /run of their own, so that a portmapper can be had and
    every port is free. False without the rights for it."""
    global has_own_network  # pylint: disable=global-statement
    clone_newns, clone_newnet, ms_rec, ms_private = 0x20000, 0x40000000, 0x4000, 1 << 18
    libc = ctypes.CDLL(None, use_errno=True)
    if os.geteuid() != 0 or libc.unshare(clone_newns | clone_newnet) != 0:
        return False
    if libc.mount(b"none", b"/", None, ms_rec | ms_private, None) != 0:
        return False
    if libc.mount(b"tmpfs", b"/run", b"tmpfs", 0, None) != 0:
        return False
    siocsifflags, iff_up = 0x8914, 1
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        fcntl.ioctl(control, siocsifflags, struct.pack("16sH14x", b"lo", iff_up))
    has_own_network = True
    return True


def await_true(condition, what):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} did not come about")
        time.sleep(0.01)


@contextlib.contextmanager
def portmapper():
    """A running rpcbind; its process."""
    process = subprocess.Popen(["rpcbind", "-w", "-f"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        def answers():
            with socket.socket() as probe:
                return probe.connect_ex(("127.0.0.1", 111)) == 0
        await_true(answers, "the portmapper")
        yield process
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.kill(process.pid, signal.SIGCONT)
        process.kill()
        process.wait()


class Control:
    """A connection of the control channel."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE)
        try:
            self.socket.connect(path)
        except OSError:
            self.socket.close()
            raise
        self.received = b""

    def close(self):
        self.socket.close()

    def send(self, data):
        self.socket.sendall(data)

    def line(self):
        """The next line, without its end; nothing at the end of the connection."""
        while b"\n" not in self.received:
            data = self.socket.recv(1 << 16)
            if not data:
                return None
            self.received += data
        line, self.received = self.received.split(b"\n", 1)
        return line

    def answer(self):
        return json.loads(self.line())

    def request(self, command, **arguments):
        self.send(json.dumps({"command": command, "arguments": arguments}).encode() + b"\n")
        return self.answer()


class Rpc:
    """Calls procedures of the module over TCP."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), PATIENCE)
        self.last = 0

    def close(self):
        self.socket.close()

    @staticmethod
    def message(transaction, procedure, arguments):
        """A call message; names are bytes or strings, numbers ints."""
        body = struct.pack(">10I", transaction, 0, 2, PROGRAM, 1, procedure, 0, 0, 0, 0)
        for argument in arguments:
            if isinstance(argument, int):
                body += struct.pack(">I", argument & 0xFFFFFFFF)
                continue
            data = argument.encode() if isinstance(argument, str) else argument
            body += struct.pack(">I", len(data)) + data + bytes(-len(data) % 4)
        return body

    @staticmethod
    def record(message):
        return struct.pack(">I", 0x80000000 | len(message)) + message

    def read(self, count):
        data = b""
        while len(data) < count:
            more = self.socket.recv(count - len(data))
            if not more:
                raise ConnectionError("the server closed the connection")
            data += more
        return data

    def call(self, procedure, *arguments):
        """The result's bytes."""
        self.last += 1
        self.socket.sendall(self.record(self.message(self.last, procedure, arguments)))
        reply = self.read(struct.unpack(">I", self.read(4))[0] & 0x7FFFFFFF)
        transaction, kind, accepted, _, _, status = struct.unpack(">6I", reply[:24])
        if (transaction, kind, accepted, status) != (self.last, 1, 0, 0):
            raise AssertionError(f"procedure {procedure}: RPC status {status}")
        return reply[24:]

    def do(self, procedure, *arguments):
        """Calls a procedure that answers a result only, which must be 0."""
        result = struct.unpack(">i", self.call(procedure, *arguments))[0]
        if result != 0:
            raise AssertionError(f"procedure {procedure}{arguments}: result {result}")


# Procedures of the program.
(FLOW_CREATE, FLOW_DELETE, FLOW_RENAME) = (1, 2, 3)
(TCONT_CREATE, TCONT_DELETE, TCONT_RENAME) = (100, 101, 102)
(TCONT_ID_SET, TCONT_FIXED_SET, TCONT_MAXIMUM_SET) = (109, 111, 113)


class Daemon:
    """A running oltmgrd and its directory's files."""

    def __init__(self, program, module, directory):
        self.program, self.module, self.directory = program, module, directory
        self.control_path = os.path.join(directory, "control.sock")
        self.log_path = os.path.join(directory, "log")
        self.error_path = os.path.join(directory, "stderr")
        self.config_path = os.path.join(directory, "config.json")
        self.inventory_path = os.path.join(directory, "inventory.json")
        self.write_inventory(INVENTORY)
        self.process = self.control = None
        self.start_as = None  # a user's number
        self.prepare = None  # what the process does before it becomes oltmgrd
        self.udp_port = self.tcp_port = 0

    def write_inventory(self, inventory):
        with open(self.inventory_path, "w", encoding="utf-8") as out:
            json.dump(inventory, out)

    def arguments(self, *more):
        return [self.program, "--inventory", self.inventory_path, "--module", self.module,
                "--control", self.control_path, *(() if has_own_network else ("--take-over",)), *more]

    def begin(self, *more):
        """Starts it without waiting until it is ready."""
        self.control = None
        with open(self.error_path, "w", encoding="utf-8") as errors:
            self.process = subprocess.Popen(self.arguments(*more), stdout=subprocess.PIPE, stderr=errors,
                                            user=self.start_as, preexec_fn=self.prepare)
        return self

    def start(self, *more):
        self.begin(*more)
        ready = select.select([self.process.stdout], [], [], PATIENCE)[0]
        line = self.process.stdout.readline().decode() if ready else ""
        prefix = f"oltmgrd ready control={self.control_path} rpc-udp="
        if not line.startswith(prefix):
            self.kill()
            raise AssertionError(f"not ready: {line!r}, {self.errors()}")
        self.udp_port, self.tcp_port = (int(part.split("=")[1]) for part in line.split()[-2:])
        self.control = Control(self.control_path)
        return self

    def start_with_config(self):
        return self.start("--config", self.config_path)

    def errors(self):
        with open(self.error_path, encoding="utf-8") as text:
            return text.read()

    def request(self, command, **arguments):
        """The answer's arguments of a command that is carried out."""
        answer = self.control.request(command, **arguments)
        if answer["result"] != 0:
            raise AssertionError(f"{command}: {answer}")
        return answer["arguments"]

    def refused(self, command, **arguments):
        """The text with which a command is refused."""
        answer = self.control.request(command, **arguments)
        if answer["result"] != 1:
            raise AssertionError(f"{command} was not refused: {answer}")
        return answer["text"]

    def bind(self, interface, service, flow, tcont, virtual_port=1, term_point=(0, 0)):
        return self.request("service-apply", interface=interface, service=service, flowProfile=flow,
                            tcontProfile=tcont, virtualPort=virtual_port, termPointType=term_point[0],
                            termPointId=term_point[1])["resName"]

    def dump(self):
        return self.request("message", name="onuQosDump", argument="0")["reply"]

    def rpc(self):
        return Rpc(self.tcp_port)

    def kill(self):
        if self.control:
            self.control.close()
        if self.process and self.process.poll() is None:
            self.process.kill()
        if self.process:
            self.process.wait()
            self.process.stdout.close()

    def stop(self, how=signal.SIGTERM):
        """Stops it as an operator does; the seconds that took. It must go cleanly and leave nothing."""
        begin = time.monotonic()
        self.process.send_signal(how)
        return self.await_clean_end(begin)

    def await_clean_end(self, begin):
        status = self.process.wait(PATIENCE)
        seconds = time.monotonic() - begin
        self.process.stdout.close()
        self.control.close()
        left = [name for name in os.listdir(self.directory) if name.startswith((os.path.basename(self.control_path), "config.json.")) and
                not name.endswith(".lock")]
        if status != 0 or left:
            raise AssertionError(f"status {status}, left behind {left}: {self.errors()}")
        return seconds


class DaemonTest(unittest.TestCase):
    """A directory and a Daemon for every test; subclasses set `program` and `module`."""

    program = module = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="oltmgrd-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.daemon = Daemon(self.program, self.module, self.directory)
        self.addCleanup(self.daemon.kill)

    def path(self, name):
        return os.path.join(self.directory, name)

    def read(self, name):
        """The bytes of a file of the directory."""
        with open(self.path(name), "rb") as file:
            return file.read()

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
