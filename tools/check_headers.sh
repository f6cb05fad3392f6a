#!/usr/bin/env bash
# Compiles each public header alone, as C++17 and as C++20, with both compilers. Public is what framework/framework.h
# includes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C
umbrella=framework/framework.h
mapfile -t public < <(sed -nE 's/^#include "(.*)"$/\1/p' "$umbrella")
status=0

if ! printf '%s\n' "${public[@]}" | sort -c 2>/dev/null; then
  echo "$umbrella: not in alphabetical order"
  status=1
fi
# What exports something or is included by a public header is public as well.
while read -r header; do
  if ! grep -qxF "#include \"$header\"" "$umbrella"; then
    echo "$umbrella: $header is public and missing here"
    status=1
  fi
done < <({
  grep -rlw QV_EXPORT --include='*.h' framework
  sed -nE 's/^#include "(.*)"$/\1/p' "${public[@]}"
} | sort -u)

flags=(-fsyntax-only -I . -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Werror)
for header in "${public[@]}" "$umbrella"; do
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      printf '%s\n' "echo '#include \"$header\"' | $compiler -std=$standard ${flags[*]} -x c++ -"
    done
  done
done | xargs -d '\n' -P "$(nproc)" -n 1 bash -c || status=1
exit "$status"
