"""The module through pywbem."""

import concurrent.futures

import battery
from qbx_support import testing
from qbx_support.clients import Pywbem
from qbx_support.server import SAMPLE_ARRAY, Server


class Types(battery.WireTest):
    """What only a client with types can see."""

    def test_every_value_has_the_type_of_its_property(self):
        for name in battery.ELEMENT_CLASSES:
            cls = self.client.call("GetClass", name, LocalOnly=False)
            for instance in self.client.call("EnumerateInstances", name, DeepInheritance=False):
                if instance.classname != name:
                    continue
                for prop in instance.properties.values():
                    declared = cls.properties[prop.name]
                    with self.subTest(cls=name, property=prop.name):
                        self.assertEqual(
                            (prop.type, prop.is_array), (declared.type, declared.is_array)
                        )

    def test_every_value_has_a_word_where_its_property_has_words(self):
        """A value without one makes clients that show words fail, also in tables."""
        torture, ask, shown = self.server.array.read_text(), self.client.call, set()
        words = {
            (cls.classname, prop.name): self.client.pywbem.ValueMapping.for_property(
                self.client.connection, "root/qbx", cls.classname, prop.name
            )
            for cls in ask("EnumerateClasses", DeepInheritance=True, IncludeQualifiers=True)
            for prop in cls.properties.values()
            if "ValueMap" in prop.qualifiers and cls.classname.startswith("QBX_")
        }
        for array in (SAMPLE_ARRAY.read_text(), torture):
            self.server.array.write_text(array)
            for name in sorted({name for name, _ in words}):
                for instance in ask("EnumerateInstances", name):
                    for prop in instance.properties.values():
                        known = words.get((instance.classname, prop.name))
                        if known and prop.value is not None:
                            values = prop.value if prop.is_array else [prop.value]
                            with self.subTest(path=instance.path, property=prop.name):
                                shown.update(map(known.tovalues, values))
        self.assertLessEqual({"Vendor Reserved", "DC3", "8 Gb/s", "Amber Blinking"}, shown)

    def test_paths_of_traversals_carry_the_arrays_host(self):
        cage = self.client._name(self.array.cages[0].path)
        paths = self.client.call("AssociatorNames", cage, AssocClass="CIM_PackageInChassis")
        links = self.client.call("ReferenceNames", cage, ResultClass="CIM_PackageInChassis")
        self.assertTrue(paths and links)
        ends = [end for link in links for end in link.keybindings.values()]
        for path in paths + links + ends:
            self.assertEqual((path.host, path.namespace), (self.array.host, "root/qbx"))


class Discovery(battery.WireTest):
    """How clients find the object manager, its namespaces and its classes."""

    def test_namespaces_and_one_object_manager(self):
        import pywbem

        found = pywbem.WBEMServer(self.client.connection)
        interop = self.server.interop
        self.assertEqual(found.interop_ns.lower(), interop.lower())
        self.assertLessEqual({interop, "root/qbx"}, set(found.namespaces))
        managers = self.client.call("EnumerateInstances", "CIM_ObjectManager", namespace=interop)
        self.assertEqual(len(managers), 1)
        self.assertTrue(managers[0]["Name"])
        if not isinstance(self.server, Server):
            return  # another object manager may tell less, and be changed
        self.assertRegex(found.version, r"^\d+\.\d+\.\d+$")
        self.assertEqual((found.cimom_inst["Version"], found.profiles), (found.version, []))
        spaces = self.client.call("EnumerateInstances", "CIM_Namespace", namespace="root/interop")
        self.assertEqual([space["ClassType"] for space in spaces], [2, 2])
        system = self.client.call("EnumerateInstanceNames", "QBX_StorageSystem")[0]
        for act, on in ((found.create_namespace, "root/new"), (found.conn.DeleteInstance, system)):
            with self.assertRaisesRegex(pywbem.CIMError, "^7 .* could change instances of "):
                act(on)

    def test_class_names(self):
        ask = self.client.call
        names = ask("EnumerateClassNames", DeepInheritance=True)
        self.assertLessEqual({*battery.ELEMENT_CLASSES, *self.array.associations}, set(names))
        for base, below in (("QBX_DriveCage", battery.CAGES[1:]), ("QBX_Magazine", [])):
            self.assertEqual(sorted(ask("EnumerateClassNames", ClassName=base)), below)


class Changes(testing.EmbeddedServerTest):
    def test_static_instances_that_may_be_changed(self):
        import pywbem

        def change(tag):
            server = pywbem.WBEMConnection(f"http://127.0.0.1:{port}", None, "root/qbx")
            cage = pywbem.CIMInstance("Probe_CageM", {"Tag": tag, "CreationClassName": "x"})
            cage = server.GetInstance(server.CreateInstance(cage))
            cage["Bays"] = pywbem.Uint32(4)
            server.ModifyInstance(cage)
            found = server.EnumerateInstances("Probe_CageM")
            self.assertEqual([each["Bays"] for each in found if each.path == cage.path], [4])
            server.DeleteInstance(cage.path)
            space = server.EnumerateInstanceNames("CIM_Namespace", "root/interop")[0]
            for path, code in ((cage.path, 6), (space, 7)):
                with self.assertRaisesRegex(pywbem.CIMError, f"^{code} "):
                    server.DeleteInstance(path)

        with testing.started("--no-auth", "--writable-instances") as (_, port, _):
            with concurrent.futures.ThreadPoolExecutor(4) as pool:
                list(pool.map(change, "abcd"))


def load_tests(loader, _tests, _pattern):
    return battery.suite(loader, Pywbem, Types, Discovery, Changes)


if __name__ == "__main__":
    testing.main(needs="pywbem")
