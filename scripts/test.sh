#!/usr/bin/env bash
# The one test command: set-up, then configure, build and run every test in each variant.
# TEV_VARIANTS narrows the variants (for example TEV_VARIANTS=default).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

read -r -a variants <<<"${TEV_VARIANTS:-default asan tsan}"
for variant in "${variants[@]}"; do
  echo "== ${variant}"
  cmake --preset "${variant}" >/dev/null
  cmake --build --preset "${variant}"
  ctest --preset "${variant}"
done
