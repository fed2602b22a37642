# The users with access, lines NAME:HASH: none, until the administrator adds some.
if [ ! -e /etc/qbx-cimserver/users ]; then
    mkdir -p /etc/qbx-cimserver
    install -o root -g qbx-cimserver -m 0640 /dev/null /etc/qbx-cimserver/users
fi
