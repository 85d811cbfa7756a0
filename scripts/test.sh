#!/usr/bin/env bash
# The one test command: set-up, then configure, build and run every test in each variant.
# TEV_VARIANTS narrows the variants (for example TEV_VARIANTS=default). TEV_REPEAT=N runs each
# variant's tests N times over instead, stopping at the first failure, without the tests labelled
# long (the stress test and the timed fuzzing): a wait that only fails now and then shows up there.
# TEV_BUILD_PREFIX puts the build directories at build/<prefix><variant>.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

read -r -a variants <<<"${TEV_VARIANTS:-default asan tsan}"
repeat="${TEV_REPEAT:-}"
if [ -n "${repeat}" ] && ! [[ "${repeat}" =~ ^[1-9][0-9]*$ ]]; then
  echo "TEV_REPEAT must be a positive number of runs, not '${repeat}'" >&2
  exit 2
fi
for variant in "${variants[@]}"; do
  echo "== ${variant}"
  cmake --preset "${variant}" >/dev/null
  cmake --build --preset "${variant}"
  if [ -z "${repeat}" ]; then
    ctest --preset "${variant}"
    continue
  fi
  for ((run = 1; run <= repeat; ++run)); do
    echo "== ${variant}: run ${run} of ${repeat}"
    if ! ctest --preset "${variant}" --label-exclude long --stop-on-failure; then
      echo "== ${variant}: run ${run} of ${repeat} failed" >&2
      exit 1
    fi
  done
done
