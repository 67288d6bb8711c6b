#!/usr/bin/env bash
# Runs every libFuzzer target in <build-dir>/fuzz for a fixed time each, seeded
# from tests/data/fuzz/<target>/ when that exists. The corpus is copied to a
# temporary folder so the source tree is never written; crashing inputs are
# kept in <build-dir>/fuzz-artifacts/<target>/. Fails if any target fails.
#
# Usage: scripts/run-fuzzers.sh [build-dir] [seconds-per-target] [seed-root]
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_dir="${1:-$root/build/fuzz}"
seconds="${2:-30}"
seed_root="${3:-$root/tests/data/fuzz}"
fuzz_dir="$build_dir/fuzz"
artifacts="$build_dir/fuzz-artifacts"

if [[ ! -d "$fuzz_dir" ]]; then
    echo "error: $fuzz_dir not found; build the fuzz preset first" >&2
    exit 2
fi

mapfile -t targets < <(find "$fuzz_dir" -maxdepth 1 -type f -perm -u+x -name '*_fuzz' | sort)
if [[ ${#targets[@]} -eq 0 ]]; then
    echo "error: no fuzz targets in $fuzz_dir" >&2
    exit 1
fi

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

failed=()
for target in "${targets[@]}"; do
    name="$(basename "$target")"
    # A replay-main build would treat the corpus as a list of files and stop
    # at once, which would pass without fuzzing anything.
    if ! grep -qa 'max_total_time' "$target"; then
        echo "error: $name is not linked with libFuzzer" >&2
        failed+=("$name")
        continue
    fi

    corpus="$work/corpus/$name"
    mkdir -p "$corpus" "$artifacts/$name"
    seeds="$seed_root/$name"
    if [[ -d "$seeds" ]]; then
        cp -R "$seeds/." "$corpus/"
    fi
    echo "--- $name: ${seconds}s from $(find "$corpus" -type f | wc -l) seeds"

    log="$work/$name.log"
    if "$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$artifacts/$name/" "$corpus" >"$log" 2>&1; then
        grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "$log" || tail -n 3 "$log"
    else
        echo "FAILED: $name" >&2
        # The report and the input, without the shadow-memory legend.
        if grep -qE '==[0-9]+==ERROR|runtime error|ERROR: libFuzzer' "$log"; then
            awk '/==[0-9]+==ERROR|runtime error|ERROR: libFuzzer/ { on = 1 }
                 on && n++ < 40 { print }
                 on && /^SUMMARY/ { exit }' "$log" >&2
            grep -E 'Test unit written|^Base64' "$log" >&2 || true
        else
            tail -n 40 "$log" >&2
        fi
        echo "Inputs that failed are in $artifacts/$name/" >&2
        failed+=("$name")
    fi
done

if [[ ${#failed[@]} -ne 0 ]]; then
    echo "Fuzz targets that failed: ${failed[*]}" >&2
    exit 1
fi
echo "All ${#targets[@]} fuzz targets ran ${seconds}s without a failure."
