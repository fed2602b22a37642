"""What every client must see. Each class here is run through each client (test_*.py)."""

import json
import time
import unittest

import run  # before clients and server: it says where they are
from arrayfile import CODES, Array
from clients import Refused
from server import SAMPLE_FIRMWARE, StartError, open_server

CAGES = [
    "QBX_DriveCage",
    "QBX_DriveCageDC1Family",
    "QBX_DriveCageDC2Family",
    "QBX_DriveCageDC3Family",
]
CARDS = [
    "QBX_CageInterfaceCard",
    "QBX_CageInterfaceCardDC1Family",
    "QBX_CageInterfaceCardDC2Family",
    "QBX_CageInterfaceCardDC3Family",
]
ELEMENT_CLASSES = CAGES + CARDS + ["QBX_Magazine", "QBX_CageSensor"]
ACCESS_DENIED, INVALID_NAMESPACE, INVALID_PARAMETER = 2, 3, 4
FAILED, INVALID_CLASS, NOT_FOUND, NOT_SUPPORTED = 1, 5, 6, 7


class WireTest(unittest.TestCase):
    """A server on a copy of the sample array, and a client of it."""

    maxDiff = None
    client_class = None  # set by the test modules

    @classmethod
    def setUpClass(cls):
        try:
            cls.server = open_server()
        except StartError as error:
            raise AssertionError(str(error)) from error
        cls.addClassCleanup(cls.server.close)
        cls.array = Array(cls.server.array)
        cls.client = cls.client_class(cls.server)

    def paths(self, elements):
        return sorted(self.client.shown_path(each.path) for each in elements)

    def values(self, values):
        return {name: self.client.shown(value) for name, value in values.items()}

    def assertRefused(self, code, text, operation, *arguments, **named):
        with self.assertRaises(Refused) as caught:
            operation(*arguments, **named)
        self.assertEqual(caught.exception.code, code, caught.exception.text)
        if text is not None:
            self.assertEqual(caught.exception.text, text)

    def subclasses(self, name):
        """The served classes that an enumeration of `name` covers."""
        return [each for each in ELEMENT_CLASSES if each == name or each.startswith(f"{name}DC")]


