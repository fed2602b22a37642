"""The module through wbemcli."""

from concurrent import futures

import battery
import run
from clients import Wbemcli


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

    def test_many_at_once_get_the_same(self):
        card = self.first("QBX_CageInterfaceCardDC1Family").path
        for asked in (("ei", "CIM_ManagedElement"), ("ai", card)):  # ai: the provider asks further
            with self.subTest(asked), futures.ThreadPoolExecutor(24) as pool:
                answers = list(pool.map(lambda _: self.client.run(*asked), range(48)))
                self.assertTrue(answers[0])
                self.assertEqual(answers, 48 * answers[:1])


def load_tests(loader, _tests, _pattern):
    return battery.suite(loader, Wbemcli, Particular)


if __name__ == "__main__":
    run.main(needs_wbemcli=True)
