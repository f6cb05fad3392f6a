# shellcheck shell=bash
# What runs tests: ./dev test, ./dev stress and ./dev coverage.

passed=0
failed=0
matching_tests=()
failed_tests=()

# tests_of PRESET [CTEST-OPTIONS]: the names of the tests that match. A configured tree knows them, built or not.
tests_of() {
  ctest --test-dir "build/$1" --show-only "${@:2}" 2>/dev/null | sed -nE 's/^ *Test +#[0-9]+: ([^ ]+).*/\1/p'
}

# build_and_run PRESET [CTEST-OPTIONS]: the tests that match. Each is built, with all that it needs to run, by the target
# test_NAME.
build_and_run() {
  local names
  mapfile -t names < <(tests_of "$@")
  ((${#names[@]} > 0)) || return 0
  compile "$1" "${names[@]/#/test_}"
  suite "$@"
}

# suite PRESET [CTEST-OPTIONS]: runs tests that are built and adds their cases to the sums.
suite() {
  local preset=$1 dir=$PWD/build/$1 names name cases failures fixed_addresses=() status=0 failed_before=$failed
  mapfile -t names < <(tests_of "$@")
  matching_tests+=("${names[@]}")
  # Sanitizers of this age give up now and then where the kernel spreads addresses widely.
  if [[ $preset != release ]] && setarch -R true 2>/dev/null; then fixed_addresses=(setarch -R); fi
  say "testing ($preset)"
  # GoogleTest's report of each test, and ctest's list of those that failed, which it writes only if there are some.
  local results=$dir/results failures_list=$dir/Testing/Temporary/LastTestsFailed.log
  rm -rf "$results" "$failures_list"
  mkdir "$results"
  GTEST_OUTPUT=xml:$results/ "${fixed_addresses[@]}" ctest --test-dir "$dir" -j"$(nproc)" --output-on-failure \
    --no-label-summary "${@:2}" || status=$?
  for name in "${names[@]}"; do
    if ! read -r cases failures < <(cases_of "$results/test_$name.xml"); then
      echo "$name did not run to its end"
      cases=1 failures=1
    fi
    # All cases passed, but then the program ended badly.
    if ((failures == 0)) && grep -qsx "[0-9]*:$name" "$failures_list"; then failures=1; fi
    if ((failures > 0)); then failed_tests+=("$name"); fi
    passed=$((passed + (cases > failures ? cases - failures : 0)))
    failed=$((failed + failures))
  done
  if ((status != 0 && failed == failed_before)); then failed=$((failed + 1)); fi
}

# Prints how many cases GoogleTest's report counts, and how many of them failed.
cases_of() {
  sed -nE 's/^<testsuites tests="([0-9]+)" failures="([0-9]+)".*/\1 \2/p' "$1" 2>/dev/null
}

# Ends a command that ran tests: the sums, and whether all passed.
verdict() {
  echo "$passed passed, $failed failed"
  ((passed > 0 && failed == 0))
}

# run_tests [--quick] [FILTER [CASES]]
run_tests() {
  local quick=0
  if [[ ${1-} == --quick ]]; then
    quick=1
    shift
  fi
  [[ ${1-} != -* && $# -le 2 ]] || die "it is ./dev test [--quick] [FILTER [CASES]]"
  local filter=${1:-.} cases=${2-}
  need g++ cmake ninja-build clang libclang-rt-14-dev llvm libgtest-dev libgmock-dev libssl-dev zlib1g-dev dpkg-dev file gdb pkgconf libfmt-dev python3
  export ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1 TSAN_OPTIONS=halt_on_error=1
  if [[ -n $cases ]]; then export GTEST_FILTER=$cases; fi
  configure release TESTS EXAMPLES
  build_and_run release -R "$filter"
  if ((!quick)); then
    configure asan-ubsan TESTS EXAMPLES
    build_and_run asan-ubsan -R "$filter"
    configure tsan TESTS EXAMPLES
    build_and_run tsan -R "$filter" -L threaded
  fi
  after_tests "$quick" "$filter" "$cases" >&2
  verdict
}

# after_tests QUICK FILTER CASES: what there is to do next.
after_tests() {
  if ((${#matching_tests[@]} == 0)); then
    echo "dev: no test is called like '$2'$( (($1)) && echo " in the optimised build")." \
      "They are called like basic.blob; ctest --test-dir build/release -N lists them"
  elif ((passed + failed == 0)); then
    echo "dev: no case of ${matching_tests[*]} is called like '$3';" \
      "build/release/tests/test_${matching_tests[0]} --gtest_list_tests lists them"
  elif ((failed > 0)); then
    local names
    names=$(printf '%s\n' "${failed_tests[@]}" | sort -u | paste -sd '|')
    echo "dev: mend what failed above; once more: ./dev test $( (($1)) && echo "--quick ")'$names'"
  elif (($1)); then
    next "the same without --quick, under the sanitizers"
  elif [[ $2 == . && -z $3 ]]; then
    next "./dev check"
  fi
}

# stress [MODULE] [SECONDS]: every module's programs, or that one's, under ThreadSanitizer.
stress() {
  local seconds=60 module='' argument
  for argument in "$@"; do
    case $argument in
      *[!0-9]*) module=$argument ;;
      *) seconds=$argument ;;
    esac
  done
  [[ -z $module || -f stress/${module}_stress.cpp ]] ||
    die "no stress test is called '$module'; these are: $(cd stress && echo *_stress.cpp | sed 's/_stress\.cpp//g')"
  need g++ cmake ninja-build clang libclang-rt-14-dev llvm libgtest-dev libgmock-dev libssl-dev
  configure tsan TESTS EXAMPLES
  export STRESS_SECONDS=$seconds TSAN_OPTIONS=halt_on_error=1
  build_and_run tsan -R "^stress\.${module:-.*}$" --timeout "$((seconds * 10 + 600))"
  verdict
}

coverage() {
  need g++ cmake ninja-build libgtest-dev libgmock-dev libssl-dev gcovr
  configure coverage TESTS
  compile coverage all
  find build/coverage -name '*.gcda' -delete
  suite coverage
  ((failed == 0)) || die "$failed failed; mend them first, ./dev test shows them as well"
  say "counting (framework/); each line's branches: build/coverage/html/index.html"
  mkdir -p build/coverage/html
  gcovr --root . --filter framework/ --exclude-unreachable-branches --exclude-throw-branches -j "$(nproc)" \
    --txt --print-summary --html-details build/coverage/html/index.html build/coverage/CMakeFiles build/coverage/tests
}
