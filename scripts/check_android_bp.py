#!/usr/bin/env python3
"""Checks that Android.bp builds the library from the same sources as CMake, and is bpfmt-clean.

Usage: check_android_bp.py ANDROID_BP SOURCE...
"""

import os
import re
import subprocess
import sys


def module_srcs(text, module_name):
    match = re.search(r'cc_library_shared\s*{[^}]*?name:\s*"' + re.escape(module_name) + r'"', text, re.S)
    if not match:
        return None
    body = text[match.start():]
    srcs = re.search(r"\bsrcs:\s*\[(.*?)\]", body, re.S)
    return sorted(re.findall(r'"([^"]+)"', srcs.group(1))) if srcs else []


def main(argv):
    if len(argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    android_bp = argv[0]
    cmake_sources = sorted(os.path.basename(source) for source in argv[1:])
    with open(android_bp, encoding="utf-8") as handle:
        text = handle.read()
    failures = []
    bp_sources = module_srcs(text, "libbluetooth_tev")
    if bp_sources is None:
        failures.append("no cc_library_shared named libbluetooth_tev")
    elif bp_sources != cmake_sources:
        only_bp = sorted(set(bp_sources) - set(cmake_sources))
        only_cmake = sorted(set(cmake_sources) - set(bp_sources))
        failures.append(f"sources differ: only in Android.bp {only_bp}, only in CMake {only_cmake}")
    formatted = subprocess.run(["bpfmt", "-d", android_bp], capture_output=True, text=True)
    if formatted.returncode != 0 or formatted.stdout.strip():
        failures.append("not bpfmt-clean:\n" + formatted.stdout + formatted.stderr)
    for failure in failures:
        print(f"{android_bp}: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
