"""The module through pywbem."""

import battery
import run
from clients import Pywbem


class Types(battery.WireTest):
    """What only a client with types can see."""

    def test_every_value_has_the_type_of_its_property(self):
        for name in battery.ELEMENT_CLASSES:
            cls = self.client.ask("GetClass", name, LocalOnly=False)
            for instance in self.client.ask("EnumerateInstances", name, DeepInheritance=False):
                if instance.classname != name:
                    continue
                for prop in instance.properties.values():
                    declared = cls.properties[prop.name]
                    with self.subTest(cls=name, property=prop.name):
                        self.assertEqual(
                            (prop.type, prop.is_array), (declared.type, declared.is_array)
                        )

    def test_paths_of_traversals_carry_the_arrays_host(self):
        cage = self.client._name(self.array.cages[0].path)
        paths = self.client.ask("AssociatorNames", cage, AssocClass="CIM_PackageInChassis")
        links = self.client.ask("ReferenceNames", cage, ResultClass="CIM_PackageInChassis")
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
        managers = self.client.ask("EnumerateInstances", "CIM_ObjectManager", namespace=interop)
        self.assertEqual(len(managers), 1)
        self.assertTrue(managers[0]["Name"])
        if not isinstance(self.server, run.Server):
            return  # another object manager may tell less, and be changed
        self.assertRegex(found.version, r"^\d+\.\d+\.\d+$")
        self.assertEqual((found.cimom_inst["Version"], found.profiles), (found.version, []))
        spaces = self.client.ask("EnumerateInstances", "CIM_Namespace", namespace="root/interop")
        self.assertEqual([space["ClassType"] for space in spaces], [2, 2])
        with self.assertRaisesRegex(pywbem.CIMError, "^7 .* change instances of CIM_Namespace"):
            found.create_namespace("root/new")

    def test_class_names(self):
        ask = self.client.ask
        names = ask("EnumerateClassNames", DeepInheritance=True)
        self.assertLessEqual({*battery.ELEMENT_CLASSES, *self.array.associations}, set(names))
        for base, below in (("QBX_DriveCage", battery.CAGES[1:]), ("QBX_Magazine", [])):
            self.assertEqual(sorted(ask("EnumerateClassNames", ClassName=base)), below)

    def test_what_is_unknown_is_refused(self):
        ask, disk, cage, nope = self.client.ask, "QBX_Disk", "QBX_DriveCage", "root/nope"
        self.assertRefused("INVALID_CLASS", disk, ask, "EnumerateClassNames", ClassName=disk)
        self.assertRefused("NOT_FOUND", disk, ask, "GetClass", disk)
        self.assertRefused(
            "INVALID_NAMESPACE", nope, ask, "EnumerateInstanceNames", cage, namespace=nope
        )


def load_tests(loader, _tests, _pattern):
    return battery.suite(loader, Pywbem, Types, Discovery)


if __name__ == "__main__":
    run.main(needs_pywbem=True)