class Reading(WireTest):
    """Enumerations and single instances."""

    def test_names_are_those_of_the_class_and_its_subclasses(self):
        for name in ELEMENT_CLASSES:
            with self.subTest(name):
                expected = [
                    each for one in self.subclasses(name) for each in self.array.elements(one)
                ]
                self.assertTrue(expected, "the sample array shows nothing of this class")
                self.assertEqual(sorted(self.client.names(name)), self.paths(expected))

    def test_names_of_the_bases_cover_everything_below(self):
        array = self.array
        for name, expected in (("CIM_Chassis", array.cages), ("CIM_Sensor", array.sensors)):
            with self.subTest(name):
                self.assertEqual(sorted(self.client.names(name)), self.paths(expected))

    def test_instances_carry_exactly_the_values_of_the_records(self):
        for name in ELEMENT_CLASSES:
            with self.subTest(name):
                expected = [
                    each for one in self.subclasses(name) for each in self.array.elements(one)
                ]
                expected = [
                    (self.client.shown_path(each.path), self.values(each.values))
                    for each in expected
                ]
                came = self.client.instances(name)
                by_path = sorted(expected, key=lambda each: str(each[0]))
                for one, other in zip(sorted(came, key=lambda each: str(each[0])), by_path):
                    self.assertEqual(one, other)
                self.assertEqual(len(came), len(expected))

    def test_each_instance_can_be_fetched(self):
        seen = []  # of two sensors with the same id the first is found
        for each in self.array.everything():
            if each.path in seen:
                continue
            seen.append(each.path)
            with self.subTest(each.path):
                self.assertEqual(self.client.get(each.path), self.values(each.values))

    def test_a_property_list_brings_only_what_it_names(self):
        for name in ELEMENT_CLASSES:
            each = self.array.elements(name)[0]
            with self.subTest(name):
                wanted = {"Position": each.values["Position"]}
                self.assertEqual(self.client.get(each.path, ["Position"]), self.values(wanted))

    def test_names_compare_without_case_and_keys_with_it(self):
        magazine = self.array.magazines[0]
        name, keys = magazine.path
        shouted = (name.upper(), {key.lower(): value for key, value in keys.items()})
        self.assertEqual(self.client.get(shouted), self.values(magazine.values))
        other = (name, {**keys, "Tag": keys["Tag"].swapcase()})
        self.assertRefused(NOT_FOUND, None, self.client.get, other)

    def test_a_tag_that_could_be_a_class_name_compares_like_one(self):
        cage = self.array.cages[0]
        name, keys = cage.path
        self.assertTrue(keys["Tag"].isidentifier())
        self.assertEqual(
            self.client.get((name, {**keys, "Tag": keys["Tag"].swapcase()})),
            self.values(cage.values),
        )

    def test_faults_are_refused_with_code_and_text(self):
        providers = {
            "QBX_DriveCageDC2Family": "QBX_DriveCageProvider",
            "QBX_CageInterfaceCardDC1Family": "QBX_FCALCardProvider",
            "QBX_Magazine": "QBX_MagazineProvider",
        }
        for name, provider in providers.items():
            with self.subTest(name):
                unknown = (name, {"CreationClassName": name, "Tag": "no such tag"})
                self.assertRefused(
                    NOT_FOUND,
                    f"CIM_ERR_NOT_FOUND: {provider} CIM Object not found.no such tag",
                    self.client.get,
                    unknown,
                )
                keyless = (name, {"CreationClassName": name})
                self.assertRefused(
                    INVALID_PARAMETER,
                    f"CIM_ERR_INVALID_PARAMETER: {provider} Tag key not found.",
                    self.client.get,
                    keyless,
                )
        keys = dict(self.array.sensors[0].path[1], DeviceID="no such id")
        self.assertRefused(
            NOT_FOUND,
            "CIM_ERR_NOT_FOUND: QBX_CageSensorProvider CIM Object not found.no such id",
            self.client.get,
            ("QBX_CageSensor", keys),
        )
        keys = dict(self.array.sensors[0].path[1], SystemName="another system")
        self.assertRefused(NOT_FOUND, None, self.client.get, ("QBX_CageSensor", keys))

    def test_an_element_is_found_under_its_own_class_only(self):
        for each in self.array.cages:
            for name in CAGES:
                if name != each.path[0]:
                    with self.subTest(tag=each.path[1]["Tag"], name=name):
                        self.assertRefused(NOT_FOUND, None, self.client.get, (name, each.path[1]))

    def test_an_unknown_class_is_refused(self):
        text = "CIM_ERR_INVALID_CLASS: QBX_Disk"
        self.assertRefused(INVALID_CLASS, text, self.client.names, "QBX_Disk")
        self.assertRefused(INVALID_CLASS, text, self.client.instances, "QBX_Disk")
        self.assertRefused(INVALID_CLASS, text, self.client.get, ("QBX_Disk", {"Tag": "1"}))

    def test_an_absent_magazine_is_nowhere(self):
        self.assertTrue(self.array.absent, "the sample array has no absent magazine with a name")
        for tag in self.array.absent:
            path = ("QBX_Magazine", {"CreationClassName": "QBX_Magazine", "Tag": tag})
            self.assertNotIn(self.client.shown_path(path), self.client.names("QBX_Magazine"))
            self.assertRefused(NOT_FOUND, None, self.client.get, path)

    def test_system_instances_are_there(self):
        array = self.array
        expected = {
            "QBX_StorageSystem": {"CreationClassName": "QBX_StorageSystem", "Name": array.system},
            "QBX_SystemPackage": {"CreationClassName": "QBX_SystemPackage", "Tag": array.system},
            "QBX_StorageSystemView": {"InstanceID": f"QBX:{array.system}"},
        }
        for name, keys in expected.items():
            with self.subTest(name):
                self.assertEqual(self.client.names(name), [self.client.shown_path((name, keys))])
        system = self.client.instances("QBX_StorageSystem")[0][1]
        shown = self.client.shown
        self.assertEqual(
            (system["ElementName"], system["Model"], system["SerialNumber"]),
            (shown(array.host), shown(array.model), shown(array.serial)),
        )


