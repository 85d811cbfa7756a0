#!/usr/bin/env python3
"""Prints the benchmark results as a table of ratios to the baselines measured in the same run.

Reads the JSON files written by tev_event_bench, tev_sim_bench and tev_process_bench (run with
repetitions) and takes the median of the repetitions of every figure.
"""
import argparse
import json
import sys

# Targets, and the baseline each bridged path is compared with.
MAX_RATIO = 1.5
MIN_NOTIFY_RATE = 250_000
HAL_P50_US = 2.0
HAL_P99_US = 20.0
MAX_NOTIFY_ALLOCATIONS = 3
MAX_PROCESS_RATIO = 2.0


def load(paths):
    """Median aggregates by run name, and the context of the first file."""
    medians, context = {}, None
    for path in paths:
        with open(path) as f:
            data = json.load(f)
        context = context or data.get("context", {})
        for run in data["benchmarks"]:
            if run.get("aggregate_name") == "median":
                medians[run["run_name"]] = run
    return medians, context


def machine():
    model, cores = "unknown", 0
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    model = line.split(":", 1)[1].strip()
                    cores += 1
    except OSError:
        pass
    return f"{model}, {cores} cores"


class Report:
    def __init__(self, medians):
        self.medians = medians
        self.verdicts = []

    def run(self, name):
        for key, value in self.medians.items():
            if key.startswith(name + "/") or key == name:
                return value
        return None

    def ns_per_event(self, name):
        run = self.run(name)
        return 1e9 / run["items_per_second"] if run and run.get("items_per_second") else None

    def iteration_ns(self, name):
        """The run's own time per iteration, in ns."""
        run = self.run(name)
        if not run or "real_time" not in run:
            return None
        scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run.get("time_unit", "ns")]
        return run["real_time"] * scale

    def counter(self, name, counter):
        run = self.run(name)
        return run.get(counter) if run else None

    def verdict(self, text, met):
        self.verdicts.append(f"  [{'met' if met else 'NOT met'}] {text}")


def fmt(value, digits=2):
    return "-" if value is None else f"{value:.{digits}f}"


def ratio(value, base):
    return None if value is None or not base else value / base


def throughput_table(r):
    rows = [
        ("notify, end to end (host -> IPC -> callback)", "Throughput/notify",
         "Throughput/handoff_task_runner", "Throughput/handoff_task_runner_via_ipc"),
        ("scan result, end to end", "Throughput/scan",
         "Throughput/handoff_task_runner", "Throughput/handoff_task_runner_via_ipc"),
        ("notify, the library's share (IPC -> callback)", "LibraryThroughput/notify",
         "Throughput/handoff_ipc_to_callback", None),
        ("scan result, the library's share", "LibraryThroughput/scan",
         "Throughput/handoff_ipc_to_callback", None),
    ]
    print("Sustained throughput (batches of 10000, median of repetitions)")
    print(f"  {'path':48} {'events/s':>12} {'ns/event':>9} {'x same-threads':>15} {'x 2-hop':>8}")
    for label, name, base, two_hop in rows:
        ns = r.ns_per_event(name)
        rate = 1e9 / ns if ns else None
        print(f"  {label:48} {fmt(rate, 0):>12} {fmt(ns, 0):>9} "
              f"{fmt(ratio(ns, r.ns_per_event(base))):>15} "
              f"{fmt(ratio(ns, r.ns_per_event(two_hop)) if two_hop else None):>8}")
    print("  baselines, bare closures through the same task runner:")
    for label, name in [("IPC thread -> callback thread", "Throughput/handoff_ipc_to_callback"),
                        ("host thread -> callback thread", "Throughput/handoff_task_runner"),
                        ("host -> IPC -> callback (2 hops)",
                         "Throughput/handoff_task_runner_via_ipc"),
                        ("mutex + condition variable, host -> thread",
                         "Throughput/handoff_mutex_condvar")]:
        ns = r.ns_per_event(name)
        print(f"    {label:46} {fmt(1e9 / ns if ns else None, 0):>12} {fmt(ns, 0):>9}")

    notify = r.ns_per_event("Throughput/notify")
    r.verdict(f"at least {MIN_NOTIFY_RATE} notifications/s sustained: "
              f"{fmt(1e9 / notify if notify else None, 0)}/s",
              bool(notify) and 1e9 / notify >= MIN_NOTIFY_RATE)
    for kind in ("notify", "scan"):
        x = ratio(r.ns_per_event(f"LibraryThroughput/{kind}"),
                  r.ns_per_event("Throughput/handoff_ipc_to_callback"))
        r.verdict(f"{kind}: per-event cost (throughput) within {MAX_RATIO}x of the bare hand-off "
                  f"between the same threads: {fmt(x)}x", x is not None and x <= MAX_RATIO)


