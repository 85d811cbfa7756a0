"""`bttev shell` on a terminal: a callback that arrives while a line is being typed shows above
it, the line is drawn again and still runs whole, and 'quit' or Ctrl-C on an empty line end the
shell with the terminal's modes as they were.

Usage: shell_terminal.py BTTEV
"""
import fcntl
import os
import re
import select
import subprocess
import sys
import tempfile
import termios
import time

DEADLINE = 60  # seconds for each awaited output
PROMPT = "bttev> "


class Terminal:
    """Runs bttev shell on a pseudo-terminal and keeps its screen as lines: the finished ones
    and the one the cursor is on."""

    def __init__(self, bttev, home):
        self.master, self.slave = os.openpty()
        termios.tcsetwinsize(self.slave, (24, 80))
        self.modes = termios.tcgetattr(self.slave)
        env = dict(os.environ, HOME=home, TERM="xterm")
        self.proc = subprocess.Popen([bttev, "shell"], stdin=self.slave, stdout=self.slave, stderr=self.slave,
                                     env=env, start_new_session=True,
                                     preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.lines, self.current, self.column = [], "", 0

    def feed(self, text):
        for match in re.finditer(r"\x1b\[([0-9;]*)([A-Za-z])|.", text, re.S):
            char, final = match.group(0), match.group(2)
            if final in ("J", "K"):
                self.current = self.current[:self.column]
            elif final in ("C", "D"):
                self.column += int(match.group(1) or 1) * (1 if final == "C" else -1)
            elif final:
                continue  # other controls leave the text as it is
            elif char == "\n":
                self.lines.append(self.current)
                self.current, self.column = "", 0
            elif char == "\r":
                self.column = 0
            elif char == "\b":
                self.column = max(0, self.column - 1)
            elif char >= " ":
                self.current = self.current[:self.column].ljust(self.column) + char + self.current[self.column + 1:]
                self.column += 1

    def wait_for(self, what, condition):
        deadline = time.monotonic() + DEADLINE
        while not condition():
            ready, _, _ = select.select([self.master], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                sys.exit(f"FAIL: no {what} within {DEADLINE}s; screen:\n" + "\n".join(self.lines + [self.current]))
            self.feed(os.read(self.master, 4096).decode(errors="replace"))

    def prompt(self, typed=""):
        self.wait_for(f"prompt '{PROMPT}{typed}'", lambda: self.current == PROMPT + typed)

    def line(self, text):
        self.wait_for(f"line with '{text}'", lambda: any(text in line for line in self.lines))

    def type(self, text):
        os.write(self.master, text.encode())

    def run(self, command):
        first = len(self.lines)
        self.type(command + "\r")
        self.wait_for(f"echo of '{command}'", lambda: PROMPT + command in self.lines[first:])

    def finish(self):
        try:
            status = self.proc.wait(timeout=DEADLINE)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            sys.exit("FAIL: the shell did not end")
        if status != 0:
            sys.exit(f"FAIL: exit status {status}")
        for line in self.lines:
            if line.count(PROMPT) > 1 or (PROMPT in line and re.search(r"\d\.\d{3}s  ", line)):
                sys.exit(f"FAIL: output written into the prompt's line: {line!r}")
        if termios.tcgetattr(self.slave) != self.modes:
            sys.exit("FAIL: the terminal's modes were not given back")
        os.close(self.master)
        os.close(self.slave)


def main():
    bttev = sys.argv[1]
    with tempfile.TemporaryDirectory() as home:
        shell = Terminal(bttev, home)
        shell.prompt()
        for command in ("init", "settle", "host fault EnableAdapter delay=1s", "enable"):
            shell.run(command)
            shell.prompt()
        shell.type("get_adapter_prop")
        shell.prompt("get_adapter_prop")
        shell.line("adapter_state_changed_cb state=1(on)")
        shell.prompt("get_adapter_prop")
        shell.type("erty bdname\r")
        shell.line("HAL    get_adapter_property(1 bdname)")
        shell.prompt()
        shell.run("quit")
        shell.line("== Shell summary")
        shell.finish()

        shell = Terminal(bttev, home)
        shell.prompt()
        shell.type("\x03")
        shell.line(PROMPT + "^C")
        shell.line("== Shell summary")
        shell.finish()
    print("shell on a terminal: ok")


if __name__ == "__main__":
    main()
