"""Writes seeds for the fuzz targets, and a dictionary for libFuzzer, out of what the tests keep:
FOLDER/TARGET/NUMBER and FOLDER/TARGET.dict."""

import json
import pathlib
import re
import sys
import urllib.parse

from qbx_support import arrays, exchanges
from qbx_support.cimxml import all_requests
from qbx_support.server import ROOT, SAMPLE_ARRAY

TESTS = ROOT / "Tests"
SIMULATOR = SAMPLE_ARRAY.parent
VALUES = {  # of each type
    b"boolean": b"TRUE",
    b"uint8": b"0xff",
    b"sint64": b"-9223372036854775808",
    b"real32": b"1.0000000e-01",
    b"real64": b"-inf",
    b"char16": b"&#32;",
    b"datetime": b"20260102030405.678901+060",
    b"string": b"&#32; a &#32; &lt;&gt;&amp;&quot;&apos;]]&gt;&#127;&#9;&#13;&#10;\xc3\xa4",
    b'string" EmbeddedObject="instance': b"&lt;INSTANCE CLASSNAME=&quot;I&quot; &gt;&lt;/INSTANCE&gt;",
}


def files(*patterns):
    return [path.read_bytes() for each in patterns for path in sorted(ROOT.glob(each))]


def recorded_requests():
    return [exchanges.recorded(name)[0] for name in exchanges.names()]


def mof(folder):
    """The MOF in the tests of a folder: raw strings, and others that end like a declaration."""
    text = "".join(path.read_text() for path in sorted((TESTS / "Cimom" / folder).glob("*.cpp")))
    found = re.findall(r'R"\((.*?)\)"', text, re.DOTALL)
    for each in re.findall(r'"((?:[^"\\\n]|\\["n\\])*[;}])"', text):
        found.append(json.loads(f'"{each}"'))
    whole = re.compile("class |instance of |Qualifier |#")
    return [(each if whole.search(each) else f"class T {{ {each} }};").encode() for each in found]


def service():
    """Recorded requests, and good ones to the module."""
    fields = "User: admin\nCIMMethod: {}\nCIMObject: {}\n\n{}"
    found: dict[str | bytes, bytes] = {}
    paths = list(arrays.element_paths(json.loads(SAMPLE_ARRAY.read_text(encoding="utf-8"))))
    for each in all_requests(paths, arrays.ASSOCIATIONS):
        kind = re.sub(">[^<]+<", "><", each.body)
        found.setdefault(kind, fields.format(*each).encode())  # one for each class
    for recorded in recorded_requests():
        head, _, body = recorded.partition(b"\r\n\r\n")
        lines = (each.strip() for each in re.findall(rb"(?m)^CIM(?!Operation).*$", head))
        found[body] = b"User: root\n" + urllib.parse.unquote_to_bytes(b"\n".join(lines)) + b"\n\n" + body
    return list(found.values())


def texts():
    """Paths and values: those of the recorded uses, and the elements of a request."""
    found = {b"//h/root/a:T.A=1,B=\"x\\\"\",C=TRUE,R=\"root/a:U.K=\\\"v\\\"\""}
    for path in sorted((TESTS / "Cimom" / "Model" / "vectors").glob("*Path*.jsonl")):
        for each in re.findall(r'"(?:in|a|b|toString)":("(?:\\.|[^"])*")', path.read_text()):
            found.add(json.loads(each).encode(errors="replace"))
    for kind, content in VALUES.items():
        value = b"<VALUE>%b</VALUE>" % content
        array = b"<VALUE.ARRAY>%b%b</VALUE.ARRAY>" % (value, value)
        for each in (value, array):
            found.add(b'<PARAMVALUE NAME="P" PARAMTYPE="%b">%b</PARAMVALUE>' % (kind, each))
            tag = b"PROPERTY" if each is value else b"PROPERTY.ARRAY"
            properties = b'<%b NAME="P" TYPE="%b">%b</%b>' % (tag, kind, each, tag)
            found.add(b'<INSTANCE CLASSNAME="C">%b</INSTANCE>' % properties)
    for seed in service():
        found |= set(re.findall(rb"(?s)<INSTANCENAME.*</INSTANCENAME>", seed))
    return sorted(found)


def array_files():
    """Small files, also bad ones: an array with one record of each kind and type; others."""
    found = files("Tests/StorageApi/array.json", "StorageApi/simulator/sample-firmware.json")
    found += [b"", b"[]", b"{", b'{"storageArray": 1}', b'{"cages": [{"type": "x"}]}']
    found.append(b'{"locations": [{"cage": "good", "from": "l", "to": "hex:E4"}]}')
    sample = json.loads(SAMPLE_ARRAY.read_text())
    records = {
        (kind, each.get("type", each.get("cageType"))): each
        for kind in ("cages", "cagesPS", "magazines", "fcals")
        for each in sample.get(kind, [])
    }
    for (kind, _), each in records.items():
        found.append(json.dumps({"storageArray": {}, kind: [each]}).encode())
    return found


def words(seeds):
    """The names in the seeds, as libFuzzer's dictionary has them."""
    found = set(re.findall(rb"[A-Za-z][\w.:-]{2,40}", b" ".join(seeds)))
    return b"".join(b'"%b"\n' % each for each in sorted(found))


def main():
    targets = {
        "array": array_files(),
        "cimxml": service(),
        "http": recorded_requests(),
        "mof": mof("Mof") + mof("Repository") + files("Schema/*.mof", "Tests/Cimom/**/*.mof"),
        "text": texts(),
    }
    for target, seeds in targets.items():
        folder = pathlib.Path(sys.argv[1]) / target
        folder.mkdir(parents=True, exist_ok=True)
        for number, seed in enumerate(seeds):
            (folder / str(number)).write_bytes(seed)
        folder.with_suffix(".dict").write_bytes(words(seeds))
        print(f"{target}: {len(seeds)} seeds")


if __name__ == "__main__":
    main()
