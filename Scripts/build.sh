# shellcheck shell=bash disable=SC2154  # qbx sets root, build, logs, venv and python
# Builds presets, with progress on the terminal and the output in build/logs. Sourced by qbx.
set -euo pipefail

# Says how far a build or a test run is, by the "3/88" in the lines of its output: a counter that
# moves in a terminal, ten lines at most elsewhere.
follow() {
    local label=$1 line tenths=0
    while IFS= read -r line; do
        [[ $line =~ ^\[?\ *([0-9]+)/([0-9]+)[]\ ] ]] || continue
        local count=${BASH_REMATCH[1]} total=${BASH_REMATCH[2]}
        if [[ -t 1 ]]; then
            printf '\r%s: %s of %s ' "$label" "$count" "$total"
        elif [[ $((10 * count / total)) -gt $tenths ]]; then
            echo "$label: $count of $total"
            tenths=$((10 * count / total))
        fi
    done
    [[ ! -t 1 ]] || printf '\r\e[K'
}

# Runs a step with its output in a log; shows the log's tail only when it fails.
logged() {
    local label=$1 log=$logs/$2.log
    shift 2
    make_folder "$logs"
    if ! "$@" 2>&1 | tee "$log" | follow "$label"; then
        ! disk_is_full "$log" || die "$label: FAILED: the disk is full; free some space and try again"
        echo "$label: FAILED, the end of $log:" >&2
        tail -n 60 "$log" >&2
        return 1
    fi
}

# Configures and builds a preset; the label says what for. A warning stops the build in CI only: a
# newer compiler than ours may have new ones.
build_preset() {
    local label=$1 preset=$2
    local -a options=()
    shift 2
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    [[ -n ${CI-} ]] || options+=(-DQBX_WERROR=OFF)
    (cd "$root" &&  # where the presets are; the caller stays where the user is
        logged "$label" "$preset-configure" cmake --preset "$preset" "${options[@]}" &&
        logged "$label" "$preset-build" cmake --build --preset "$preset" "$@")
}

build_server() {
    echo "building the server, the module and the simulated array"
    build_preset "build" "${1:-release}" --target qbx-cimserver QBX_DriveCageProvider qbxapi
}
