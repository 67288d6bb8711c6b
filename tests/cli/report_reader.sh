#!/usr/bin/env bash
# `corvale report` read back by Poppler's pdfinfo and pdftotext: a real PDF
# holding every credential of the person, the office's report holding everyone,
# and a refusal that writes nothing.
#   report_reader.sh <path to corvale>
set -euo pipefail
corvale=$1
for tool in pdfinfo pdftotext; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed (poppler-utils)" >&2; exit 77; }
done
fail() { echo "FAIL: $*" >&2; exit 1; }

"$corvale" init --name "Ana Ruiz" --degree RN --state TX >/dev/null
ana=$("$corvale" list people --json | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["id"])')
"$corvale" add credential --kind bls --number "BLS-55 <&> ü" --expires 2027-03-31 >/dev/null
"$corvale" add credential --kind dea --number FR1234563 --expires 2026-12-01 >/dev/null
"$corvale" add credential --kind stateLicense --state CA --number RN-CA-9 --expires 2028-01-31 >/dev/null
# Enough credentials that the table runs onto a second page.
for n in $(seq 1 40); do
  "$corvale" add credential --kind other --title "Hospital privilege $n" --number "P-$n" --expires 2027-0$((n % 9 + 1))-15 >/dev/null
done
"$corvale" add person --name "Jordan Reyes" --degree PA >/dev/null
jordan=$("$corvale" list people --json | python3 -c '
import json,sys; print(next(p["id"] for p in json.load(sys.stdin) if p["name"] == "Jordan Reyes"))')
"$corvale" add credential --person "$jordan" --kind acls --number ACLS-7 --expires 2027-05-31 >/dev/null

"$corvale" report --person "$ana" --out "$HOME/ana.pdf" --as-of 2026-12-05 >/dev/null
info=$(pdfinfo "$HOME/ana.pdf") || fail "pdfinfo could not open the report"
grep -q "^Title: *Readiness report: Ana Ruiz$" <<<"$info" || fail "the PDF's title is wrong: $info"
pages=$(sed -n 's/^Pages: *//p' <<<"$info")
[ "$pages" -ge 2 ] || fail "forty-odd credentials fit on $pages page"
text=$(pdftotext "$HOME/ana.pdf" -)
# pdftotext may break a long cell across lines; the words are what must be there.
flat=$(tr -s ' \n' ' ' <<<"$text")
"$corvale" list credentials --json | python3 -c '
import json, sys
flat = " ".join(open(sys.argv[1]).read().split())
ana = sys.argv[2]
held = [c for c in json.load(sys.stdin) if c["personId"] == ana]
# Each by its number; the licence made at init has none, so by its state.
missing = [c.get("number", "Texas") for c in held if c.get("number", "Texas") not in flat]
if missing:
    sys.exit("the report lacks credentials numbered " + ", ".join(missing))
' <(printf '%s' "$flat") "$ana" || fail "not every credential of Ana is in her report"
for expected in "Standing score" "Ana Ruiz" "Expired" "BLS-55 <&> ü" "No compliance check has been run yet." \
    "Education cycles" "Page 2"; do
  grep -qF "$expected" <<<"$flat" || fail "the report does not say \"$expected\""
done
grep -q "Jordan Reyes" <<<"$flat" && fail "Ana's report names Jordan"

"$corvale" report --out "$HOME/office.pdf" >/dev/null
office=$(pdftotext "$HOME/office.pdf" - | tr -s ' \n' ' ')
for expected in "Ana Ruiz" "Jordan Reyes" "ACLS-7" "2 people"; do
  grep -qF "$expected" <<<"$office" || fail "the office report does not say \"$expected\""
done

set +e
refused=$("$corvale" report --person nobody --out "$HOME/nobody.pdf" 2>&1)
status=$?
set -e
[ "$status" -eq 1 ] || fail "a report on no one exited with $status"
[ "$refused" = "No person has the id nobody." ] || fail "a report on no one said: $refused"
[ ! -e "$HOME/nobody.pdf" ] || fail "a refused report left a file"
echo "report_reader: all checks passed"
