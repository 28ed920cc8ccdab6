#!/usr/bin/env bash
# Instructions per call of each case of zkbench, counted by callgrind, as
# ratios to the no-op floor: figures that do not move with the load of the
# host, for comparing a change of the binding before and after.
#
#   bench/instructions.sh [build directory]
set -euo pipefail
build=${1:-build}
calls=20000
export TCLLIBPATH=$build

count() {  # prints "<instructions> <case name>"
    local log name
    log=$(mktemp)
    name=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null "$build/bench/zkbench" --loop "$1" $calls 2>"$log")
    echo "$(awk '/Collected/ {print $4}' "$log") $name"
    rm -f "$log"
}

read -r empty _ < <(count empty)
read -r floor _ < <(count 0)
floor=$(( (floor - empty) / calls ))
echo "instructions per call (callgrind, $calls calls, empty loop taken off)"
for ((c = 0; ; c++)); do
    read -r total name < <(count "$c") || true
    [ -n "${name:-}" ] || break  # past the last case
    per=$(( (total - empty) / calls ))
    awk -v n="$name" -v p="$per" -v f="$floor" 'BEGIN { printf "  %-38s %6d   %5.2fx\n", n, p, p / f }'
done
