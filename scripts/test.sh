#!/usr/bin/env bash
# Builds and tests the project as CI does, one step after another:
#   plain      the development build: every target, warnings as errors, the
#              unit tests, golden scenarios, the package test (static
#              library) and the API documentation (Doxygen warnings fail it)
#   sanitize   the same tests under AddressSanitizer + UBSan (leaks checked)
#   release    a GCC Release build of a shared library, with its tests and
#              the package test (shared library)
# `scripts/test.sh STEP...` runs only those steps. A step is a function
# below; add one and list it in `steps`. Every ctest call fails when no test
# ran (--no-tests=error).
set -euo pipefail
cd "$(dirname "$0")/.."

steps=(plain sanitize release)
jobs=${BRELVANE_JOBS:-2}
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# configure_and_build DIR [CMAKE ARGS...]: a fresh configuration, every target.
configure_and_build() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -DBRELVANE_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j"$jobs"
}

# run_tests DIR [CTEST ARGS...]
run_tests() {
  local dir=$1
  shift
  ctest --test-dir "$dir" --output-on-failure --no-tests=error -j"$jobs" "$@"
}

step_plain() {
  configure_and_build build-test -DBRELVANE_BENCH=ON -DBRELVANE_DOCS_WERROR=ON
  run_tests build-test
  cmake --build build-test --target docs
}

step_sanitize() {
  configure_and_build build-sanitize -DBRELVANE_SANITIZE=ON
  run_tests build-sanitize
}

step_release() {
  configure_and_build build-release -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON
  run_tests build-release
}

scripts/deps.sh
if (($#)); then steps=("$@"); fi
for step in "${steps[@]}"; do
  echo "== ${step}"
  "step_${step}"
done
