# shellcheck shell=bash disable=SC2154  # qbx sets root, build, logs, venv and python
# Installs what the project needs: packages of the system, and Python programs in build/venv. Sourced by qbx.
set -euo pipefail

apt_lock_wait=300  # seconds to wait for another program that uses apt

# The groups' lines of dependencies.txt, as "packages|probe|purpose", each package once.
dependencies_of() {
    local group
    for group in "$@"; do
        sed -n "s/^$group *| *//p" "$root/Scripts/dependencies.txt"
    done | sed 's/ *| */|/g' | awk -F'|' '!seen[$1]++'
}

has_apt() {
    command -v apt-get >/dev/null && command -v dpkg-query >/dev/null
}

# Whether a system without apt has what the probe names.
is_found() {
    local kind=${1%% *} name=${1#* }
    case $kind in
        command) command -v "$name" >/dev/null ;;
        pkg-config) pkg-config --exists "$name" 2>/dev/null ;;
        header) echo "#include <$name>" | "${CXX:-c++}" -std=c++17 -fsyntax-only -x c++ - 2>/dev/null ;;
        python) "$python" -c "import $name" 2>/dev/null ;;
        *) die "Scripts/dependencies.txt: unknown probe '$1'" ;;
    esac
}

# The lines of the groups that are not installed.
missing_dependencies() {
    local packages probe purpose name installed=
    if has_apt; then
        # shellcheck disable=SC2046,SC2016  # words are wanted; ${...} is dpkg-query's
        installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' \
            $(dependencies_of "$@" | cut -d'|' -f1) 2>/dev/null | sed -n 's/ installed$//p' || true)
    fi
    while IFS='|' read -r packages probe purpose; do
        if has_apt; then
            for name in $packages; do
                ! grep -qx -- "$name" <<<"$installed" || continue 2
            done
        elif is_found "$probe"; then
            continue
        fi
        echo "$packages|$probe|$purpose"
    done < <(dependencies_of "$@")
}

# Whether a step has failed because the disk is full: its log says so, or could not be written.
disk_is_full() {
    grep -qs 'No space left on device\|not have enough free space\|enough free space in\|Disk quota exceeded' "$1" ||
        [[ $(df --output=avail -k "$(dirname "$1")" | tail -n 1) -lt 1024 ]]
}

# One line on why apt-get failed, from its log, and what to do.
explain_apt_failure() {
    local log=$1 gone
    if disk_is_full "$log"; then
        die "apt-get: the disk is full; free some space and try again"
    elif grep -q 'Could not get lock\|Unable to acquire the dpkg frontend lock' "$log"; then
        die "apt-get: another program still uses apt after $apt_lock_wait s; end it, or wait, and try again"
    elif gone=$(sed -n "s/^E: Unable to locate package //p; s/^E: Package '\([^']*\)' has no .*/\1/p" "$log" | xargs) &&
        [[ -n $gone ]]; then
        die "apt-get: this system has no package $gone; see Scripts/dependencies.txt for what it is used for"
    elif grep -q 'Temporary failure resolving\|Could not connect\|Could not resolve\|Failed to fetch' "$log"; then
        die "apt-get: the package server cannot be reached (see $log); check the network, the proxy or /etc/apt"
    fi
    die "apt-get failed: $(grep '^E:' "$log" | tail -n 1); see $log"
}

# Runs apt-get as root; waits while another program holds its lock.
apt_get() {
    local log=$logs/apt.log told=0 end=$((SECONDS + apt_lock_wait))
    while ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C apt-get "$@" >"$log" 2>&1; do
        if ! grep -q 'Could not get lock\|Unable to acquire the dpkg frontend lock' "$log" || [[ $SECONDS -ge $end ]]; then
            explain_apt_failure "$log"
        fi
        [[ $told -eq 1 ]] || echo "setup: waiting for another program that uses apt"
        told=1
        sleep 3
    done
}

