# shellcheck shell=bash disable=SC2154  # qbx sets root, build, logs, venv and python
# ./qbx test: every check and test, as numbered steps that are counted. Sourced by qbx.
set -euo pipefail

cpp_files() {
    git -C "$root" ls-files -z -- '*.h' '*.hpp' '*.cpp'
}

shell_files() {
    git -C "$root" ls-files -- qbx .ci/run '*.sh' '*.bash' 'Enclosure/completion/*' 'Deploy/qbx-*/p*'
}

# ---- Checks ----

check_format() {
    cd "$root"
    cpp_files | xargs -0 -r -n 16 -P "$(nproc)" "$venv/bin/clang-format" --dry-run -Werror
}

check_scripts() {
    cd "$root"
    shell_files | xargs -r "$venv/bin/shellcheck" -x
}

check_python() {
    cd "$root"
    "$venv/bin/ruff" check --quiet . && "$venv/bin/mypy"
}

# Clang-tidy over what is compiled for the product, the toolkit and the embedded server; see .clang-tidy.
check_tidy() {
    cd "$root"
    git ls-files -- 'Providers/*.cpp' 'Cimom/*.cpp' 'StorageApi/*.cpp' |
        xargs -r -n 1 -P "$(nproc)" "$venv/bin/clang-tidy" --quiet -p "$build/dev"
}

# The reference of the toolkit; warnings are errors.
build_docs() {
    cd "$root"
    make_folder "$build/docs"
    QBX_DOCS=$build/docs doxygen Docs/Doxyfile
}

# ---- Steps ----

# Begins a step.
begin() {
    step=$((step + 1))
    label="step $step of $steps, $1"
    echo "$label"
}

skip() {
    echo "  skipped $1: $2"
    skipped=$((skipped + 1))
}

# A step that counts as one test. Exit status 77 of its command, with a line that says why: skipped.
checked() {
    local name=$1 status=0
    shift
    begin "$name"
    make_folder "$logs"
    "$@" 2>&1 | tee "$logs/$name.log" | follow "$label" || status=$?
    case $status in
        0) passed=$((passed + 1)) ;;
        77) skip "$name" "$(sed -n 's/^SKIPPED: *//p' "$logs/$name.log" | tail -n 1)" ;;
        *)
            failed=$((failed + 1))
            echo "$label: FAILED, the end of $logs/$name.log:" >&2
            tail -n 60 "$logs/$name.log" >&2
            ;;
    esac
}

# A check by programs that pip installs in pinned versions; skipped where it could not.
checked_with() {
    local list=$1 name=$2
    if [[ -e $venv/missing-$list.txt ]]; then
        begin "$name"
        skip "$name" "$(cat "$venv/missing-$list.txt")"
    else
        checked "${@:2}"
    fi
}

# Builds a preset and runs its tests; adds to the counts.
tested() {
    local preset=$1 result=$logs/$1-tests.xml log=$logs/$1-tests.log
    local -a counts
    begin "$preset build"
    if ! build_preset "$label" "$preset"; then
        failed=$((failed + 1)) step=$((step + 1))
        return
    fi
    begin "$preset tests"
    rm -f "$result"
    (cd "$root" && ctest --preset "$preset" -j "$(($(nproc) + 1))" --output-junit "$result" \
        --no-tests=error 2>&1) | tee "$log" | follow "$label" || true
    # The first line counts, the others are for people.
    {
        read -r -a counts
        cat
    } < <("$python" "$root/Scripts/summary.py" "$preset" "$result")
    passed=$((passed + counts[0])) failed=$((failed + counts[1])) skipped=$((skipped + counts[2]))
    [[ ${counts[1]} -eq 0 ]] || echo "$preset: all output is in $log" >&2
}

run_tests() {
    local preset
    local -a presets=(dev asan)
    case ${1-} in
        --all) presets+=(tsan) ;;
        --quick) presets=(dev) ;;
    esac
    passed=0 failed=0 skipped=0
    step=0 steps=$((4 + 2 * ${#presets[@]}))
    [[ ${1-} != --all ]] || steps=$((steps + 7))
    checked_with tools format check_format
    checked_with tools shellcheck check_scripts
    checked_with tools python check_python
    checked docs build_docs
    for preset in "${presets[@]}"; do
        tested "$preset"
    done
    if [[ ${1-} == --all ]]; then
        install_python tidy
        install_python wheel
        checked_with tidy clang-tidy check_tidy
        checked packages cmd_package --check
        checked_with wheel wheel cmd_wheel
        checked_with wheel enclosure-12 "$root/Tests/System/bare_system.sh" bookworm Tests/Enclosure/installed.sh
        checked_with wheel enclosure-13 "$root/Tests/System/bare_system.sh" trixie Tests/Enclosure/installed.sh
        checked debian-12 "$root/Tests/System/bare_system.sh" bookworm
        checked debian-13 "$root/Tests/System/bare_system.sh" trixie
        checked ubuntu-24.04 "$root/Tests/System/bare_system.sh" noble
    fi
    echo "$passed passed, $failed failed, $skipped skipped"
    [[ $failed -eq 0 ]]
}
