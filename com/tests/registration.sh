#!/bin/sh
# Registers brelvane.dll in a private Wine prefix, per machine and then per
# user, and checks each time the keys regsvr32 wrote, the type library read
# back (`brelvane_com_check typelib`), and that unregistering removes them.
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
# One server for the whole script: a `wine reg` started as an idle server
# shuts down can find none and print nothing, which read as a missing key.
mkdir -p "$WINEPREFIX" && wineserver -p
progids="Brelvane.CLSCI_LOOKUP Brelvane.CLSCI_DECODE Brelvane.CLSCI_CONNECT Brelvane.Settings"
dll=$(winepath -w "$build/com/brelvane.dll")
tlb=$(winepath -w "$build/com/brelvane.tlb")
failures=0

report() {  # report NAME STATUS; printf: the paths in a name hold backslashes
  [ "$2" -eq 0 ] && printf 'PASS %s\n' "$1" && return
  printf 'FAIL %s\n' "$1"
  failures=$((failures + 1))
}
run() { name=$1; shift; "$@" >/dev/null 2>&1; report "$name" $?; }
value() {  # value KEY [NAME]: the text of a value (the default one without NAME)
  wine reg query "$1" $([ -n "${2:-}" ] && echo "/v $2" || echo /ve) 2>/dev/null |
    tr -d '\r' | sed -n 's/^.*REG_SZ[[:space:]]*//p'
}
exists() { wine reg query "$1" >/dev/null 2>&1; }
create_errors() {  # the error number of CreateObject for each class
  printf 'On Error Resume Next\r\nFor Each p In Split("%s")\r\n  Err.Clear\r\n  Set o = CreateObject(p)\r\n  WScript.Echo Err.Number\r\nNext\r\n' \
    "$progids" >"$build/create.vbs"
  errors=$(wine cscript //nologo "$(winepath -w "$build/create.vbs")" 2>/dev/null | tr -d '\r' | tr '\n' ' ')
  [ "$errors" = "$1" ]
  report "$2 (errors: $errors)" $?
}

# registered SCOPE ROOT: the type library against the registry, and every
# key of every class as registration writes it
registered() {
  out=$(wine brelvane_com_check.exe typelib 2>/dev/null)
  status=$?
  [ $status -eq 0 ] || echo "$out" | tr -d '\r' | sed 's/^/    /'
  report "$1: type library check" $status
  for p in $progids; do
    clsid=$(value "$2\\$p\\CLSID")
    key="$2\\CLSID\\$clsid" lib="HKCR\\TypeLib\\$(value "$2\\CLSID\\$clsid\\TypeLib")\\1.0\\0"
    bad=
    [ -n "$clsid" ] || bad="; no $p\\CLSID"
    # KEY|VALUE NAME|EXPECTED (a type library's path is under win32 or win64, as the DLL)
    while IFS='|' read -r k n want; do
      got=$(value "$k" "$n")
      [ "$k" != "$lib\\win64" ] || got="$got$(value "$lib\\win32")"
      [ "$got" = "$want" ] || bad="$bad; ${k#"$2\\"} $n is '$got', not '$want'"
    done <<EOF
$2\\$p.1\\CLSID||$clsid
$2\\$p\\CurVer||$p.1
$key||${p#Brelvane.}
$key\\InprocServer32||$dll
$key\\InprocServer32|ThreadingModel|Apartment
$key\\ProgID||$p.1
$key\\VersionIndependentProgID||$p
$key\\Version||1.0
$lib\\win64||$tlb
EOF
    [ -z "$bad" ]
    report "$1: keys of $p$bad" $?
    clsids="${clsids:-} $clsid"
  done
}

# unregistered SCOPE ROOT REGSVR32-ARGUMENTS...: no key of any class is left
unregistered() {
  scope=$1 root=$2
  shift 2
  run "$scope: regsvr32 $*" wine regsvr32 /s "$@" brelvane.dll
  left= keys=
  for p in $progids; do keys="$keys $p $p.1"; done
  for c in $clsids; do keys="$keys CLSID\\$c"; done
  for k in $keys; do exists "$root\\$k" && left="$left $k"; done
  [ -z "$left" ]
  report "$scope: unregistering removes every key${left:+, left:$left}" $?
  wine brelvane_com_check.exe typelib 2>/dev/null | grep -q "FAIL library: not registered"
  report "$scope: the type library is no longer registered" $?
  clsids=
}

run "wineboot" wineboot -i
run "machine: regsvr32" wine regsvr32 /s brelvane.dll
registered machine 'HKLM\Software\Classes'
create_errors "0 0 0 0 " "machine: CreateObject of each class"
unregistered machine 'HKLM\Software\Classes' /u
create_errors "429 429 429 429 " "machine: CreateObject raises 429 after"

run "user: regsvr32 /n /i:user" wine regsvr32 /s /n /i:user brelvane.dll
registered user 'HKCU\Software\Classes'
machine_keys=0
for p in $progids; do exists "HKLM\\Software\\Classes\\$p" && machine_keys=1; done
report "user: no class key per machine" $machine_keys
unregistered user 'HKCU\Software\Classes' /u /n /i:user

wineserver -k
echo "registration: $failures failed"
[ "$failures" -eq 0 ]
