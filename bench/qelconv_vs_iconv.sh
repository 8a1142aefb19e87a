#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Throughput of qelconv against glibc's iconv on the same multilingual UTF-8
# file, in the same run: UTF-8 -> UTF-16LE and back with each tool, best of
# RUNS timings, outputs checked to be equal.
#
#   bench/qelconv_vs_iconv.sh [SIZE_MIB]      (default 1024)
#
# Environment: RUNS (default 3), BENCH_DIR (scratch directory, default under
# /tmp; needs about 7 times SIZE_MIB of space), QELCONV (a qelconv binary to
# use instead of building one in build/qelconv-bench).
#
# Prints the ratios iconv time / qelconv time (above 1: qelconv is faster)
# and exits 1 unless each qelconv direction is at least as fast as
# `iconv -f UTF-8 -t UTF-16LE`.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
size_mib=${1:-1024}
runs=${RUNS:-3}

if [ -z "${QELCONV:-}" ]; then
  echo "building qelconv (build/qelconv-bench, Release)" >&2
  cmake -S "$root" -B "$root/build/qelconv-bench" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQELUTF_TESTS=OFF >/dev/null
  cmake --build "$root/build/qelconv-bench" -j "$(nproc 2>/dev/null || echo 2)" --target qelconv >/dev/null
  QELCONV="$root/build/qelconv-bench/tools/qelconv"
fi
command -v iconv >/dev/null || { echo "iconv not found" >&2; exit 2; }

work=$(mktemp -d "${BENCH_DIR:-/tmp}/qelconv-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT

# The input: whole copies of the multilingual sample and some plain prose,
# so that every block is well-formed text of mixed widths.
seed="$work/seed"
cat samples/multilingual-utf8.txt >"$seed"
for _ in 1 2 3; do
  printf '%s\n' "Plain prose keeps most real files mostly ASCII, with a word like café now and then." >>"$seed"
done
while [ "$(wc -c <"$seed")" -lt 1048576 ]; do cat "$seed" "$seed" >"$seed.2"; mv "$seed.2" "$seed"; done
chunk=$(wc -c <"$seed")
copies=$(( (size_mib * 1048576 + chunk - 1) / chunk ))
in="$work/input.txt"
for _ in $(seq "$copies"); do cat "$seed"; done >"$in"
bytes=$(wc -c <"$in")
cat "$in" >/dev/null  # into the page cache

declare -A best  # best time in nanoseconds, by label
timeit() {  # label, command...
  local label=$1; shift
  local start end t
  start=$(date +%s%N)
  "$@"
  end=$(date +%s%N)
  t=$((end - start))
  if [ -z "${best[$label]:-}" ] || [ "$t" -lt "${best[$label]}" ]; then best[$label]=$t; fi
}
for _ in $(seq "$runs"); do
  timeit c_there sh -c 'cat "$1" >"$2"' - "$in" "$work/c8"
  timeit q_there "$QELCONV" -t utf16le "$in" -o "$work/q16"
  timeit i_there sh -c 'iconv -f UTF-8 -t UTF-16LE "$1" >"$2"' - "$in" "$work/i16"
  timeit c_back sh -c 'cat "$1" >"$2"' - "$work/q16" "$work/c16"
  timeit q_back "$QELCONV" -f utf16le "$work/q16" -o "$work/q8"
  timeit i_back sh -c 'iconv -f UTF-16LE -t UTF-8 "$1" >"$2"' - "$work/i16" "$work/i8"
done
cmp -s "$work/q16" "$work/i16" || { echo "UTF-16LE outputs differ" >&2; exit 2; }
cmp -s "$work/q8" "$in" || { echo "qelconv round trip differs from the input" >&2; exit 2; }
cmp -s "$work/i8" "$in" || { echo "iconv round trip differs from the input" >&2; exit 2; }

secs() { awk -v n="$1" 'BEGIN { printf "%.3f", n / 1e9 }'; }
rate() { awk -v n="$1" -v b="$bytes" 'BEGIN { printf "%.0f", b / 1048576 / (n / 1e9) }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }

printf 'input: %s bytes of multilingual UTF-8; best of %s runs each\n\n' "$bytes" "$runs"
printf '  %-28s %9s %12s\n' "" "seconds" "MiB/s (in)"
printf '  %-28s %9s %12s\n' "cat of the UTF-8 file" "$(secs "${best[c_there]}")" "$(rate "${best[c_there]}")"
printf '  %-28s %9s %12s\n' "cat of the UTF-16LE file" "$(secs "${best[c_back]}")" "$(rate "${best[c_back]}")"
printf '  %-28s %9s %12s\n' "qelconv UTF-8 -> UTF-16LE" "$(secs "${best[q_there]}")" "$(rate "${best[q_there]}")"
printf '  %-28s %9s %12s\n' "qelconv UTF-16LE -> UTF-8" "$(secs "${best[q_back]}")" "$(rate "${best[q_back]}")"
printf '  %-28s %9s %12s\n' "iconv   UTF-8 -> UTF-16LE" "$(secs "${best[i_there]}")" "$(rate "${best[i_there]}")"
printf '  %-28s %9s %12s\n' "iconv   UTF-16LE -> UTF-8" "$(secs "${best[i_back]}")" "$(rate "${best[i_back]}")"
echo
echo "ratio iconv time / qelconv time (above 1: qelconv is faster)"
echo "  UTF-8 -> UTF-16LE:                          $(ratio "${best[i_there]}" "${best[q_there]}")"
echo "  UTF-16LE -> UTF-8:                          $(ratio "${best[i_back]}" "${best[q_back]}")"
echo "  qelconv back vs iconv UTF-8 -> UTF-16LE:    $(ratio "${best[i_there]}" "${best[q_back]}")"
echo "  round trip (both directions, each tool):    $(ratio $((best[i_there] + best[i_back])) $((best[q_there] + best[q_back])))"
echo
echo "qelconv's pace as a share of cat copying the same input file:"
echo "  UTF-8 -> UTF-16LE:                          $(ratio "${best[c_there]}" "${best[q_there]}")"
echo "  UTF-16LE -> UTF-8:                          $(ratio "${best[c_back]}" "${best[q_back]}")"

if [ "${best[q_there]}" -le "${best[i_there]}" ] && [ "${best[q_back]}" -le "${best[i_there]}" ]; then
  echo "qelconv is at least as fast as iconv -f UTF-8 -t UTF-16LE in each direction"
else
  echo "qelconv is SLOWER than iconv -f UTF-8 -t UTF-16LE in at least one direction"
  exit 1
fi
