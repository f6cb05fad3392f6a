#!/usr/bin/env bash
# Compiles each public header alone, as C++17 and as C++20, with both compilers, and all of them without exceptions and
# run-time type information. Public is what framework/framework.h includes.
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
{
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      for header in "${public[@]}" "$umbrella"; do
        printf '%s\n' "echo '#include \"$header\"' | $compiler -std=$standard ${flags[*]} -x c++ -"
      done
    done
    # g++ looks into a template only where it is used.
    use='class CUser : public CSingleton<CUser> {}; template class CSingleton<CUser>;'
    bare="-std=c++17 -fno-exceptions -fno-rtti ${flags[*]}"
    printf '%s\n' "{ echo '#include \"$umbrella\"'; echo '$use'; } | $compiler $bare -x c++ -"
  done
} | xargs -d '\n' -P "$(nproc)" -n 1 bash -c || status=1
exit "$status"
