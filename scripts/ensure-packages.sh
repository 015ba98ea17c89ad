# shellcheck shell=bash
# Sourced by ./run and ./test: installs Debian packages that are missing.
# Elsewhere than on Debian and its kin, whoever builds sees to that himself.
# Usage: ensure_packages PACKAGE...
ensure_packages() {
    command -v dpkg-query >/dev/null || return 0
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "missing packages, and no sudo to install them: ${missing[*]}" >&2
            return 1
        }
        as_root=(sudo)
    fi
    {
        "${as_root[@]}" apt-get update
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y --no-install-recommends "${missing[@]}"
    } >&2
}
