#!/usr/bin/env bash
# The real binary against the real file system and a private keyring; run
# inside tests/platform/with_keyring.sh, which points HOME and XDG at scratch.
#   cli_smoke.sh <path to corvale>
set -euo pipefail
corvale=$1

check() {  # check <description> <expected> <actual>
  if [ "$2" != "$3" ]; then
    echo "FAIL: $1: expected [$2], got [$3]" >&2
    exit 1
  fi
}

check "fresh status" '{"phase":"welcome"}' "$("$corvale" status --json)"
vault_id=$("$corvale" init --name "Ana Ruiz" --degree DO --state tx)
"$corvale" add cme --title "Sepsis update" --hours 2 --completed 2026-03-01 >/dev/null

set +e
"$corvale" add credential --kind stateLicense >/dev/null 2>&1
check "missing state" 2 $?
set -e

counts='"counts":{"cme":1,"credentials":1,"documents":0,"healthRecords":0,"packets":0,"people":1}'
check "status" "{$counts,\"phase\":\"ready\",\"vaultId\":\"$vault_id\"}" "$("$corvale" status --json)"

archive=$(printf 'smoke pass\n' | "$corvale" backup export --passphrase-stdin --out "$HOME/smoke.pbbackup")
check "backup path" "$HOME/smoke.pbbackup" "$archive"
"$corvale" erase --yes
check "erased" '{"phase":"welcome"}' "$("$corvale" status --json)"

set +e
printf 'wrong pass\n' | "$corvale" backup restore "$archive" --passphrase-stdin 2>/dev/null
check "wrong passphrase" 1 $?
set -e
printf 'smoke pass\n' | "$corvale" backup restore "$archive" --passphrase-stdin
check "restored" "{$counts,\"phase\":\"ready\",\"vaultId\":\"$vault_id\"}" "$("$corvale" status --json)"
# The state data is found beside the program, as an installed one finds it in share/corvale.
check "rules beside the program" "Texas (TX)" "$("$corvale" rules tx --profession rn | head -n 1)"
check "fees beside the program" 1 "$("$corvale" fees TX --json | grep -c '"applicationFee":817')"
# Onboarding's Texas licence has no date yet; today says so and still tracks its cycle.
today=$("$corvale" today --as-of 2026-11-22)
check "today headline" "One license needs its renewal date." "$(sed -n 2p <<<"$today")"
check "today progress" 1 "$(grep -c '^  Texas (TX) · cycle November 22, 2026 – November 22, 2028$' <<<"$today")"
echo "cli smoke passed"

# With no command it opens the desktop app when one is built beside it, and says so plainly when not.
app="$(dirname "$corvale")/../app/corvale-app"
set +e
if [ -x "$app" ]; then
  QT_QPA_PLATFORM=offscreen timeout 3 "$corvale" >/dev/null 2>&1
  check "no command opens the app, which runs until stopped" 124 $?
  # Started on its own with core files allowed, the app still refuses them once it runs.
  (ulimit -S -c unlimited; QT_QPA_PLATFORM=offscreen exec timeout 3 "$app" >/dev/null 2>&1) &
  opener=$!
  app_pid=""
  for _ in $(seq 60); do
    app_pid=$(pgrep -n -f "^$app" || true)
    [ -n "$app_pid" ] && [ -r "/proc/$app_pid/limits" ] && break
    sleep 0.05
  done
  sleep 0.5
  check "the app writes no core file" "0 0" "$(awk '/^Max core file size/ {print $5, $6}' "/proc/$app_pid/limits")"
  wait "$opener"
else
  message=$("$corvale" 2>&1 >/dev/null)
  check "no command without the app" 1 $?
  case "$message" in *"desktop app isn't installed"*) ;; *) check "no-app message" "desktop app isn't installed" "$message" ;; esac
fi
set -e
