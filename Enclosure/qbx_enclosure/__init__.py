"""qbx-enclosure: shows and operates the drive cages of a storage array through a CIM server."""

COMMANDS = ("tree", "arrays", "health", "watch", "locate", "loop", "upgrade", "relocate", "metrics", "report")
