#!/usr/bin/env bash
# check_symbols.sh [--update] LIBRARY: compares what the library exports with tools/exported_symbols.txt, or writes it.
# Whoever changes that list tells the users in CHANGELOG.md.
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

# The users are told in the same commit, or in one that followed.
cd "$(dirname "$list")/.."
# Where git knows this tree, that is: unpacked elsewhere, or owned by somebody else, there is no history to ask.
if git cat-file -e HEAD:./CHANGELOG.md 2>/dev/null && git cat-file -e HEAD:./tools/exported_symbols.txt 2>/dev/null; then
  told=$(git log -1 --format=%H -- CHANGELOG.md)
  listed=$(git log -1 --format=%H -- tools/exported_symbols.txt)
  if git diff --quiet HEAD -- CHANGELOG.md && ! { git merge-base --is-ancestor "$listed" "$told" &&
    git diff --quiet HEAD -- tools/exported_symbols.txt; }; then
    echo "tools/exported_symbols.txt has changed, and CHANGELOG.md does not tell"
    exit 1
  fi
fi
