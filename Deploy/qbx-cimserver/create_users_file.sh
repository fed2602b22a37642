# shellcheck shell=sh
# The users with access, lines NAME:HASH: none, until the administrator adds some.
if [ ! -e /etc/qbx-cimserver/users ]; then
    mkdir -p /etc/qbx-cimserver
    (umask 0027 && : >/etc/qbx-cimserver/users)
    chgrp qbx-cimserver /etc/qbx-cimserver/users
fi
