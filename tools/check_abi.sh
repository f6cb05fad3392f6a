#!/usr/bin/env bash
# check_abi.sh LIBRARY: builds the library with the other compiler and compares the interfaces of both.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
other=build/abi-clang
cmake -S . -B "$other" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  -DORVEL_TESTS=OFF -DORVEL_EXAMPLES=OFF -DORVEL_WARNINGS_ARE_ERRORS=ON
cmake --build "$other" --target orvel_framework
abidiff "$1" "$other/liborvel_framework.so"
