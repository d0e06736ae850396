#!/usr/bin/env bash
# packages.sh PURPOSE...: installs the Debian packages of these purposes, a line each of packages.txt, that are missing.
# Nothing is asked of the network when none is. Without the rights to install, says the command that does and fails.
set -euo pipefail

list=$(dirname "${BASH_SOURCE[0]}")/packages.txt

wanted() {
    local purpose
    for purpose in "$@"; do
        grep -q "^$purpose:" "$list" || { echo "packages.sh: no purpose '$purpose' in $list" >&2; return 1; }
        sed -n "s/^$purpose://p" "$list" | tr -s ' ' '\n' | sed '/^$/d'
    done | sort -u
}

# dpkg-query also fails for a package that it has never heard of; what it prints is what counts.
installed() {
    { dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' 2>/dev/null || true; } |
        sed -n 's/^installed //p' | sort -u
}

if ! command -v dpkg-query >/dev/null; then
    echo "packages.sh: no Debian system; the packages needed are named in $list" >&2
    exit 0
fi

names=$(wanted "$@")
mapfile -t missing < <(comm -23 <(echo "$names") <(installed))
if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi
if [[ $EUID -ne 0 ]]; then
    echo "Packages are missing. Install them with:" >&2
    echo "    sudo apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
fi
echo "Installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# What apt and dpkg say about every package is of no interest; errors go to stderr.
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
