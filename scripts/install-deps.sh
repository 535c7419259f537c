#!/usr/bin/env bash
# Installs what the project needs to build, test and run, from Debian's packages.
set -euo pipefail
PACKAGES=(
  g++ cmake ninja-build pkg-config
  libtbb-dev libboost-dev libboost-log-dev libboost-locale-dev libboost-date-time-dev
  libboost-thread-dev libboost-system-dev librange-v3-dev libicu-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  nlohmann-json3-dev libcli11-dev
  clang-14 libclang-rt-14-dev llvm-14
)
missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  SUDO=""
  if [[ $(id -u) -ne 0 ]]; then SUDO=sudo; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update
  $SUDO apt-get install -y "${missing[@]}"
fi
