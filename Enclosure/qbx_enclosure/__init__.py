"""qbx-enclosure: shows and operates the drive cages of an array through any CIM server that runs
the drive cage provider module."""
