# shellcheck shell=bash
# The services of the headless desktop: how each is started, and how it shows that it is ready. Sourced by
# headless-desktop, which starts all of them, and by headless/service, which restarts one.
#
# A service NAME is started by launch_NAME and ready when ready_NAME succeeds (a dash of the name is an underscore
# there). $HEADLESS_DESKTOP/pids/NAME holds its process id, $HEADLESS_DESKTOP/logs/NAME its output.

support=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)

# How long a service may take on a busy machine, in seconds. Idle, all of them together take less than one.
limit=30

# failed NAME REASON: ends the script with the reason and the end of the service's log.
failed()
{
    {
        echo "headless-desktop: $1 did not start: $2"
        if [[ -s $HEADLESS_DESKTOP/logs/$1 ]]; then
            tail -n 20 "$HEADLESS_DESKTOP/logs/$1" | sed "s/^/    /"
        fi
    } >&2
    exit 125
}

# installed NAME PROGRAM
installed()
{
    command -v "$2" >/dev/null || failed "$1" "$2 is not installed (scripts/setup installs it)"
}

# detached COMMAND...: becomes the command, without the descriptor that ties the reaper to headless-desktop alone.
detached()
{
    if [[ -v lifeline ]]; then
        exec {lifeline}>&-
    fi
    exec "$@"
}

# keep_pid NAME PID: the shell itself takes no interest in what becomes of a service.
keep_pid()
{
    echo "$2" >"$HEADLESS_DESKTOP/pids/$1"
    disown "$2"
}

# launch NAME COMMAND...: starts the command in the background; its input, if any, is that of the call.
launch()
{
    local name=$1
    shift
    installed "$name" "$1"
    detached "$@" <&0 >>"$HEADLESS_DESKTOP/logs/$name" 2>&1 3>&- &
    keep_pid "$name" $!
}

# launch_announcing NAME COMMAND...: starts a command that prints one line on descriptor 3 once it is ready, and leaves
# that line in $announced.
launch_announcing()
{
    local name=$1 channel=$HEADLESS_DESKTOP/$1.ready
    shift
    installed "$name" "$1"
    mkfifo "$channel"
    detached "$@" </dev/null >>"$HEADLESS_DESKTOP/logs/$name" 2>&1 3>"$channel" &
    keep_pid "$name" $!
    read -r -t "$limit" announced <"$channel" || failed "$name" "it ended, or said nothing for $limit s"
    rm "$channel"
}

pid_of()
{
    cat "$HEADLESS_DESKTOP/pids/$1" 2>/dev/null
}

