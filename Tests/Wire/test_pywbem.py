"""The module through pywbem."""

import unittest

import battery
import run
from clients import Pywbem


class Reading(battery.Reading):
    client_class = Pywbem


class Access(battery.Access):
    client_class = Pywbem


class Acting(battery.Acting):
    client_class = Pywbem


class Topology(battery.Topology):
    client_class = Pywbem


class Types(battery.WireTest):
    """What only a client with types can see."""

    client_class = Pywbem

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
        for path in self.client.ask("AssociatorNames", cage, AssocClass="CIM_PackageInChassis"):
            self.assertEqual((path.host, path.namespace), (self.array.host, "root/qbx"))
        for path in self.client.ask("ReferenceNames", cage, ResultClass="CIM_PackageInChassis"):
            self.assertEqual((path.host, path.namespace), (self.array.host, "root/qbx"))
            for reference in path.keybindings.values():
                self.assertEqual(
                    (reference.host, reference.namespace), (self.array.host, "root/qbx")
                )

    def test_methods_are_declared_as_they_answer(self):
        expected = {
            "QBX_DriveCageDC3Family": {
                "Locate": {"LocateTimer": "uint16"},
                "Upgrade": {"FileName": "string", "IsPortA": "boolean"},
            },
            "QBX_Magazine": {
                "SetLoopState": {"IsOnloop": "boolean", "IsPortA": "boolean"},
                "Locate": {"LocateTimer": "uint16"},
            },
            "QBX_CageInterfaceCard": {"Locate": {"LocateTimer": "uint16", "Port": "uint16"}},
        }
        for name, methods in expected.items():
            cls = self.client.ask("GetClass", name, LocalOnly=False)
            for method, parameters in methods.items():
                declared = cls.methods[method]
                self.assertEqual(
                    {each.name: each.type for each in declared.parameters.values()}, parameters
                )
                self.assertEqual(declared.return_type, "sint32")


class Discovery(battery.WireTest):
    """How clients find the object manager and its namespaces."""

    client_class = Pywbem

    def test_namespaces_and_one_object_manager(self):
        import pywbem

        found = pywbem.WBEMServer(self.client.connection)
        interop = self.server.interop
        self.assertEqual(found.interop_ns.lower(), interop.lower())
        self.assertLessEqual({interop, "root/qbx"}, set(found.namespaces))
        managers = self.client.ask("EnumerateInstances", "CIM_ObjectManager", namespace=interop)
        self.assertEqual(len(managers), 1)
        self.assertTrue(managers[0]["Name"])

    def test_an_unknown_namespace_is_refused(self):
        self.assertRefused(
            battery.INVALID_NAMESPACE,
            "CIM_ERR_INVALID_NAMESPACE: root/nope",
            self.client.ask,
            "EnumerateInstanceNames",
            "QBX_DriveCage",
            namespace="root/nope",
        )

    def test_class_names(self):
        names = self.client.ask("EnumerateClassNames", DeepInheritance=True)
        for name in battery.ELEMENT_CLASSES + list(self.array.associations):
            self.assertIn(name, names)
        self.assertEqual(
            sorted(self.client.ask("EnumerateClassNames", ClassName="QBX_DriveCage")),
            battery.CAGES[1:],
        )
        self.assertEqual(self.client.ask("EnumerateClassNames", ClassName="QBX_Magazine"), [])
        self.assertRefused(
            battery.INVALID_CLASS,
            "CIM_ERR_INVALID_CLASS: QBX_Disk",
            self.client.ask,
            "EnumerateClassNames",
            ClassName="QBX_Disk",
        )
        self.assertRefused(
            battery.NOT_FOUND,
            "CIM_ERR_NOT_FOUND: QBX_Disk",
            self.client.ask,
            "GetClass",
            "QBX_Disk",
        )


# The battery is run through the classes above, not on its own.
def load_tests(loader, _tests, _pattern):
    return unittest.TestSuite(
        loader.loadTestsFromTestCase(each)
        for each in (Reading, Access, Topology, Types, Discovery, Acting)
    )


if __name__ == "__main__":
    run.main(needs_pywbem=True)
