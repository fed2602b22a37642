"""What every client must see. Each class here is run through each client (test_*.py)."""

import json
import tempfile
import time
import unittest

from arrayfile import CODES, Array
from qbx_support import testing
from qbx_support.clients import ErrorResponse
from qbx_support.server import SAMPLE_FIRMWARE, StartError

CAGES = ["QBX_DriveCage"] + [f"QBX_DriveCageDC{family}Family" for family in (1, 2, 3)]
CARDS = ["QBX_CageInterfaceCard"] + [f"QBX_CageInterfaceCardDC{each}Family" for each in (1, 2, 3)]
ELEMENT_CLASSES = CAGES + CARDS + ["QBX_Magazine", "QBX_CageSensor"]
STATUS = {
    "FAILED": 1,
    "ACCESS_DENIED": 2,
    "INVALID_NAMESPACE": 3,
    "INVALID_PARAMETER": 4,
    "INVALID_CLASS": 5,
    "NOT_FOUND": 6,
    "NOT_SUPPORTED": 7,
}


def tagged(name, tag):
    """The path of an element with a tag."""
    return (name, {"CreationClassName": name, "Tag": tag})


class WireTest(unittest.TestCase):
    """A server on a copy of the array file of these tests, and a client of it."""

    maxDiff = None
    client_class = None  # set by the test modules

    @classmethod
    def setUpClass(cls):
        if reason := testing.missing(cls.client_class.name):
            raise unittest.SkipTest(reason)
        try:
            cls.server = testing.open_server()
        except StartError as error:
            raise AssertionError(str(error)) from error
        cls.addClassCleanup(cls.server.close)
        cls.array = Array(cls.server.array)
        cls.client = cls.client_class(cls.server)

    def shown(self, paths):
        """Paths as the client shows them, sorted."""
        return sorted(self.client.shown_path(each) for each in paths)

    def values(self, values):
        """Values as the client shows them."""
        return {name: self.client.shown(value) for name, value in values.items()}

    def assertShows(self, *elements):
        for each in elements:
            self.assertEqual(self.client.get(each.path), self.values(each.values))

    def assertRefused(self, status, text, operation, *arguments, **named):
        """That an operation is refused with a status, and a text (None: whatever) after its name."""
        with self.assertRaises(ErrorResponse) as caught:
            operation(*arguments, **named)
        self.assertEqual(caught.exception.code, STATUS[status], caught.exception.text)
        if text is not None:
            self.assertEqual(caught.exception.text, f"CIM_ERR_{status}: {text}")

    def served(self, name):
        """The elements that an enumeration of a class brings."""
        found = [
            each
            for one in ELEMENT_CLASSES
            if one == name or one.startswith(f"{name}DC")
            for each in self.array.elements(one)
        ]
        self.assertTrue(found, f"the array file shows nothing of {name}")
        return found

    def first(self, name):
        return self.array.elements(name)[0]


