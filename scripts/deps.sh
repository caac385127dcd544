#!/usr/bin/env bash
# Installs the build and test dependencies that a fresh Debian machine lacks,
# as root or through sudo. Extra arguments name more packages to install.
set -euo pipefail
packages=(cmake g++ make pkgconf nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev libbenchmark-dev
  help2man doxygen "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
((${#missing[@]})) || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "deps.sh: installing ${missing[*]} needs root, and sudo is not installed" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
# apt's own output is kept, and shown only when something fails.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update -q &&
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
    "${missing[@]}"; } >"$log" 2>&1; then
  cat "$log" >&2
  echo "deps.sh: could not install ${missing[*]}" >&2
  exit 1
fi
