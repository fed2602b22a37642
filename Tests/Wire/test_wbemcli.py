"""The module through wbemcli."""

import unittest

import battery
import run
from clients import Wbemcli


class Reading(battery.Reading):
    client_class = Wbemcli


class Access(battery.Access):
    client_class = Wbemcli


class Acting(battery.Acting):
    client_class = Wbemcli


class Topology(battery.Topology):
    client_class = Wbemcli


class Particular(battery.WireTest):
    """What only this client does."""

    client_class = Wbemcli

    def test_class_names_and_classes(self):
        self.assertIn("QBX_DriveCage", " ".join(self.client.run("ecn", "CIM_Chassis")))
        shown = " ".join(self.client.run("gc", "QBX_DriveCageDC2Family"))
        for name in ("CreationClassName", "Tag", "Location", "FirmwareVersion"):
            self.assertIn(name, shown)

    def test_one_property(self):
        cage = self.array.cages[0]
        self.assertEqual(
            self.client.run("gp", cage.path, "Position"), [str(cage.values["Position"])]
        )

    def test_another_namespace(self):
        self.assertRefused(
            battery.INVALID_NAMESPACE,
            "CIM_ERR_INVALID_NAMESPACE: root/nope",
            self.client.run,
            "ein",
            "QBX_DriveCage",
            namespace="root/nope",
        )


# The battery is run through the classes above, not on its own.
def load_tests(loader, _tests, _pattern):
    return unittest.TestSuite(
        loader.loadTestsFromTestCase(each)
        for each in (Reading, Access, Topology, Particular, Acting)
    )


if __name__ == "__main__":
    run.main(needs_wbemcli=True)
