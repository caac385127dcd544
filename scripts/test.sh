#!/usr/bin/env bash
# Builds and tests the project as CI does, one step after another:
#   plain      a GCC Release build of the shared library and every target,
#              warnings as errors: the unit tests (the fault sweep among
#              them), golden scenarios, the package test, the API
#              documentation (Doxygen warnings fail it), every composed SQL
#              text through an independent T-SQL parser, hostile values in
#              every position that reaches the SQL of a lookup or decoder,
#              judged by the same parser with the hardened mode off and on
#              (tests/sql/hostile.mjs), the reference site in headless
#              Chromium
#   sanitize   a Clang Debug build of the static library with the same tests
#              under AddressSanitizer + UBSan (leaks checked), instrumented
#              for Clang's source-based coverage: line and branch coverage
#              per folder of src/, failing below 95 % of lines or 90 % of
#              branches; the same build runs each libFuzzer target briefly
# Both run the ODBC adapter's tests against a throwaway PostgreSQL server on
# loopback, so the adapter is tested optimised and under the sanitizers.
# So each compiler, each kind of library and both optimisation levels are
# built and tested once, without a third native build; GCC takes the
# optimised build because its warnings there depend on inlining.
#   com        the x64 COM server cross-built with mingw-w64 and run under
#              Wine: used without registration, every lookup and decoder
#              member called from VBScript with two hosts and every vtable
#              function against Invoke, every launch, event and database
#              path, compared with the native tool; registration and the
#              type library; then the x86 DLL (built only) and the release
#              archive (scripts/com-tests.sh)
# `scripts/test.sh STEP...` runs only those steps. A step is a function
# below; add one and list it in `steps`. Every ctest call fails when no test
# ran (--no-tests=error).
set -euo pipefail
cd "$(dirname "$0")/.."

steps=(plain sanitize com)
jobs=${BRELVANE_JOBS:-2}
# What the ODBC adapter builds against and its tests run on; installed before
# a step configures, so that its build has the adapter.
database=(postgresql-15 odbc-postgresql unixodbc-dev unixodbc)
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# configure_and_build DIR [CMAKE ARGS...]: a fresh configuration, every target.
configure_and_build() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -DBRELVANE_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j"$jobs"
}

# run_tests DIR [CTEST ARGS...]: with a PostgreSQL server up for the ODBC
# adapter's tests, which scripts/odbc-tests.sh starts and stops.
run_tests() {
  local dir=$1
  shift
  scripts/odbc-tests.sh ctest --test-dir "$dir" --output-on-failure --no-tests=error -j"$jobs" "$@"
}

step_plain() {
  # The SQL check runs on Node.js; a machine that has it already keeps its own.
  command -v npm >/dev/null || scripts/deps.sh nodejs npm
  # One apt round for the step: the database and the browser.
  scripts/deps.sh "${database[@]}" chromium
  configure_and_build build-test -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
    -DCMAKE_CXX_COMPILER=g++ -DBRELVANE_BENCH=ON -DBRELVANE_DOCS_WERROR=ON -DBRELVANE_ODBC=ON
  run_tests build-test
  build-test/tests/brelvane_tests --gtest_filter='FaultSweep.*' | grep '^fault sweep:'
  cmake --build build-test --target docs
  echo "-- SQL texts through the T-SQL parser"
  npm ci --prefix tests/sql --no-audit --no-fund --silent
  build-test/tests/brelvane_sql_collect tests/scenarios/*.json >build-test/sql-texts.jsonl
  node tests/sql/check.mjs <build-test/sql-texts.jsonl
  echo "-- hostile values in every position that reaches the SQL, both modes"
  local started=$SECONDS
  build-test/tests/brelvane_sql_hostile >build-test/sql-hostile.jsonl
  node tests/sql/hostile.mjs <build-test/sql-hostile.jsonl
  echo "hostile values: $((SECONDS - started)) s"
  echo "-- the reference site in headless Chromium"
  started=$SECONDS
  npm ci --prefix tests/site --no-audit --no-fund --silent
  node tests/site/check.mjs "$PWD/build-test/tools/brelvane/brelvane" "$PWD/build-test"
  echo "site test: $((SECONDS - started)) s"
}

step_sanitize() {
  scripts/deps.sh clang llvm "${database[@]}"
  configure_and_build build-sanitize -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
    -DBRELVANE_SANITIZE=ON -DBRELVANE_COVERAGE=ON -DBRELVANE_ODBC=ON -DBRELVANE_FUZZ=ON
  local profiles=$PWD/build-sanitize/profiles
  rm -rf "$profiles"
  (export LLVM_PROFILE_FILE="$profiles/%p-%m.profraw" && run_tests build-sanitize)
  echo "-- coverage of src/"
  llvm-profdata merge -sparse "$profiles"/*.profraw -o build-sanitize/coverage.profdata
  # Every program of the build that ran: the tests, and the tool the scenarios run.
  local objects
  mapfile -t objects < <(find build-sanitize -type f -executable -name 'brelvane*' ! -name '*.so*')
  llvm-cov export -summary-only -instr-profile=build-sanitize/coverage.profdata \
    "${objects[@]/#/-object=}" >build-sanitize/coverage.json 2>build-sanitize/coverage.log
  scripts/coverage.py build-sanitize/coverage.json
  fuzz build-sanitize scenario -dict=tools/brelvane/fuzz/scenario.dict tests/scenarios
  fuzz build-sanitize byname tools/brelvane/fuzz/corpus/byname
}

# fuzz DIR TARGET [OPTION...] SEEDS: the libFuzzer target for
# BRELVANE_FUZZ_SECONDS (20) from the seeds; new inputs stay in DIR, the log
# is shown when it fails.
fuzz() {
  local dir=$1 target=$2 out=$1/fuzz/$2
  shift 2
  rm -rf "$out" && mkdir -p "$out/corpus"
  if ! LLVM_PROFILE_FILE="$out/%p.profraw" "$dir/tools/brelvane/fuzz/brelvane_fuzz_$target" \
    -max_total_time="${BRELVANE_FUZZ_SECONDS:-20}" -artifact_prefix="$out/" "${@:1:$#-1}" \
    "$out/corpus" "${@: -1}" >"$out/log" 2>&1; then
    tail -n 40 "$out/log"
    return 1
  fi
  echo "fuzz $target: $(sed -n 's/^Done \([0-9]*\) runs in \([0-9]*\).*/\1 runs in \2 s/p' "$out/log"), no failure"
}

step_com() {
  BRELVANE_JOBS=$jobs scripts/com-tests.sh
}

scripts/deps.sh
if (($#)); then steps=("$@"); fi
for step in "${steps[@]}"; do
  echo "== ${step}"
  started=$SECONDS
  "step_${step}"
  echo "== ${step}: $((SECONDS - started)) s"
done
