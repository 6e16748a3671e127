# What the scripts share; sourced first. Changes into the project's folder. The comment at the top of
# a script is its help, and the comment's last line its usage.
set -euo pipefail

caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."
script=$(basename "$0")

# Prints the comment at the top of the script and ends it when the first argument asks for help.
answer_help() {
    case "${1:-}" in
    -h | --help)
        sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/$script"
        exit 0
        ;;
    esac
}

# usage_error MESSAGE: ends the script because of its arguments.
usage_error() {
    echo "$script: $1" >&2
    sed -n 's/^# usage: /usage: /p' "scripts/$script" >&2
    exit 2
}

# require_at_most COUNT ARGUMENT...: ends the script when there are more arguments.
require_at_most() {
    local most=$1
    shift
    [ $# -le "$most" ] || usage_error "unexpected argument ${*:most+1:1}"
}

# require_number TEXT: ends the script unless the text is a whole number.
require_number() {
    [[ $1 =~ ^[0-9]{1,9}$ ]] || usage_error "$1 is not a whole number"
}

# find_program [BUILD_FOLDER [TARGET...]]: sets build to the folder of the built program. Without a
# folder that is the release, installed for and built with the further targets named.
find_program() {
    scripts/setup build display
    if [ -z "${1:-}" ]; then
        echo "$script: building the release"
        scripts/build release TarnTest Tarn Quillet "${@:2}"
        build=$PWD/build/release
        return
    fi
    build=$(cd "$caller" && realpath "$1")
    [ -x "$build/bin/TarnTest" ] || usage_error "there is no built program in $1"
}