class Reading(WireTest):
    """Enumerations and single instances."""

    def test_names_are_those_of_the_class_and_all_below(self):
        expected = {name: self.served(name) for name in ELEMENT_CLASSES}
        expected.update(CIM_Chassis=self.array.cages, CIM_Sensor=self.array.sensors)
        for name, elements in expected.items():
            with self.subTest(name):
                names = self.client.names(name)
                self.assertEqual(sorted(names), self.shown(each.path for each in elements))

    def test_instances_carry_exactly_the_values_of_the_records(self):
        for name in ELEMENT_CLASSES:
            with self.subTest(name):
                expected = [
                    (self.client.shown_path(each.path), self.values(each.values))
                    for each in self.served(name)
                ]
                came = sorted(self.client.instances(name), key=str)
                for one, other in zip(came, sorted(expected, key=str)):
                    self.assertEqual(one, other)
                self.assertEqual(len(came), len(expected))

    def test_each_instance_can_be_fetched(self):
        seen = []  # of two sensors with the same id the first is found
        for each in self.array.everything():
            if each.path not in seen:
                seen.append(each.path)
                with self.subTest(each.path):
                    self.assertShows(each)

    def test_a_property_list_brings_only_what_it_names(self):
        for name in ELEMENT_CLASSES:
            with self.subTest(name):
                each = self.first(name)
                wanted = {"Position": each.values["Position"]}
                self.assertEqual(self.client.get(each.path, ["Position"]), self.values(wanted))

    def test_names_compare_without_case_and_keys_with_it(self):
        magazine, cage = self.array.magazines[0], self.array.cages[0]
        name, keys = magazine.path
        shouted = (name.upper(), {key.lower(): value for key, value in keys.items()})
        self.assertEqual(self.client.get(shouted), self.values(magazine.values))
        self.assertRefused("NOT_FOUND", None, self.client.get, tagged(name, keys["Tag"].swapcase()))
        # A tag that could be a class name compares like one.
        name, keys = cage.path
        self.assertTrue(keys["Tag"].isidentifier())
        other = tagged(name, keys["Tag"].swapcase())
        self.assertEqual(self.client.get(other), self.values(cage.values))

    def test_faults_are_refused_with_code_and_text(self):
        for name, provider in (
            ("QBX_DriveCageDC2Family", "QBX_DriveCageProvider"),
            ("QBX_CageInterfaceCardDC1Family", "QBX_FCALCardProvider"),
            ("QBX_Magazine", "QBX_MagazineProvider"),
        ):
            with self.subTest(name):
                text = f"{provider} CIM Object not found.no such tag"
                self.assertRefused("NOT_FOUND", text, self.client.get, tagged(name, "no such tag"))
                keyless = (name, {"CreationClassName": name})
                text = f"{provider} Tag key not found."
                self.assertRefused("INVALID_PARAMETER", text, self.client.get, keyless)
        name, keys = self.array.sensors[0].path
        text = "QBX_CageSensorProvider CIM Object not found.no such id"
        unknown = (name, {**keys, "DeviceID": "no such id"})
        self.assertRefused("NOT_FOUND", text, self.client.get, unknown)
        elsewhere = (name, {**keys, "SystemName": "another system"})
        self.assertRefused("NOT_FOUND", None, self.client.get, elsewhere)
        for operation, what in (
            (self.client.names, "QBX_Disk"),
            (self.client.instances, "QBX_Disk"),
            (self.client.get, ("QBX_Disk", {"Tag": "1"})),
        ):
            self.assertRefused("INVALID_CLASS", "QBX_Disk", operation, what)

    def test_an_element_is_found_under_its_own_class_only(self):
        for each in self.array.cages:
            for name in CAGES:
                if name != each.path[0]:
                    with self.subTest(tag=each.path[1]["Tag"], name=name):
                        self.assertRefused("NOT_FOUND", None, self.client.get, (name, each.path[1]))

    def test_an_absent_magazine_is_nowhere(self):
        self.assertTrue(self.array.absent, "the array file has no absent magazine with a name")
        for tag in self.array.absent:
            path = tagged("QBX_Magazine", tag)
            self.assertNotIn(self.client.shown_path(path), self.client.names("QBX_Magazine"))
            self.assertRefused("NOT_FOUND", None, self.client.get, path)

    def test_system_instances_are_there(self):
        array = self.array
        for name, keys in {
            "QBX_StorageSystem": {"CreationClassName": "QBX_StorageSystem", "Name": array.system},
            "QBX_SystemPackage": {"CreationClassName": "QBX_SystemPackage", "Tag": array.system},
            "QBX_StorageSystemView": {"InstanceID": f"QBX:{array.system}"},
        }.items():
            with self.subTest(name):
                self.assertEqual(self.client.names(name), self.shown([(name, keys)]))
        system = self.client.instances("QBX_StorageSystem")[0][1]
        for name, value in (
            ("ElementName", array.host),
            ("Model", array.model),
            ("SerialNumber", array.serial),
        ):
            self.assertEqual(system[name], self.client.shown(value))


