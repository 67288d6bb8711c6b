#!/usr/bin/env bash
# `corvale calendar` read back by an independent iCalendar reader (Debian's
# python3-icalendar): every event on its day, alarms at the reminder days, and
# a second export keeping every UID.
#   calendar_reader.sh <path to corvale>
set -euo pipefail
corvale=$1
# Debian's own Python, where its python3-icalendar lives, whatever else is first on PATH.
py=/usr/bin/python3
if ! "$py" -c 'import icalendar' 2>/dev/null; then
  echo "SKIP: python3-icalendar is not installed (scripts/install-deps.sh installs it)" >&2
  exit 77
fi

"$corvale" init --name "Ana Ruiz" --degree RN --state TX >/dev/null
"$corvale" add credential --kind bls --number "B-1, renewed; twice" --expires 2027-03-31 >/dev/null
"$corvale" add credential --kind dea --expires 2028-01-31 >/dev/null
licence=$("$corvale" list credentials --json | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["id"])')
"$corvale" delete credentials "$licence"
"$corvale" add credential --kind stateLicense --state TX --number RN1 --expires 2026-12-15 >/dev/null

"$corvale" calendar --out "$HOME/first.ics" >/dev/null
"$corvale" calendar --out "$HOME/second.ics" >/dev/null
"$corvale" add credential --kind acls --expires 2027-06-30 >/dev/null
"$corvale" calendar --out "$HOME/third.ics" >/dev/null

"$py" - "$HOME" <<'PY'
import datetime, sys
from icalendar import Calendar

home = sys.argv[1]
def read(name):
    with open(f"{home}/{name}", "rb") as f:
        return Calendar.from_ical(f.read())

def events(cal):
    return {str(e["UID"]): e for e in cal.walk("VEVENT")}

first, second, third = (events(read(n)) for n in ("first.ics", "second.ics", "third.ics"))
def fail(message):
    sys.exit("FAIL: " + message)

by_summary = {str(e["SUMMARY"]): e for e in first.values()}
expected = {
    "BLS card expires": datetime.date(2027, 3, 31),
    "DEA registration expires": datetime.date(2028, 1, 31),
    "Texas license expires": datetime.date(2026, 12, 15),
    "Texas education cycle ends": datetime.date(2026, 12, 15),
}
if set(by_summary) != set(expected):
    fail(f"summaries {sorted(by_summary)}")
for summary, day in expected.items():
    event = by_summary[summary]
    start, end = event["DTSTART"].dt, event["DTEND"].dt
    if start != day or end != day + datetime.timedelta(days=1):
        fail(f"{summary} on {start}..{end}, not {day}")
alarms = sorted(a["TRIGGER"].dt for a in by_summary["DEA registration expires"].walk("VALARM"))
if alarms != [datetime.timedelta(days=-d) for d in (90, 30, 7)]:
    fail(f"alarms {alarms}")
if str(by_summary["BLS card expires"]["DESCRIPTION"]) != "Number B-1, renewed; twice.":
    fail("escaped text came back as " + str(by_summary["BLS card expires"]["DESCRIPTION"]))
if set(first) != set(second):
    fail("a second export changed the UIDs")
if not set(first) < set(third) or len(third) != len(first) + 1:
    fail("adding a credential should add one event and keep the rest")
print("calendar_reader: all checks passed")
PY
