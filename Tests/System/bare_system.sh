#!/usr/bin/env bash
# Runs the README's two commands in a clone of the project on a bare system that debootstrap makes.
#   bare_system.sh SUITE [COMMAND...]
# SUITE: bookworm, trixie (Debian 12, 13) or noble (Ubuntu 24.04).
# COMMAND: what to run in the clone; default: ./qbx demo, then ./qbx test. CXX, CI and pip's variables
# (mirror, proxy, certificates of this machine) are passed on.
# QBX_ROOTS: folder that keeps bare systems between runs (default build/roots).
set -euo pipefail
project=$(cd "$(dirname "$0")/../.." && pwd)
suite=$1
shift
roots=${QBX_ROOTS:-$project/build/roots}

skip() {
    echo "SKIPPED: $*"
    exit 77
}

[[ $(id -u) -eq 0 ]] || skip "a bare system needs root"
command -v debootstrap >/dev/null || skip "debootstrap is not installed (apt-get install debootstrap)"

bare=$roots/$suite.tar
if [[ ! -e $bare ]]; then
    mkdir -p "$roots"
    fresh=$(mktemp -d "$roots/$suite.XXXX")
    from=("$suite" "$fresh")
    if [[ $suite == noble ]]; then  # which Debian 12's debootstrap does not know; Debian has not its keys
        from=(--no-check-gpg "--components=main,universe" "${from[@]}" http://archive.ubuntu.com/ubuntu gutsy)
    fi
    debootstrap --variant=minbase "${from[@]}" >"$roots/$suite.log" 2>&1 ||
        skip "debootstrap $suite failed: $(tail -n 1 "$roots/$suite.log")"
    tar -C "$fresh" -cf "$bare.new" .
    mv "$bare.new" "$bare"
    rm -rf "$fresh"
fi

system=$(mktemp -d "$roots/$suite.run.XXXX")
cleanup() {
    umount -l "$system/proc" "$system/dev" 2>/dev/null || true
    rm -rf --one-file-system "$system"
}
trap cleanup EXIT
tar -C "$system" -xf "$bare"
chmod 755 "$system"  # mktemp's folders are closed to the users of the system in them
cp /etc/resolv.conf "$system/etc/"
[[ ! -e /etc/pip.conf ]] || cp /etc/pip.conf "$system/etc/"
if [[ -n ${PIP_CERT-} ]]; then  # in a place that no package writes to
    install -m 644 "$PIP_CERT" "$system/etc/pip-cert.pem"
    export PIP_CERT=/etc/pip-cert.pem
fi
mapfile -t passed_on < <(env | grep -E '^(PIP_[A-Z_]*|CXX|CC|CI)=')
mount -t proc proc "$system/proc"
mount --rbind --make-rslave /dev "$system/dev"
git clone -q --no-hardlinks "file://$project" "$system/project"
[[ ! -d $project/build/packages ]] ||  # what ./qbx package and ./qbx wheel have built
    find "$project/build/packages" -maxdepth 2 \( -name '*.deb' -o -name '*.whl' \) \
        -exec install -D -t "$system/project/build/packages" {} +

run() {
    echo "$suite: $*"
    chroot "$system" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
        "${passed_on[@]}" sh -c 'cd /project && exec "$@"' sh "$@"
}

if [[ $# -gt 0 ]]; then
    run "$@"
else
    run ./qbx demo
    run ./qbx test
fi
