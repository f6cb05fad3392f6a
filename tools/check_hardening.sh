#!/usr/bin/env bash
# check_hardening.sh LIBRARY: looks in the built library for what cmake/orvel_options.cmake hardens it with.
set -euo pipefail
export LC_ALL=C
segments=$(readelf --program-headers --wide "$1")
dynamic=$(readelf --dynamic --wide "$1")
notes=$(readelf --notes --wide "$1")
imports=$(nm --dynamic --undefined-only "$1")
exports=$(nm --dynamic --defined-only "$1" | awk '$2 ~ /[TW]/ { print $3 }')
status=0

complain() {
  echo "$(basename "$0"): $1"
  status=1
}

# wants PATTERN TEXT COMPLAINT
wants() { grep -qE -e "$1" <<<"$2" || complain "$3"; }
refuses() { ! grep -qE -e "$1" <<<"$2" || complain "$3"; }

wants '^ *GNU_RELRO ' "$segments" "data stays writable after it was relocated (no RELRO)"
wants 'FLAGS.*\bNOW\b' "$dynamic" "functions are bound when they are called first (no BIND_NOW)"
wants '^ *GNU_STACK .* RW ' "$segments" "the stack is executable"
refuses '^ *[A-Z_]+ .* R?WE ' "$segments" "a segment is writable and executable"
refuses 'TEXTREL' "$dynamic" "code is relocated (TEXTREL)"
refuses '\((INIT|FINI)\)' "$dynamic" "code runs when it is loaded or unloaded (DT_INIT, DT_FINI)"
refuses '\(R(UN)?PATH\)' "$dynamic" "it tells where to look for libraries (RPATH)"
wants '__stack_chk_fail' "$imports" "no stack protector"
wants '__[a-z]+_chk@' "$imports" "no checked functions of the C library (_FORTIFY_SOURCE)"
wants 'x86 feature: IBT, SHSTK' "$notes" "not marked for control-flow protection"

# The mark is what the linker was told; here is whether functions begin as it promises.
unprotected=$(objdump --disassemble --no-show-raw-insn "$1" | awk -v exports="$exports" '
  BEGIN { count = split(exports, names, "\n"); for (i = 1; i <= count; ++i) exported[names[i]] }
  /^[0-9a-f]+ <.*>:$/ { name = substr($2, 2, length($2) - 3); first = name in exported; next }
  first && NF { if ($2 != "endbr64") print name; first = 0 }')
refuses . "$unprotected" "$(wc -l <<<"$unprotected") functions do not begin with endbr64, $(head -n 1 <<<"$unprotected") one of them"
exit "$status"
