# SPDX-License-Identifier: MIT
# Sourced by the other scripts.  Expects bash with -euo pipefail; changes to the project's top folder.

launched_from=$PWD
project=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
cd "$project"

say() { printf '== %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# quietly LOG COMMAND...: keeps the output in build/logs/LOG.log and shows it only if the command fails.
quietly() {
    local log=build/logs/$1.log
    shift
    mkdir -p build/logs
    "$@" >"$log" 2>&1 || { tail -n 60 "$log" >&2; die "failed: $* (all it said is in $log)"; }
}

# configure PRESET [ARGUMENT...]
configure() {
    quietly "configure-$1" cmake --preset "$@"
}

# build PRESET [ARGUMENT...]: shows the build tool's progress on a terminal.
build() {
    local preset=$1
    shift
    if [ -t 1 ]; then
        cmake --build --preset "$preset" "$@" || die "the build failed"
    else
        quietly "build-$preset" cmake --build --preset "$preset" "$@"
    fi
}

# start_display: starts a virtual X server and sets DISPLAY.  The server ends with the script, even if that is killed.
display_server=''
start_display() {
    local answer
    exec {answer}< <(exec setsid setpriv --pdeathsig TERM \
        Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp 2>/dev/null)
    display_server=$!
    trap stop_display EXIT
    # The server writes its number once it is ready, and nothing if it cannot start.
    read -r -u "$answer" DISPLAY || die "Xvfb does not start"
    export DISPLAY=:$DISPLAY
    unset WAYLAND_DISPLAY
}
stop_display() {
    [ -z "$display_server" ] || kill "$display_server" 2>/dev/null || true
    display_server=''
}

# Prints what the failed tests printed, from what ctest printed.
failures() {
    awk '/^ *[0-9]+\/[0-9]+ Test/ { failed = /Failed|Timeout|Exception/ } /^ *Start +[0-9]+:|tests passed/ { failed = 0 } failed'
}

# run_tests PRESET [ARGUMENT...]: runs the preset's tests and leaves the results in build/test-results/PRESET.
# Fails only if the tests could not run; scripts/test-summary evaluates the results.
run_tests() {
    local results=$project/build/test-results/$1 preset=$1
    shift
    rm -rf "$results"
    mkdir -p "$results/cases" "$results/home"
    env -u DBUS_SESSION_BUS_ADDRESS XDG_CONFIG_HOME="$results/home" GTEST_OUTPUT="xml:$results/cases/" \
        ctest --preset "$preset" "$@" --parallel "$(nproc)" --no-tests=error --output-junit "$results/programs.xml" \
        >"$results/log" || failures <"$results/log" >&2
    [ -s "$results/programs.xml" ] || { tail -n 20 "$results/log" >&2; die "the tests of $preset did not run"; }
}