class Access(WireTest):
    """Who may ask."""

    def test_a_user_the_array_does_not_know_is_refused(self):
        text = "CIM_ERR_ACCESS_DENIED: Insufficient privilege for the user"
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
                    self.assertRefused(ACCESS_DENIED, text, *operation)

    def test_the_names_of_cards_are_open_to_all(self):
        stranger = self.client_class(self.server, "stranger")
        self.assertEqual(
            sorted(stranger.names("QBX_CageInterfaceCard")), self.paths(self.array.cards)
        )
        self.assertRefused(ACCESS_DENIED, None, stranger.instances, "QBX_CageInterfaceCard")

    def test_a_wrong_password_or_name_is_refused(self):
        for user, password in (("admin", "wrong"), ("admin", ""), ("nobody-at-all", "admin")):
            with self.subTest(user=user, password=password):
                client = self.client_class(self.server, user, password)
                self.assertRefused(401, None, client.names, "QBX_DriveCage")

    def test_users_may_do_what_the_array_grants_and_no_more(self):
        """The operator holds the privileges to locate, and none to change anything."""
        operator = self.client_class(self.server, "operator")
        denied = "CIM_ERR_ACCESS_DENIED: Insufficient generic privilege"
        magazine = self.array.magazines[0].path
        for each in (self.array.cages[0].path, magazine):
            self.assertEqual(operator.invoke(each, "Locate", []), 0)
        self.assertRefused(
            ACCESS_DENIED, denied, operator.invoke, magazine, "SetLoopState", [("IsOnloop", True)]
        )
        self.assertRefused(
            ACCESS_DENIED, denied, operator.set, self.array.cages[0].path, "Location", "x"
        )

    def test_a_method_that_the_array_does_not_know_is_not_supported(self):
        if self.client.name == "wbemcli":
            self.skipTest("wbemcli sends only methods that the class declares")
        self.assertRefused(
            NOT_SUPPORTED,
            "CIM_ERR_NOT_SUPPORTED: Does not support in generic!",
            self.client.invoke,
            self.array.cages[0].path,
            "Explode",
            [],
        )

    def test_a_refused_user_changes_nothing(self):
        """Methods and changes ask for a privilege, and a refusal comes before anything else."""
        denied = "CIM_ERR_ACCESS_DENIED: Insufficient generic privilege"
        cage, magazine = self.array.cages[0], self.array.magazines[0]
        for user in ("viewer", "guest"):
            client = self.client_class(self.server, user)
            for operation in (
                (client.invoke, cage.path, "Locate", [("LocateTimer", 60)]),
                (client.invoke, magazine.path, "SetLoopState", [("IsOnloop", False)]),
                (client.set, cage.path, "Location", "moved"),
            ):
                self.assertRefused(ACCESS_DENIED, denied, *operation)
        self.assertEqual(self.client.get(cage.path), self.values(cage.values))
        self.assertEqual(self.client.get(magazine.path), self.values(magazine.values))


