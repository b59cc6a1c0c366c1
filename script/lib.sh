# Shared by the scripts of this folder: where things are, how a step reports itself and its time.
# To be sourced; leaves packages to bootstrap, building to build, and Wine to wine-prefix and wine.
set -euo pipefail

KZR_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*"; }
# asks_for_help ARGUMENT...: prints the comment at the top of the running script when the first one is -h or --help.
asks_for_help() {
    case ${1:-} in
        -h | --help) sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" ;;
        *) return 1 ;;
    esac
}
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
        release | debug | ubsan | page-heap | coverage | native | native-sanitize) return 0 ;;
    esac
    complain "there is no preset '$1'; choose one of CMakePresets.json"
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

# start_display: a display of our own in DISPLAY, so that tests of windows depend on nobody's desktop. The
# caller ends it with stop_display.
start_display() {
    local number tries=0
    number=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1280x960x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 </dev/null &
    KZR_DISPLAY_SERVER=$!
    while [ ! -s "$number" ] && [ $((tries += 1)) -le 100 ] && kill -0 "$KZR_DISPLAY_SERVER" 2>/dev/null; do
        sleep 0.1
    done
    DISPLAY=:$(tr -d '\n' <"$number")
    rm -f "$number"
    export DISPLAY
    [ "$DISPLAY" != : ]
}

stop_display() {
    [ -z "${KZR_DISPLAY_SERVER:-}" ] || kill "$KZR_DISPLAY_SERVER" 2>/dev/null || true
}
