#!/usr/bin/env bash
# Fails on notes to be done later, white space at line ends and tabs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
status=0
sources=(--include='*.h' --include='*.cpp' --include='*.sh' --include='*.py' --include='*.md' --include='*.cmake'
  --include=CMakeLists.txt --include=dev)

# refuse COMPLAINT PATTERN
refuse() {
  if grep -rnIE "${sources[@]}" --exclude-dir=build --exclude-dir=.git -e "$2" .; then
    echo "$1"
    status=1
  fi
}
# Spelt so that they do not find themselves.
refuse "finish it or drop it" '\b(TOD[O]|FIXM[E]|XX[X])\b'
refuse "white space at the end of a line" '[[:blank:]]$'
refuse "a tab where spaces belong" $'\t'
# What a comment says to be pinned, a test of that name pins.
while IFS=. read -r suite name; do
  if ! grep -rqE "^TEST(_F|_P)?\(${suite}, ${name}\)" tests; then
    echo "framework says 'pinned by ${suite}.${name}', but tests/ has no such test"
    status=1
  fi
done < <(grep -rhzoP 'pinned by[\s/]+\K\w+\.\w+' framework | tr '\0' '\n')
exit "$status"