def latency_table(r):
    rows = [
        ("notify, end to end", "Latency/notify", "Latency/handoff_task_runner",
         "Latency/handoff_task_runner_via_ipc"),
        ("scan result, end to end", "Latency/scan", "Latency/handoff_task_runner",
         "Latency/handoff_task_runner_via_ipc"),
        ("notify, the library's share", "LibraryLatency/notify",
         "Latency/handoff_ipc_to_callback", None),
        ("scan result, the library's share", "LibraryLatency/scan",
         "Latency/handoff_ipc_to_callback", None),
        ("baseline: IPC -> callback", "Latency/handoff_ipc_to_callback", None, None),
        ("baseline: host -> callback", "Latency/handoff_task_runner", None, None),
        ("baseline: host -> IPC -> callback", "Latency/handoff_task_runner_via_ipc", None, None),
        ("baseline: mutex + condition variable", "Latency/handoff_mutex_condvar", None, None),
    ]
    print("\nLatency, one event at a time, send stamp to callback (median of repetitions)")
    print(f"  {'path':48} {'p50 us':>8} {'p99 us':>8} "
          f"{'p50 x same-threads':>19} {'p50 x 2-hop':>12}")
    for label, name, base, two_hop in rows:
        p50, p99 = r.counter(name, "p50_us"), r.counter(name, "p99_us")
        same = ratio(p50, r.counter(base, "p50_us")) if base else None
        hop2 = ratio(p50, r.counter(two_hop, "p50_us")) if two_hop else None
        print(f"  {label:48} {fmt(p50):>8} {fmt(p99):>8} {fmt(same):>19} {fmt(hop2):>12}")
    for kind in ("notify", "scan"):
        x = ratio(r.counter(f"LibraryLatency/{kind}", "p50_us"),
                  r.counter("Latency/handoff_ipc_to_callback", "p50_us"))
        r.verdict(f"{kind}: per-event cost (median latency) within {MAX_RATIO}x of the bare "
                  f"hand-off between the same threads: {fmt(x)}x", x is not None and x <= MAX_RATIO)


def hal_table(r):
    print("\nHAL call return time, host stalled (never answers), median of repetitions")
    print(f"  {'call':30} {'pace':6} {'p50 us':>8} {'p99 us':>8} {'p50 x bare post':>16}")
    for call in ("read_characteristic", "write_characteristic_600",
                 "register_for_notification", "bare_post_to_ipc"):
        for pace in ("cold", "warm", "burst"):
            name = f"StalledHostCall/{call}_{pace}"
            p50, p99 = r.counter(name, "p50_us"), r.counter(name, "p99_us")
            bare = r.counter(f"StalledHostCall/bare_post_to_ipc_{pace}", "p50_us")
            print(f"  {call:30} {pace:6} {fmt(p50):>8} {fmt(p99):>8} {fmt(ratio(p50, bare)):>16}")
            if call == "bare_post_to_ipc":
                continue
            r.verdict(f"{call} ({pace}) returns in {HAL_P50_US} us median, {HAL_P99_US} us p99: "
                      f"{fmt(p50)} / {fmt(p99)} us",
                      p50 is not None and p99 is not None and p50 <= HAL_P50_US
                      and p99 <= HAL_P99_US)
    name = "ReadRoundTrip"
    print(f"\nGATT read round trip through the simulated host (HAL call -> read_characteristic_cb)")
    print(f"  p50 {fmt(r.counter(name, 'p50_us'))} us, p99 {fmt(r.counter(name, 'p99_us'))} us")


def allocation_table(r):
    print("\nHeap allocations per event (operator new, counted per thread)")
    print(f"  {'event':8} {'library':>8} {'pipe send':>10} {'pipe receive':>13} "
          f"{'host records':>13} {'IPC thread':>11} {'callback thread':>16}")
    for kind in ("notify", "scan"):
        name = f"Allocations/{kind}"
        values = [r.counter(name, c) for c in ("library", "pipe_send", "pipe_receive",
                                                "host_records", "ipc_thread", "callback_thread")]
        print(f"  {kind:8} {fmt(values[0]):>8} {fmt(values[1]):>10} {fmt(values[2]):>13} "
              f"{fmt(values[3]):>13} {fmt(values[4]):>11} {fmt(values[5]):>16}")
    library = r.counter("Allocations/notify", "library")
    r.verdict(f"at most {MAX_NOTIFY_ALLOCATIONS} heap allocations per notification (library): "
              f"{fmt(library)}", library is not None and library <= MAX_NOTIFY_ALLOCATIONS)


def thread_usage(r, name):
    """{(side, thread): (cpu ns, sleeps)} per item of one run, busiest first."""
    run = r.run(name) or {}
    usage = {}
    for key, value in run.items():
        parts = key.split(":")
        if len(parts) == 3 and parts[0] in ("cpu_ns", "sleeps"):
            cpu, sleeps = usage.get((parts[1], parts[2]), (0.0, 0.0))
            usage[(parts[1], parts[2])] = (value, sleeps) if parts[0] == "cpu_ns" else (cpu, value)
    return sorted(usage.items(), key=lambda item: -item[1][0])


def total_cpu(r, name):
    usage = thread_usage(r, name)
    return sum(cpu for _, (cpu, _) in usage) if usage else None


