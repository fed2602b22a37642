"""The schema with a MOF compiler that is not ours, and what must agree with it."""

import json
import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "Docs"))

try:
    import classes
    import pywbem
except ImportError:
    print("SKIPPED: pywbem is not installed (./qbx setup, where pip can reach it)")
    sys.exit(77)

LOOKED_UP_ONLY = {"QBX_StorageSystem", "QBX_SystemPackage", "QBX_StorageSystemView"}
INSTANCES, ASSOCIATIONS, METHODS = 2, 3, 5


def registration():
    """The instances of registration.mof by class."""
    repository = pywbem.MOFWBEMConnection()
    compiler = pywbem.MOFCompiler(repository, search_paths=[str(ROOT / "Schema")], log_func=None)
    compiler.compile_file(str(ROOT / "Cimom" / "Broker" / "interop.mof"), "root/interop")
    compiler.compile_file(str(ROOT / "Schema" / "registration.mof"), "root/interop")
    found: dict = {}
    for instance in repository.instances["root/interop"]:
        found.setdefault(instance.classname, []).append(instance)
    return found


class Schema(unittest.TestCase):
    maxDiff = None

    def test_the_class_reference_is_up_to_date(self):
        try:
            classes.main(["--check"])
        except SystemExit as error:
            self.fail(error)

    def test_every_served_class_is_registered_with_what_it_can_do(self):
        schema = classes.compile_schema()
        expected = {}
        for name in set(classes.class_order()) - LOOKED_UP_ONLY:
            line = [name, *classes.ancestors(schema, name)]
            expected[name] = [INSTANCES]
            if schema[name].qualifiers.get("Association"):
                expected[name].append(ASSOCIATIONS)
            if any(schema[each].methods for each in line):
                expected[name].append(METHODS)
        registered = {
            each["ClassName"]: list(each["ProviderType"])
            for each in registration()["PG_ProviderCapabilities"]
        }
        self.assertEqual(registered, expected)

    def test_manifest_declares_the_classes_of_the_mof(self):
        schema = classes.compile_schema()
        build = pathlib.Path(os.environ["QBX_BUILD"])
        declared = json.loads((build / "Schema" / "manifest.json").read_text())
        expected = [(name, schema[name].superclass) for name in classes.class_order()]
        self.assertEqual(list(declared["classes"].items()), expected)
        self.assertEqual(set(declared["looked_up"]), LOOKED_UP_ONLY)
        references = {
            part.reference_class
            for name in declared["classes"]
            for part in schema[name].properties.values()
            if part.reference_class and part.class_origin == name
        }
        self.assertLessEqual(references, set(declared["classes"]))


if __name__ == "__main__":
    unittest.main()
