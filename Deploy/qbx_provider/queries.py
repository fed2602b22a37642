"""Requests for the instances of every class: over the wire as a user, or locally."""

from __future__ import annotations

import base64
import contextlib
import http.client
import ssl
import urllib.error
import urllib.parse
import urllib.request
import xml.etree.ElementTree as ET

from .common import NAMESPACE, CommandError, say
from .payload import Payload
from .server import Server

SYSTEM = "QBX_StorageSystem"  # class of the instance that some classes need from elsewhere
CIM_ERR_ACCESS_DENIED = 2  # exit status of cimcli

ENUMERATE = """<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>
<IMETHODCALL NAME="EnumerateInstanceNames"><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>
<NAMESPACE NAME="qbx"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{}"/>
</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"""


class QueryError(Exception):
    """The CIM error that a query returns."""


class AccessDeniedError(QueryError):
    """The array does not know the local user, or not with the privileges that this takes."""


class WireClient:
    """Queries the server over HTTP or HTTPS as a user of the server and the array."""

    def __init__(self, server: Server, user: str, password: str, url: str | None):
        """`url`: http(s)://HOST:PORT; None: this host, with the port that the server has."""
        if not url:
            secure = server.settings.get("enableHttpConnection") != "true"
            port = server.settings.get("httpsPort" if secure else "httpPort") or 5988 + secure
            url = f"http{'s' if secure else ''}://localhost:{port}"
        self.user, self.url = user, url
        login = base64.b64encode(f"{user}:{password}".encode()).decode()
        self.login = {"Authorization": f"Basic {login}"}
        context = ssl.create_default_context()
        if urllib.parse.urlsplit(url).hostname in ("localhost", "127.0.0.1", "::1"):
            context.check_hostname = False  # the server's certificate has its other name
            context.verify_mode = ssl.CERT_NONE
        secure_handler = urllib.request.HTTPSHandler(context=context)
        self.opener = urllib.request.build_opener(urllib.request.ProxyHandler({}), secure_handler)

    def check_login(self) -> None:
        """Raises CommandError when the server refuses the user or cannot be reached. Says so when it
        would let in anybody."""
        self.query()
        login, self.login = self.login, {}
        with contextlib.suppress(CommandError):
            self.query()
            say(f"authentication is off: the server has not checked user {self.user} and the password")
        self.login = login

    def query(self) -> None:
        """Raises CommandError when there is no CIM response."""
        with contextlib.suppress(QueryError):
            self.count("CIM_ManagedElement")

    def count(self, class_name: str) -> int:
        """The number of instances. Raises QueryError, and CommandError when there is no CIM response."""
        headers = {
            "Content-Type": 'application/xml; charset="utf-8"',
            "CIMOperation": "MethodCall",
            "CIMMethod": "EnumerateInstanceNames",
            "CIMObject": urllib.parse.quote(NAMESPACE, safe=""),
            **self.login,
        }
        body = ENUMERATE.format(class_name).encode()
        try:
            request = urllib.request.Request(f"{self.url}/cimom", body, headers)
            with self.opener.open(request, timeout=60) as response:
                tree = ET.fromstring(response.read())
        except (OSError, ValueError, ET.ParseError, http.client.HTTPException) as error:
            if isinstance(error, urllib.error.HTTPError) and error.code == 401:
                remedy = "Give another user or password."
                raise CommandError("log in", f"the server refuses user {self.user}", remedy) from None
            remedy = "Look at the server's ports (cimconfig -l -c), or give --url."
            raise CommandError("query over the wire", f"{self.url}: {error}", remedy) from None
        failed = tree.find(".//ERROR")
        if failed is not None:
            raise QueryError(failed.get("DESCRIPTION", f"CIM error {failed.get('CODE')}"))
        return len(tree.findall(".//IRETURNVALUE/INSTANCENAME"))


class LocalClient:
    """Queries the server as the calling user."""

    user = "the local user"

    def __init__(self, server: Server):
        self.server = server

    def check_login(self) -> None:
        """Nothing: the server has let this user in already."""

    def count(self, class_name: str) -> int:
        """The number of instances. Raises QueryError."""
        result = self.server.run("cimcli", "ni", "-n", NAMESPACE, class_name)
        if result.returncode:
            denied = result.returncode == CIM_ERR_ACCESS_DENIED
            error = result.stderr.strip().rpartition("\n")[2]
            raise (AccessDeniedError if denied else QueryError)(error)
        return len(result.stdout.strip().splitlines())


Client = WireClient | LocalClient


def query_classes(server: Server, payload: Payload, client: Client) -> None:
    """Queries every class that the module serves, and prints how many instances each has. Raises
    CommandError when one cannot be queried. That the array does not know the local user is no failure,
    nor that there is no storage system yet."""
    counts, denied = [], ""
    for name in payload.served:
        try:
            counts.append(f"{name} {client.count(name)}")
        except AccessDeniedError as error:
            denied = str(error)
        except QueryError as error:
            if name not in payload.needs_system or server.instance_names(SYSTEM):
                remedy = "Troubleshooting.md says what that means."
                raise CommandError(f"query {name}", str(error), remedy) from None
            say(f"  {name}: no {SYSTEM} in {NAMESPACE}: install the array's module that serves")
            say("  it and start this one anew (cimprovider -d, -e), or see --system-instances")
    if denied:
        say(f"  the module responds, but the array refuses the local user: {denied}")
        say("  --user NAME queries as a user of the array")
    else:
        say(f"  {', '.join(counts)}")
