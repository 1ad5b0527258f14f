# For the scripts that measure programs beside each other: sourced, not run.

# On one core: whatever is started from here.
use_one_core() {
  core=$(taskset -cp $$ | sed 's/.*: //; s/[,-].*//')
  taskset -cp "$core" $$ >/dev/null
}
use_all_cores() { taskset -cp "0-$(($(nproc --all) - 1))" $$ >/dev/null; }

processor() { sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1 | tr -s ' '; }

# Runs several functions in turns, and sets time[function] to the median of the seconds that each took: those of the
# processor in the program itself (user), or those of the clock (real).
#
#     declare -A time
#     measure user RUNS function ...
measure() {
  local kind=$1 runs=$2 i name TIMEFORMAT=%U
  shift 2
  [ "$kind" = real ] && TIMEFORMAT=%R
  for name in "$@"; do : >"$folder/times-$name"; done
  for ((i = 0; i < runs; ++i)); do
    for name in "$@"; do
      { time "$name" 2>/dev/null; } 2>>"$folder/times-$name"
    done
  done
  for name in "$@"; do
    time[$name]=$(sort -n "$folder/times-$name" | awk '{ all[NR] = $1 } END { print all[int((NR + 1) / 2)] }')
  done
}

# A row of a table in Markdown: how many times as long b took as a, against the goal.
#
#     ratio_row CASE GOAL b a         at least that
#     ratio_row CASE "<= GOAL" b a    at most
ratio_row() {
  awk -v name="$1" -v goal="$2" -v b="$3" -v a="$4" 'BEGIN {
    most = sub(/^<= /, "", goal); goal += 0; ratio = b / a
    printf "| %s | %s %s | %.2f | %s |\n", name, most ? "at most" : "at least", goal, ratio,
           (most ? ratio <= goal : ratio >= goal) ? "yes" : "**no**" }'
}
