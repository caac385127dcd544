#!/bin/sh
# Registration-free use, in a Wine prefix where brelvane.dll is not
# registered: copies the DLL and a client with an application manifest into
# a folder of their own, writes the type library and the assembly manifest
# there with `regsvr32 /n /i:manifest`, checks those files and the DLL's
# version resource, and runs the client.  Usage: run.sh BUILD-DIR
set -u
build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
dir=$build/regfree
cache() { sed -n "s/^$1:STATIC=//p" "$build/CMakeCache.txt"; }
rm -rf "$dir" && mkdir -p "$dir"
cp "$build/com/brelvane.dll" "$build/com/tests/regfree/brelvane_regfree_client.exe" "$dir/"
wine regsvr32 /s /n /i:manifest "$(winepath -w "$dir/brelvane.dll")" || {
  echo "regsvr32 /n /i:manifest failed"
  exit 1
}
status=0
python3 "$here/files_check.py" "$dir/brelvane.dll" "$dir/brelvane.sxs.manifest" \
  "$(cache CMAKE_PROJECT_VERSION)" "$(cache CMAKE_PROJECT_DESCRIPTION)" || status=1
(cd "$dir" && wine brelvane_regfree_client.exe regfree) || status=1
exit $status
