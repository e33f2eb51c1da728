#!/usr/bin/env bash
# Runs a command inside a private headless desktop: Xvfb, openbox, a tray host (trayer) and PulseAudio
# with a test-tone microphone. Everything started here is stopped again, in reverse order, on exit.
# The command sees DISPLAY, XDG_RUNTIME_DIR, a private XDG_CONFIG_HOME/XDG_DATA_HOME and
# HALCY_SESSION_DIR (logs and screenshots of the run). HALCY_SESSION_SCREEN sets the screen size
# (default 1920x1080; the desktop benchmark wants two 1920x1080 monitors side by side: 3840x1080).
set -uo pipefail

[ $# -gt 0 ] || { echo "usage: $0 COMMAND [ARG…]" >&2; exit 2; }

session_dir="$(mktemp -d /tmp/halcy-session.XXXXXX)"
chmod 700 "$session_dir"
pids=()

stop_all() {
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[i]}" 2>/dev/null; done
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
        for _ in $(seq 50); do kill -0 "${pids[i]}" 2>/dev/null || break; sleep 0.1; done
        kill -9 "${pids[i]}" 2>/dev/null
    done
    [ -n "${KEEP_SESSION_DIR:-}" ] || rm -rf "$session_dir"
}
trap stop_all EXIT
trap 'exit 130' INT TERM

wait_for() { # seconds, command…
    local limit=$(( $1 * 10 )); shift
    for _ in $(seq "$limit"); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
    return 1
}

display_number=99
while [ -e "/tmp/.X11-unix/X$display_number" ] || [ -e "/tmp/.X$display_number-lock" ]; do
    display_number=$((display_number + 1))
done
export DISPLAY=":$display_number"

Xvfb "$DISPLAY" -screen 0 "${HALCY_SESSION_SCREEN:-1920x1080}x24" -nolisten tcp -noreset >"$session_dir/xvfb.log" 2>&1 &
pids+=($!)
wait_for 10 xdpyinfo || { echo "Xvfb did not start on $DISPLAY" >&2; cat "$session_dir/xvfb.log" >&2; exit 1; }

# No session bus: the tray icon uses XEmbed, which trayer hosts.
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY
export XDG_RUNTIME_DIR="$session_dir/runtime" XDG_CONFIG_HOME="$session_dir/config" \
       XDG_DATA_HOME="$session_dir/data" XDG_CACHE_HOME="$session_dir/cache" HALCY_SESSION_DIR="$session_dir"
mkdir -p "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
chmod 700 "$XDG_RUNTIME_DIR"

openbox >"$session_dir/openbox.log" 2>&1 &
pids+=($!)
wait_for 10 sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"' \
    || { echo "openbox did not start" >&2; exit 1; }

trayer --edge top --align right --widthtype request --height 24 --SetDockType true --transparent false \
    >"$session_dir/trayer.log" 2>&1 &
pids+=($!)
wait_for 10 sh -c 'xprop -root | grep -q _NET_SYSTEM_TRAY' || true
wait_for 10 sh -c "xwininfo -root -tree | grep -qi trayer" || echo "warning: trayer window not seen" >&2

if command -v pulseaudio >/dev/null; then
    pulseaudio --daemonize=no -n --exit-idle-time=-1 --disallow-exit \
        --load=module-native-protocol-unix \
        --load="module-null-sink sink_name=micsink" \
        --load="module-sine sink=micsink frequency=440" \
        --load="module-remap-source master=micsink.monitor source_name=fakemic" \
        >"$session_dir/pulseaudio.log" 2>&1 &
    pids+=($!)
    wait_for 10 pactl info || echo "warning: PulseAudio did not answer; audio tests will skip" >&2
fi

"$@"
status=$?
exit $status
