#!/usr/bin/env bash
# The package holds the programs, their data, the desktop entry, the icons and
# the AppStream file, and nothing a developer builds for themselves; its Depends
# names the libraries the programs link; the desktop files pass their validators.
#   package_contents.sh <folder holding corvale_*.deb>
set -euo pipefail
deb=$(ls "$1"/corvale_*.deb)
fail() { echo "FAIL: $*" >&2; exit 1; }

contents=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|')
for expected in /usr/bin/corvale /usr/bin/corvale-app \
    /usr/share/corvale/state-requirements.json /usr/share/corvale/state-fees.json \
    /usr/share/applications/com.corvale.Corvale.desktop /usr/share/metainfo/com.corvale.Corvale.metainfo.xml \
    /usr/share/icons/hicolor/scalable/apps/com.corvale.Corvale.svg /etc/pam.d/corvale; do
  grep -qx "$expected" <<<"$contents" || fail "the package lacks $expected"
done
for size in 16 24 32 48 64 128 256 512; do
  grep -qx "/usr/share/icons/hicolor/${size}x${size}/apps/com.corvale.Corvale.png" <<<"$contents" ||
    fail "the package lacks the ${size}px icon"
done
unwanted=$(grep -E '\.(a|h|hpp)$|/include/|test|bench|fuzz' <<<"$contents" || true)
[ -z "$unwanted" ] || fail "the package holds build-only files: $unwanted"

depends=$(dpkg-deb -f "$deb" Depends)
for library in libqt6widgets6 libqt6dbus6 libsecret-1-0 libssl3 libpam0g libdeflate0 libc6 libtesseract5 \
  libpoppler-cpp0v5 tesseract-ocr-eng tesseract-ocr-osd; do
  grep -q "$library" <<<"$depends" || fail "Depends does not name $library: $depends"
done

# Every program's linked libraries are covered: none is left to chance on the user's machine.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg-deb -x "$deb" "$work"
for program in "$work/usr/bin/corvale" "$work/usr/bin/corvale-app"; do
  ldd "$program" | grep -q "not found" && fail "$program links a library that is not found"
done
desktop-file-validate "$work/usr/share/applications/com.corvale.Corvale.desktop"
appstreamcli validate --no-net "$work/usr/share/metainfo/com.corvale.Corvale.metainfo.xml"
grep -q '^MimeType=.*x-scheme-handler/corvale;' "$work/usr/share/applications/com.corvale.Corvale.desktop" ||
  fail "the desktop entry does not handle corvale:// links"
echo "package contents and metadata are as expected"
