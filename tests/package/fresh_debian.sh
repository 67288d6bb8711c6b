#!/usr/bin/env bash
# The package on a fresh Debian 12 (a minimal debootstrap of bookworm): apt
# installs it with everything it depends on, both programs start and find
# their data, and removing it leaves no file of ours behind but the vault.
#   fresh_debian.sh <folder holding corvale_*.deb> <scratch folder>
set -euo pipefail
deb=$(ls "$1"/corvale_*.deb)
root=$2/debian-root
fail() { echo "FAIL: $*" >&2; exit 1; }

if [ "$(id -u)" -ne 0 ]; then
  echo "SKIP: debootstrap and chroot need root" >&2
  exit 77
fi
command -v debootstrap >/dev/null || { echo "SKIP: debootstrap is not installed" >&2; exit 77; }
# The mirror this machine installs from, so the fresh system comes from where its packages do.
mirror=$(cat /etc/apt/sources.list.d/*.sources 2>/dev/null | sed -n 's/^URIs:[[:space:]]*//p' |
  tr ' ' '\n' | grep -v security | head -n1 || true)
[ -n "$mirror" ] || mirror=$(sed -n 's/^deb[[:space:]]\+\(\[[^]]*\][[:space:]]\+\)\?\([^[:space:]]*\).*/\2/p' \
  /etc/apt/sources.list 2>/dev/null | grep -v security | head -n1 || true)
mirror=${mirror:-http://deb.debian.org/debian}

cleanup() {
  umount "$root/proc" 2>/dev/null || true
  umount -R "$root/dev" 2>/dev/null || true
  # Never into a mount that outlived its umount: that would be the host's own /dev.
  rm -rf --one-file-system "$root"
}
trap cleanup EXIT
cleanup
mkdir -p "$root"
if ! debootstrap --variant=minbase bookworm "$root" "$mirror" >"$2/debootstrap.log" 2>&1; then
  tail -n 5 "$2/debootstrap.log" >&2
  echo "SKIP: the Debian mirror $mirror could not be reached, so no fresh system was made" >&2
  exit 77
fi
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 "$@"; }

cp "$deb" "$root/tmp/"
in_root touch /tmp/before-install
in_root apt-get update -q >/dev/null
in_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "/tmp/$(basename "$deb")" \
  >"$2/apt-install.log" 2>&1 || { tail -n 30 "$2/apt-install.log" >&2; fail "apt could not install the package"; }
ours=$(in_root dpkg -L corvale)

# The command line runs and reads the rules installed beside it.
in_root corvale --help | grep -q "remind" || fail "corvale --help did not list its commands"
rules=$(in_root corvale rules OH --profession RN) || fail "corvale could not read its installed rules"
grep -q "Ohio" <<<"$rules" || fail "the rules shown are not Ohio's: $rules"

# A scanned card is read with the recognition data the package brings along.
cp "$(dirname "$0")/../cli/data/licence-card.png" "$root/tmp/card.png"
read=$(in_root corvale doc read /tmp/card.png 2>&1) || fail "corvale could not read a scanned card: $read"
grep -q "Q4412" <<<"$read" || fail "the card's number was not read: $read"

# The window starts on a screen of its own and is still up after a few seconds.
set +e
install -d -m 0700 "$root/run/user/0"
in_root env QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/user/0 timeout 5 corvale-app >"$2/app.log" 2>&1
status=$?
set -e
[ "$status" -eq 124 ] || { cat "$2/app.log" >&2; fail "corvale-app exited with $status instead of running"; }
grep -qi "could not\|cannot load\|failed to" "$2/app.log" && { cat "$2/app.log" >&2; fail "corvale-app reported a problem"; }

in_root env DEBIAN_FRONTEND=noninteractive apt-get remove -y -q corvale >/dev/null
left=""
while IFS= read -r path; do
  [ -f "$root$path" ] && left+="$path "
done <<<"$ours"
[ -z "$left" ] || fail "removing the package left its files: $left"
strays=$(cd "$root" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./root \) -prune -o \
  -newer tmp/before-install -iname '*corvale*' -print | grep -v "^./tmp/$(basename "$deb")$" || true)
[ -z "$strays" ] || fail "files of ours outlived the package: $strays"
echo "installed, ran and removed cleanly on a fresh Debian 12"
