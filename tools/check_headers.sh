#!/usr/bin/env bash
# Compiles each public header alone, as C++17 and as C++20, with both compilers, and all of them without exceptions and
# run-time type information. Public is what stands outside of internal/ folders; framework/framework.h includes it all
# but what is in framework/interop: a program that wants one of those includes it by itself.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C
umbrella=framework/framework.h
mapfile -t public < <(sed -nE 's/^#include "(.*)"$/\1/p' "$umbrella")
mapfile -t interop < <(find framework/interop -name '*.h' | sort)
status=0

if ! printf '%s\n' "${public[@]}" | sort -c 2>/dev/null; then
  echo "$umbrella: not in alphabetical order"
  status=1
fi
if ! diff <(printf '%s\n' "${public[@]}") \
  <(find framework -name '*.h' ! -path '*/internal/*' ! -path '*/interop/*' ! -path "$umbrella" | sort); then
  echo "$umbrella: includes other headers (<) than those that are public (>)"
  status=1
fi
flags=(-fsyntax-only -I . -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Werror)
{
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      for header in "${public[@]}" "${interop[@]}" "$umbrella"; do
        printf '%s\n' "echo '#include \"$header\"' | $compiler -std=$standard ${flags[*]} -x c++ -"
      done
    done
    # g++ looks into a template only where it is used.
    use='class CUser : public CSingleton<CUser> {}; template class CSingleton<CUser>;'
    bare="-std=c++17 -fno-exceptions -fno-rtti ${flags[*]}"
    printf '%s\n' "{ echo '#include \"$umbrella\"'; echo '$use'; } | $compiler $bare -x c++ -"
    for header in "${interop[@]}"; do
      printf '%s\n' "echo '#include \"$header\"' | $compiler $bare -x c++ -"
    done
  done
} | xargs -d '\n' -P "$(nproc)" -n 1 bash -c || status=1
exit "$status"
