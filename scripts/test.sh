#!/usr/bin/env bash
# Installs what is missing, builds the debug preset and runs every test.
# Extra arguments go to ctest (e.g. -L gui, -R Vault).
# CORVALE_WERROR=ON turns warnings into errors (CI sets it).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh

configure_args=()
if [[ -n "${CORVALE_WERROR:-}" ]]; then
    configure_args+=("-DCORVALE_WERROR=${CORVALE_WERROR}")
fi

cmake --preset debug "${configure_args[@]}"
cmake --build --preset debug -j2
# A default timeout so a wedged keyring or dbus session fails instead of hanging.
ctest --preset debug -j2 --output-on-failure --no-tests=error --timeout 600 "$@"
