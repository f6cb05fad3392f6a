#!/usr/bin/env bash
# check_size.sh LIBRARY: fails when the library, stripped as packages ship it, has 480 KiB or more.
set -euo pipefail
readonly limit=$((480 * 1024))
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
strip --strip-unneeded -o "$stripped" "$1"
size=$(stat --format=%s "$stripped")
if ((size >= limit)); then
  echo "$1 has $size bytes when it is stripped; the limit is $limit"
  exit 1
fi