# Of the packages, which may stand for each other, the first that the system offers.
first_available() {
    local name
    for name in "$@"; do
        if [[ $(apt-cache policy "$name" 2>/dev/null) == *"Candidate: "[!\(]* ]]; then
            echo "$name"
            return
        fi
    done
    echo "$1"  # apt-get says that it is not there
}

# What to install for lines of dependencies.txt.
packages_for() {
    local line
    for line in "$@"; do
        # shellcheck disable=SC2046  # words are wanted
        first_available $(cut -d'|' -f1 <<<"$line")
    done
}

# Installs the groups of dependencies, as root or through sudo. On a system without apt: lists what is missing.
install_groups() {
    local -a missing names
    mapfile -t missing < <(missing_dependencies "$@")
    [[ ${#missing[@]} -gt 0 ]] || return 0
    if ! has_apt; then
        echo "qbx: this system has no apt. Install by hand, and try again:" >&2
        printf '%s\n' "${missing[@]}" | awk -F'|' '{printf "  %-28s %s (looked for: %s)\n", $1, $3, $2}' >&2
        exit 1
    fi
    as_root=()
    if [[ $(id -u) -ne 0 ]]; then
        # Ask for the password now, while the terminal is still the user's.
        if ! command -v sudo >/dev/null || ! sudo -v; then
            die "neither root nor allowed to sudo. Let an administrator run:" \
                "apt-get install $(packages_for "${missing[@]}" | xargs)"
        fi
        as_root=(sudo)
    fi
    make_folder "$logs"
    echo "setup: reading the lists of packages"
    apt_get update -q
    mapfile -t names < <(packages_for "${missing[@]}")
    echo "setup: installing ${names[*]} (can take some minutes)"
    apt_get install -y -q --no-install-recommends "${names[@]}"
}

make_folder() {
    mkdir -p "$@" 2>/dev/null || die "cannot create $*: free some space, or make the folder writable"
}

# ---- Python programs ----
# Each of Scripts/python/*.txt is a list of pinned versions; what pip cannot install is skipped by those who need it.

make_venv() {
    if [[ -x $venv/bin/python ]] && grep -qx 'include-system-site-packages = true' "$venv/pyvenv.cfg" &&
        "$venv/bin/python" -c '' 2>/dev/null; then
        return 0
    fi
    rm -rf "$venv"
    make_folder "$build" "$logs"
    "$python" -m venv --system-site-packages "$venv" >"$logs/venv.log" 2>&1 && return
    ! disk_is_full "$logs/venv.log" || die "$python -m venv: the disk is full; free some space and try again"
    die "$python -m venv failed: $(tail -n 1 "$logs/venv.log"); see $logs/venv.log"
}

# Installs a list of Python programs into build/venv unless it is there. Says in one line, once, when pip cannot.
# Proxy, mirror and a folder of wheels are pip's own variables: PIP_PROXY, PIP_INDEX_URL, PIP_NO_INDEX, PIP_FIND_LINKS.
install_python() {
    local list=$1 requirements=$root/Scripts/python/$1.txt installed=$venv/installed-$1.txt why=$venv/missing-$1.txt
    make_venv
    make_folder "$logs"
    ! cmp -s "$requirements" "$installed" || return 0
    echo "setup: installing $(sed 's/[=<>].*//' "$requirements" | xargs) into ${venv#"$root"/}"
    if "$venv/bin/pip" install -q --disable-pip-version-check --timeout 20 --retries 1 \
        -r "$requirements" >"$logs/pip-$list.log" 2>&1; then
        cp "$requirements" "$installed"
        rm -f "$why"
    else
        explain_pip_failure "$logs/pip-$list.log" >"$why"
        echo "setup: $(cat "$why")"
    fi
}

explain_pip_failure() {
    if disk_is_full "$1"; then
        echo "the disk is full: pip installed nothing, what needs it is skipped"
    else
        echo "pip cannot install it ($(grep -m1 '^ERROR' "$1" | cut -c1-120)); what needs it is skipped." \
            "PIP_INDEX_URL names a mirror, PIP_FIND_LINKS with PIP_NO_INDEX=1 a folder of wheels; see $1"
    fi
}
