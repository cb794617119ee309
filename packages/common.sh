# Functions that ./run, ./test and ./bench share. To be sourced from the root folder.
# shellcheck shell=bash

# Work runs as root only where that is said: in a container, where these commands are root.
if ((EUID == 0)) && [[ -z ${VORLAN_WORK_ACCOUNT:-} ]]; then
    echo "Runs as root: so does the work of the Engines started here (VORLAN_WORK_ACCOUNT=root)" >&2
    export VORLAN_WORK_ACCOUNT=root
fi

# build PRESET [TARGET...]: configures and builds; everything if no target is named.
build() {
    local preset=$1 log
    shift
    mkdir -p build
    log=build/configure-$preset.log
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
    cmake --build "build/$preset" --target "${@:-all}" >&2
}

# start_display FOLDER: a virtual screen with a window manager. Sets DISPLAY and what
# programs with windows need to look the same everywhere; keeps its files in FOLDER.
display_pids=()
start_display() {
    local folder=$1 number
    mkdir -p "$folder/config/gtk-3.0" "$folder/runtime"
    chmod 700 "$folder/runtime"
    cat >"$folder/config/gtk-3.0/settings.ini" <<-END
		[Settings]
		gtk-application-prefer-dark-theme=1
		gtk-theme-name=Adwaita
		gtk-font-name=Inter 9
		gtk-overlay-scrolling=0
		gtk-enable-animations=0
	END
    : >"$folder/number"
    setsid Xvfb -displayfd 3 -screen 0 1400x1000x24 -nolisten tcp -dpi 96 +extension XTEST \
        3>"$folder/number" >"$folder/xvfb.log" 2>&1 &
    display_pids=($!)
    for _ in {1..100}; do
        number=$(<"$folder/number")
        [[ -n $number ]] && break
        if ! kill -0 "${display_pids[0]}" 2>/dev/null; then break; fi
        sleep 0.1
    done
    if [[ -z $number ]]; then
        echo "The virtual screen did not start:" >&2
        cat "$folder/xvfb.log" >&2
        return 1
    fi
    unset WAYLAND_DISPLAY
    export DISPLAY=:$number NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory GDK_BACKEND=x11 GIO_USE_VFS=local \
        LC_ALL=C.UTF-8 XDG_CONFIG_HOME=$folder/config XDG_RUNTIME_DIR=$folder/runtime
    setsid openbox >"$folder/openbox.log" 2>&1 &
    display_pids+=($!)
    for _ in {1..100}; do
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q window && return 0
        sleep 0.1
    done
    echo "The window manager did not start:" >&2
    cat "$folder/openbox.log" >&2
    return 1
}

stop_display() {
    local i
    for ((i = ${#display_pids[@]} - 1; i >= 0; --i)); do
        end_process "${display_pids[i]}" 5
    done
    display_pids=()
}

# end_process PID SECONDS: asks a child to end, and kills its group when the time is up.
end_process() {
    local pid=$1 tries=$(($2 * 10))
    kill -TERM "$pid" 2>/dev/null || true
    while kill -0 "$pid" 2>/dev/null && ((tries-- > 0)); do sleep 0.1; done
    kill -KILL -- "-$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
}

# home_processes HOME: who runs with this VORLAN_HOME.
home_processes() {
    grep -lzsxF "VORLAN_HOME=$1" /proc/[0-9]*/environ | cut -d/ -f3 || true
}

# end_home HOME: ends every program that runs with this VORLAN_HOME.
end_home() {
    local pids tries
    pids=$(home_processes "$1")
    # shellcheck disable=SC2086
    [[ -z $pids ]] || kill -TERM $pids 2>/dev/null || true
    for ((tries = 0; tries < 160; ++tries)); do
        pids=$(home_processes "$1")
        [[ -n $pids ]] || return 0
        # shellcheck disable=SC2086
        ((tries < 80)) || kill -KILL $pids 2>/dev/null || true
        sleep 0.1
    done
}
