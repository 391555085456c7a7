# shellcheck shell=bash
# To be sourced by the runners: lends the program a screen of its own if it is one that shows dialogs, else takes away the
# user's.
unset DISPLAY WAYLAND_DISPLAY
lend_screen() {
    case $1 in *desktop_tests*) ;; *) return 0 ;; esac
    local number
    exec {screen}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
    screen_process=$!
    read -r -t 120 number <&"$screen"
    export DISPLAY=:$number
}
# For programs of the Linux desktop on that screen: a session bus, by which they tell what they show. lend_session FOLDER:
# what they keep lies in there, and the user's settings change nothing.
lend_session() {
    [ -n "${screen_process:-}" ] || return 0
    mkdir -m 700 "$1/session"
    export XDG_RUNTIME_DIR=$1/session XDG_CONFIG_HOME=$1/session GSETTINGS_BACKEND=memory
    unset NO_AT_BRIDGE AT_SPI_BUS_ADDRESS
    exec {bus}< <(exec dbus-daemon --session --nofork --print-address=1 2>/dev/null)
    bus_process=$!
    read -r -t 120 DBUS_SESSION_BUS_ADDRESS <&"$bus"
    export DBUS_SESSION_BUS_ADDRESS
}
return_screen() {
    local process
    for process in ${bus_process:-} ${screen_process:-}; do kill "$process" 2>/dev/null || true; done
}
