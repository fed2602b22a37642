"""What every client must see: test_wbemcli.py and test_pywbem.py run these classes, each through its
client. The server serves the array of odd cases; expected.py has what clients see of it."""

import contextlib
import json
import tempfile
import time
import unittest

from expected import ASSOCIATIONS, CAGES, CARD, CARDS, DC1, DC2, ELEMENTS, MAGAZINE, SENSORS, SYSTEM, element, path
from qbx_support.clients import Pywbem, ResponseError, Wbemcli
from qbx_support.server import SAMPLE_FIRMWARE
from qbx_support.testing import Case, EmbeddedServer, ExternalServer, Test, cases, missing, open_server

CAGE_CLASSES = ["QBX_DriveCage"] + [f"QBX_DriveCageDC{family}Family" for family in (1, 2, 3)]
CARD_CLASSES = [name.replace("DriveCage", "CageInterfaceCard") for name in CAGE_CLASSES]
ELEMENT_CLASSES = [*CAGE_CLASSES, *CARD_CLASSES, "QBX_Magazine", "QBX_CageSensor"]
STATUS = {"FAILED": 1, "ACCESS_DENIED": 2, "INVALID_PARAMETER": 4, "INVALID_CLASS": 5, "NOT_FOUND": 6}
STATUS["NOT_SUPPORTED"] = 7
FIRMWARE_MISMATCH = 23  # a result of the simulated array
ON_LOOP, OFF_LOOP = 1, 2  # its states
SECONDS = 300  # until a change shows

BY_CLASS = [Case(name, name) for name in ELEMENT_CLASSES]
BY_ASSOCIATION = [Case(name, name) for name in ASSOCIATIONS]


def served(name):
    """The elements that an enumeration of a class lists: also those of the families below."""
    return [each for each in ELEMENTS if each.path[0] in (name, *(f"{name}DC{n}Family" for n in "123"))]


class ClientTest(Test):
    """A server, and a client of it."""

    client_class: type[Wbemcli] | type[Pywbem]  # set by the test modules
    client: Wbemcli | Pywbem
    server: EmbeddedServer | ExternalServer

    @classmethod
    def setUpClass(cls):
        if reason := missing(cls.client_class.name):
            raise unittest.SkipTest(reason)
        cls.server = open_server()
        cls.addClassCleanup(cls.server.close)
        cls.client = cls.client_class(cls.server)

    def as_user(self, user, password=None):
        return self.client_class(self.server, user, password)

    def shown(self, paths):
        """Paths as the client shows them."""
        return [self.client.shown_path(each) for each in paths]

    def values(self, values):
        """Values as the client shows them."""
        return {name: self.client.shown(value) for name, value in values.items()}

    def assertExpected(self, actual, expected):
        self.assertResponse(actual, expected, self.client.last)

    def assertInstance(self, actual, of):
        """That the properties of an instance are those of an element."""
        if not of.complete:
            actual = {name: value for name, value in actual.items() if name in of.values}
        request = f"{self.client.last}\ninstance: {self.client.shown_path(of.path)}"
        self.assertResponse(actual, self.values(of.values), request)

    def assertShows(self, *elements):
        for each in elements:
            self.assertInstance(self.client.get(each.path), each)

    def assertError(self, status, text, operation, *arguments, **named):
        """That the response is an error of this status and text (None: any)."""
        client = operation.__self__
        try:
            result = operation(*arguments, **named)
        except ResponseError as error:
            actual = (error.code, error.text)
            text = error.text if text is None else f"CIM_ERR_{status}: {text}"
            self.assertResponse(actual, (STATUS[status], text), client.last)
        else:
            self.fail(f"request: {client.last}\nexpected: error {status}\n  actual: {result!r}")


