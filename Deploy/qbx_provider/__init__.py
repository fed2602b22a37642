"""Installs the drive cage module into an OpenPegasus CIM server, removes it, and checks what is there.

main: the command line; commands: install, remove, check; checks: what must hold before anything is
changed; steps: the changes, each with its undo; payload: the files of the module; record: what was
done to a server; server: an OpenPegasus installation and its programs; registration: how the module
is registered; queries: requests to the installed module; common: names, and CommandError.
"""
