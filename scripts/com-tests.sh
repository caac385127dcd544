#!/usr/bin/env bash
# The COM server under Wine. Cross-builds brelvane.dll and the test host for
# x64 (build-com) and brelvane.dll for x86 (build-com32, built, not run),
# registers the x64 DLLs in a private prefix (build-com/prefix), runs the
# VBScript suites of com/tests/comsuite.py against the native tool with
# each host, then com/tests/registration.sh when it is there.
# The native tool is build-test's when the plain step built it.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
jobs=${BRELVANE_JOBS:-2}

scripts/deps.sh g++-mingw-w64-x86-64 g++-mingw-w64-i686 wine python3

timed() {  # timed WHAT COMMAND...: runs it, then says how long it took
  local what=$1 started=$SECONDS
  shift
  "$@"
  echo "-- ${what}: $((SECONDS - started)) s"
}

# cross DIR ARCH TARGET...: a Release build for Windows with warnings as errors.
cross() {
  local dir=$1 arch=$2
  shift 2
  cmake -S . -B "$dir" -DCMAKE_TOOLCHAIN_FILE="cmake/toolchains/mingw-w64-${arch}.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DBRELVANE_ODBC=OFF -DBRELVANE_WERROR=ON >/dev/null
  cmake --build "$dir" -j"$jobs" "$@"
}

tool=build-test/tools/brelvane/brelvane
if [ ! -x "$tool" ]; then
  tool=build-com-native/tools/brelvane/brelvane
  build_tool() {
    cmake -S . -B build-com-native -DBRELVANE_ODBC=OFF -DBRELVANE_TESTS=OFF >/dev/null
    cmake --build build-com-native -j"$jobs" --target brelvane_tool
  }
  timed "native tool" build_tool
fi
timed "x64 build" cross build-com x86_64
timed "x86 build" cross build-com32 i686 --target brelvane_com

export WINEPREFIX="$root/build-com/prefix" WINEDEBUG=-all
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
timed "prefix" wineboot -i
register() {
  local dll
  for dll in build-com/com/brelvane.dll build-com/com/tests/testhost/brelvane_testhost.dll; do
    wine regsvr32 /s "$(winepath -w "$dll")" || { echo "regsvr32 failed for $dll" >&2; return 1; }
  done
}
timed "registration" register

suite=build-com/comsuite
run_suites() {
  local script
  python3 com/tests/comsuite.py prepare "$tool" "$suite"
  for script in host1 host2 checks; do
    (cd "$suite" && wine cscript //nologo "$script.vbs")
  done
}
timed "suites" run_suites
status=0
python3 com/tests/comsuite.py compare "$suite" || status=1
if [ -f com/tests/registration.sh ]; then
  timed "registration checks" sh com/tests/registration.sh build-com || status=1
fi
exit "$status"
