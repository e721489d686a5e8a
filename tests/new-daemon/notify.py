#!/usr/bin/env python3
"""notify.py DAEMON: receives what the daemon sends to NOTIFY_SOCKET, at a path and at an abstract address.

The datagrams must tell of the worker: they stop while its write blocks, although the timer and the main thread go on.
"""
import atexit
import os
import signal
import socket
import subprocess
import sys
import tempfile


class Manager:
    """The service manager: a socket, a daemon that reports to it, and a file of settings."""

    def __init__(self, directory, address, interval):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(address.replace("@", "\0", 1))
        self.socket.settimeout(30)
        self.settings = directory + "/settings"
        self.configure(interval)
        environment = dict(os.environ, NOTIFY_SOCKET=address, WATCHDOG_USEC="10000000")
        self.output, output = os.pipe()
        self.daemon = subprocess.Popen([sys.argv[1], "--config", self.settings], env=environment, stdout=output)
        atexit.register(self.daemon.kill)  # no effect on one that has ended
        self.input = output

    def configure(self, interval):
        with open(self.settings, "w", encoding="ascii") as file:
            file.write(f"interval={interval}\n")

    def expect(self, *states):
        for state in states:
            received = self.socket.recv(100).decode()
            assert received == state, f"received {received}, not {state}"

    def expect_end(self, status):
        ended = self.daemon.wait(timeout=60)
        assert ended == status, f"status {ended}, not {status}"
        os.close(self.input)
        os.close(self.output)
        self.socket.close()


def a_life(directory, address):
    manager = Manager(directory, address, 1)
    manager.expect("WATCHDOG_USEC=10000000", "READY=1", "WATCHDOG=1", "WATCHDOG=1")
    manager.configure(86400)
    manager.daemon.send_signal(signal.SIGHUP)
    received = "WATCHDOG=1"
    while received == "WATCHDOG=1":
        received = manager.socket.recv(100).decode()
    assert received == "WATCHDOG_USEC=345600000000", received
    manager.daemon.send_signal(signal.SIGTERM)
    manager.expect("STOPPING=1")
    manager.expect_end(145)


def a_stuck_worker(directory, address):
    manager = Manager(directory, address, 1)
    manager.expect("WATCHDOG_USEC=10000000", "READY=1", "WATCHDOG=1")
    filler = os.open(f"/proc/self/fd/{manager.input}", os.O_WRONLY | os.O_NONBLOCK)  # the daemon's own stays blocking
    try:
        while True:
            os.write(filler, b"x")
    except BlockingIOError:
        os.close(filler)
    received = []
    while not received or received[-1] != "STOPPING=1":
        received.append(manager.socket.recv(100).decode())
    assert received in (["STOPPING=1"], ["WATCHDOG=1", "STOPPING=1"]), f"the worker is stuck, but {received}"
    manager.expect_end(1)


with tempfile.TemporaryDirectory() as place:
    a_life(place, place + "/path")
    a_life(place, f"@brindle-{os.getpid()}")
    a_stuck_worker(place, place + "/stuck")
print("datagrams as expected")
