"""The module through pywbem, and what only a client with types shows."""

import concurrent.futures
import unittest

import client_tests
from expected import ASSOCIATIONS, DC2
from qbx_support import testing
from qbx_support.clients import Pywbem
from qbx_support.server import Server
from qbx_support.testing import Case, cases


class Reading(client_tests.Reading):
    client_class = Pywbem


class Access(client_tests.Access):
    client_class = Pywbem


class Topology(client_tests.Topology):
    client_class = Pywbem


class Acting(client_tests.Acting):
    client_class = Pywbem


class Types(client_tests.ClientTest):
    client_class = Pywbem

    @cases(*client_tests.BY_CLASS)
    def test_values_have_the_declared_types_in(self, name):
        declared = self.client.call("GetClass", name, LocalOnly=False).properties
        for instance in self.client.call("EnumerateInstances", name, DeepInheritance=False):
            if instance.classname == name:
                actual = {each.name: (each.type, each.is_array) for each in instance.properties.values()}
                expected = {each: (declared[each].type, declared[each].is_array) for each in actual}
                self.assertExpected(actual, expected)

    def test_every_value_has_a_word_where_its_property_has_words(self):
        """pywbem raises ValueError for a value without one, also where it shows tables."""
        found: set = set()
        for of in self.client.call("EnumerateClasses", DeepInheritance=True, IncludeQualifiers=True):
            mapped = [name for name, each in of.properties.items() if "ValueMap" in each.qualifiers]
            if not mapped or not of.classname.startswith("QBX_"):
                continue
            for instance in self.client.call("EnumerateInstances", of.classname):
                for name in mapped:
                    words = self.client.pywbem.ValueMapping.for_property(
                        self.client.connection, "root/qbx", of.classname, name
                    )
                    if (value := instance.get(name)) is not None:
                        found.update(map(words.tovalues, value if instance.properties[name].is_array else [value]))
        self.assertLessEqual({"Vendor Reserved", "DC3", "8 Gb/s", "Amber Blinking"}, found)

    def test_paths_of_traversals_carry_the_host_of_the_array(self):
        cage = self.client._name(DC2.path)
        paths = self.client.call("AssociatorNames", cage, AssocClass="CIM_PackageInChassis")
        links = self.client.call("ReferenceNames", cage, ResultClass="CIM_PackageInChassis")
        self.assertTrue(paths and links)
        ends = [end for link in links for end in link.keybindings.values()]
        for path in paths + links + ends:
            self.assertEqual((path.host, path.namespace), ("qbx-sim", "root/qbx"))


class Schema(client_tests.ClientTest):
    client_class = Pywbem

    def test_traversals_from_a_class_return_classes(self):
        links = self.client.call("ReferenceNames", "QBX_Magazine")
        self.assertIn("QBX_MagazineInDriveCage", [each.classname for each in links])
        ends = self.client.call("Associators", "QBX_Magazine", AssocClass="QBX_MagazineInDriveCage")
        self.assertEqual([found.classname for _, found in ends], ["QBX_DriveCage"])


class Pulling(client_tests.ClientTest):
    client_class = Pywbem

    @cases(
        Case("instances", "EnumerateInstances", "Instances", "QBX_Magazine"),
        Case("paths", "EnumerateInstanceNames", "InstancePaths", "QBX_CageSensor"),
    )
    def test_delivers_all_in_parts(self, whole, kind, name):
        if not isinstance(self.server, Server):
            self.skipTest("OpenPegasus 2.14.4 crashes at pull operations when authentication is on")
        connection = self.client.connection
        field, pull = ("instances", "WithPath") if kind == "Instances" else ("paths", "")
        part = getattr(connection, f"OpenEnumerate{kind}")(name, MaxObjectCount=4)
        pulled = getattr(part, field)
        while not part.eos:
            part = getattr(connection, f"Pull{kind}{pull}")(part.context, MaxObjectCount=3)
            self.assertLessEqual(len(getattr(part, field)), 3)
            pulled += getattr(part, field)
        expected = self.client.call(whole, name)
        self.assertEqual([each.tomof() if pull else each.keybindings for each in pulled],
                         [each.tomof() if pull else each.keybindings for each in expected])  # fmt: skip


class Discovery(client_tests.ClientTest):
    """How clients find the object manager, its namespaces and its classes."""

    client_class = Pywbem

    def setUp(self):
        import pywbem

        self.found = pywbem.WBEMServer(self.client.connection)

    def skip_unless_embedded(self):
        if not isinstance(self.server, Server):
            self.skipTest("another object manager describes itself in its own way")

    def test_finds_namespaces(self):
        interop = self.server.interop
        self.assertEqual(self.found.interop_ns.lower(), interop.lower())
        self.assertLessEqual({interop, "root/qbx"}, set(self.found.namespaces))

    def test_finds_one_object_manager(self):
        interop = self.server.interop
        managers = self.client.call("EnumerateInstances", "CIM_ObjectManager", namespace=interop)
        self.assertEqual(len(managers), 1)
        self.assertTrue(managers[0]["Name"])

    def test_finds_version_and_no_profiles(self):
        self.skip_unless_embedded()
        self.assertRegex(self.found.version, r"^\d+\.\d+\.\d+$")
        self.assertEqual(self.found.cimom_inst["Version"], self.found.version)
        self.assertEqual(self.found.profiles, [])

    def test_namespaces_have_their_class_type(self):
        self.skip_unless_embedded()
        spaces = self.client.call("EnumerateInstances", "CIM_Namespace", namespace="root/interop")
        self.assertEqual([space["ClassType"] for space in spaces], [2, 2])

    def test_lists_names_of_all_classes(self):
        names = set(self.client.call("EnumerateClassNames", DeepInheritance=True))
        self.assertLessEqual({*client_tests.ELEMENT_CLASSES, *ASSOCIATIONS}, names)

    @cases(
        Case("cage", "QBX_DriveCage", client_tests.CAGE_CLASSES[1:]),
        Case("magazine", "QBX_Magazine", []),
    )
    def test_lists_names_of_classes_below(self, base, below):
        self.assertExpected(self.client.call("EnumerateClassNames", ClassName=base), below)


@unittest.skipIf(testing.missing("pywbem"), "pywbem is not installed")
class WritableInstances(testing.EmbeddedServerTest):
    """Static instances, on a server that lets clients change them."""

    def setUp(self):
        import pywbem

        self.pywbem = pywbem
        _, port, _ = self.enterContext(testing.started("--no-auth", "--writable-instances"))
        self.url = f"http://127.0.0.1:{port}"

    def change(self, tag):
        """Creates, modifies and deletes an instance, on a connection of its own."""
        server = self.pywbem.WBEMConnection(self.url, None, "root/qbx", timeout=600)
        cage = self.pywbem.CIMInstance("Probe_CageM", {"Tag": tag, "CreationClassName": "x"})
        cage = server.GetInstance(server.CreateInstance(cage))
        cage["Bays"] = self.pywbem.Uint32(4)
        server.ModifyInstance(cage)
        found = server.EnumerateInstances("Probe_CageM")
        self.assertEqual([each["Bays"] for each in found if each.path == cage.path], [4])
        server.DeleteInstance(cage.path)
        with self.assertRaisesRegex(self.pywbem.CIMError, "^6 "):
            server.DeleteInstance(cage.path)

    def test_several_clients_change_instances_at_once(self):
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            list(pool.map(self.change, "abcd"))


if __name__ == "__main__":
    testing.main(needs="pywbem")