class Reading(ClientTest):
    """Enumerations and single instances."""

    @cases(*BY_CLASS, Case("CIM_Chassis", "CIM_Chassis"), Case("CIM_Sensor", "CIM_Sensor"))
    def test_lists_names_of(self, name):
        expected = {"CIM_Chassis": CAGES, "CIM_Sensor": SENSORS}.get(name) or served(name)
        self.assertExpected(self.client.names(name), self.shown(each.path for each in expected))

    @cases(*BY_CLASS)
    def test_lists_instances_of(self, name):
        instances, expected = self.client.instances(name), served(name)
        paths = [shown for shown, _ in instances]
        self.assertExpected(paths, self.shown(each.path for each in expected))
        unmatched = list(expected)
        for shown, values in instances:
            same = [each for each in unmatched if self.client.shown_path(each.path) == shown]
            right = [each for each in same if self.values(each.values).items() <= values.items()]
            unmatched.remove((right or same)[0])  # two sensors may have the same id
            self.assertInstance(values, (right or same)[0])

    @cases(*BY_CLASS)
    def test_gets_each_instance_as_it_is_listed(self, name):
        listed: dict = {}  # of two sensors with the same id the first is found
        for shown, values in self.client.instances(name):
            listed.setdefault(str(shown), values)
        for each in served(name):
            values = self.client.get(each.path)
            self.assertExpected(values, listed[str(self.client.shown_path(each.path))])

    @cases(*BY_CLASS)
    def test_gets_only_listed_properties_of(self, name):
        path = served(name)[0].path
        expected = {"Position": self.client.get(path)["Position"]}
        self.assertExpected(self.client.get(path, ["Position"]), expected)

    def test_compares_names_without_case(self):
        name, keys = MAGAZINE.path
        upper = (name.upper(), {key.lower(): value for key, value in keys.items()})
        self.assertInstance(self.client.get(upper), MAGAZINE)

    def test_rejects_unknown_tag(self):
        text = "QBX_MagazineProvider CIM Object not found.no such tag"
        self.assertError("NOT_FOUND", text, self.client.get, path("QBX_Magazine", "no such tag"))

    def test_rejects_path_without_tag(self):
        without = ("QBX_Magazine", {"CreationClassName": "QBX_Magazine"})
        text = "QBX_MagazineProvider Tag key not found."
        self.assertError("INVALID_PARAMETER", text, self.client.get, without)

    def test_rejects_unknown_class(self):
        self.assertError("INVALID_CLASS", "QBX_Disk", self.client.names, "QBX_Disk")

    @cases(
        Case("system", "QBX_StorageSystem", {"CreationClassName": "QBX_StorageSystem", "Name": SYSTEM}),
        Case("package", *path("QBX_SystemPackage", SYSTEM)),
        Case("view", "QBX_StorageSystemView", {"InstanceID": f"QBX:{SYSTEM}"}),
    )
    def test_lists_instance_of_the_system(self, name, keys):
        self.assertExpected(self.client.names(name), self.shown([(name, keys)]))


class Access(ClientTest):
    """Who may do what. An operation that is denied changes nothing."""

    @cases(
        Case("instances", "instances", "QBX_DriveCage"),
        Case("associator_names", "associator_names", MAGAZINE.path),
        Case("method", "invoke", DC2.path, "Locate", []),
        Case("modification", "set", DC2.path, "Location", "x"),
    )
    def test_denies_unknown_and_blocked_users(self, operation, *arguments):
        text = "Insufficient privilege for the user"
        for user in ("stranger", "blocked"):
            self.assertError("ACCESS_DENIED", text, getattr(self.as_user(user), operation), *arguments)

    def test_lists_names_of_cards_for_everybody(self):
        stranger = self.as_user("stranger")
        names = stranger.names("QBX_CageInterfaceCard")
        self.assertResponse(names, self.shown(each.path for each in CARDS), stranger.last)
        self.assertError("ACCESS_DENIED", None, stranger.instances, "QBX_CageInterfaceCard")

    def test_rejects_wrong_password(self):
        client = self.as_user("admin", "wrong")
        with self.assertRaises(ResponseError) as caught:
            client.names("QBX_DriveCage")
        self.assertEqual(caught.exception.code, 401)

    def test_lets_operator_locate(self):
        operator = self.as_user("operator")
        result = operator.invoke(DC2.path, "Locate", [("LocateTimer", 0)])
        self.assertResponse(result, 0, operator.last)

    @cases(
        Case("operator_loop", "operator", "invoke", MAGAZINE.path, "SetLoopState", [("IsOnloop", False)]),
        Case("viewer_location", "viewer", "set", DC2.path, "Location", "moved"),
        Case("guest_light", "guest", "invoke", DC2.path, "Locate", [("LocateTimer", 60)]),
    )
    def test_denies(self, user, operation, *arguments):
        act, text = getattr(self.as_user(user), operation), "Insufficient generic privilege"
        self.assertError("ACCESS_DENIED", text, act, *arguments)
        self.assertShows(DC2, MAGAZINE)

    def test_rejects_method_without_privilege_key(self):
        if self.client.name == "wbemcli":
            self.skipTest("wbemcli sends only methods that the class declares")
        text = "Does not support in generic!"
        self.assertError("NOT_SUPPORTED", text, self.client.invoke, DC2.path, "Explode", [])


