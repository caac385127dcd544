#!/usr/bin/env bash
# Execute + read of 10,000 rows x 4 columns: the ODBC adapter next to the
# database's own client (psql) and the driver manager's client (isql) doing
# the same over the same server. Runs under the throwaway cluster:
#
#   scripts/odbc-tests.sh bench/odbc_bench.sh [RUNS]
#
# A client's time per query is its time for RUNS queries in one session,
# less its time for RUNS trivial queries (start-up, log-in, round trips),
# divided by RUNS. Each figure is the best of three rounds.
set -euo pipefail
cd "$(dirname "$0")/.."
: "${BRELVANE_ODBC_TEST:?run under scripts/odbc-tests.sh}"
runs=${1:-30}
build=${BRELVANE_ODBC_BENCH_BUILD:-build-odbc-bench}

cmake -S . -B "$build" -DBRELVANE_BENCH=ON -DBRELVANE_TESTS=OFF \
  -DBRELVANE_TOOL=OFF >/dev/null
cmake --build "$build" -j2 --target brelvane_odbc_bench >/dev/null

query="SELECT id, code, amount, description FROM bench_rows ORDER BY id"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for i in $(seq "$runs"); do echo "$query;"; done >"$work/query.sql"
for i in $(seq "$runs"); do echo "SELECT 1;"; done >"$work/trivial.sql"
sed 's/;$//' "$work/query.sql" >"$work/query.isql"
sed 's/;$//' "$work/trivial.sql" >"$work/trivial.isql"

seconds() {  # the wall-clock seconds of a command
  local start end
  start=$(date +%s.%N)
  "$@" >/dev/null
  end=$(date +%s.%N)
  echo "$end - $start" | bc -l
}
psql_run() { psql -X -q -A -t -h 127.0.0.1 -p "$BRELVANE_ODBC_PORT" -U brelvane \
  -d brelvane_test -o /dev/null -f "$1"; }
isql_run() { isql -k "$BRELVANE_ODBC_TEST" -b -d'|' <"$1"; }

# Milliseconds per query of a client: best of three rounds.
per_query() {
  local client=$1 ext=$2 best="" t q
  for round in 1 2 3; do
    q=$(seconds "$client" "$work/query.$ext")
    t=$(seconds "$client" "$work/trivial.$ext")
    t=$(echo "($q - $t) * 1000 / $runs" | bc -l)
    if [ -z "$best" ] || [ "$(echo "$t < $best" | bc -l)" -eq 1 ]; then best=$t; fi
  done
  printf '%.2f' "$best"
}

adapter=""
for round in 1 2 3; do
  read -r _ median _ < <("$build/adapters/odbc/brelvane_odbc_bench" "$runs")
  if [ -z "$adapter" ] || [ "$(echo "$median < $adapter" | bc -l)" -eq 1 ]; then
    adapter=$median
  fi
done
psql_ms=$(per_query psql_run sql)
isql_ms=$(per_query isql_run isql)

echo "Execute + read of 10,000 rows x 4 columns, ms per query ($runs queries, best of 3)"
printf '  %-24s %8s\n' "brelvane_odbc" "$adapter" "psql" "$psql_ms" "isql (unixODBC)" "$isql_ms"
printf '  adapter / psql = %.2f, adapter / isql = %.2f\n' \
  "$(echo "$adapter / $psql_ms" | bc -l)" "$(echo "$adapter / $isql_ms" | bc -l)"
