#!/usr/bin/env python3
"""Guests in processes of their own against one `bttev host` daemon.

Starts the daemon at SOCKET on CLOCK, waits for its "listening" line, runs each GUEST (the words
after `bttev --connect SOCKET`, e.g. "demo" or "--quiet run FILE") one after the other, then stops
the daemon with SIGTERM. Passes when every guest and the daemon exit 0, the daemon removed its
socket, and it printed one line per guest and control connection as each came and went. The
daemon never outlives the test.

Usage: daemon_guests.py BTTEV SOCKET real|virtual GUEST...
"""
import os
import re
import select
import signal
import subprocess
import sys

# Deadlock guards only: every wait below ends on an event long before.
STARTUP_GUARD_S = 30
GUEST_GUARD_S = 120
STOP_GUARD_S = 30

LINE = re.compile(r"bttev host: (guest|control) (\d+) (connected|gone)$")


class Lines:
    """The lines a process prints, read as they come."""

    def __init__(self, fd):
        self.fd = fd
        self.pending = b""

    def next(self, guard_s):
        """The next line, or None at the end or if none comes within the guard."""
        while b"\n" not in self.pending:
            ready, _, _ = select.select([self.fd], [], [], guard_s)
            chunk = os.read(self.fd, 4096) if ready else b""
            if not chunk:
                return None
            self.pending += chunk
        line, self.pending = self.pending.split(b"\n", 1)
        return line.decode()


def connections(lines):
    """What the lines told of each connection, in order, or a complaint."""
    seen = {}
    for line in lines:
        match = LINE.match(line)
        if not match:
            return None, "an unexpected line: " + repr(line)
        kind, number, event = match.groups()
        seen.setdefault((kind, number), []).append(event)
    return seen, None


def all_gone(lines, guests):
    """Every guest's control connection has gone, and so has every other connection told of:
    a guest's bridge connections are told before its script can end."""
    seen, problem = connections(lines)
    if problem:
        return True
    controls_gone = sum(1 for (kind, _), events in seen.items() if kind == "control" and "gone" in events)
    return controls_gone == guests and all(events[-1] == "gone" for events in seen.values())


def check_lines(lines, guests):
    """Each connection told once as it came and once as it went, one control connection per
    guest process (a guest makes one bridge connection per init)."""
    seen, problem = connections(lines)
    if problem:
        return problem
    for (kind, number), events in seen.items():
        if events != ["connected", "gone"]:
            return "%s %s was told as %s" % (kind, number, events)
    controls = sum(1 for kind, _ in seen if kind == "control")
    bridges = sum(1 for kind, _ in seen if kind == "guest")
    if controls != guests or bridges < guests:
        return "%d control and %d guest connections for %d guests" % (controls, bridges, guests)
    return None


def main():
    bttev, socket_path, clock, guests = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    if os.path.exists(socket_path):
        os.unlink(socket_path)
    daemon = subprocess.Popen([bttev, "host", "--listen", socket_path, "--clock", clock],
                              stdout=subprocess.PIPE)
    try:
        output = Lines(daemon.stdout.fileno())
        first = output.next(STARTUP_GUARD_S)
        if first != "bttev host: listening at " + socket_path:
            print("FAIL: the daemon's first line: %r" % first)
            return 1
        for guest in guests:
            command = [bttev, "--connect", socket_path] + guest.split()
            result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                    timeout=GUEST_GUARD_S)
            if result.returncode != 0:
                print("FAIL: %s: exit %d" % (" ".join(command), result.returncode))
                print(result.stdout.decode(errors="replace"))
                return 1
        # The daemon sees the last guest's connections end after the guest has exited.
        lines = []
        while not all_gone(lines, len(guests)):
            line = output.next(STOP_GUARD_S)
            if line is None:
                print("FAIL: the daemon did not tell every connection's end:\n" + "\n".join(lines))
                return 1
            lines.append(line)
        daemon.send_signal(signal.SIGTERM)
        while True:
            line = output.next(STOP_GUARD_S)
            if line is None:
                break
            lines.append(line)
        daemon.wait(timeout=STOP_GUARD_S)
        if daemon.returncode != 0:
            print("FAIL: the daemon exited %d after SIGTERM" % daemon.returncode)
            return 1
        if os.path.exists(socket_path):
            print("FAIL: the daemon left its socket behind")
            return 1
        problem = check_lines(lines, len(guests))
        if problem:
            print("FAIL: the daemon's lines: " + problem)
            print("\n".join(lines))
            return 1
        return 0
    finally:
        if daemon.poll() is None:
            daemon.kill()
            daemon.wait()


if __name__ == "__main__":
    sys.exit(main())
