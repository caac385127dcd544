#!/usr/bin/env bash
# Installs the build and test dependencies that a fresh machine lacks, and
# the further Debian packages named as arguments.
set -euo pipefail
packages=(cmake g++ make libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi
