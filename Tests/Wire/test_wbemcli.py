"""The module through wbemcli."""

import client_tests
from expected import DC1
from qbx_support import testing
from qbx_support.clients import Wbemcli


class Reading(client_tests.Reading):
    client_class = Wbemcli

    def test_lists_names_of_classes(self):
        self.assertIn("QBX_DriveCage", " ".join(self.client.run("ecn", "CIM_Chassis")))

    def test_gets_class(self):
        shown = " ".join(self.client.run("gc", "QBX_DriveCageDC2Family"))
        for name in ("CreationClassName", "Tag", "Location", "FirmwareVersion"):
            self.assertIn(name, shown)

    def test_gets_one_property(self):
        self.assertExpected(self.client.run("gp", DC1.path, "Position"), ["1"])


class Access(client_tests.Access):
    client_class = Wbemcli


class Topology(client_tests.Topology):
    client_class = Wbemcli


class Acting(client_tests.Acting):
    client_class = Wbemcli

    def test_rejects_location_that_xml_cannot_carry(self):
        text = "Invalid parameter: Location: character 2 is U+0001, which XML cannot carry"
        sent = "a&#1;"  # goes into the XML as it is
        self.assertError("INVALID_PARAMETER", text, self.client.set, DC1.path, "Location", sent)
        self.assertShows(DC1)


if __name__ == "__main__":
    testing.main(needs="wbemcli")
