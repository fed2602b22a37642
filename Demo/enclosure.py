"""Runs qbx-enclosure on an embedded server, which it starts on the sample array and stops.

  enclosure.py BUILD [COMMAND] [OPTION...]
"""

import subprocess
import sys

from qbx_support.server import ROOT, Server, StartError


def main(build, *words):
    try:
        with Server(build) as server:
            url = server.url.replace("://", "://admin:admin@")
            return subprocess.call([sys.executable, ROOT / "Enclosure/qbx-enclosure", url, *words])
    except KeyboardInterrupt:
        return 130
    except StartError as error:
        print(f"qbx enclosure: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