class Topology(ClientTest):
    """The four associations, walked from every element in both directions."""

    def ends(self, name):
        """Every element at an end of the association: (role here, path here, role there, [paths
        there])."""
        found: dict = {}
        first, second, pairs = ASSOCIATIONS[name]
        for one, other in pairs:
            for here, start, there, end in ((first, one, second, other), (second, other, first, one)):
                found.setdefault((here, str(start)), (here, start, there, []))[-1].append(end)
        return found.values()

    def links(self, name):
        """The instances of an association, as the client shows them."""
        first, second, pairs = ASSOCIATIONS[name]
        return [(name, {first: one, second: other}) for one, other in pairs]

    def shown_links(self, links):
        return [(self.client.shown_path(link), self.values(link[1])) for link in links]

    @cases(*BY_ASSOCIATION)
    def test_associator_names_by(self, name):
        for here, start, there, others in self.ends(name):
            narrowed = {"association": name, "role": here, "result_role": there}
            names = self.client.associator_names(start, **narrowed)
            self.assertExpected(names, self.shown(others))

    @cases(*BY_ASSOCIATION)
    def test_associators_by(self, name):
        """The values of cages and sensors; cards and magazines come without manufacturing data."""
        known = {self.client.shown_path(each.path): each for each in reversed(ELEMENTS)}
        one_at_each_end = {each[0]: each for each in self.ends(name)}
        for here, start, _, others in one_at_each_end.values():
            instances = self.client.associators(start, association=name, role=here)
            self.assertExpected([shown for shown, _ in instances], self.shown(others))
            for shown, values in instances:
                if (of := known.get(shown)) in CAGES + SENSORS:
                    self.assertInstance(values, of)

    @cases(*BY_ASSOCIATION)
    def test_references_by(self, name):
        for here, start, there, others in self.ends(name):
            links = [(name, {here: start, there: other}) for other in others]
            names = self.client.reference_names(start, result=name, role=here)
            self.assertExpected(names, self.shown(links))
            instances = self.client.references(start, result=name, role=here)
            self.assertExpected(instances, self.shown_links(links))

    @cases(*BY_ASSOCIATION)
    def test_lists_instances_of(self, name):
        links = self.links(name)
        self.assertExpected(self.client.names(name), self.shown(links))
        self.assertExpected(self.client.instances(name), self.shown_links(links))
        self.assertExpected(self.client.get(links[0]), self.values(links[0][1]))


