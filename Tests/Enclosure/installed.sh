#!/bin/sh
# Installs qbx-enclosure as its package and as a wheel, and queries the packaged embedded server, in a
# bare system: Tests/System/bare_system.sh SUITE Tests/Enclosure/installed.sh
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -q >/dev/null
apt-get install -y -q --no-install-recommends ./build/packages/qbx-cimserver_*.deb ./build/packages/qbx-enclosure_*.deb >/dev/null
echo "admin:$(echo secret | qbx-cimserver --hash-password)" >/etc/qbx-cimserver/users
mkfifo ready
qbx-cimserver --users /etc/qbx-cimserver/users --port 0 --provider-dir /usr/lib/*/qbx-cimserver \
    --schema root/qbx=/usr/share/qbx-cimserver/schema/qbx.mof \
    --schema root/interop=/usr/share/qbx-cimserver/schema/registration.mof >ready &
server=$!
trap 'kill $server' EXIT
url=$(sed -n 's|ready: http://\([^/]*\)/.*|http://admin:secret@\1|p;q' ready)

check() {
    "$@" --version | grep -x "qbx-enclosure $(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)"
    "$@" "$url" health | grep '^CRITICAL: 3 elements in 1 cage'
    "$@" "$url" report - | grep -q '<h2>Drive cages</h2>'
    "$@" "$url" metrics --once | grep 'qbx_up{.*} 1.0'
}

check qbx-enclosure

# The exporter, as its unit starts it.
printf '[array.one]\nurl = "%s"\nuser = "admin"\npassword_file = "password"\n' "http://${url#*@}" >/etc/qbx-enclosure/sites.toml
echo secret | install -m 640 -g qbx-enclosure /dev/stdin /etc/qbx-enclosure/password
unit=/lib/systemd/system/qbx-enclosure-exporter.service
command=$(sed -n 's/^ExecStart=//p' "$unit")
mkfifo serves
# shellcheck disable=SC2086  # words are wanted
setpriv --reuid "$(sed -n 's/^User=//p' "$unit")" --regid qbx-enclosure --clear-groups --no-new-privs \
    ${command%\$OPTIONS} --port 0 >serves &
exporter=$!
trap 'kill $exporter $server' EXIT
serving=$(sed -n 's|ready: \(.*\)/metrics|\1|p;q' serves)
/usr/bin/python3 -c "print(__import__('urllib.request').request.urlopen('$serving/probe?target=one').read().decode())" |
    grep -x 'qbx_up{array="one"} 1.0'
kill $exporter
trap 'kill $server' EXIT

apt-get purge -y -q qbx-enclosure python3-rich >/dev/null
apt-get install -y -q --no-install-recommends pipx >/dev/null
pipx install build/packages/qbx_enclosure-*.whl
check /root/.local/bin/qbx-enclosure
