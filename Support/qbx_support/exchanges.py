"""Requests and responses recorded at OpenPegasus, most with one fault or oddity in the request, and
where the embedded server responds otherwise on purpose.

A file of Tests/Wire/exchanges holds a line "##### client->server", the bytes of the request, a line
"##### server->client", those of the response, and a line "##### end" that says how it ended.
"""

import dataclasses

from qbx_support.server import ROOT

FOLDER = ROOT / "Tests" / "Wire" / "exchanges"
PROBE_SCHEMA = f"--schema=root/qbx={FOLDER / 'probe.mof'}"  # what the recorded server served


@dataclasses.dataclass(frozen=True)
class Deviation:
    """Why the embedded server's response differs from the recorded one, and what it is: status,
    CIMError, PGErrorDetail (decoded, "-" for none), and a part of the body, which is empty otherwise."""

    reason: str
    status: int
    cim_error: str = "-"
    detail: str = "-"
    body: str = ""


WAITS = "OpenPegasus waits for a body that does not come."
AS_BODY = "OpenPegasus takes bytes behind an announced body of length 0 for the body."
UNSAFE = "The embedded server refuses what could be read in two ways, and what is no HTTP/1."
UNCLEAR = "It is not clear from the header where the body ends."
VERBS = "The embedded server takes POST only; OpenPegasus serves files too, and M-POST."
POST_ONLY = "This server answers CIM-XML requests: POST only."
DEVIATIONS = {
    "no_clen": Deviation(
        WAITS, 411, detail="The request needs a Content-Length header or a chunked body."
    ),
    "clen_huge": Deviation(
        WAITS, 413, detail="The request body is larger than 4194304 bytes."
    ),
    "clen_zero": Deviation(
        AS_BODY, 400, "request-not-valid",
        "Validation error: on line 1: Expected <?xml ... ?> style declaration",
    ),
    "clen_bad": Deviation(UNSAFE, 400, detail=UNCLEAR),
    "header_lf_only": Deviation(UNSAFE, 400, detail=UNCLEAR),
    "garbage": Deviation(UNSAFE, 400),
    "http_version_2_0": Deviation(UNSAFE, 505),
    "verb_get": Deviation(VERBS, 405, detail=POST_ONLY),
    "verb_put": Deviation(VERBS, 405, detail=POST_ONLY),
    "mpost": Deviation(VERBS, 405, detail=POST_ONLY),
    "accept_lang_bad": Deviation(
        "The embedded server does not read languages.", 200, body="Probe_CageM:1</KEYVALUE>"
    ),
    "xml_charref": Deviation(
        "OpenPegasus takes references above 127 for single bytes, so that the key is no UTF-8.",
        200, body='CODE="6" DESCRIPTION="CIM_ERR_NOT_FOUND: ',
    ),
    "im_hdr_objcase": Deviation(
        "The recorded server had a provider with this method.", 200,
        body='CODE="16" DESCRIPTION="CIM_ERR_METHOD_NOT_AVAILABLE: Stat"',
    ),
    "chunked_TE": Deviation(
        "OpenPegasus sends trailers to clients that take them, which is optional.", 200,
        body="Probe_CageM:1</KEYVALUE>",
    ),
    "xml_msgid_weird": Deviation(
        "The embedded server escapes the message ID; the recorded response is no XML.", 200,
        body='ID="a&lt;b é"',
    ),
    "xml_deep": Deviation(
        "The embedded server refuses the depth, OpenPegasus the element.", 400,
        "request-not-valid", "Validation error: on line 2: elements are nested too deeply",
    ),
}  # fmt: skip


def names():
    """The names of all exchanges."""
    return sorted(path.stem for path in FOLDER.glob("*.txt"))


def recorded(name):
    """The bytes of a recorded request, and those of its response."""
    content = (FOLDER / f"{name}.txt").read_bytes()
    request, _, response = content.partition(b"\n##### server->client\n")
    return request.partition(b"##### client->server\n")[2], response.rpartition(b"\n##### end")[0]
