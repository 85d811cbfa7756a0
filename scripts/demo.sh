#!/usr/bin/env bash
# The main command: set-up, a build of the driver and the library (default preset), then the
# guided tour of the HAL on the built-in world. Arguments go to bttev, for example
# `scripts/demo.sh --trace demo.json` or `scripts/demo.sh --verbose`.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target bttev bluetooth_tev
exec build/default/tools/bttev "$@" demo
