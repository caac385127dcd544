#!/usr/bin/env bash
# Builds the brelvane tool and composes one lookup on the built-in demo host.
# Extra arguments replace the default call, e.g.: scripts/demo.sh list
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DBRELVANE_TESTS=OFF >/dev/null
cmake --build build -j2 --target brelvane_tool
if (($#)); then
  build/tools/brelvane/brelvane "$@"
else
  build/tools/brelvane/brelvane call Brelvane.CLSCI_LOOKUP NatureCosti
fi
