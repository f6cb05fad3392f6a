#!/usr/bin/env bash
# Fails if clang-format would change a source, or leaves a line that is too long for it: comments are not broken.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if ! find framework debugger tests bench examples fuzz stress \( -name '*.h' -o -name '*.cpp' \) -print0 |
  xargs -0 clang-format --dry-run -Werror; then
  echo "clang-format -i FILE puts a file in order"
  exit 1
fi
if find framework debugger tests bench examples fuzz stress \( -name '*.h' -o -name '*.cpp' \) -print0 |
  xargs -0 awk 'length > 120 { print FILENAME ":" FNR ": longer than 120 columns" }' | grep .; then
  exit 1
fi
