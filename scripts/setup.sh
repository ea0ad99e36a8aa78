#!/usr/bin/env bash
# Installs what the project builds with, from Debian's packages. Safe to run again: packages
# already present are not fetched twice.
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config          # native build
    libgtest-dev libgmock-dev libbenchmark-dev  # tests and benchmarks
    clang clang-format clang-tidy libclang-rt-14-dev  # fuzzing (libFuzzer), format and lint
    g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools  # Windows cross-builds
    wine wine64 libwine-dev fonts-wine          # the Windows builds, COM server and panel under wine
    xvfb xauth xdotool imagemagick              # windows on a virtual screen, pictures of them
    qt6-base-dev qt6-image-formats-plugins      # the Linux control panel
    locales                                     # a decimal-comma locale for the parsing tests
    python3-pytest mypy python3-setuptools python3-pip  # the Python package, its tests and checks
    libftdi1-2 libftdi1-dev libusb-1.0-0-dev    # the open USB driver (loaded at run time)
    umockdev libumockdev-dev                     # its tests on an FTDI chip emulated below libusb
    qt6-base-dev qt6-image-formats-plugins fonts-wine  # the Qt panel, its image writers and font
    libasio-dev python3-pyvisa python3-pyvisa-py python3-pymeasure  # the SCPI server, its client tests
)

# The number-parsing tests run once under a decimal-comma locale.
ensure_locale() {
    locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$' && return 0
    $sudo localedef -i de_DE -c -f UTF-8 de_DE.UTF-8 || echo "setup: could not generate de_DE.UTF-8"
}

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
fi
ensure_locale
