"""Writes an array file of any size, for the simulated array: `./qbx serve --array` serves it.

Shape m: N magazines and N sensors in N/10 cages with a card each. Shape c: N cages with a card, a
magazine and a sensor each. Records and users are modelled on those of the sample array.
"""

import argparse
import copy
import json
import pathlib

SAMPLE = pathlib.Path(__file__).resolve().parents[1] / "StorageApi/simulator/sample-array.json"


def made(record, **fields):
    return copy.deepcopy(record) | fields


def array(records, shape):
    """The array file's content."""
    content = json.loads(SAMPLE.read_text())
    cage, magazine, card = (content[kind][0] for kind in ("cages", "magazines", "fcals"))
    sensor = next(place for place in cage["lbod"]["sensors"] if place)
    per_cage = 10 if shape == "m" else 1
    content |= {"cages": [], "cagesPS": [], "magazines": [], "fcals": []}
    for first in range(0, records, per_cage):
        number = first // per_cage
        name = f"cage{number}"
        places = range(min(per_cage, records - first))
        of_cage = {"parentDeviceID": name, "cageElementName": name, "cagePosition": number % 65536}
        new = made(cage, deviceID=name, elementName=name, position=number % 65536)
        new["wwn"] = f"0x{0x2FF70002AC000000 + number:016X}"
        new["lbod"]["sensors"] = [made(sensor, position=place) for place in places]
        content["cages"].append(new)
        content["magazines"] += [
            made(magazine, deviceID=f"mag{number}-{place}", position=place, **of_cage)
            for place in places
        ]
        content["fcals"].append(made(card, deviceID=f"card{number}-0", **of_cage))
    return content


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("records", type=int)
    parser.add_argument("--shape", choices="mc", default="m")
    parser.add_argument("file", type=pathlib.Path)
    options = parser.parse_args()
    content = array(options.records, options.shape)
    content.pop("$schema", None)  # a path beside the sample
    options.file.write_text(json.dumps(content))


if __name__ == "__main__":
    main()
