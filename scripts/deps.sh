#!/usr/bin/env bash
# Installs the Debian packages the build needs, when any is missing. Sourced by the
# other scripts; needs root (or sudo) only when something has to be installed.
ks_packages=(cmake make g++ qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools
             libqcustomplot-dev libgl-dev fonts-dejavu-core libaravis-dev libusb-1.0-0-dev pkg-config "$@")
ks_missing=()
for p in "${ks_packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || ks_missing+=("$p")
done
if [ ${#ks_missing[@]} -gt 0 ]; then
    echo "Installing: ${ks_missing[*]}"
    ks_sudo=""
    [ "$(id -u)" -ne 0 ] && ks_sudo="sudo"
    $ks_sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $ks_sudo apt-get install -y -qq --no-install-recommends "${ks_missing[@]}"
fi
