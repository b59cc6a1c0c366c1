# Shared by the scripts of this folder: where things are, how a step reports itself and its time.
# To be sourced; leaves packages to bootstrap, building to build, and Wine to wine-prefix and wine.
set -euo pipefail

KZR_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*"; }
complain() { printf '%s: %s\n' "${KZR_STEP:-script}" "$*" >&2; }

now_ms() {
    # The decimal sign follows the locale.
    local now=${EPOCHREALTIME/[.,]/}
    printf '%s' $((now / 1000))
}

elapsed_since() {
    local ms=$(($(now_ms) - $1))
    printf '%d.%d s' $((ms / 1000)) $((ms % 1000 / 100))
}

# begin NAME: names the running script and has it say how long it took, however it ends.
begin() {
    KZR_STEP=$1
    KZR_STARTED=$(now_ms)
    trap 'report_end $?' EXIT
}

report_end() {
    if [ "$1" -eq 0 ]; then
        say "$KZR_STEP: done in $(elapsed_since "$KZR_STARTED")"
    else
        complain "failed after $(elapsed_since "$KZR_STARTED") (exit $1)"
    fi
}

known_preset() {
    case $1 in
        release | debug | ubsan | native) return 0 ;;
    esac
    complain "there is no preset '$1'; choose release, debug, ubsan or native"
    return 1
}

# The environment of every Windows program we run: a prefix of its own, no dialogs when a program
# crashes, no menus in the desktop of whoever runs the tests. The user's name is fixed since a dot in
# it would keep the log file from being opened.
wine_environment() {
    export WINEPREFIX=$1
    export WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES='mscoree,mshtml=;winedbg.exe=d;winemenubuilder.exe=d'
    export USER=kzr LOGNAME=kzr
}
