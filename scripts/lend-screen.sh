# shellcheck shell=bash
# To be sourced by the runners: lends the program a screen of its own if it is one that shows dialogs, else takes away the
# user's.
unset DISPLAY WAYLAND_DISPLAY
lend_screen() {
    case $1 in *desktop_tests*) ;; *) return 0 ;; esac
    local number
    exec {screen}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
    screen_process=$!
    read -r -t 20 number <&"$screen"
    export DISPLAY=:$number
}
return_screen() { if [ -n "${screen_process:-}" ]; then kill "$screen_process" 2>/dev/null || true; fi; }
