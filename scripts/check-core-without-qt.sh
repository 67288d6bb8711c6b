#!/usr/bin/env bash
# Fails if anything outside the app layer (app/, tests/app/) compiles or links
# against Qt. The core must stay portable to a non-Qt front end.
#
# Usage: scripts/check-core-without-qt.sh [build-dir]   (default build/debug,
# which must be configured with the app so the check can prove it sees Qt).
set -euo pipefail

build_dir="${1:-build/debug}"
ninja_file="$build_dir/build.ninja"
required_core_libraries=(corvale_platform corvale_records corvale_vault)

if [[ ! -f "$ninja_file" ]]; then
    echo "error: $ninja_file not found; configure and build $build_dir first" >&2
    exit 2
fi

# One line per compile or link statement: "<kind> <object-dir> <target> <offending tokens or ->".
# Statements run until the blank line after their indented variables.
report="$(awk '
    function flush() {
        if (rule == "") return
        hits = ""
        split("", seen)
        n = split(text, words, /[ \t]+/)
        for (i = 1; i <= n; i++)
            if (words[i] ~ /libQt6|\/qt6(\/|$)|QT_[A-Z]+_LIB|Qt6::/ && !(words[i] in seen)) {
                seen[words[i]] = 1
                hits = hits " " words[i]
            }
        print kind, (objdir == "" ? "?" : objdir), target, (hits == "" ? "-" : hits)
        rule = ""
    }
    /^build / {
        flush()
        if (match($0, /: (C|CXX)_(COMPILER|STATIC_LIBRARY_LINKER|SHARED_LIBRARY_LINKER|MODULE_LIBRARY_LINKER|EXECUTABLE_LINKER)__[^ ]+/)) {
            rule = substr($0, RSTART + 2, RLENGTH - 2)
            kind = (rule ~ /_COMPILER__/) ? "compile" : "link"
            target = rule
            sub(/^[A-Z]+_[A-Z_]+__/, "", target)
            sub(/_[A-Za-z]+$/, "", target)       # configuration
            sub(/_unscanned$/, "", target)
            text = $0
            objdir = ""
        }
        next
    }
    rule != "" && /^  / {
        text = text " " $0
        if ($1 == "OBJECT_DIR") objdir = $3
        next
    }
    rule != "" && /^$/ { flush() }
    END { flush() }
' "$ninja_file")"

is_app_dir() { [[ "$1" == app/* || "$1" == tests/app/* ]]; }

failures=0
app_saw_qt=0
declare -A core_targets=() reported=()
while read -r kind objdir target hits; do
    if is_app_dir "$objdir"; then
        [[ "$hits" != "-" ]] && app_saw_qt=1
        continue
    fi
    core_targets["$target"]=1
    if [[ "$hits" != "-" && -z "${reported["$target $kind"]:-}" ]]; then
        reported["$target $kind"]=1
        echo "error: $target ($kind) uses Qt:$hits" >&2
        failures=1
    fi
done <<<"$report"

# The check is only worth something if it demonstrably sees Qt where it is
# used and actually looked at the core.
if [[ $app_saw_qt -eq 0 ]]; then
    echo "error: no Qt found in the app's build lines; the check is blind (built without the app?)" >&2
    failures=1
fi
for library in "${required_core_libraries[@]}"; do
    if [[ -z "${core_targets[$library]:-}" ]]; then
        echo "error: $library not found in $ninja_file; nothing to check" >&2
        failures=1
    fi
done

# Belt and braces: the executables that were built must not load Qt either.
while IFS= read -r -d '' binary; do
    relative="${binary#"$build_dir"/}"
    is_app_dir "$relative" && continue
    if readelf -d "$binary" 2>/dev/null | grep -q 'NEEDED.*libQt6'; then
        echo "error: $relative loads Qt at run time" >&2
        failures=1
    fi
done < <(find "$build_dir" -path "$build_dir/CMakeFiles" -prune -o -type f -perm -u+x -print0)

if [[ $failures -ne 0 ]]; then
    exit 1
fi
echo "Qt stays in the app: checked ${#core_targets[@]} core targets (${!core_targets[*]})."
