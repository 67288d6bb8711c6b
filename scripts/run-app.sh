#!/usr/bin/env bash
# Installs what is missing, builds the desktop app (debug preset) and starts it.
# Arguments are passed to the app.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh

cmake --preset debug
cmake --build --preset debug -j2 --target corvale-app

# App lock checks the account password under Corvale's own PAM service; without
# it the app falls back to the "login" service.
if [[ ! -e /etc/pam.d/corvale ]]; then
    sudo=""
    if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
    $sudo install -m 0644 resources/pam/corvale /etc/pam.d/corvale ||
        echo "Couldn't install /etc/pam.d/corvale, so app lock uses the login service instead." >&2
fi

app=build/debug/app/corvale-app
if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
    echo "No display found, so Corvale is starting on a virtual screen (xvfb-run) and won't be visible." >&2
    echo "Press Ctrl+C to stop it." >&2
    exec xvfb-run -a "$app" "$@"
fi
exec "$app" "$@"