class Acting(WireTest):
    """Methods and changes."""

    def eventually(self, path, name, value, seconds=30):
        """Waits until a property has a value: the array caches what it knows for a while."""
        deadline, shown = time.monotonic() + seconds, self.client.shown(value)
        while self.client.get(path).get(name) != shown:
            self.assertLess(time.monotonic(), deadline, f"{path}: {name} never became {value}")
            time.sleep(0.1)

    def tag(self, class_name, tag):
        return (class_name, {"CreationClassName": class_name, "Tag": tag})

    def test_a_cage_shows_its_light_for_the_time_asked(self):
        cage = next(each for each in self.array.cages if not each.values["LocateON"])
        self.assertEqual(self.client.invoke(cage.path, "Locate", [("LocateTimer", 3)]), 0)
        self.eventually(cage.path, "LocateON", True, 3)
        self.eventually(cage.path, "LocateON", False)

    def test_a_magazine_shows_its_light_for_the_time_asked(self):
        magazine = next(each for each in self.array.magazines if not each.values["LocateON"])
        self.assertEqual(self.client.invoke(magazine.path, "Locate", [("LocateTimer", 3)]), 0)
        self.eventually(magazine.path, "LocateON", True, 3)
        self.eventually(magazine.path, "LocateON", False)

    def test_a_magazine_goes_off_its_loops_and_on_again(self):
        magazine = self.array.elements("QBX_Magazine")[0].path
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
        other = self.array.elements("QBX_DriveCageDC1Family")[0]
        version = json.loads(SAMPLE_FIRMWARE.read_text())["version"]
        missing, mismatch = CODES["QBXSIM_FIRMWARE_MISSING"], CODES["QBXSIM_FIRMWARE_MISMATCH"]
        self.assertNotEqual(cage.values["FirmwareVersion"], version)
        for path, file, result, then in (
            (cage.path, "/nowhere/firmware.json", missing, cage.values["FirmwareVersion"]),
            (cage.path, str(SAMPLE_FIRMWARE), 0, version),
            (other.path, str(SAMPLE_FIRMWARE), mismatch, None),
        ):
            with self.subTest(path=path, file=file):
                parameters = [("FileName", file), ("IsPortA", True)]
                self.assertEqual(self.client.invoke(path, "Upgrade", parameters), result)
                if then:
                    self.assertEqual(
                        self.client.get(path)["FirmwareVersion"], self.client.shown(then)
                    )

    def test_a_card_shows_the_light_of_one_port(self):
        card = self.array.elements("QBX_CageInterfaceCardDC1Family")[0]
        before = (card.values["LoopALocateON"], card.values["LoopBLocateON"])
        self.assertEqual(
            self.client.invoke(card.path, "Locate", [("LocateTimer", 60), ("Port", 0)]), 0
        )
        deadline = time.monotonic() + 30
        while True:
            now = self.client.get(card.path)
            if (now["LoopALocateON"], now["LoopBLocateON"]) != tuple(
                map(self.client.shown, before)
            ):
                break
            self.assertLess(time.monotonic(), deadline, "no light went on")
            time.sleep(0.1)

    def test_faults_of_methods_are_refused_with_code_and_text(self):
        cage = self.array.elements("QBX_DriveCageDC2Family")[0].path
        card = self.array.elements("QBX_CageInterfaceCardDC1Family")[0].path
        dc3 = self.array.elements("QBX_CageInterfaceCardDC3Family")[0].path
        magazine = self.array.magazines[0].path
        invalid, failed = "CIM_ERR_INVALID_PARAMETER: ", "CIM_ERR_FAILED: "
        not_found = "::invokeMethod()  Device not found with Tag=none"
        for path, method, parameters, code, text in (
            (
                cage,
                "Upgrade",
                [("IsPortA", True)],
                INVALID_PARAMETER,
                invalid + "QBX_DriveCageProvider:Locate parameter not found: FileName",
            ),
            (
                cage,
                "Upgrade",
                [("FileName", "/nowhere")],
                INVALID_PARAMETER,
                invalid + "QBX_DriveCageProvider:Locate parameter not found: IsPortA",
            ),
            (
                magazine,
                "SetLoopState",
                [("IsPortA", True)],
                INVALID_PARAMETER,
                invalid + "QBX_MagazineProvider:SetLoopState parameter not found: IsOnloop",
            ),
            (
                card,
                "Locate",
                [("LocateTimer", 1)],
                INVALID_PARAMETER,
                invalid + "QBX_FCALCardProvider:Locate parameter not found: Port",
            ),
            (
                dc3,
                "Locate",
                [("LocateTimer", 1), ("Port", 0)],
                NOT_SUPPORTED,
                "CIM_ERR_NOT_SUPPORTED: QBX_FCALCardProvider does not support invokeMethod.",
            ),
            (
                self.tag(cage[0], "none"),
                "Locate",
                [],
                FAILED,
                failed + "QBX_DriveCageProvider" + not_found,
            ),
            (
                self.tag(card[0], "none"),
                "Locate",
                [("Port", 0)],
                FAILED,
                failed + "QBX_FCALCardProvider" + not_found,
            ),
            (
                self.tag("QBX_Magazine", "none"),
                "Locate",
                [],
                FAILED,
                failed + "QBX_MagazineProvider" + not_found,
            ),
        ):
            with self.subTest(path=path, method=method, parameters=parameters):
                self.assertRefused(code, text, self.client.invoke, path, method, parameters)

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
        self.server.restart()
        self.assertEqual(
            self.client_class(self.server).get(cage.path),
            self.values({**cage.values, "Location": "Küche"}),
        )

    def test_a_changed_array_file_shows(self):
        contents = json.loads(self.server.array.read_text())
        contents["cages"][-2]["elementName"] = "changed"
        self.server.array.write_text(json.dumps(contents))
        self.eventually(self.array.cages[-2].path, "ElementName", "changed")

    def test_only_the_location_may_change(self):
        cage = self.array.cages[1]
        self.assertRefused(
            INVALID_PARAMETER,
            "CIM_ERR_INVALID_PARAMETER: Invalid parameter: ElementName",
            self.client.set,
            cage.path,
            "ElementName",
            "x",
        )
        self.assertRefused(
            INVALID_PARAMETER, None, self.client.send_back, cage.path, "Location", "x"
        )
        magazine = self.array.magazines[0]
        self.assertRefused(
            NOT_SUPPORTED,
            "CIM_ERR_NOT_SUPPORTED: QBX_MagazineProvider does not support modifyInstance.",
            self.client.set,
            magazine.path,
            "ElementName",
            "x",
        )
        self.assertEqual(self.client.get(cage.path), self.values(cage.values))
        self.assertEqual(self.client.get(magazine.path), self.values(magazine.values))


