#!/usr/bin/env bash
# Builds everything and runs the unit tests and golden scenarios twice: in a
# plain build, and under AddressSanitizer + UndefinedBehaviorSanitizer (leak
# checking on). The benchmark target is built too, so it cannot rot.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for config in build-test:OFF build-sanitize:ON; do
  dir=${config%%:*}
  echo "== ${dir} (sanitizers ${config##*:})"
  cmake -S . -B "$dir" -DBRELVANE_SANITIZE="${config##*:}" -DBRELVANE_BENCH=ON >/dev/null
  cmake --build "$dir" -j2
  ctest --test-dir "$dir" --output-on-failure -j2
done
