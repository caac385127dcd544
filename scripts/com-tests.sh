#!/usr/bin/env bash
# The COM server under Wine. Cross-builds the x64 DLLs (build-com); in a
# private prefix (build-com/prefix) first uses brelvane.dll unregistered
# through its side-by-side manifest (com/tests/regfree), then registers it
# and the test host (a class of the stand-ins' DLL); runs the VBScript
# suites of com/tests/comsuite.py against the native tool with each host,
# the early-bound client (`brelvane_com_check calls`: every vtable function
# against Invoke), the launcher, event and database suites and the compiled
# client check of com/tests/launch/run.sh, and com/tests/registration.sh.
# Then builds the x86 DLL (build-com32) and writes the release archive
# build-com/brelvane-VERSION-windows.zip. The native tool is build-test's
# when the plain step built it.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
jobs=${BRELVANE_JOBS:-2}

scripts/deps.sh g++-mingw-w64-x86-64 g++-mingw-w64-i686 wine python3

timed() {  # timed WHAT COMMAND...: runs it, then says how long it took
  local what=$1 started=$SECONDS status=0
  shift
  "$@" || status=$?
  echo "-- ${what}: $((SECONDS - started)) s"
  return $status
}

# cross DIR ARCH TARGET...: a build for Windows optimised for size (what a
# component shipped beside its host wants; it also compiles fastest), warnings
# as errors. The vtable slots' generator of the plain step's native build
# serves it when there is one; otherwise the cross build makes its own.
cross() {
  local dir=$1 arch=$2 gen=()
  shift 2
  if [ -x build-test/com/gen/brelvane_com_gen ]; then
    gen=(-DBRELVANE_COM_GEN_EXECUTABLE="$root/build-test/com/gen/brelvane_com_gen")
  fi
  cmake -S . -B "$dir" -DCMAKE_TOOLCHAIN_FILE="cmake/toolchains/mingw-w64-${arch}.cmake" \
    -DCMAKE_BUILD_TYPE=MinSizeRel -DBRELVANE_WERROR=ON "${gen[@]}" >/dev/null
  cmake --build "$dir" -j"$jobs" "$@"
}

tool=build-test/tools/brelvane/brelvane
if [ ! -x "$tool" ]; then
  tool=build-com-native/tools/brelvane/brelvane
  native() {
    cmake -S . -B build-com-native -DBRELVANE_ODBC=OFF -DBRELVANE_TESTS=OFF >/dev/null
    cmake --build build-com-native -j"$jobs" --target brelvane_tool
  }
  timed "native tool" native
fi
timed "x64 build" cross build-com x86_64

# From here on a failure is counted, not fatal, so that every check runs.
export WINEPREFIX="$root/build-com/prefix" WINEDEBUG=-all
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
# One server for every step: a `wine` started while an idle server shuts
# down can fail without a word.
mkdir -p "$WINEPREFIX" && wineserver -p
register() {  # brelvane.dll, and of the stand-ins' DLL only the test host
  wineboot -i >/dev/null 2>&1
  wine regsvr32 /s "$(winepath -w build-com/com/brelvane.dll)" &&
    wine regsvr32 /s /n /i:BrelvaneTest.DemoHost \
      "$(winepath -w build-com/com/tests/launch/brelvane_launcher_standin.dll)" ||
    { echo "regsvr32 failed" >&2; return 1; }
}
status=0
# First, while nothing is registered: the DLL used from a folder of its own.
timed "registration-free use" sh -c 'wineboot -i >/dev/null 2>&1 && sh com/tests/regfree/run.sh build-com' ||
  status=1
timed "prefix and registration" register || status=1
suites() {
  python3 com/tests/comsuite.py prepare "$tool" build-com/comsuite || return 1
  local script
  for script in host1 host2 checks; do
    (cd build-com/comsuite && wine cscript //nologo "$script.vbs")
  done
  python3 com/tests/comsuite.py compare build-com/comsuite
}
timed "suites" suites | tee build-com/suites.log || status=1
timed "early binding" wine build-com/com/brelvane_com_check.exe calls || status=1
timed "launch, event and database suites, client check" \
  env BRELVANE_NATIVE="$root/$tool" sh com/tests/launch/run.sh build-com |
  tee build-com/launch.log || status=1
# The members proven through COM: the lookups and decoders identical with both
# hosts, and the launcher class's members its scenarios call.
awk '/^host[12]: [0-9]+ of [0-9]+ identical$/ { n = (n == "" || $2 < n) ? $2 : n; all = $4 }
     / members called through COM, identical to the native run$/ { n += $1; all += $3 }
     END { printf "members proven through COM: %d of %d\n", n, all }' \
  build-com/suites.log build-com/launch.log
# It unregisters the DLL and registers it again per user.
timed "registration checks" sh com/tests/registration.sh build-com || status=1

# The x86 DLL is built only: this machine's Wine runs 64-bit programs only.
timed "x86 build" cross build-com32 i686 --target brelvane_com || status=1
package() {
  local version zip
  version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build-com/CMakeCache.txt)
  zip=build-com/brelvane-$version-windows.zip
  cmake -DX64="$root/build-com" -DFILES="$root/build-com/regfree" -DX86="$root/build-com32" \
    -DVERSION="$version" -DOUT="$root/build-com" -P com/package/zip.cmake || return 1
  x86_64-w64-mingw32-objdump -f build-com32/com/brelvane.dll | grep -q 'file format pei-i386' ||
    { echo "the x86 DLL is not a 32-bit DLL" >&2; return 1; }
  python3 - "$zip" "brelvane-$version-windows" <<'CHECK'
import sys, zipfile
names = set(zipfile.ZipFile(sys.argv[1]).namelist())
want = {f"{sys.argv[2]}/{n}" for n in ["x64/brelvane.dll", "x64/brelvane.tlb", "x64/brelvane.sxs.manifest",
        "x86/brelvane.dll", "include/brelvane_com.h", "README-windows.txt"]}
print("\n".join(sorted(names)))
sys.exit(f"missing from the archive: {sorted(want - names)}" if want - names else 0)
CHECK
}
timed "release archive" package || status=1
exit "$status"
