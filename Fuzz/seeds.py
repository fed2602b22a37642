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


def files(*patterns):
    return [path.read_bytes() for each in patterns for path in sorted(ROOT.glob(each))]


def recorded_requests():
    return [exchanges.recorded(name)[0] for name in exchanges.names()]


def cases(folder):
    """What is asked in a table of cases."""
    lines = (TESTS / "Cimom" / folder / "cases.txt").read_text().splitlines()
    asked = "\n".join(line for line in lines if not re.match("[=#>] ", line))
    return [each.encode() for each in re.split("\n\n+", asked) if each]


def service():
    """Recorded requests, and good ones to the module."""
    fields = "User: admin\nCIMMethod: {}\nCIMObject: {}\n\n{}"
    found = {}
    paths = list(arrays.element_paths(json.loads(SAMPLE_ARRAY.read_text(encoding="utf-8"))))
    for each in all_requests(paths, arrays.ASSOCIATIONS):
        kind = re.sub(">[^<]+<", "><", each.body)
        found.setdefault(kind, fields.format(*each).encode())  # one for each class
    for said in recorded_requests():
        head, _, body = said.partition(b"\r\n\r\n")
        kept = re.findall(rb"(?m)^CIM(?!Operation).*$", head)
        kept = urllib.parse.unquote_to_bytes(b"\n".join(each.strip() for each in kept))
        found[body] = b"User: root\n" + kept + b"\n\n" + body
    return list(found.values())


def texts():
    """Paths and values: those of the recorded uses, and the elements of a request."""
    found = {b"//h/root/a:T.A=1,B=\"x\\\"\",C=TRUE,R=\"root/a:U.K=\\\"v\\\"\""}
    for path in sorted((TESTS / "Cimom" / "Model" / "vectors").glob("*path*.json")):
        for each in re.findall(r'"(?:text|a|b|toString)":("(?:\\.|[^"])*")', path.read_text()):
            found.add(json.loads(each).encode(errors="replace"))
    everything = files("Tests/Cimom/CimXml/everything.xml")[0]
    found.add(everything)
    for kind, value in re.findall(rb'TYPE="(\w+)"[^>]*>\s*(<VALUE.*?</VALUE>)', everything):
        found.add(b'<PARAMVALUE NAME="P" PARAMTYPE="%b">%b</PARAMVALUE>' % (kind, value))
        value = b"<VALUE.ARRAY>%b%b</VALUE.ARRAY>" % (value, value)
        found.add(b'<PARAMVALUE NAME="P" PARAMTYPE="%b">%b</PARAMVALUE>' % (kind, value))
    for said in service():
        found |= set(re.findall(rb"(?s)<INSTANCENAME.*</INSTANCENAME>", said))
    return sorted(found)


def array_files():
    """Small files, also bad ones: an array with one record of each kind and type; others."""
    found = files("Tests/StorageApi/array.json", "StorageApi/simulator/sample-firmware.json")
    faults = json.loads((TESTS / "StorageApi" / "faults.json").read_text())
    found += [text.encode() for text, _ in faults["files"]]
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
        "mof": cases("Mof") + cases("Repository") + files("Schema/*.mof", "Tests/Cimom/**/*.mof"),
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
