#!/usr/bin/env bash
# check_symbols.sh [--update] LIBRARY: compares what the library exports with tools/exported_symbols.txt, or writes it.
set -euo pipefail
export LC_ALL=C
list=$(dirname "${BASH_SOURCE[0]}")/exported_symbols.txt
update=false
if [[ ${1-} == --update ]]; then
  update=true
  shift
fi
exported=$(nm -DC --defined-only --format=just-symbols "$1" | sort -u)

if grep -E '^(.* )?(std|__gnu_cxx|orvel_internal)::' <<<"$exported"; then
  echo "these are exported and must not be"
  exit 1
fi
if $update; then
  printf '%s\n' "$exported" >"$list"
elif ! diff "$list" <(printf '%s\n' "$exported"); then
  echo "< was exported, > is now; if that is meant: tools/check_symbols.sh --update $1"
  exit 1
fi
