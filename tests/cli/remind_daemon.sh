#!/usr/bin/env bash
# `corvale remind` against a real notification daemon (dunst on a headless X
# server) on the private session bus with_keyring.sh starts: the right
# reminders arrive on the right days, none twice, none for what is snoozed or
# not applicable, and nothing personal with app lock on.
#   remind_daemon.sh <path to corvale>
set -euo pipefail
corvale=$1

for tool in Xvfb dunst dunstctl python3; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)" >&2
    exit 77
  fi
done

display=":$((200 + $$ % 500))"
Xvfb "$display" -screen 0 800x600x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb ${daemon:-} 2>/dev/null || true' EXIT
for _ in $(seq 100); do [ -e "/tmp/.X11-unix/X${display#:}" ] && break; sleep 0.05; done
DISPLAY=$display dunst -config /dev/null >/dev/null 2>&1 &
daemon=$!
gdbus wait --session --timeout 20 org.freedesktop.Notifications

fail() { echo "FAIL: $*" >&2; exit 1; }

# Every notification the daemon has taken since the last call, as "summary|body" lines.
# dunst keeps its history for good, so what was seen is remembered by id.
seen="$HOME/seen-notifications"
echo 0 >"$seen"
arrived() {
  sleep 0.2
  dunstctl close-all
  sleep 0.2
  dunstctl history | python3 -c '
import json, sys
seen = int(open(sys.argv[1]).read())
new = sorted((n for n in json.load(sys.stdin)["data"][0] if n["id"]["data"] > seen), key=lambda n: n["id"]["data"])
for n in new:
    print(n["summary"]["data"] + "|" + n["body"]["data"].replace("\n", " / "))
if new:
    open(sys.argv[1], "w").write(str(new[-1]["id"]["data"]))' "$seen"
}

expect() {  # expect <description> <expected lines> <actual lines>
  [ "$2" == "$3" ] || fail "$1: expected [$2], got [$3]"
}

"$corvale" init --name "Ana Ruiz" --degree RN --state TX >/dev/null
licence=$("$corvale" list credentials --json | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["id"])')
"$corvale" delete credentials "$licence"
"$corvale" add credential --kind bls --expires 2027-03-31 >/dev/null
"$corvale" add credential --kind acls --expires 2027-03-31 >/dev/null
"$corvale" add credential --kind malpractice --expires 2027-03-31 >/dev/null
acls=$("$corvale" list credentials --json | python3 -c '
import json,sys; print(next(c["id"] for c in json.load(sys.stdin) if c["kind"] == "acls"))')
"$corvale" snooze "$acls" --until 2027-01-10 >/dev/null
"$corvale" not-applicable malpractice >/dev/null

"$corvale" remind --as-of 2026-12-30 >/dev/null
expect "a day before any lead day" "" "$(arrived)"
"$corvale" remind --as-of 2026-12-31 >/dev/null
expect "the 90-day mark, the snoozed and the not-applicable left out" \
  "BLS card|Expires on March 31, 2027 (in 90 days)." "$(arrived)"
"$corvale" remind --as-of 2026-12-31 >/dev/null
"$corvale" remind --as-of 2027-01-09 >/dev/null
expect "nothing twice, nothing while snoozed" "" "$(arrived)"
"$corvale" remind --as-of 2027-01-10 >/dev/null
expect "the snooze over" "ACLS card|Expires on March 31, 2027 (in 80 days)." "$(arrived)"

# App lock on: the 30-day mark arrives with nothing of what or whose.
python3 - "$XDG_CONFIG_HOME/Corvale/prefs.json" <<'PY'
import json, os, sys
path = sys.argv[1]
prefs = json.load(open(path)) if os.path.exists(path) else {}
prefs["appLock"] = True
json.dump(prefs, open(path, "w"))
PY
printed=$("$corvale" remind --as-of 2027-03-01)
got=$(arrived)
expect "app lock on" "Something in Corvale needs your attention|Open Corvale to see what is due." "$got"
case "$printed$got" in
  *BLS* | *ACLS* | *Ana* | *March*) fail "app lock on, and the reminder said what or whose: $printed $got" ;;
esac

# A click on a reminder opens the app on its credential: remind stays for the
# click, starts the app beside it with the link, and goes once all are closed.
python3 - "$XDG_CONFIG_HOME/Corvale/prefs.json" <<'PY'
import json, sys
path = sys.argv[1]
prefs = json.load(open(path))
prefs["appLock"] = False
json.dump(prefs, open(path, "w"))
PY
bls=$("$corvale" list credentials --json | python3 -c '
import json,sys; print(next(c["id"] for c in json.load(sys.stdin) if c["kind"] == "bls"))')
export QT_QPA_PLATFORM=offscreen
"$corvale" remind --as-of 2027-03-24 --stay 2 >"$HOME/stayed.log" 2>&1 &
stayed=$!
for _ in $(seq 100); do [ "$(dunstctl count displayed)" -ge 1 ] && break; sleep 0.1; done
[ "$(dunstctl count displayed)" -ge 1 ] || fail "no reminder was shown to click"
dunstctl action 0
for _ in $(seq 100); do grep -q "^Opening " "$HOME/stayed.log" && break; sleep 0.1; done
opened=$(sed -n 's/^Opening //p' "$HOME/stayed.log")
case "$opened" in
  corvale://credential/"$bls" | corvale://credential/"$acls") ;;
  *) fail "the click opened [$opened], not one of the reminded credentials" ;;
esac
if [ -x "$(dirname "$corvale")/../app/corvale-app" ]; then
  for _ in $(seq 100); do pgrep -f "corvale-app $opened" >/dev/null && break; sleep 0.1; done
  pgrep -f "corvale-app $opened" >/dev/null || fail "the app was not started on $opened"
  pkill -f "corvale-app $opened" || true
else
  # A build without the app (the sanitizers'): remind says why the link goes nowhere.
  for _ in $(seq 50); do grep -q "isn't installed beside" "$HOME/stayed.log" && break; sleep 0.1; done
  grep -q "The desktop app isn't installed beside this program, so $opened can't be opened." "$HOME/stayed.log" ||
    fail "without the app, remind did not say the link can't be opened: $(cat "$HOME/stayed.log")"
fi
# With every notification closed there is nothing left to wait for.
dunstctl close-all
for _ in $(seq 50); do kill -0 "$stayed" 2>/dev/null || break; sleep 0.1; done
kill -0 "$stayed" 2>/dev/null && fail "remind kept waiting after its notifications were closed"
wait "$stayed" || fail "remind --stay failed: $(cat "$HOME/stayed.log")"
echo "remind_daemon: all checks passed"