class Acting(ClientTest):
    """Methods and modifications, each on a server of its own, unless that is not ours: then a test
    takes back what it has done."""

    @classmethod
    def setUpClass(cls):
        if reason := missing(cls.client_class.name):
            raise unittest.SkipTest(reason)

    def setUp(self):
        self.server = open_server()
        self.addCleanup(self.server.close)
        self.client = self.client_class(self.server)

    def assertBecomes(self, of, **expected):
        """That an element shows these values, at once or when an array's cache is over."""
        deadline, expected = time.monotonic() + SECONDS, self.values(expected)
        while True:
            values = self.client.get(of.path)
            actual = {name: values.get(name) for name in expected}
            if actual == expected or time.monotonic() > deadline:
                return self.assertExpected(actual, expected)
            time.sleep(0.1)

    def invoke(self, of, method, *parameters, result=0):
        actual = self.client.invoke(of.path, method, parameters)
        self.assertExpected(actual, result)

    @cases(Case("cage", DC2), Case("magazine", MAGAZINE))
    def test_locate_lights(self, of):
        self.invoke(of, "Locate", ("LocateTimer", 65535))
        self.assertBecomes(of, LocateON=True)
        self.invoke(of, "Locate", ("LocateTimer", 0))
        self.assertBecomes(of, LocateON=False)

    def test_locate_lights_one_port_of_a_card(self):
        self.invoke(CARD, "Locate", ("LocateTimer", 65535), ("Port", 0))
        self.addCleanup(self.invoke, CARD, "Locate", ("LocateTimer", 0), ("Port", 0))
        self.assertBecomes(CARD, LoopALocateON=[True, True])

    @cases(
        Case("off", [("IsOnloop", False)], OFF_LOOP, OFF_LOOP),
        Case("off_loop_B", [("IsOnloop", False), ("IsPortA", False)], ON_LOOP, OFF_LOOP),
        Case("off_and_A_on", [("IsOnloop", True), ("IsPortA", True)], ON_LOOP, OFF_LOOP, False),
    )
    def test_sets_loop_state(self, parameters, loop_a, loop_b, before=True):
        self.invoke(MAGAZINE, "SetLoopState", ("IsOnloop", before))
        self.addCleanup(self.invoke, MAGAZINE, "SetLoopState", ("IsOnloop", True))
        self.invoke(MAGAZINE, "SetLoopState", *parameters)
        self.assertBecomes(MAGAZINE, StateOnLoopA=loop_a, StateOnLoopB=loop_b)

    def test_upgrade_returns_error_of_firmware(self):
        file = ("FileName", str(SAMPLE_FIRMWARE))
        self.invoke(DC1, "Upgrade", file, ("IsPortA", True), result=FIRMWARE_MISMATCH)
        self.assertShows(DC1)

    def test_upgrade_installs_firmware(self):
        before = DC2.values["FirmwareVersion"]
        firmware = json.loads(SAMPLE_FIRMWARE.read_text(encoding="utf-8"))
        old = self.enterContext(tempfile.NamedTemporaryFile("w", suffix=".json"))
        json.dump(firmware | {"version": before}, old)
        old.flush()
        for file, version in ((str(SAMPLE_FIRMWARE), firmware["version"]), (old.name, before)):
            self.invoke(DC2, "Upgrade", ("FileName", file), ("IsPortA", True))
            self.assertBecomes(DC2, FirmwareVersion=version)

    @cases(
        Case("upgrade_without_file", DC2.path, "Upgrade", "INVALID_PARAMETER",
             "QBX_DriveCageProvider:Locate parameter not found: FileName"),
        Case("locate_of_unknown_magazine", path("QBX_Magazine", "none"), "Locate", "FAILED",
             "QBX_MagazineProvider::invokeMethod()  Device not found with Tag=none"),
    )  # fmt: skip
    def test_rejects(self, start, method, status, text):
        self.assertError(status, text, self.client.invoke, start, method, [])

    def test_location_survives_restart(self):
        of = element("cage9")
        self.addCleanup(lambda: self.client.set(of.path, "Location", of.values["Location"]))
        for location in (self.client.hard_text, "Küche"):
            self.client.set(of.path, "Location", location)
            self.assertBecomes(of, Location=location)
        self.server.control("restart")
        self.client = self.client_class(self.server)
        self.assertShows(of._replace(values=of.values | {"Location": "Küche"}))

    @contextlib.contextmanager
    def changed_array(self, change):
        """Serves another array file meanwhile."""
        if not (file := self.server.array):
            self.skipTest("needs --array, the array file that the server serves")
        contents = json.loads(before := file.read_text(encoding="utf-8"))
        change(contents)
        file.write_text(json.dumps(contents), encoding="utf-8")
        yield
        file.write_text(before, encoding="utf-8")

    def test_shows_changed_array_file(self):
        with self.changed_array(lambda array: array["cages"][0].update(elementName="changed")):
            self.assertBecomes(DC2, ElementName="changed")
        self.assertBecomes(DC2, ElementName=DC2.values["ElementName"])

    def test_serves_array_whose_name_was_mended(self):
        if not isinstance(self.server, EmbeddedServer):
            self.skipTest("needs a server that has not served the module yet")
        log = "/storageArray/elementName: 'My Array' is no host name"
        with self.changed_array(lambda array: array["storageArray"].update(elementName="My Array")):
            self.assertError("ACCESS_DENIED", "Insufficient privilege for the user",
                             self.client.names, "QBX_DriveCage")  # fmt: skip
            self.assertIn(log, (self.server.log or self.server.output).read_text())
        for name in [*ELEMENT_CLASSES, *ASSOCIATIONS]:
            self.assertTrue(self.client.names(name))

    @cases(
        Case("another_property", "set", DC1, "ElementName", "INVALID_PARAMETER",
             "Invalid parameter: ElementName"),
        Case("a_whole_instance", "send_back", DC1, "Location", "INVALID_PARAMETER", None),
    )  # fmt: skip
    def test_rejects_modification_of(self, operation, of, name, status, text):
        self.assertError(status, text, getattr(self.client, operation), of.path, name, "x")
        self.assertShows(of)
