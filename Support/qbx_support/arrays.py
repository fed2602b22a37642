"""Array files for the simulated array: `./qbx serve --array FILE` serves one.

  python -m qbx_support.arrays large FILE --records N [--shape m|c]
"""

import argparse
import json
import pathlib

from qbx_support.server import SAMPLE_ARRAY

FAMILIES = {"JB_JBOD": "DC1", "JB_KBOD": "DC1", "JB_LBOD": "DC2", "JB_MBOD": "DC2", "JB_DC3": "DC3"}
ASSOCIATIONS = (
    "QBX_SysCageContainer",
    "QBX_InterfaceCardInDriveCage",
    "QBX_MagazineInDriveCage",
    "QBX_SensorInDriveCage",
)


def element_path(base, record, kind="type"):
    """The path of the element of a record; `base` is its class without family, `kind` the record's
    field that says of which family it is."""
    name = base + (f"{FAMILIES[record[kind]]}Family" if base != "QBX_Magazine" else "")
    return (name, {"CreationClassName": name, "Tag": record["deviceID"]})


def element_paths(contents):
    """The paths of the cages, cards and magazines of an array file whose families are all known and
    whose texts are plain ones, such as the sample's."""
    for record in contents["cages"]:
        yield element_path("QBX_DriveCage", record)
    for record in contents["fcals"]:
        yield element_path("QBX_CageInterfaceCard", record, "cageType")
    for record in contents["magazines"]:
        if not record.get("isAbsent"):
            yield element_path("QBX_Magazine", record)


def large(records, shape="m"):
    """The content of an array file of N records, modelled on those of the sample array. Shape m: N
    magazines and N sensors in N/10 cages with a card each; shape c: N cages with a card, a magazine
    and a sensor each."""
    sample = json.loads(SAMPLE_ARRAY.read_text(encoding="utf-8"))
    cage, magazine, card = (sample[kind][0] for kind in ("cages", "magazines", "fcals"))
    sensor = next(place for place in cage["lbod"]["sensors"] if place)
    per_cage = 10 if shape == "m" else 1
    made: dict[str, list] = {"cages": [], "magazines": [], "fcals": []}
    for first in range(0, records, per_cage):
        number = first // per_cage
        name, position = f"cage{number}", number % 65536
        places = range(min(per_cage, records - first))
        lbod = cage["lbod"] | {"sensors": [sensor | {"position": place} for place in places]}
        wwn = f"0x{0x2FF70002AC000000 + number:016X}"
        cage |= {"deviceID": name, "elementName": name, "position": position, "wwn": wwn}
        made["cages"].append(cage | {"lbod": lbod})
        part = {"parentDeviceID": name, "cageElementName": name, "cagePosition": position}
        for place in places:
            part |= {"deviceID": f"mag{number}-{place}", "position": place}
            made["magazines"].append(magazine | part)
        made["fcals"].append(card | part | {"deviceID": f"card{number}-0", "position": 0})
    del sample["$schema"]  # its path is beside the sample
    return sample | {"cagesPS": []} | made


def main():
    parser = argparse.ArgumentParser(prog="python -m qbx_support.arrays", description=__doc__)
    parser.add_argument("kind", choices=["large"])
    parser.add_argument("file", type=pathlib.Path)
    parser.add_argument("--records", type=int, default=1000)
    parser.add_argument("--shape", choices="mc", default="m")
    options = parser.parse_args()
    options.file.write_text(json.dumps(large(options.records, options.shape)), encoding="utf-8")


if __name__ == "__main__":
    main()
