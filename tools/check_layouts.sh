#!/usr/bin/env bash
# check_layouts.sh OBJECT: fails for a class with an exported virtual table that debugger/class_layouts.cpp, compiled to
# this object, does not describe to the debugger.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
described=$(readelf --debug-dump=info "$1" | sed -nE 's/.*DW_AT_name .*: ([A-Za-z]\w*)$/\1/p' | sort -u)
status=0
while read -r class; do
  if ! grep -qxF "$class" <<<"$described"; then
    echo "debugger/class_layouts.cpp: ${class} is missing"
    status=1
  fi
done < <(sed -nE 's/^vtable for (\w+)$/\1/p' tools/exported_symbols.txt)
exit "$status"