class Topology(WireTest):
    """The four associations, walked from every element in both directions."""

    def sides(self, name):
        """For each end of an association: {path: [paths at the other end]}, both roles."""
        first, second, pairs = self.array.associations[name]
        for here, there, turned in (
            (first, second, pairs),
            (second, first, [(b, a) for a, b in pairs]),
        ):
            ends = {}
            for one, other in turned:
                ends.setdefault(self.client.shown_path(one), (one, []))[1].append(other)
            yield here, there, ends.values()

    def shown_paths(self, paths):
        return sorted(self.client.shown_path(path) for path in paths)

    def test_every_element_is_reached_from_each_side_once(self):
        for name in self.array.associations:
            for here, there, ends in self.sides(name):
                for path, expected in ends:
                    with self.subTest(association=name, path=path):
                        narrowed = {"association": name, "role": here, "result_role": there}
                        self.assertEqual(
                            sorted(self.client.associator_names(path, **narrowed)),
                            self.shown_paths(expected),
                        )

    def test_without_filters_all_neighbours_come(self):
        everything = {}
        for _, _, pairs in self.array.associations.values():
            for one, other in pairs:
                for here, there in ((one, other), (other, one)):
                    everything.setdefault(str(here), (here, []))[1].append(there)
        for path, expected in everything.values():
            with self.subTest(path=path):
                self.assertEqual(
                    sorted(self.client.associator_names(path)), self.shown_paths(expected)
                )

    def test_references_name_both_ends(self):
        for name, (first, second, pairs) in self.array.associations.items():
            expected = {}
            for one, other in pairs:
                for end in (one, other):
                    keys = {first: one, second: other}
                    expected.setdefault(str(end), (end, []))[1].append((name, keys))
            for path, links in expected.values():
                with self.subTest(association=name, path=path):
                    self.assertEqual(
                        sorted(self.client.reference_names(path, result=name)),
                        self.shown_paths(links),
                    )

    def test_association_instances_are_listed_and_fetched(self):
        for name, (first, second, pairs) in self.array.associations.items():
            with self.subTest(name):
                links = [(name, {first: one, second: other}) for one, other in pairs]
                self.assertEqual(sorted(self.client.names(name)), self.shown_paths(links))
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
        for name in self.array.associations:
            for _, _, ends in self.sides(name):
                path, expected = next(iter(ends))
                with self.subTest(association=name, path=path):
                    came = self.client.associators(path, association=name)
                    self.assertEqual(sorted(each for each, _ in came), self.shown_paths(expected))
                    for each, values in came:
                        if each in known:
                            self.assertEqual(values, known[each])

    def test_an_unknown_element_has_no_neighbours(self):
        for name in CAGES + ["QBX_Magazine"]:
            path = (name, {"CreationClassName": name, "Tag": "none"})
            with self.subTest(name):
                self.assertEqual(
                    self.client.associator_names(
                        path, result="CIM_PhysicalPackage", association="CIM_PackageInChassis"
                    ),
                    [],
                )

    def test_filters_of_other_classes_leave_nothing(self):
        cage = self.array.elements("QBX_DriveCageDC2Family")[0].path
        for narrowed in (
            {"role": "PartComponent", "association": "QBX_MagazineInDriveCage"},
            {"result_role": "GroupComponent", "association": "QBX_MagazineInDriveCage"},
            {"role": "Owner"},
            {"result": "QBX_StorageSystem"},
        ):
            with self.subTest(narrowed):
                self.assertEqual(self.client.associator_names(cage, **narrowed), [])