class Access(WireTest):
    """Who may ask."""

    def test_a_user_the_array_does_not_know_is_refused(self):
        cage, magazine = self.array.cages[0].path, self.array.magazines[0].path
        for user in ("stranger", "blocked"):
            client = self.client_class(self.server, user)
            for operation in (
                (client.names, cage[0]),
                (client.instances, cage[0]),
                (client.get, cage),
                (client.names, "QBX_MagazineInDriveCage"),
                (client.associator_names, magazine),
                (client.invoke, cage, "Locate", []),
                (client.set, cage, "Location", "x"),
            ):
                with self.subTest(user=user, operation=operation):
                    text = "Insufficient privilege for the user"
                    self.assertRefused("ACCESS_DENIED", text, *operation)

    def test_the_names_of_cards_are_open_to_all(self):
        stranger = self.client_class(self.server, "stranger")
        expected = self.shown(each.path for each in self.array.cards)
        self.assertEqual(sorted(stranger.names("QBX_CageInterfaceCard")), expected)
        self.assertRefused("ACCESS_DENIED", None, stranger.instances, "QBX_CageInterfaceCard")

    def test_a_wrong_password_or_name_is_refused(self):
        for user, password in (("admin", "wrong"), ("admin", ""), ("nobody-at-all", "admin")):
            with self.subTest(user=user, password=password):
                client = self.client_class(self.server, user, password)
                with self.assertRaises(ErrorResponse) as caught:
                    client.names("QBX_DriveCage")
                self.assertEqual(caught.exception.code, 401)

    def test_users_may_do_what_the_array_grants_and_no_more(self):
        """The operator may locate; viewer and guest only look. A refusal changes nothing."""
        cage, magazine = self.array.cages[0], self.array.magazines[0]
        text = "Insufficient generic privilege"
        operator = self.client_class(self.server, "operator")
        for each in (cage, magazine):
            self.assertEqual(operator.invoke(each.path, "Locate", []), 0)
        for user in ("operator", "viewer", "guest"):
            client = self.client_class(self.server, user)
            for operation in (
                (client.invoke, magazine.path, "SetLoopState", [("IsOnloop", False)]),
                (client.set, cage.path, "Location", "moved"),
                (client.invoke, cage.path, "Locate", [("LocateTimer", 60)]),
            )[: 2 if user == "operator" else 3]:
                with self.subTest(user=user, operation=operation):
                    self.assertRefused("ACCESS_DENIED", text, *operation)
        self.assertShows(cage, magazine)

    def test_a_method_that_the_array_does_not_know_is_not_supported(self):
        if self.client.name == "wbemcli":
            self.skipTest("wbemcli sends only methods that the class declares")
        text, cage = "Does not support in generic!", self.array.cages[0].path
        self.assertRefused("NOT_SUPPORTED", text, self.client.invoke, cage, "Explode", [])