def process_table(r):
    bridge_ns = r.ns_per_event("ProcessThroughput/notify")
    bare_ns = r.ns_per_event("ProcessThroughput/bare_socket_message")
    if bridge_ns is None and bare_ns is None:
        return
    size = r.counter("ProcessThroughput/bare_socket_message", "bytes")
    print(f"\nAcross processes: the host in a forked process, against a bare Unix-socket message "
          f"of {fmt(size, 0)} bytes (a notification's frame) between the same two processes")
    print(f"  {'path':44} {'bridge':>15} {'bare':>15} {'x bare':>13}")

    def row(label, bridge, bare, digits=2):
        print(f"  {label:44} {fmt(bridge, digits):>15} {fmt(bare, digits):>15} "
              f"{fmt(ratio(bridge, bare)):>13}")

    row("notification throughput, ns/event", bridge_ns, bare_ns, 0)
    print(f"  {'  events/s':44} {fmt(1e9 / bridge_ns if bridge_ns else None, 0):>15} "
          f"{fmt(1e9 / bare_ns if bare_ns else None, 0):>15}")
    bridge_cpu, bare_cpu = (total_cpu(r, f"ProcessThroughput/{name}")
                            for name in ("notify", "bare_socket_message"))
    row("CPU ns/event, every thread of both processes", bridge_cpu, bare_cpu, 0)
    latency = {q: r.counter("ProcessLatency/notify", f"{q}_us") for q in ("p50", "p99")}
    one_way = {q: r.counter("ProcessLatency/bare_socket_message", f"{q}_us") for q in ("p50", "p99")}
    ping = {q: r.counter("ProcessRoundTrip/bare_socket_ping_pong", f"{q}_us") for q in ("p50", "p99")}
    read = {q: r.counter("ProcessRoundTrip/read_characteristic", f"{q}_us") for q in ("p50", "p99")}
    half = {q: ping[q] / 2 if ping[q] is not None else None for q in ping}
    for q in ("p50", "p99"):
        row(f"notification latency {q} us, vs one-way", latency[q], one_way[q])
    for q in ("p50", "p99"):
        row(f"notification latency {q} us, vs half ping-pong", latency[q], half[q])
    for q in ("p50", "p99"):
        row(f"read round trip {q} us, vs ping-pong", read[q], ping[q])
    print(f"  wire codec: encode {fmt(r.iteration_ns('WireCodec/encode_notify'), 0)} ns, "
          f"decode {fmt(r.iteration_ns('WireCodec/decode_notify'), 0)} ns per notification")

    print("  CPU ns and sleeps per item, by thread (throughput runs):")
    for label, name in (("notification", "ProcessThroughput/notify"),
                        ("bare message", "ProcessThroughput/bare_socket_message")):
        used = [f"{side}:{thread} {cpu:.0f}/{sleeps:.2f}"
                for (side, thread), (cpu, sleeps) in thread_usage(r, name) if cpu >= 20]
        print(f"    {label:14} {', '.join(used) or '-'}")
    print("  sleeps per item, by thread (one at a time):")
    for label, name in (("notification", "ProcessLatency/notify"),
                        ("bare one-way", "ProcessLatency/bare_socket_message"),
                        ("read", "ProcessRoundTrip/read_characteristic"),
                        ("ping-pong", "ProcessRoundTrip/bare_socket_ping_pong")):
        used = [f"{side}:{thread} {sleeps:.2f}"
                for (side, thread), (_, sleeps) in thread_usage(r, name) if sleeps >= 0.05]
        print(f"    {label:14} {', '.join(used) or '-'}")

    for label, x in (("throughput", ratio(bridge_ns, bare_ns)),
                     ("CPU time", ratio(bridge_cpu, bare_cpu))):
        r.verdict(f"a notification across processes costs at most {MAX_PROCESS_RATIO}x a bare "
                  f"socket message, {label}: {fmt(x)}x", x is not None and x <= MAX_PROCESS_RATIO)
    for label, base in (("one-way", one_way["p50"]), ("half ping-pong", half["p50"])):
        x = ratio(latency["p50"], base)
        r.verdict(f"a notification across processes costs at most {MAX_PROCESS_RATIO}x a bare "
                  f"socket message, median latency vs bare {label}: {fmt(x)}x",
                  x is not None and x <= MAX_PROCESS_RATIO)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="unknown")
    parser.add_argument("results", nargs="+")
    args = parser.parse_args()
    medians, context = load(args.results)
    if not medians:
        sys.exit("no median aggregates found: run the benchmarks with --benchmark_repetitions")
    r = Report(medians)
    print(f"\nMachine: {machine()}; compiler: {args.compiler}; "
          f"load average at start {fmt((context.get('load_avg') or [None])[0])}")
    throughput_table(r)
    latency_table(r)
    hal_table(r)
    allocation_table(r)
    process_table(r)
    print("\nTargets")
    print("\n".join(r.verdicts))


if __name__ == "__main__":
    main()
