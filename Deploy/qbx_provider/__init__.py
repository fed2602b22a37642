"""Installs provider modules into an OpenPegasus CIM server, removes them, and checks what is there.

main: the command line; commands: install, remove, check; checks: what must hold before anything is
changed; steps: the changes, each with its undo; payload: the files of a module; record: what was
done to a server for it; server: an OpenPegasus installation and its programs; registration: how a module
is registered; queries: requests to the installed module; common: names, and CommandError.
"""
