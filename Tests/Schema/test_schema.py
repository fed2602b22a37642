"""The schema with a MOF compiler that is not ours, and what must agree with it."""

import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "Docs"))

try:
    import pywbem
    import classes
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
    found = {}
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
            line = [name] + classes.ancestors(schema, name)
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


if __name__ == "__main__":
    unittest.main()
