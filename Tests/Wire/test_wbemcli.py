"""The module through wbemcli."""

import battery
from qbx_support import testing
from qbx_support.clients import Wbemcli


class Particular(battery.WireTest):
    """What only this client does."""

    def test_classes_and_one_property(self):
        self.assertIn("QBX_DriveCage", " ".join(self.client.run("ecn", "CIM_Chassis")))
        shown = " ".join(self.client.run("gc", "QBX_DriveCageDC2Family"))
        for name in ("CreationClassName", "Tag", "Location", "FirmwareVersion"):
            self.assertIn(name, shown)
        cage = self.array.cages[1]
        self.assertEqual(
            self.client.run("gp", cage.path, "Position"), [str(cage.values["Position"])]
        )
        text, sent = "Location: character 2 is U+0001, which XML cannot carry", "a&#1;"  # as it is
        text = f"Invalid parameter: {text}"
        self.assertRefused("INVALID_PARAMETER", text, self.client.set, cage.path, "Location", sent)
        self.assertShows(cage)


def load_tests(loader, _tests, _pattern):
    return battery.suite(loader, Wbemcli, Particular)


if __name__ == "__main__":
    testing.main(needs="wbemcli")
