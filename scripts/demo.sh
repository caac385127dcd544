#!/usr/bin/env bash
# Builds the brelvane tool and composes one lookup on the built-in demo host.
# Extra arguments replace the default call, e.g.: scripts/demo.sh list
# The demo has its own build directory (build-demo), so that it never stands
# in for a build with the tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
# A user's build: a new compiler's warnings must not stop it.
cmake -S . -B build-demo -DBRELVANE_TESTS=OFF -DBRELVANE_WERROR=OFF >/dev/null
cmake --build build-demo -j2 --target brelvane_tool
if (($#)); then
  build-demo/tools/brelvane/brelvane "$@"
else
  build-demo/tools/brelvane/brelvane call Brelvane.CLSCI_LOOKUP NatureCosti
fi
