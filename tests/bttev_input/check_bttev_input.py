#!/usr/bin/env python3
"""Bad input to bttev: every case must end with a clear message on stderr and the exit status
the tool documents (2 for a usage or script syntax error, 1 for a run that cannot go on), never
with a signal or a sanitizer report. Complements tools/bttev/tests/bad_input.sh.

Usage: check_bttev_input.py BTTEV NON_HAL_LIBRARY WORK_DIR {worlds|scripts|arguments}
"""
import os
import shutil
import subprocess
import sys

BTTEV, OTHER_LIBRARY, WORK, GROUP = sys.argv[1:5]

DEEP_ARRAY = b"[" * 100000 + b"]" * 100000
DEEP_OBJECT = b'{"a": ' * 20000 + b"1" + b"}" * 20000
TWO_PERIPHERALS_ONE_ADDRESS = (b'{"le_peripherals": [{"address": "02:51:b0:00:00:01"}, '
                               b'{"address": "02:51:b0:00:00:01"}]}')

# File name: (content, what stderr must say).
WORLDS = {
    "not_json.json": (b"adapter: on\n", "not_json.json: not valid JSON: parse error at line 1"),
    "empty.json": (b"", "empty.json: not valid JSON"),
    "array.json": (b"[1, 2]", "array.json: expected an object"),
    "deep.json": (b'{"adapter": ' + DEEP_ARRAY + b"}", "deep.json: adapter: expected an object"),
    "overflow.json": (b'{"adapter": {"class": 1e400}}',
                      "overflow.json: not valid JSON: number overflow"),
    "hex_overflow.json": (b'{"adapter": {"class": "0xffffffffffffffffffff"}}',
                          'hex_overflow.json: adapter.class: expected an integer or "0x..."'),
    "utf8.json": (b'{"adapter": {"name": "\xff\xfe"}}',
                  "utf8.json: not valid JSON: parse error at line 1, column 23: syntax error "
                  "while parsing value - invalid string: ill-formed UTF-8"),
    "twice.json": (TWO_PERIPHERALS_ONE_ADDRESS,
                   "twice.json: le_peripherals[1].address: address 02:51:b0:00:00:01 is already"),
    "nested_unknown.json": (b'{"adapter": ' + DEEP_OBJECT + b"}",
                            "nested_unknown.json: adapter.a: unknown field"),
}

# File name: (content, exit status, what stderr must say).
SCRIPTS = {
    "nul.bttev": (b"init\x00enable\n", 2, "nul.bttev:1: unknown command"),
    "utf8.bttev": (b"\xff\xfe\xfd\n", 2, "utf8.bttev:1: unknown command"),
    "garbage.bttev": (bytes(range(256)) * 8, 2, "garbage.bttev:"),
    "quote.bttev": (b'init\nexpect log "unterminated\n', 2,
                    "quote.bttev:2: unterminated quoted text"),
    "negative.bttev": (b"advance -5ms\n", 1,
                       "negative.bttev:1: expected a duration like 500ms or 2s, not '-5ms'"),
    "huge.bttev": (b"advance 99999999999h\n", 1,
                   "huge.bttev:1: expected a duration like 500ms or 2s"),
    "within.bttev": (b"init\nexpect adapter_state_changed_cb within 1x\n", 2,
                     "within.bttev:2: bad duration '1x'"),
    "advance_within.bttev": (b"advance 1ms within 1s\n", 2,
                             "advance_within.bttev:1: usage: advance DURATION"),
    "self.bttev": (b"set x $x\n", 1, "self.bttev:1: $x is not set"),
    "fault.bttev": (b"host fault EnableAdapter delay=1e999ms\n", 1,
                    "fault.bttev:1: bad fault 'delay=1e999ms'"),
    "element.bttev": (b"init\ngatt init\nserver add_service 1 service:180d char:zzzz:read\n", 1,
                      "element.bttev:3: bad element 'char:zzzz:read'"),
    "pipe.bttev": (b"host sever nothing\n", 1,
                   "pipe.bttev:1: the pipe is TevBridgeHost, BluetoothHost or BluetoothInstance"),
}


def write(name, content):
    path = os.path.join(WORK, name)
    with open(path, "wb") as f:
        f.write(content if isinstance(content, bytes) else content.encode())
    return path


def world_cases():
    script = write("nothing.bttev", "# nothing to do\n")
    cases = []
    for name, (content, message) in WORLDS.items():
        path = write(name, content)
        cases.append((f"run with {name}", ["--world", path, "run", script], 1, message))
        cases.append((f"demo with {name}", ["--world", path, "demo"], 2, message))
    missing = os.path.join(WORK, "missing.json")
    array = os.path.join(WORK, "array.json")
    cases += [
        ("a missing world", ["--world", missing, "run", script], 1, f"{missing}: cannot be read"),
        ("a directory as world", ["--world", WORK, "run", script], 1, f"bttev: {WORK}:"),
        ("a bad world in the shell", ["--world", array, "shell"], 1, "expected an object"),
    ]
    return cases


def script_cases():
    return [(name, ["run", write(name, content)], status, message)
            for name, (content, status, message) in SCRIPTS.items()]


def argument_cases():
    script = write("nothing.bttev", "# nothing to do\n")
    text = write("not_a_library.txt", "plain text\n")
    trace = os.path.join(WORK, "no", "such", "dir", "trace.json")
    return [
        ("--lib without a path", ["--lib"], 2, "bttev: --lib needs a path"),
        ("--world without a file", ["--world"], 2, "bttev: --world needs a file"),
        ("--trace without a file", ["--trace"], 2, "bttev: --trace needs a file"),
        ("no command", ["--quiet"], 2, "bttev: no command"),
        ("a lone dash", ["-"], 2, "bttev: unknown option -"),
        ("demo on the virtual clock", ["--clock", "virtual", "demo"], 2,
         "the demo runs on the real clock"),
        ("demo with an argument", ["demo", "extra"], 2, "demo takes no argument"),
        ("shell with an argument", ["shell", "extra"], 2, "shell takes no argument"),
        ("a trace that cannot be written", ["--trace", trace, "run", script], 1,
         f"cannot write the trace to {trace}"),
        ("--lib naming an empty file", ["--lib", "/dev/null", "run", script], 1,
         "cannot load /dev/null"),
        ("--lib naming a text file", ["--lib", text, "run", script], 1, f"cannot load {text}"),
        ("--lib naming another library", ["--lib", OTHER_LIBRARY, "run", script], 1,
         f"{OTHER_LIBRARY} exports no bluetoothInterface"),
    ]


def check(name, args, status, message):
    """None if bttev behaved, else what went wrong."""
    try:
        done = subprocess.run([BTTEV, "--quiet", *args], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120)
    except subprocess.TimeoutExpired:
        return f"{name}: still running after 120 s"
    err = done.stderr.decode(errors="replace")
    if done.returncode < 0:
        return f"{name}: killed by signal {-done.returncode}\n{err}"
    if done.returncode != status:
        return f"{name}: exit {done.returncode}, expected {status}\n{err}"
    if message not in err:
        return f"{name}: no '{message}' in:\n{err}"
    if "Sanitizer" in err:
        return f"{name}: sanitizer report\n{err}"
    return None


def main():
    shutil.rmtree(WORK, ignore_errors=True)
    os.makedirs(WORK)
    cases = {"worlds": world_cases, "scripts": script_cases, "arguments": argument_cases}[GROUP]()
    failures = [problem for problem in (check(*case) for case in cases) if problem]
    for problem in failures:
        print("FAIL:", problem)
    print(f"{len(cases) - len(failures)} passed, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