class Acting(WireTest):
    """Methods and changes."""

    def eventually(self, path, name, value, seconds=30):
        """Waits until a property has a value: the array caches what it knows for a while."""
        deadline, shown = time.monotonic() + seconds, self.client.shown(value)
        while self.client.get(path).get(name) != shown:
            self.assertLess(time.monotonic(), deadline, f"{path}: {name} never became {value}")
            time.sleep(0.1)

    def test_an_element_shows_its_light_for_the_time_asked(self):
        dark = [
            next(each.path for each in elements if not each.values["LocateON"])
            for elements in (self.array.cages, self.array.magazines)
        ]
        for path in dark:
            self.assertEqual(self.client.invoke(path, "Locate", [("LocateTimer", 3)]), 0)
            self.eventually(path, "LocateON", True, 3)
        for path in dark:
            self.eventually(path, "LocateON", False)

    def test_a_card_shows_the_light_of_one_port(self):
        card = self.first("QBX_CageInterfaceCardDC1Family")
        lights = [not card.values["LoopALocateON"][0], card.values["LoopALocateON"][1]]
        parameters = [("LocateTimer", 60), ("Port", 0)]
        self.assertEqual(self.client.invoke(card.path, "Locate", parameters), 0)
        self.eventually(card.path, "LoopALocateON", lights)

    def test_a_magazine_goes_off_its_loops_and_on_again(self):
        magazine = self.first("QBX_Magazine").path
        on, off = 1, 2  # the state codes of the simulated array
        for parameters, loop_a, loop_b in (
            ([("IsOnloop", True)], on, on),
            ([("IsOnloop", False), ("IsPortA", False)], on, off),
            ([("IsOnloop", False), ("IsPortA", True)], off, off),
            ([("IsOnloop", True), ("IsPortA", True)], on, off),
            ([("IsOnloop", False)], off, off),
            ([("IsOnloop", True)], on, on),
        ):
            with self.subTest(parameters):
                self.assertEqual(self.client.invoke(magazine, "SetLoopState", parameters), 0)
                now = self.client.get(magazine, ["StateOnLoopA", "StateOnLoopB"])
                self.assertEqual(now, self.values({"StateOnLoopA": loop_a, "StateOnLoopB": loop_b}))

    def test_an_upgrade_reads_the_file(self):
        cage = self.array.elements("QBX_DriveCageDC2Family")[1]
        other = self.first("QBX_DriveCageDC1Family")
        before = cage.values["FirmwareVersion"]
        after = json.loads(SAMPLE_FIRMWARE.read_text())["version"]
        self.assertNotEqual(before, after)
        old = self.enterContext(tempfile.NamedTemporaryFile("w", suffix=".json"))
        json.dump({**json.loads(SAMPLE_FIRMWARE.read_text()), "version": before}, old)
        old.flush()
        for path, file, result, then in (
            (cage.path, "/nowhere/firmware.json", CODES["QBXSIM_FIRMWARE_MISSING"], before),
            (other.path, str(SAMPLE_FIRMWARE), CODES["QBXSIM_FIRMWARE_MISMATCH"], before),
            (cage.path, str(SAMPLE_FIRMWARE), 0, after),
            (cage.path, old.name, 0, before),
        ):
            with self.subTest(path=path, file=file):
                parameters = [("FileName", file), ("IsPortA", True)]
                self.assertEqual(self.client.invoke(path, "Upgrade", parameters), result)
                now = self.client.get(cage.path)["FirmwareVersion"]
                self.assertEqual(now, self.client.shown(then))

    def test_faults_of_methods_are_refused_with_code_and_text(self):
        absent = tagged("QBX_Magazine", "none")
        unfound = "QBX_MagazineProvider::invokeMethod()  Device not found with Tag=none"
        missing = "QBX_DriveCageProvider:Locate parameter not found: FileName"
        refused = "QBX_FCALCardProvider does not support invokeMethod."
        for path, method, code, text in (
            (self.first(CAGES[2]).path, "Upgrade", "INVALID_PARAMETER", missing),
            (self.first(CARDS[3]).path, "Locate", "NOT_SUPPORTED", refused),
            (absent, "Locate", "FAILED", unfound),
        ):
            with self.subTest(path=path, method=method):
                self.assertRefused(code, text, self.client.invoke, path, method, [])

    def test_a_location_changes_and_survives_a_restart(self):
        cage = next(each for each in self.array.cages if each.values["Location"].isalpha())
        self.addCleanup(
            lambda: self.client_class(self.server).set(
                cage.path, "Location", cage.values["Location"]
            )
        )
        for location in (self.client.hard_text, "Küche"):
            self.client.set(cage.path, "Location", location)
            self.eventually(cage.path, "Location", location)
        self.server.control("restart")
        self.client = self.client_class(self.server)
        self.assertShows(cage._replace(values={**cage.values, "Location": "Küche"}))

    def test_a_changed_array_file_shows(self):
        file = self.server.array
        if file == testing.ARRAY:
            self.skipTest("--array would say which file the server serves")
        self.addCleanup(file.write_text, file.read_text())
        contents = json.loads(file.read_text())
        contents["cages"][-2]["elementName"] = "changed"
        file.write_text(json.dumps(contents))
        self.eventually(self.array.cages[-2].path, "ElementName", "changed")

    def test_only_the_location_may_change(self):
        cage, magazine, change = self.array.cages[1], self.array.magazines[0], self.client.set
        text = "Invalid parameter: ElementName"
        self.assertRefused("INVALID_PARAMETER", text, change, cage.path, "ElementName", "x")
        whole = self.client.send_back
        self.assertRefused("INVALID_PARAMETER", None, whole, cage.path, "Location", "x")
        text = "QBX_MagazineProvider does not support modifyInstance."
        self.assertRefused("NOT_SUPPORTED", text, change, magazine.path, "ElementName", "x")
        self.assertShows(cage, magazine)


