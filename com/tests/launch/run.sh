#!/bin/sh
# The launcher, event and database paths of brelvane.dll under Wine, against
# the native tool (comsuite.py says how). brelvane.dll must be registered in
# BUILD_DIR/prefix already; this registers the stand-ins there
# (brelvane_launcher_standin.dll: the launchers, the utility object and
# ADODB.Command), runs every script, checks that no object of either DLL
# survives a script, runs the compiled client check, compares, and
# unregisters the stand-ins again. The wineserver is left running.
#
#   com/tests/launch/run.sh BUILD_DIR   (BRELVANE_NATIVE=path of the native
#                                        tool, else build-test's)
#
# Prints a PASS or FAIL line per check; exits 1 when any failed.
set -u
[ $# -eq 1 ] || { echo "usage: $0 BUILD_DIR" >&2; exit 2; }
build=$(cd "$1" && pwd) || exit 2
here=$(cd "$(dirname "$0")" && pwd)
src=$(cd "$here/../../.." && pwd)
export WINEPREFIX="$build/prefix" WINEDEBUG=-all
tool=${BRELVANE_NATIVE:-$src/build-test/tools/brelvane/brelvane}
[ -x "$tool" ] || { echo "FAIL no native brelvane tool (set BRELVANE_NATIVE)"; exit 1; }
dll=$(winepath -w "$build/com/tests/launch/brelvane_launcher_standin.dll")
out="$build/launch"
rm -rf "$out" && mkdir -p "$out" || exit 2
failures=0

report() {  # report NAME STATUS
  if [ "$2" -eq 0 ]; then echo "PASS $1"; else echo "FAIL $1"; failures=$((failures + 1)); fi
}
wine regsvr32 /s "$dll" >/dev/null 2>&1
report "stand-ins registered" $?
# Unregistering takes ADODB.Command's key away: Wine's own comes back after.
msado='C:\Program Files\Common Files\System\ADO\msado15.dll'
trap 'wine regsvr32 /u /s "$dll" >/dev/null 2>&1; wine regsvr32 /s "$msado" >/dev/null 2>&1' EXIT
python3 "$here/../comsuite.py" launch-prepare "$tool" "$out"
report "scenarios prepared" $?

for script in "$out"/*.vbs; do
  name=$(basename "$script" .vbs)
  live=$(wine cscript //nologo "$(winepath -w "$script")" 2>&1 | tr -d '\r' | grep '^live')
  # brelvane.dll let go of every launcher, command and recordset it was given.
  [ "$live" = "live stand-ins: 0" ]
  report "$name: no object survives (${live:-the script did not finish})" $?
done

# The compiled client: events, lifetime, and the launch scenario's sequence from C++.
wine "$build/com/brelvane_com_check.exe" client "$(winepath -w "$out/launch.json")" \
  "$(winepath -w "$out/launch.methods")" >"$out/client.txt"
report "client check" $?
tr -d '\r' <"$out/client.txt"
python3 "$here/../comsuite.py" launch-compare "$out" || failures=$((failures + 1))
[ "$failures" -eq 0 ] || { echo "$failures failed"; exit 1; }
