#!/bin/sh
# Runs one fuzz target for a bounded time on a fresh copy of its seed corpus in the build tree,
# so the source tree is never written; crashing inputs land in WORK/artifacts.
# Usage: run_fuzzer.sh FUZZER SEEDS REGRESSIONS WORK SECONDS
set -eu
fuzzer=$1
seeds=$2
regressions=$3
work=$4
seconds=$5
rm -rf "$work"
mkdir -p "$work/corpus" "$work/artifacts"
cp "$seeds"/* "$work/corpus/"
# New inputs go to the first directory only; the regressions are read, never written.
exec "$fuzzer" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=30 -print_final_stats=1 \
  -artifact_prefix="$work/artifacts/" "$work/corpus" "$regressions"
