#!/usr/bin/env bash
# Runs the ODBC adapter's tests against a throwaway PostgreSQL 15 cluster.
#
#   scripts/odbc-tests.sh              build and run the ODBC tests (ctest -L odbc)
#   scripts/odbc-tests.sh CMD ARGS...  run CMD with the cluster up instead
#
# Installs what it needs from Debian's packages, starts a cluster in a
# temporary directory on a free loopback port (as the unprivileged
# "postgres" user when run as root: the server refuses to run as root),
# loads adapters/odbc/tests/schema.sql, and exports the connection string
# in BRELVANE_ODBC_TEST. The cluster is stopped and removed on every exit.
# BRELVANE_ODBC_BUILD names the build directory (default build-odbc).
set -euo pipefail
cd "$(dirname "$0")/.."

# isql (unixodbc) and bc serve the benchmark.
scripts/deps.sh postgresql-15 odbc-postgresql unixodbc-dev unixodbc bc

bin=/usr/lib/postgresql/15/bin
driver=$(dpkg -L odbc-postgresql | grep '/psqlodbcw\.so$' | head -n1)
[ -n "$driver" ] || { echo "odbc-postgresql ships no psqlodbcw.so" >&2; exit 1; }

# The server runs as the invoking user, or as "postgres" for root.
as_server=()
if [ "$(id -u)" -eq 0 ]; then
  id postgres >/dev/null 2>&1 || useradd --system --no-create-home postgres
  as_server=(runuser -u postgres --)
fi

cluster=$(mktemp -d /tmp/brelvane-pg.XXXXXX)
started=""
cleanup() {
  status=$?
  if [ -n "$started" ]; then
    "${as_server[@]}" "$bin/pg_ctl" -D "$cluster/data" -m immediate -w stop >/dev/null 2>&1 || true
  fi
  rm -rf "$cluster"
  exit "$status"
}
trap cleanup EXIT INT TERM
[ "$(id -u)" -ne 0 ] || chown postgres: "$cluster"

# A free loopback port.
port=""
for candidate in $(seq 54330 54399); do
  if ! (exec 3<>"/dev/tcp/127.0.0.1/$candidate") 2>/dev/null; then
    port=$candidate
    break
  fi
done
[ -n "$port" ] || { echo "no free loopback port in 54330-54399" >&2; exit 1; }

"${as_server[@]}" "$bin/initdb" -D "$cluster/data" -A trust -U brelvane -E UTF8 --no-locale \
  >"$cluster/initdb.log" 2>&1 || { cat "$cluster/initdb.log" >&2; exit 1; }
started=yes
"${as_server[@]}" "$bin/pg_ctl" -D "$cluster/data" -l "$cluster/server.log" -w -t 60 \
  -o "-c listen_addresses=127.0.0.1 -p $port -k $cluster -c fsync=off" start >/dev/null ||
  { cat "$cluster/server.log" >&2; exit 1; }

psql=(psql -X -q -h 127.0.0.1 -p "$port" -U brelvane -v ON_ERROR_STOP=1)
"${psql[@]}" -d postgres -c "CREATE DATABASE brelvane_test"
"${psql[@]}" -d brelvane_test -f adapters/odbc/tests/schema.sql >/dev/null

export BRELVANE_ODBC_TEST="Driver=$driver;Server=127.0.0.1;Port=$port;Database=brelvane_test;Uid=brelvane;BoolsAsChar=0;"
export BRELVANE_ODBC_PORT=$port
# Under a sanitizer build, the driver's own leaks are not the adapter's.
export LSAN_OPTIONS="${LSAN_OPTIONS:+$LSAN_OPTIONS:}suppressions=$PWD/adapters/odbc/tests/lsan.supp"
echo "PostgreSQL on 127.0.0.1:$port ($cluster)"

if (($#)); then
  "$@"
else
  build=${BRELVANE_ODBC_BUILD:-build-odbc}
  cmake -S . -B "$build" -DBRELVANE_ODBC=ON >/dev/null
  cmake --build "$build" -j2 --target brelvane_odbc_tests
  ctest --test-dir "$build" -L odbc --no-tests=error --output-on-failure -j2
fi
