# shellcheck shell=sh
# What qbx-provider has installed into a server that is a package goes with it. A server with a home
# of its own is its administrator's: qbx-provider remove --home.
if [ -e /var/lib/qbx-provider/QBX_DriveCageProvider/record.json ]; then
    env -u PEGASUS_HOME qbx-provider remove ||
        echo "The module stays in the CIM server; /var/lib/qbx-provider says what was installed." >&2
fi
