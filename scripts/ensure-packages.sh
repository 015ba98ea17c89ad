# shellcheck shell=bash
# Sourced by scripts that build or test: installs Debian packages that are missing.
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
    local install=(apt-get install -y --no-install-recommends "${missing[@]}")
    # Said before a password is asked for: nobody should have to guess what for.
    local update=("${as_root[@]}" apt-get update) said=("${as_root[@]}" "${install[@]}")
    echo "missing packages, about to be installed: ${update[*]} && ${said[*]}" >&2
    {
        "${update[@]}"
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}"
    } >&2
}
