#!/usr/bin/env bash
# check_tidy.sh BUILD-DIRECTORY: runs clang-tidy, as .clang-tidy tells, over the library's sources and their headers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
status=0
findings=$(find framework -name '*.cpp' -print0 |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p "$1" --extra-arg=-Wno-unknown-warning-option 2>&1) || status=1
grep -vE '^[0-9]+ warnings?( and [0-9]+ errors?)? generated\.$' <<<"$findings" || true
exit "$status"
