# shellcheck shell=bash
# What ./dev fuzz does: searches with the programs of fuzz/, a table of what they found, smaller corpora.

# Prints the names of the fuzz targets, or of that one.
fuzz_names() {
  local source
  for source in fuzz/*_fuzz.cpp; do
    source=${source##*/}
    if [[ -z ${1-} || ${source%_fuzz.cpp} == "$1" ]]; then echo "${source%_fuzz.cpp}"; fi
  done
}

# fuzz_program NAME ARGS...: runs a fuzz program with the options that its target wants.
fuzz_program() {
  local name=$1 options=()
  read -ra options < <(sed -nE '1,8s|^// Options: *||p' "fuzz/${name}_fuzz.cpp") || true
  if [[ -f fuzz/dict/$name.dict ]]; then options+=("-dict=fuzz/dict/$name.dict"); fi
  # Sanitizers of this age give up now and then where the kernel spreads addresses widely.
  UBSAN_OPTIONS=print_stacktrace=1 exec setarch -R "build/fuzz/fuzz/fuzz_$name" -timeout=30 "${options[@]}" "${@:2}"
}

# fuzz_search NAME NUMBER SECONDS: one process that adds to the target's working corpus.
fuzz_search() {
  local corpora=("build/fuzz/corpus/$1")
  if [[ -d fuzz/corpus/$1 ]]; then corpora+=("fuzz/corpus/$1"); fi
  fuzz_program "$1" -max_total_time="$3" -print_final_stats=1 -artifact_prefix="build/fuzz/findings/$1/" \
    "${corpora[@]}" >"build/fuzz/logs/$1.$2" 2>&1
}

# fuzz_row NAME STATUS LOG: one line of the table, and what was found; adds to the sums.
fuzz_row() {
  local count per_second first last finding found=none
  count=$(sed -nE 's/^stat::number_of_executed_units: *([0-9]+).*/\1/p' "$3" | tail -n 1)
  # Without a summary, as far as it was told.
  [[ -n $count ]] || count=$(sed -nE 's/^#([0-9]+)\s.*/\1/p' "$3" | tail -n 1)
  per_second=$(sed -nE 's/^stat::average_exec_per_sec: *([0-9]+).*/\1/p' "$3" | tail -n 1)
  first=$(sed -nE 's/^#[0-9]+\s+INITED cov: ([0-9]+).*/\1/p' "$3" | head -n 1)
  last=$(sed -nE 's/^#[0-9]+\s.* cov: ([0-9]+).*/\1/p' "$3" | tail -n 1)
  if (($2 != 0)); then found=FOUND; fi
  printf '%-16s %12d %9d %9d %6s  %s\n' \
    "$1" "${count:-0}" "${per_second:-0}" "${last:-0}" "+$((${last:-0} - ${first:-0}))" "$found"
  executions=$((executions + ${count:-0}))
  (($2 != 0)) || return 0
  findings=$((findings + 1))
  { grep -E '^(CHECK FAILED|SUMMARY|==[0-9]+== ?ERROR)|runtime error|terminate called|what\(\)' "$3" || true; } |
    head -n 6 | cut -c 1-400
  finding=$(sed -nE 's/.*Test unit written to (\S+).*/\1/p' "$3" | tail -n 1)
  echo "  all of it: $3"
  if [[ -n $finding ]]; then
    echo "  once more: setarch -R build/fuzz/fuzz/fuzz_$1 $finding"
    echo "  smaller:   setarch -R build/fuzz/fuzz/fuzz_$1 -minimize_crash=1 -max_total_time=60 $finding"
    echo "  as a test: cp $finding fuzz/corpus/$1/ && ./dev test fuzz.$1"
  fi
}

executions=0
findings=0

fuzz() {
  local minimize=0 seconds=60 target='' argument name number status
  for argument in "$@"; do
    case $argument in
      --minimize) minimize=1 ;;
      *[!0-9]*) target=$argument ;;
      *) seconds=$argument ;;
    esac
  done
  local names=()
  mapfile -t names < <(fuzz_names "$target")
  ((${#names[@]} > 0)) || die "there is no fuzz target '$target'; these are: $(fuzz_names | tr '\n' ' ')"
  need g++ cmake ninja-build clang libclang-rt-14-dev llvm libssl-dev zlib1g-dev python3
  configure fuzz
  compile fuzz "${names[@]/#/fuzz_}"
  for name in "${names[@]}"; do mkdir -p build/fuzz/{corpus,findings}/"$name" build/fuzz/logs; done
  if ((minimize)); then
    for name in "${names[@]}"; do fuzz_minimize "$name"; done
    return
  fi

  # All processors: with a target each, or with the same one, whose processes learn from one another's corpus.
  local processes=() finished count
  for name in "${names[@]}"; do
    count=1
    if [[ -n $target ]]; then count=$(nproc); fi
    for ((number = 1; number <= count; ++number)); do processes+=("$name $number"); done
  done
  say "searching (${#names[@]} of $seconds seconds, $(nproc) at a time)"
  printf '%-16s %12s %9s %9s %6s  %s\n' target executions per_second coverage new report
  local -A running=()
  trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
  trap 'exit 130' INT TERM
  local next=0
  while ((next < ${#processes[@]} || ${#running[@]} > 0)); do
    while ((next < ${#processes[@]} && ${#running[@]} < $(nproc))); do
      read -r name number <<<"${processes[next]}"
      fuzz_search "$name" "$number" "$seconds" &
      running[$!]=${processes[next]}
      next=$((next + 1))
    done
    status=0
    wait -n -p finished "${!running[@]}" || status=$?
    read -r name number <<<"${running[$finished]}"
    unset "running[$finished]"
    fuzz_row "$name" "$status" "build/fuzz/logs/$name.$number"
  done
  echo "$executions executions, $findings reports"
  ((findings == 0)) || die "mend what was reported above; each report says how to repeat it"
  next "./dev fuzz --minimize${target:+ $target}, if some of what is new is worth keeping in fuzz/corpus"
}

# fuzz_minimize NAME: of all that the target knows, a few small inputs that together reach the most.
fuzz_minimize() {
  local corpora=("build/fuzz/corpus/$1") dir=build/fuzz/minimized/$1
  if [[ -d fuzz/corpus/$1 ]]; then corpora=("fuzz/corpus/$1" "${corpora[@]}"); fi
  # A control file that is there already would be gone on with.
  rm -rf "$dir" "$dir.control"
  mkdir -p "$dir" "fuzz/corpus/$1"
  (fuzz_program "$1" -set_cover_merge=1 -max_len=1000 -merge_control_file="$dir.control" "$dir" "${corpora[@]}") \
    >"build/fuzz/logs/$1.merge" 2>&1 || die "$1 could not be merged; see build/fuzz/logs/$1.merge"
  fuzz/pick_corpus.py "$dir.control" "$dir" "fuzz/corpus/$1"
}
