#!/bin/sh
# Registers brelvane.dll in a private Wine prefix, per machine and then per
# user, and checks each time the keys regsvr32 wrote, the type library read
# back by typelib_check.exe, and that unregistering removes them again.
# Per machine it also creates each class with CreateObject (cscript), which
# must succeed while registered and raise 429 afterwards.
#
# Under Wine, HKEY_CLASSES_ROOT shows HKLM\Software\Classes only, so a class
# registered per user cannot be created there (its CreateObject is not
# checked), and RegisterTypeLibForUser registers the library per machine:
# the library's key is looked up through HKEY_CLASSES_ROOT, where Windows
# merges both.
#
#   com/tests/registration.sh BUILD_DIR      (a mingw-w64 build directory)
#
# Prints a PASS or FAIL line per check; exits 1 when any failed.
set -u
[ $# -eq 1 ] || { echo "usage: $0 BUILD_DIR" >&2; exit 2; }
build=$(cd "$1" && pwd) || exit 2
cd "$build/com" || exit 2
export WINEPREFIX="$build/prefix" WINEDEBUG=-all

progids="Brelvane.CLSCI_LOOKUP Brelvane.CLSCI_DECODE Brelvane.CLSCI_CONNECT"
failures=0

report() {  # report NAME STATUS
  if [ "$2" -eq 0 ]; then echo "PASS $1"; else echo "FAIL $1"; failures=$((failures + 1)); fi
}
run() {  # run NAME COMMAND...: passes when the command does
  name=$1; shift
  "$@" >/dev/null 2>&1
  report "$name" $?
}
value() {  # value KEY [NAME]: the text of a value (the default one without NAME)
  if [ $# -eq 2 ]; then set -- "$1" /v "$2"; else set -- "$1" /ve; fi
  wine reg query "$@" 2>/dev/null | tr -d '\r' | sed -n 's/^.*REG_SZ[[:space:]]*//p'
}
exists() { wine reg query "$1" >/dev/null 2>&1; }
same() {  # same ACTUAL EXPECTED WHAT: notes a difference in $bad
  [ "$1" = "$2" ] || bad="$bad; $3 is '$1', not '$2'"
}
create_errors() {  # the error number of CreateObject for each class
  list=$(echo "$progids" | sed 's/ /", "/g')
  printf 'On Error Resume Next\r\nFor Each p In Array("%s")\r\n  Err.Clear\r\n  Set o = CreateObject(p)\r\n  WScript.Echo Err.Number\r\n  Set o = Nothing\r\nNext\r\n' \
    "$list" >"$build/create.vbs"
  wine cscript //nologo "$(winepath -w "$build/create.vbs")" 2>/dev/null | tr -d '\r' | tr '\n' ' '
}

dll=$(winepath -w "$build/com/brelvane.dll")
tlb=$(winepath -w "$build/com/brelvane.tlb")

check_typelib() {  # check_typelib SCOPE: the type library against the registry
  out=$(wine typelib_check.exe 2>/dev/null)
  status=$?
  [ $status -eq 0 ] || echo "$out" | tr -d '\r' | sed 's/^/    /'
  report "$1: typelib_check" $status
}

check_keys() {  # check_keys SCOPE ROOT: every key of every class, as registration writes it
  for p in $progids; do
    bad=
    clsid=$(value "$2\\$p\\CLSID")
    key="$2\\CLSID\\$clsid"
    libid=$(value "$key\\TypeLib")
    [ -n "$clsid" ] || bad="; no $p\\CLSID"
    same "$(value "$2\\$p.1\\CLSID")" "$clsid" "$p.1\\CLSID"
    same "$(value "$2\\$p\\CurVer")" "$p.1" "CurVer"
    same "$(value "$key")" "${p#Brelvane.}" "the class name"
    same "$(value "$key\\InprocServer32")" "$dll" "InprocServer32"
    same "$(value "$key\\InprocServer32" ThreadingModel)" "Apartment" "ThreadingModel"
    same "$(value "$key\\ProgID")" "$p.1" "ProgID"
    same "$(value "$key\\VersionIndependentProgID")" "$p" "VersionIndependentProgID"
    same "$(value "$key\\Version")" "1.0" "Version"
    lib="HKCR\\TypeLib\\$libid\\1.0\\0"  # win32 or win64, as the DLL
    same "$(value "$lib\\win64")$(value "$lib\\win32")" "$tlb" "the type library's path"
    [ -z "$bad" ]
    report "$1: keys of $p$bad" $?
    clsids="${clsids:-} $clsid"
  done
}

check_gone() {  # check_gone SCOPE ROOT: no key of any class is left
  left=
  for p in $progids; do
    for k in "$p" "$p.1"; do exists "$2\\$k" && left="$left $k"; done
  done
  for c in $clsids; do exists "$2\\CLSID\\$c" && left="$left CLSID\\$c"; done
  [ -z "$left" ]
  report "$1: unregistering removes every key${left:+, left:$left}" $?
  wine typelib_check.exe 2>/dev/null | grep -q "FAIL library: not registered"
  report "$1: the type library is no longer registered" $?
  clsids=
}

run "wineboot" wineboot -i

run "machine: regsvr32" wine regsvr32 /s brelvane.dll
check_typelib machine
check_keys machine 'HKLM\Software\Classes'
errors=$(create_errors)
report "machine: CreateObject of each class (errors: $errors)" "$([ "$errors" = "0 0 0 " ]; echo $?)"
run "machine: regsvr32 /u" wine regsvr32 /s /u brelvane.dll
check_gone machine 'HKLM\Software\Classes'
errors=$(create_errors)
report "machine: CreateObject raises 429 after (errors: $errors)" "$([ "$errors" = "429 429 429 " ]; echo $?)"

run "user: regsvr32 /n /i:user" wine regsvr32 /s /n /i:user brelvane.dll
check_keys user 'HKCU\Software\Classes'
nothing_else=0
for p in $progids; do exists "HKLM\\Software\\Classes\\$p" && nothing_else=1; done
report "user: no class key per machine" $nothing_else
check_typelib user
run "user: regsvr32 /u /n /i:user" wine regsvr32 /s /u /n /i:user brelvane.dll
check_gone user 'HKCU\Software\Classes'

wineserver -k
echo "registration: $failures failed"
[ "$failures" -eq 0 ]
