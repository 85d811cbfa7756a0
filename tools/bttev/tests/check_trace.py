"""A traced run writes valid trace-event JSON in which a HAL call can be followed, arrow by
arrow, to the host and back to the callback thread.

Usage: check_trace.py BTTEV SCRIPT OUTPUT
"""
import collections
import json
import subprocess
import sys


def main():
    bttev, script, output = sys.argv[1:4]
    subprocess.run([bttev, "--quiet", "--trace", output, "run", script], check=True)
    with open(output, encoding="utf-8") as f:
        trace = json.load(f)

    names = {}
    depth = collections.Counter()
    starts, ends = {}, {}
    slices = collections.defaultdict(list)
    for event in trace["traceEvents"]:
        phase, tid = event["ph"], event["tid"]
        if phase == "M" and event["name"] == "thread_name":
            names[tid] = event["args"]["name"]
        elif phase == "B":
            depth[tid] += 1
            slices[tid].append(event["name"])
        elif phase == "E":
            depth[tid] -= 1
            assert depth[tid] >= 0, f"an E without its B on thread {tid}"
        elif phase == "s":
            starts[event["id"]] = tid
        elif phase == "f":
            assert event.get("bp") == "e", event
            ends[event["id"]] = tid
    assert not [t for t, d in depth.items() if d], f"unclosed slices: {depth}"

    tracks = set(names.values())
    for wanted in ("stack", "mojo_ipc", "bt_tev_callback", "quarne_bt_host"):
        assert wanted in tracks, f"no track for {wanted}: {sorted(tracks)}"
    assert set(starts) == set(ends), "an arrow that starts must end"

    hops = {(names[starts[i]], names[ends[i]]) for i in starts}
    for hop in [("stack", "mojo_ipc"), ("mojo_ipc", "quarne_bt_host"), ("quarne_bt_host", "mojo_ipc"),
                ("mojo_ipc", "bt_tev_callback")]:
        assert hop in hops, f"no arrow {hop[0]} -> {hop[1]}: {sorted(hops)}"

    by_name = {names[t]: s for t, s in slices.items()}
    assert "enable()" in by_name["stack"], by_name["stack"][:10]
    assert "EnableAdapter" in by_name["quarne_bt_host"], by_name["quarne_bt_host"][:10]
    assert "bt.adapter_state_changed_cb" in by_name["bt_tev_callback"]
    print(f"trace ok: {len(trace['traceEvents'])} events, {len(starts)} arrows, tracks {sorted(tracks)}")


if __name__ == "__main__":
    main()
