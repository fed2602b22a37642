"""Writes an array file of N records for the simulated array: `./qbx serve --array` serves it."""
# Shape m: N magazines and N sensors in N/10 cages with a card each. Shape c: N cages with a card, a
# magazine and a sensor each. Records and users are modelled on those of the sample array.

import argparse
import json
import pathlib

SAMPLE = pathlib.Path(__file__).resolve().parents[1] / "StorageApi/simulator/sample-array.json"


# The content of an array file.
def array(records, shape):
    sample = json.loads(SAMPLE.read_text())
    cage, magazine, card = (sample[kind][0] for kind in ("cages", "magazines", "fcals"))
    sensor = next(place for place in cage["lbod"]["sensors"] if place)
    per_cage = 10 if shape == "m" else 1
    made = {"cages": [], "magazines": [], "fcals": []}
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


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("records", type=int)
    parser.add_argument("--shape", choices="mc", default="m")
    parser.add_argument("file", type=pathlib.Path)
    options = parser.parse_args()
    options.file.write_text(json.dumps(array(options.records, options.shape)))
