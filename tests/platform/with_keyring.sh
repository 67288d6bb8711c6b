#!/usr/bin/env bash
# Runs a command inside a private D-Bus session with an unlocked GNOME Keyring,
# so Secret Service tests never touch the user's real keyring.
#   with_keyring.sh <command> [args...]
set -euo pipefail

if [ $# -eq 0 ]; then
  echo "usage: $0 <command> [args...]" >&2
  exit 2
fi

for tool in dbus-run-session gnome-keyring-daemon gdbus; do
  if ! command -v "$tool" >/dev/null; then
    echo "$0: $tool is not installed" >&2
    exit 1
  fi
done

scratch=$(mktemp -d "${TMPDIR:-/tmp}/corvale-keyring.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
chmod 700 "$scratch"
mkdir -m 700 "$scratch/data" "$scratch/runtime"

# Without a running session the keyring would try to reach the real one.
env -u DBUS_SESSION_BUS_ADDRESS -u GNOME_KEYRING_CONTROL -u SSH_AUTH_SOCK \
  HOME="$scratch" XDG_DATA_HOME="$scratch/data" XDG_RUNTIME_DIR="$scratch/runtime" \
  XDG_CONFIG_HOME="$scratch/config" XDG_CACHE_HOME="$scratch/cache" \
  dbus-run-session -- bash -c '
    set -euo pipefail
    # --unlock creates the "login" keyring with this password and makes it
    # the default collection, so nothing ever prompts.
    printf "%s" corvale-test | gnome-keyring-daemon --unlock --components=secrets >/dev/null
    gdbus wait --session --timeout 20 org.freedesktop.secrets
    exec "$@"
  ' with_keyring "$@"
