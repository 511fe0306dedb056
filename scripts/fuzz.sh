#!/usr/bin/env bash
# Looks for inputs that crash, hang or leak: scripts/fuzz.sh MINUTES [TARGET...]
# All targets of tests/fuzz share the time, one on each core. What is found once is kept in build/fuzz and goes on from
# there the next time; what fails is named, and with it comes a file that belongs into tests/fuzz/corpus with the fix.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
  echo "usage: scripts/fuzz.sh MINUTES [TARGET...]; targets: ${all[*]}" >&2
  exit 2
}
mapfile -t all < <(sed -n 's/^kyt_fuzz(\([a-z]*\) .*/\1/p' tests/fuzz/CMakeLists.txt && echo lists)
[[ ${1:-} =~ ^[1-9][0-9]*$ ]] || usage
minutes=$1
targets=("${@:2}")
((${#targets[@]})) || targets=("${all[@]}")
for target in "${targets[@]}"; do
  [[ " ${all[*]} " == *" $target "* ]] || usage
done

scripts/setup.sh checks
programs=()
for target in "${targets[@]}"; do
  [[ $target == lists ]] || programs+=("${target}_fuzz")
done
((!${#programs[@]})) || scripts/build.sh fuzz "${programs[@]}"
((${#programs[@]} == ${#targets[@]})) || scripts/build.sh release _kyt_host
work=$PWD/build/fuzz/tests/fuzz
each=$((minutes * 60 * $(nproc) / ${#targets[@]}))

# lists LOG: goes by seeds instead; what has been freed is overwritten, so that using it is noticed.
lists() {
  local first=$((RANDOM * 32768 + RANDOM))
  if PYTHONPATH=build/release/python MALLOC_PERTURB_=165 tests/fuzz/lists_fuzz.py --seed "$first" --seconds "$each" \
    >"$1" 2>&1; then
    printf '%-12s %s\n' lists "$(tail -n 1 "$1")"
  else
    printf '%-12s FAILED: %s, see %s\n' lists "$(grep '^seed ' "$1" | tail -n 1)" "$1"
    return 1
  fi
}

# fuzz TARGET: its last line tells how many inputs, and how many ways through the program.
fuzz() {
  local found=$work/found/$1 log=$work/$1.log
  mkdir -p "$found" "$work/failures"
  if [[ $1 == lists ]]; then
    lists "$log"
  elif build/fuzz/bin/"$1_fuzz" -max_total_time="$each" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$work/failures/$1-" "$found" "tests/fuzz/corpus/$1" >"$log" 2>&1; then
    printf '%-12s %s inputs, %s\n' "$1" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
      "$(grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' "$log" | tail -n 1)"
  else
    printf '%-12s FAILED: %s\n' "$1" "$(grep -oE 'Test unit written to .*' "$log" || echo "see $log")"
    return 1
  fi
}
export -f fuzz lists
export work each
printf '%s\n' "${targets[@]}" | xargs -P"$(nproc)" -I{} bash -c 'fuzz {}'
