# shellcheck shell=bash
# Sourced by scripts that hand their arguments on to CMake, before they build or replace anything.

# check_cmake_arguments ARGUMENT...: ends the script if it is asked for help, which its function `usage`
# prints, or given anything but settings.
check_cmake_arguments() {
    local argument
    for argument in "$@"; do
        case $argument in
            -h | --help)
                usage
                exit 0
                ;;
            -D?*=* | -U?* | -G?*) ;;
            *)
                echo "${0##*/}: not an argument that CMake is given here: $argument (see --help)" >&2
                exit 2
                ;;
        esac
    done
}