class Topology(WireTest):
    """The four associations, walked from every element in both directions."""

    def links(self):
        """Every link as (association, role here, path here, role there, path there), both ways."""
        for name, (first, second, pairs) in self.array.associations.items():
            for one, other in pairs:
                yield name, first, one, second, other
                yield name, second, other, first, one

    def ends(self):
        """Every way as (association, role here, path here, role there, [paths there])."""
        found = {}
        for name, here, path, there, other in self.links():
            key = (name, here, self.client.shown_path(path))
            found.setdefault(key, (name, here, path, there, []))[-1].append(other)
        return found.values()

    def test_every_element_is_reached_from_each_side_once(self):
        for name, here, path, there, others in self.ends():
            narrowed = {"association": name, "role": here, "result_role": there}
            turned = {"association": name, "role": there, "result_role": here}
            with self.subTest(association=name, path=path):
                names = self.client.associator_names
                self.assertEqual(sorted(names(path, **narrowed)), self.shown(others))
                self.assertEqual(names(path, **turned), [])

    def test_without_filters_all_neighbours_come(self):
        everything = {}
        for _, _, path, _, other in self.links():
            everything.setdefault(str(path), (path, []))[1].append(other)
        for path, expected in everything.values():
            with self.subTest(path=path):
                self.assertEqual(sorted(self.client.associator_names(path)), self.shown(expected))

    def test_references_name_both_ends(self):
        for name, here, path, there, others in self.ends():
            links = [(name, {here: path, there: other}) for other in others]
            with self.subTest(association=name, path=path):
                narrowed = {"result": name, "role": here}
                names = self.client.reference_names
                self.assertEqual(sorted(names(path, **narrowed)), self.shown(links))
                self.assertEqual(names(path, result=name, role=there), [])
                expected = [(self.client.shown_path(link), self.values(link[1])) for link in links]
                came = self.client.references(path, **narrowed)
                self.assertEqual(sorted(came, key=str), sorted(expected, key=str))

    def test_association_instances_are_listed_and_fetched(self):
        for name, (first, second, pairs) in self.array.associations.items():
            with self.subTest(name):
                links = [(name, {first: one, second: other}) for one, other in pairs]
                self.assertEqual(sorted(self.client.names(name)), self.shown(links))
                expected = [(self.client.shown_path(link), self.values(link[1])) for link in links]
                self.assertEqual(
                    sorted(self.client.instances(name), key=str), sorted(expected, key=str)
                )
                self.assertEqual(self.client.get(links[0]), self.values(links[0][1]))

    def test_associators_bring_the_elements_themselves(self):
        """Cards and magazines of a cage come without manufacturing data: that takes a slower query."""
        known = {}
        for each in self.array.everything():
            values = dict(each.values)
            if each in self.array.cards + self.array.magazines:
                values.update(Manufacturer="", Model="", SerialNumber="")
            known.setdefault(self.client.shown_path(each.path), self.values(values))
        asked = set()
        for name, here, path, there, others in self.ends():
            if (name, here) in asked:
                continue  # one of each side
            asked.add((name, here))
            with self.subTest(association=name, path=path):
                came = self.client.associators(path, association=name, role=here)
                self.assertEqual(sorted(each for each, _ in came), self.shown(others))
                for each, values in came:
                    self.assertEqual(values, known.get(each, values))
                turned = {"association": name, "result_role": here}
                self.assertEqual(self.client.associators(path, **turned), [])

    def test_what_does_not_fit_leaves_nothing(self):
        cage = self.first("QBX_DriveCageDC2Family").path
        in_chassis = {"result": "CIM_PhysicalPackage", "association": "CIM_PackageInChassis"}
        for path, narrowed in (
            (cage, {"role": "Owner"}),
            (cage, {"result": "QBX_StorageSystem"}),
            *((tagged(name, "none"), in_chassis) for name in CAGES + ["QBX_Magazine"]),
        ):
            with self.subTest(path=path, narrowed=narrowed):
                self.assertEqual(self.client.associator_names(path, **narrowed), [])


def suite(loader, client, *particular):
    """The tests of a client: the battery, and its own. What acts comes last."""
    classes = (Reading, Access, Topology, *particular, Acting)
    return unittest.TestSuite(
        loader.loadTestsFromTestCase(type(each.__name__, (each,), {"client_class": client}))
        for each in classes
    )
