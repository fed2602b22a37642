"""qbx-provider against a server whose tools note what they are told: the steps in their order, what
is refused before anything is changed, and that a failure at any step takes all of them back."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM, SCHEMA = ROOT / "Deploy" / "qbx_provider.py", ROOT / "Schema"
LIBRARIES = pathlib.Path(os.environ["QBX_BUILD"]).resolve() / "lib"
LIBRARY, MODULE = "libQBX_DriveCageProvider.so", "QBX_DriveCageProviderModule"
CIMSERVER = """#include <stdio.h>
#include <string.h>
#include <unistd.h>
int main(int n, char** a) { if (n == 1) pause(); else if (strcmp(a[1], "-v") == 0) puts(VERSION); }
"""
DEFINE, REGISTER = "cimmof -w -aEV -n root/qbx -I", "cimmof -w -n root/PG_InterOp -I"
LOAD, UNREGISTER = "cimmof -w -aE -n root/qbx -I", f"cimprovider -r -m {MODULE}"
START = f"cimprovider -e -m {MODULE}"
STOP, DELETE = f"cimprovider -d -m {MODULE}", "cimcli dc -n root/qbx QBX_CageSensor"
CLASSES = re.findall(r"^class (\w+)", "".join(
    (SCHEMA / name).read_text() for name in
    re.findall(r'#pragma include \("(.+?)"\)', (SCHEMA / "qbx_classes.mof").read_text())
), re.MULTILINE)  # fmt: skip
DELETE_ALL = [f"cimcli dc -n root/qbx {name}" for name in reversed(CLASSES)]
UPGRADE = [STOP, DELETE, DEFINE, UNREGISTER, REGISTER]


class Provider(unittest.TestCase):
    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="qbx-deploy-"))
        for folder in ("bin", "lib", "CIM241", "new"):
            (self.home / folder).mkdir()
        bases = set(re.findall(r"CIM_\w+", "".join(f.read_text() for f in SCHEMA.glob("QBX*.mof"))))
        includes = ""
        for base in bases:
            (self.home / "CIM241" / f"{base}.mof").write_text(f"class {base}\n{{\n}};\n")
            includes += f'#pragma include ("{base}.mof")\n'
        (self.home / "CIM241" / "CIM_Schema.mof").write_text(includes)
        self.write(classes={base: f'<CLASS NAME="{base}"/>' for base in bases}, registered=[])
        fake = pathlib.Path(__file__).with_name("fake_server.py")
        for tool in ("cimcli", "cimmof", "cimprovider", "cimconfig"):
            shutil.copy(fake, self.home / "bin" / tool)
        self.run_server("2.14.4")
        # Another version: a sensor with one more property, and another library.
        for path in SCHEMA.glob("*.mof"):
            text = path.read_text().replace('Version = "1.0.0"', 'Version = "1.0.1"')
            if path.stem == "QBX_CageSensor":
                text = re.sub(r"^\{", "{\n    uint8 Extra;", text, flags=re.MULTILINE)
            (self.home / "new" / path.name).write_text(text)
        (self.home / "new" / LIBRARY).write_bytes((LIBRARIES / LIBRARY).read_bytes() + b"\n")

    def tearDown(self):
        shutil.rmtree(self.home)

    def run_server(self, version, libraries=LIBRARIES):
        self.doCleanups()
        program = self.home / "bin" / "cimserver"
        command = [os.environ["QBX_CXX"], "-xc++", "-", f'-DVERSION="{version}"', "-o", program]
        subprocess.run(command, input=CIMSERVER, text=True, check=True)
        environment = {**os.environ, "LD_LIBRARY_PATH": str(libraries)}
        server = subprocess.Popen([program], env=environment)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)

    def read(self):
        return json.loads((self.home / "state.json").read_text())

    def write(self, **changes):
        (self.home / "state.json").write_text(json.dumps({**changes, "calls": []}))

    def call(self, command, *options, version="old"):
        """Exit status and output of the program, and the commands that changed something."""
        self.write(**{k: v for k, v in self.read().items() if k != "calls"})
        files = (LIBRARIES / LIBRARY, SCHEMA) if version == "old" else (
            self.home / "new" / LIBRARY, self.home / "new")  # fmt: skip
        arguments = [command, "--home", self.home, "--module", files[0], "--mof", files[1]]
        done = subprocess.run([PROGRAM, *arguments, *options], capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr, self.read()["calls"]

    def there(self):
        """All that installing changes: the repository, the library, the record."""
        state = self.read()
        library = self.home / "lib" / LIBRARY
        record = self.home / "qbx-provider" / "record.json"
        return (state["classes"], sorted(state["registered"]), library.exists() and
                library.read_bytes(), record.exists() and record.read_text())  # fmt: skip

    def test_each_command_twice_and_an_upgrade(self):
        before = self.there()
        steps = (
            ("check", "old", 1, "registration:     missing", []),
            ("remove", "old", 0, "nothing to do: it is not installed", []),
            ("install", "old", 0, "installed: version 1.0.0", [DEFINE, REGISTER]),
            ("install", "old", 0, "installed: version 1.0.0", []),
            ("check", "old", 0, "classes:          as in this version", []),
            ("check", "new", 1, "QBX_CageSensor differs in Extra", []),
            ("install", "new", 0, "installed: version 1.0.1", UPGRADE),
            ("check", "new", 0, "registration:     as in this version", []),
        )
        for command, version, status, said, calls in steps:
            with self.subTest(command=command, version=version):
                got = self.call(command, version=version)
                self.assertEqual((status, calls), (got[0], got[2]), got[1])
                self.assertIn(said, got[1])
            if command == "check" and version == "old" and status == 0:
                mapped = open(self.home / "lib" / LIBRARY, "rb")
        with mapped:
            self.assertEqual((LIBRARIES / LIBRARY).read_bytes(), mapped.read(), "written into")
        status, said, calls = self.call("remove")
        self.assertEqual((0, [UNREGISTER, *DELETE_ALL]), (status, calls), said)
        self.assertEqual(before, self.there())

    def fails(self, step, version):
        """What was there before, what was said, and the commands that took things back."""
        before = self.there()
        self.write(**{**self.read(), "fails": step})
        status, said, calls = self.call("install", version=version)
        self.assertEqual(1, status, said)
        self.assertIn("CIM_ERR_FAILED: told to", said)
        return before, said, calls[calls.index(step) + 1 :]

    def test_failure_at_any_step_leaves_all_as_it_was(self):
        cases = (
            ("old", DEFINE, []),
            ("old", REGISTER, DELETE_ALL),
            ("new", STOP, []),
            ("new", DELETE, [START]),
            ("new", DEFINE, [DEFINE, START]),
            ("new", REGISTER, [REGISTER, DELETE, DEFINE]),
        )
        for version, step, taken_back in cases:
            with self.subTest(version=version, step=step):
                if version == "new":
                    self.call("install")
                before, said, calls = self.fails(step, version)
                self.assertIn("The server is as it was.", said)
                self.assertEqual(taken_back, calls)
                self.assertEqual(before, self.there())

    def test_dmtf_schema_is_loaded_and_stays(self):
        self.write(classes={}, registered=[])
        said = self.fails(LOAD, "old")[1]
        self.assertIn("What stays:\n  the DMTF schema in root/qbx", said)
        self.assertEqual([LOAD, DEFINE, REGISTER], self.call("install")[2])
        self.assertIn("The DMTF schema stays in root/qbx", self.call("remove")[1])

    def test_what_is_refused_changes_nothing(self):
        registration = self.call("install") and self.read()["registered"]
        self.call("remove")
        clean = self.read()
        sensor = {"QBX_CageSensor": "<CLASS/>"}
        cases = (
            ({"registered": registration}, "registration of QBX_DriveCageProviderModule is there"),
            ({"registered": [r.replace(MODULE, "Other") for r in registration]}, "module Other"),
            ({"classes": {**clean["classes"], **sensor}}, "QBX_CageSensor are there already"),
            ({"classes": {"CIM_Card": "<CLASS/>"}}, "others use root/qbx, and it lacks CIM_C"),
        )
        for state, said in cases:
            with self.subTest(said=said):
                self.write(**{**clean, **state})
                before = self.there()
                got = self.call("install")
                self.assertIn(said, got[1])
                self.assertIn("Nothing was changed.", got[1])
                self.assertEqual((1, [], before), (got[0], got[2], self.there()))
        self.write(**clean)
        self.run_server("2.15.0")
        self.assertIn("it is version 2.15.0, this module is for 2.14", self.call("install")[1])
        self.run_server("2.14.4", libraries="/")
        self.assertIn("server does not find libqbxapi.so", self.call("install")[1])
        self.assertEqual([], self.read()["calls"])

    def test_module_as_built_has_no_run_path(self):
        said = subprocess.check_output(["readelf", "-d", LIBRARIES / LIBRARY], text=True)
        self.assertNotRegex(said, "R(UN)?PATH")
        self.assertIn("[libqbxapi.so]", said)


if __name__ == "__main__":
    unittest.main()
