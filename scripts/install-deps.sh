#!/usr/bin/env bash
# Installs what the project needs to build, test and run, from Debian's packages.
#   scripts/install-deps.sh               the packages
#   scripts/install-deps.sh --tbb-source  also makes Debian's source package of
#                                         the installed oneTBB available to
#                                         `apt-get source` (ThreadSanitizer build)
set -euo pipefail
PACKAGES=(
  g++ cmake ninja-build pkg-config
  libtbb-dev libboost-dev libboost-log-dev libboost-locale-dev libboost-date-time-dev
  libboost-thread-dev libboost-system-dev librange-v3-dev libicu-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  nlohmann-json3-dev libcli11-dev jq
  clang-14 libclang-rt-14-dev llvm-14 clang-tidy-14 clang-format-14
)
TBB_SOURCE=0
case "${1:-}" in
  --tbb-source) TBB_SOURCE=1; PACKAGES+=(dpkg-dev) ;;
  "") ;;
  *) echo "usage: $0 [--tbb-source]" >&2; exit 2 ;;
esac
SUDO=""
if [[ $(id -u) -ne 0 ]]; then SUDO=sudo; fi
export DEBIAN_FRONTEND=noninteractive

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  $SUDO apt-get update
  $SUDO apt-get install -y "${missing[@]}"
fi

if ((TBB_SOURCE)); then
  # Source entries live in a file of their own, written only for this build,
  # so that the machine's own lists stay as they are.
  SOURCES=/etc/apt/sources.list.d/tfsearch-path-sources.sources
  version="$(dpkg-query -W -f='${Version}' libtbb-dev)"
  if ! apt-cache showsrc onetbb 2>/dev/null | grep -qx "Version: $version"; then
    . /etc/os-release
    $SUDO tee "$SOURCES" >/dev/null <<SRC
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: $VERSION_CODENAME $VERSION_CODENAME-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg

Types: deb-src
URIs: http://deb.debian.org/debian-security
Suites: $VERSION_CODENAME-security
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SRC
    $SUDO apt-get update
  fi
fi
