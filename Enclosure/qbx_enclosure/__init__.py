"""qbx-enclosure: shows and operates the drive cages of an array through a CIM server."""
