#!/usr/bin/env bash
# Installs the Debian packages the build needs ("build"), the Debian package build needs
# ("package") or the build and the tests need ("test"), and any packages named after that. Asks
# apt only when something is missing. Run as root.
set -euo pipefail

packages=(cmake g++ make pkg-config libdlt-dev nlohmann-json3-dev)
if [[ "${1:-build}" != build ]]; then
    packages+=(dpkg-dev file lintian)
fi
if [[ "${1:-build}" == test ]]; then
    packages+=(libgtest-dev dlt-daemon dlt-tools libdlt-examples python3-pytest time mandoc bubblewrap)
fi
packages+=("${@:2}")

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
