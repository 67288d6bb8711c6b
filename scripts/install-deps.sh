#!/usr/bin/env bash
# Installs the Debian 12 packages Corvale builds, tests and runs with.
# Safe to run again: only missing packages are installed.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  clang libclang-rt-14-dev llvm-14
  libgtest-dev libgmock-dev libbenchmark-dev
  libssl-dev libsecret-1-dev libglib2.0-dev
  libsimdjson-dev libcli11-dev libdeflate-dev libpam0g-dev
  gnome-keyring dbus libsecret-tools procps
  qt6-base-dev qt6-base-dev-tools libgl-dev xvfb xauth
  dunst python3 python3-icalendar fonts-dejavu-core qpdf
  librsvg2-bin dpkg-dev desktop-file-utils appstream debootstrap
  libpango1.0-dev libcairo2-dev poppler-utils libpcre2-dev
  libtesseract-dev libleptonica-dev tesseract-ocr tesseract-ocr-eng tesseract-ocr-osd
  libpoppler-cpp-dev libheif-dev libheif-examples
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi

echo "Installing: ${missing[*]}"
$sudo env DEBIAN_FRONTEND=noninteractive apt-get update -q
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
