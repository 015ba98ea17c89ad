# shellcheck shell=bash
# Sourced by what runs programs for Windows on this system, by Debian's wine64.

PATH+=:/usr/lib/wine # its programs are there

# start_wine FOLDER: from now on Wine keeps its files in FOLDER, and its server and services run until stop_wine or the
# end of the script. They keep the standard error of the program that had to start them, so nobody else may.
start_wine() {
    export WINEPREFIX=$1 WINEDEBUG=-all
    mkdir -p "$WINEPREFIX"
    wineserver64 --kill || true # of a run that was interrupted
    trap 'wineserver64 --kill' EXIT
    wineserver64 --persistent
    wine64 wineboot --init >/dev/null 2>&1
}
stop_wine() {
    wineserver64 --kill
    trap - EXIT
}
