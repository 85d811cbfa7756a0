#!/usr/bin/env bash
# Installs, only when missing, every Debian package the build, the tests and the tools need.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  android-libutils-dev nlohmann-json3-dev
  python3 blueprint-tools
  libedit-dev pkg-config
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "setup: installing ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
