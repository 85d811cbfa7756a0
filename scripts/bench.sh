#!/usr/bin/env bash
# The benchmark command: set-up, a release build of the benchmarks, each benchmark run with
# repetitions, then the table of results as ratios to the baselines measured in the same run.
# TEV_BENCH_REPETITIONS (default 5), TEV_BENCH_MIN_TIME (seconds per timed run, default 0.5)
# and TEV_BUILD_DIR (default build/release) adjust it; arguments go to every benchmark binary
# (for example --benchmark_filter=Latency).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

build="${TEV_BUILD_DIR:-build/release}"
repetitions="${TEV_BENCH_REPETITIONS:-5}"
min_time="${TEV_BENCH_MIN_TIME:-0.5}"

cmake --preset release -B "${build}" >/dev/null
cmake --build "${build}" --target tev_event_bench tev_sim_bench tev_process_bench

results="${build}/bench-results"
mkdir -p "${results}"
common=(
  "--benchmark_repetitions=${repetitions}"
  "--benchmark_report_aggregates_only=true"
  "--benchmark_min_time=${min_time}"
  "--benchmark_out_format=json"
)
"${build}/bench/tev_event_bench" "${common[@]}" "--benchmark_out=${results}/events.json" "$@"
"${build}/bench/tev_sim_bench" "${common[@]}" "--benchmark_out=${results}/hal_calls.json" "$@"
"${build}/bench/tev_process_bench" "${common[@]}" "--benchmark_out=${results}/processes.json" "$@"

python3 bench/report.py \
  --compiler "$(g++ --version | head -n 1), preset release (-O3 -DNDEBUG)" \
  "${results}/events.json" "${results}/hal_calls.json" "${results}/processes.json"