# running PID: whether the process exists and is more than an entry that waits for its parent.
running()
{
    local stat
    { read -r stat <"/proc/$1/stat"; } 2>/dev/null && [[ ${stat##*) } != [ZX]* ]]
}

# await NAME: returns when the service is ready; ends the script when it died or is too late.
await()
{
    local ready=ready_${1//-/_} pid deadline=$((SECONDS + limit))
    pid=$(pid_of "$1")
    until "$ready" >/dev/null 2>&1; do
        running "$pid" || failed "$1" "it ended"
        ((SECONDS < deadline)) || failed "$1" "it was not ready after $limit s"
        sleep 0.02
    done
}

# on_session_bus DESTINATION PATH METHOD ARGUMENT...: calls a method and prints the reply.
on_session_bus()
{
    dbus-send --session --print-reply=literal --reply-timeout=2000 --dest="$1" "${@:2}"
}

launch_session_bus()
{
    launch_announcing session-bus dbus-daemon --config-file="$support/session-bus.conf" \
        --address="unix:path=$XDG_RUNTIME_DIR/bus" --nofork --nopidfile --nosyslog --print-address=3
    export DBUS_SESSION_BUS_ADDRESS=$announced
}

# x_socket DISPLAY: the path of a display's socket, with what tells it from one made later in its place.
x_socket()
{
    stat --format='%n %i %z' "/tmp/.X11-unix/X$1"
}

# launch_x_server SIZE: the server picks a free display number itself, so that several desktops never meet.
launch_x_server()
{
    launch_announcing x-server Xvfb -displayfd 3 -screen 0 "$1x24" -dpi 96 -nolisten tcp -noreset
    export DISPLAY=:$announced
    x_socket "$announced" >"$HEADLESS_DESKTOP/x-socket" || failed x-server "it has no socket"
}

launch_window_manager()
{
    local command
    read -ra command <"$HEADLESS_DESKTOP/window-manager"
    launch window-manager "${command[@]}" </dev/null
}

ready_window_manager()
{
    local properties
    properties=$(xprop -root _NET_SUPPORTING_WM_CHECK)
    [[ $properties == *'window id # 0x'* ]]
}

# picom goes to the background, and its process id into the file, when it has become the screen's compositor.
launch_compositor()
{
    installed compositor picom
    rm -f "$HEADLESS_DESKTOP/pids/compositor"
    (detached timeout "$limit" picom -b --write-pid-path "$HEADLESS_DESKTOP/pids/compositor") \
        </dev/null >>"$HEADLESS_DESKTOP/logs/compositor" 2>&1 || failed compositor "it ended"
    local deadline=$((SECONDS + limit))
    until [[ -s $HEADLESS_DESKTOP/pids/compositor ]]; do
        ((SECONDS < deadline)) || failed compositor "it left no process id"
        sleep 0.02
    done
}

ready_compositor()
{
    running "$(pid_of compositor)"
}

launch_accessibility()
{
    launch accessibility /usr/libexec/at-spi-bus-launcher --launch-immediately </dev/null
}

# Asking for the registry starts it, so that the first application need not wait for it.
ready_accessibility()
{
    local address
    address=$(on_session_bus org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress)
    dbus-send --bus="${address##* }" --print-reply --reply-timeout=2000 --dest=org.a11y.atspi.Registry \
        /org/a11y/atspi/registry org.freedesktop.DBus.Peer.Ping
}

# An empty password makes a default collection that is unlocked from the start.
launch_keyring()
{
    launch keyring gnome-keyring-daemon --foreground --unlock --components=secrets <<<''
}

ready_keyring()
{
    local locked
    locked=$(on_session_bus org.freedesktop.secrets /org/freedesktop/secrets/aliases/default \
        org.freedesktop.DBus.Properties.Get string:org.freedesktop.Secret.Collection string:Locked)
    [[ $locked == *false* ]]
}

launch_pipewire()
{
    # A socket that an earlier server left behind must not pass for the new one's.
    rm -f "$XDG_RUNTIME_DIR"/pipewire-0{,.lock}
    launch pipewire pipewire </dev/null
}

ready_pipewire()
{
    [[ -S $XDG_RUNTIME_DIR/pipewire-0 ]]
}

launch_wireplumber()
{
    launch wireplumber wireplumber </dev/null
}

ready_wireplumber()
{
    local metadata
    metadata=$(timeout 2 pw-metadata 0 default.audio.sink)
    [[ $metadata == *test-null-sink* ]]
}

launch_pipewire_pulse()
{
    rm -rf "$XDG_RUNTIME_DIR/pulse"
    launch pipewire-pulse pipewire-pulse </dev/null
}

ready_pipewire_pulse()
{
    [[ $(timeout 2 pactl get-default-sink) == test-null-sink ]]
}

# stop NAME: ends a service, by force after five seconds. One that is gone already is as good.
stop()
{
    local pid deadline=$((SECONDS + 5))
    pid=$(pid_of "$1") || return 0
    kill -TERM "$pid" 2>/dev/null || true
    while running "$pid"; do
        if ((SECONDS >= deadline)); then
            kill -KILL "$pid" 2>/dev/null || true
        fi
        sleep 0.02
    done
    rm -f "$HEADLESS_DESKTOP/pids/$1"
}

# start NAME...: starts services, each one when the one before it is ready.
start()
{
    local name
    for name; do
        "launch_${name//-/_}"
        await "$name"
    done
}
