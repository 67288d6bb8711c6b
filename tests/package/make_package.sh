#!/usr/bin/env bash
# Builds the Debian package from a build tree, as a packager would.
#   make_package.sh <build tree> <output folder>
set -euo pipefail
build=$1
out=$2
rm -rf "$out"
mkdir -p "$out"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$out" >"$out/cpack.log" 2>&1 || {
  cat "$out/cpack.log" >&2
  exit 1
}
ls "$out"/corvale_*.deb >/dev/null
# The staging copy is not the package; left in the build tree it would pass for programs built there.
rm -rf "$out/_CPack_Packages"
