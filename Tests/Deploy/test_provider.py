"""qbx-provider with a fake server, which lists the commands that change it: their order, what is
refused before anything is changed, and that a failure or signal at any step undoes all of them."""

import functools
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from qbx_support.server import ROOT, Server
from qbx_support.testing import Case, Test, cases

from Deploy.qbx_provider.server import Server as PegasusServer

BUILD = pathlib.Path(os.environ["QBX_BUILD"]).resolve()
PROGRAM, LIBRARIES = ROOT / "Deploy" / "qbx-provider", BUILD / "lib"
NAME, LIBRARY, MODULE = "QBX_DriveCageProvider", "libQBX_DriveCageProvider.so", "QBX_DriveCageProviderModule"
CIMSERVER = """#include <stdio.h>
#include <string.h>
#include <unistd.h>
int main(int n, char** a) { if (n == 1) pause(); else if (strcmp(a[1], "-v") == 0) puts(VERSION); }
"""
# The schema of these tests: the module serves a cage and its one family, and looks up the system.
SUPERCLASSES = {"QBX_StorageSystem": "CIM_A", "QBX_DriveCage": "CIM_B", "QBX_DriveCageDC1Family": "QBX_DriveCage"}
LOOKED_UP = ["QBX_StorageSystem"]
FILES = {"mof": "classes.mof", "registration": "registration.mof", "looked_up": LOOKED_UP, "needs_system": []}
DMTF = {"CIM_A": ["", []], "CIM_B": ["", []]}
EMPTY: dict = {"classes": {}, "registered": [], "instances": []}
SETTINGS = ["providerDir=lib"]

LOAD = "cimmof -w -aE -n root/qbx -I"
DEFINE, REGISTER = "cimmof -w -aEV -n root/qbx -I", "cimmof -w -n root/PG_InterOp -I"
START, STOP, UNREGISTER = (f"cimprovider {each} -m {MODULE}" for each in ("-e", "-d", "-r"))
DELETE_ALL = [f"cimcli dc -n root/qbx {each}" for each in reversed(SUPERCLASSES)]
DELETE_BOTH, DELETE_CAGE = DELETE_ALL[:2], DELETE_ALL[1]  # the cage and its family
UPGRADE = [STOP, *DELETE_BOTH, DEFINE, UNREGISTER, REGISTER]


def registration(module, version, served=tuple(SUPERCLASSES)[1:]):
    owner = {"ProviderModuleName": module}
    marks = {"InterfaceType": "C++Default", "InterfaceVersion": "2.6.0", "Location": module.removesuffix("Module")}
    capability = {**owner, "ProviderName": "P", "Namespaces": ["root/qbx"], "ProviderType": ["2"]}
    return [
        ["PG_ProviderModule", {"Name": module, "Version": version, **marks}],
        ["PG_Provider", {**owner, "Name": "P"}],
        *(["PG_ProviderCapabilities", {**capability, "ClassName": each}] for each in served),
    ]


@functools.cache
def compiled_server(version):
    """A program that runs until it is killed, and prints that version when it is called with -v."""
    folder = tempfile.TemporaryDirectory(prefix="qbx-deploy-")
    unittest.addModuleCleanup(folder.cleanup)
    program = pathlib.Path(folder.name) / "cimserver"
    command = [os.environ["QBX_CXX"], "-xc++", "-", f'-DVERSION="{version}"', "-o", str(program)]
    subprocess.run(command, input=CIMSERVER, text=True, check=True)
    return program


class Provider(Test):
    server = None

    def setUp(self):
        """A server with an empty namespace root/qbx, and two versions of the module: in 1.0.1 a
        cage has one property more."""
        self.home = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="qbx-deploy-")))
        for name in ("bin", "lib", "CIM241"):
            (self.home / name).mkdir()
        for name in DMTF:
            (self.home / "CIM241" / f"{name}.mof").touch()
        self.write_mof("CIM241/CIM_Schema.mof", classes=DMTF)
        for version, properties in ("1.0.0", ["Tag"]), ("1.0.1", ["Tag", "Extra"]):
            self.write_module(version, NAME, SUPERCLASSES, properties)
        fake = pathlib.Path(__file__).with_name("fake_server.py")
        for program in ("cimcli", "cimmof", "cimprovider", "cimconfig"):
            shutil.copy(fake, self.home / "bin" / program)
        self.write_state(classes=DMTF)
        self.run_server("2.14.4")

    def write_module(self, version, name, superclasses, properties=()):
        """The files of a version of a module: its cages have these properties."""
        folder = self.home / version
        folder.mkdir()
        manifest = {"name": name, "version": version, "classes": superclasses, **FILES}
        (folder / "manifest.json").write_text(json.dumps(manifest))
        classes = {each: [base, []] for each, base in superclasses.items()}
        classes.get("QBX_DriveCage", ["", []])[1] += properties
        self.write_mof(f"{version}/classes.mof", classes=classes)
        registered = registration(f"{name}Module", version, [each for each in classes if each not in LOOKED_UP])
        self.write_mof(f"{version}/registration.mof", registered=registered)
        (folder / f"lib{name}.so").write_bytes((LIBRARIES / LIBRARY).read_bytes() + version.encode())

    def write_mof(self, name, **content):
        (self.home / name).write_text(json.dumps({**EMPTY, **content}))

    def run_server(self, version, libraries=LIBRARIES):
        """Starts a process that looks like a server of this version, whose loader finds these
        libraries; ends the one from before."""
        if self.server:
            self.server.kill()
            self.server.wait()
        program = shutil.copy(compiled_server(version), self.home / "bin" / "cimserver")
        environment = {**os.environ, "LD_LIBRARY_PATH": str(libraries)}
        self.server = subprocess.Popen([program], env=environment)
        self.addCleanup(self.server.wait)
        self.addCleanup(self.server.kill)

    def state(self):
        return json.loads((self.home / "state.json").read_text())

    def write_state(self, **changes):
        (self.home / "state.json").write_text(json.dumps({**EMPTY, "settings": SETTINGS, **changes, "calls": []}))

    def run_program(self, command, *options, version="1.0.0", event=None):
        """Exit status and output of the program, and the commands that changed the server."""
        self.write_state(**self.state() | ({"event": event} if event else {}))
        arguments = [command, self.home / version / "manifest.json"]
        environment = {**os.environ, "PEGASUS_HOME": str(self.home)}
        done = subprocess.run([PROGRAM, *arguments, *options], capture_output=True, text=True, env=environment)
        return done.returncode, done.stdout + done.stderr, self.state()["calls"]

    def succeeds(self, command, *options, version="1.0.0", output="", calls=()):
        result = self.run_program(command, *options, version=version)
        self.assertIn(output, result[1])
        self.assertEqual((result[0], result[2]), (0, list(calls)), result[1])

    def check_fails(self, *lines, version="1.0.0"):
        status, output, calls = self.run_program("check", version=version)
        for line in lines:
            self.assertIn(line, output)
        self.assertEqual((status, calls), (1, []))

    def refused(self, output, *options, version="1.0.0"):
        """An installation that changes nothing, with this reason."""
        before = self.installed()
        result = self.run_program("install", *options, version=version)
        self.assertIn(output, result[1])
        self.assertIn("Nothing was changed.", result[1])
        self.assertEqual((result[0], result[2], self.installed()), (1, [], before))

    def installed(self):
        """All that an installation changes: the repository, the library, the record."""
        state, library = self.state(), self.home / "lib" / LIBRARY
        files = [library, *sorted((self.home / "qbx-provider").glob("**/*"))]
        contents = {file.name: file.read_bytes() for file in files if file.is_file()}
        return [state[each] for each in EMPTY], contents


class Commands(Provider):
    def test_installation_is_done_once(self):
        self.succeeds("install", output="installed: QBX_DriveCageProvider 1.0.0", calls=[DEFINE, REGISTER])
        self.succeeds("install", output="installed: QBX_DriveCageProvider 1.0.0")
        self.succeeds("check", output="classes:          as in this version")

    def test_check_names_what_is_missing(self):
        self.check_fails("installed:        not by qbx-provider", "registration:     missing")

    def test_check_names_what_differs(self):
        self.run_program("install")
        registered = "registration:     Version is 1.0.0, expected 1.0.1"
        self.check_fails("classes:          QBX_DriveCage differs in Extra\n", registered, version="1.0.1")

    def test_upgrade_replaces_what_differs(self):
        self.run_program("install")
        with (self.home / "lib" / LIBRARY).open("rb") as mapped:
            self.succeeds("install", version="1.0.1", output="installed: QBX_DriveCageProvider 1.0.1", calls=UPGRADE)
            old = (self.home / "1.0.0" / LIBRARY).read_bytes()
            self.assertEqual(mapped.read(), old, "the file that a process has mapped was changed")
        self.succeeds("check", version="1.0.1", output="registration:     as in this version")

    def test_removal_undoes_the_installation(self):
        before = self.installed()
        self.run_program("install")
        self.succeeds("remove", output="removed", calls=[UNREGISTER, *DELETE_ALL])
        self.assertEqual(self.installed(), before)
        self.succeeds("remove", output="nothing to do: it is not installed")

    def test_dmtf_schema_is_loaded_and_stays(self):
        self.write_state()
        self.succeeds("install", calls=[LOAD, DEFINE, REGISTER])
        stays = "The DMTF schema stays in root/qbx"
        self.succeeds("remove", output=stays, calls=[UNREGISTER, *DELETE_ALL])

    def test_system_instances_are_loaded_and_deleted(self):
        file = self.home / "system.mof"
        file.write_text("instance of QBX_DriveCage {};")
        self.refused("none of the storage system in", "--system-instances", file)
        file.write_text("instance of QBX_StorageSystem {};")
        load = "cimmof -w -n root/qbx -I"
        self.succeeds("install", "--system-instances", file, calls=[DEFINE, load, REGISTER])
        self.succeeds("install", "--system-instances", file)
        delete = "cimcli di -n root/qbx QBX_StorageSystem"
        self.succeeds("remove", calls=[UNREGISTER, delete, *DELETE_ALL])

    def test_process_is_changed_alone(self):
        self.run_program("install")
        move = f"cimprovider -g CIMServer -m {MODULE}"
        self.succeeds("install", "--process", "server", output="run it in the server", calls=[move])
        self.succeeds("check", output="runs in:          the server")

    def test_dry_run_changes_nothing(self):
        before = self.installed()
        self.succeeds("install", "--home", self.home, "--dry-run", output="would define 3 classes in root/qbx")
        self.assertEqual(self.installed(), before)

    def test_queries_are_made_over_the_wire(self):
        password = self.home / "password"
        with Server(BUILD) as server:
            options = ("--url", server.url, "--user", "admin", "--password-file", password)
            password.write_text("wrong")
            self.refused("log in: the server refuses user admin", *options)
            password.write_text("admin")
            output = self.run_program("install", *options)[1]
            server.users = None
            server.restart()
            password.write_text("wrong")
            self.assertIn("authentication is off", self.run_program("install", *options)[1])
        self.assertIn("query every class as admin\n  QBX_DriveCage 7", output)
        self.assertNotIn("authentication is off", output)


    def test_packaged_server_has_its_own_places(self):
        root = self.home / "root"
        root.mkdir()
        (root / "usr").symlink_to(self.home)
        modules, schema = root / "usr/lib64/Pegasus/providers", root / "usr/share/Pegasus/mof/CIM241"
        modules.mkdir(parents=True)
        schema.mkdir(parents=True)
        (schema / "CIM_Schema.mof").touch()
        self.write_state(settings=["httpPort=5988"])  # folders are not among them
        server = PegasusServer(None, root)
        self.assertEqual(modules, server.provider_folder)
        self.assertEqual(schema, server.schema_folder(None))
        self.assertEqual(root / "var/lib/Pegasus/repository", server.repository)


class SeveralModules(Provider):
    """The drive cage module, and "node" beside it, which has the storage system's class, too."""

    def setUp(self):
        super().setUp()
        self.write_module("node", "QBX_Node", {"QBX_StorageSystem": "CIM_A", "QBX_Node": "CIM_B"})

    def test_second_is_installed_and_removed_alone(self):
        self.run_program("install")
        before = self.installed()
        self.succeeds("install", version="node", output="define 1 class in", calls=[DEFINE, REGISTER])
        self.succeeds("check", output="registration:     as in this version")
        self.run_program("remove", version="node")
        self.assertEqual(self.installed(), before)

    def test_classes_of_two_stay_until_both_are_removed(self):
        self.run_program("install")
        self.run_program("install", version="node")
        self.succeeds("remove", calls=[UNREGISTER, *DELETE_BOTH])
        self.succeeds("check", version="node")
        self.run_program("remove", version="node")
        self.assertEqual((self.state()["classes"], self.state()["registered"]), (DMTF, []))

    def test_rejects_installation_beside_half_an_installation(self):
        self.run_program("install", event=(DEFINE, "kill"))
        self.refused("QBX_DriveCageProvider: begun, not finished: install 1.0.0", version="node")

    @cases(
        Case("no_manifest", None, "manifest.json, and no module of that name is installed"),
        Case("no_json", "MOF", "read the manifest: "),
        Case("another_file", "[]", "it is the manifest of nothing"),
    )
    def test_rejects_module_without_manifest(self, content, reason):
        file = self.home / "node" / "manifest.json"
        file.write_text(content) if content else file.unlink()
        self.refused(reason, version="node")

    def test_rejects_manifest_that_differs_from_the_mof(self):
        self.write_mof("node/classes.mof", classes={"QBX_Node": ["CIM_B", []]})
        self.refused("classes.mof declares QBX_StorageSystem otherwise, or not", version="node")


class Interruptions(Provider):
    def stop(self, version, command, kind):
        """An installation during which that happens: its output, and the commands after that."""
        if version == "1.0.1":
            self.run_program("install")
        self.before = self.installed()
        event = (command, kind)
        status, output, calls = self.run_program("install", version=version, event=event)
        self.assertEqual(status, 1, output)
        return output, calls[calls.index(command) + 1 :]

    @cases(
        Case("in_the_definition", "1.0.0", DEFINE, []),
        Case("in_the_registration", "1.0.0", REGISTER, DELETE_ALL),
        Case("in_the_stop", "1.0.1", STOP, []),
        Case("in_the_deletion", "1.0.1", DELETE_CAGE, [DEFINE, START]),
        Case("in_the_new_definition", "1.0.1", DEFINE, [DEFINE, START]),
        Case("in_the_new_registration", "1.0.1", REGISTER, [REGISTER, *DELETE_BOTH, DEFINE]),
        Case("by_a_signal", "1.0.0", REGISTER, [UNREGISTER, *DELETE_ALL], "interrupt"),
    )
    def test_all_is_undone_after_a_failure(self, version, command, undo, kind="fail"):
        output, calls = self.stop(version, command, kind)
        self.assertIn("The server is as it was.", output)
        self.assertEqual(calls, undo, output)
        self.assertEqual(self.installed(), self.before)

    def test_failed_loading_of_the_dmtf_schema_says_what_stays(self):
        self.write_state()
        output, calls = self.stop("1.0.0", LOAD, "fail")
        self.assertIn("What stays:\n  the DMTF schema in root/qbx", output)
        self.assertEqual(calls, [])
        self.write_state(classes={"CIM_A": ["", []]})  # half of it, by this program
        self.succeeds("install", calls=[LOAD, DEFINE, REGISTER])

    @cases(
        Case("installation", "install", "1.0.0", DEFINE, [REGISTER]),
        Case("upgrade", "install", "1.0.1", DELETE_CAGE, [DEFINE, UNREGISTER, REGISTER]),
        Case("removal", "remove", "1.0.0", UNREGISTER, DELETE_ALL),
    )
    def test_check_names_and_the_next_finishes_a_killed(self, command, version, event, rest):
        if event != DEFINE:
            self.run_program("install")
        self.assertEqual(self.run_program(command, version=version, event=(event, "kill"))[0], -9)
        what = f"{command} {version}" if command == "install" else command
        line = f"installed:        begun, not finished: {what}; run qbx-provider {command} again"
        self.check_fails(line, version=version)
        self.succeeds(command, version=version, calls=rest)
        if command == "install":
            self.succeeds("check", version=version)


class Refusals(Provider):
    @cases(
        Case("a_registration", f"registration of {MODULE} is there already",
             {"classes": DMTF, "registered": registration(MODULE, "1.0.0")}),
        Case("a_provider_of_its_classes", "is served by module Other",
             {"classes": DMTF, "registered": registration("Other", "1.0.0")}),
        Case("a_class", "QBX_DriveCage are there already", {"classes": {**DMTF, "QBX_DriveCage": ["CIM_B", []]}}),
        Case("half_a_dmtf_schema", "others use root/qbx, and it lacks CIM_B", {"classes": {"CIM_A": ["", []]}}),
    )  # fmt: skip
    def test_others_have(self, reason, state):
        self.write_state(**state)
        self.refused(reason)

    def test_others_have_replaced_the_library(self):
        self.run_program("install")
        (self.home / "lib" / LIBRARY).write_text("other")
        self.refused("somebody else has replaced")

    def test_server_is_another_version(self):
        self.run_server("2.15.0")
        self.refused("it is version 2.15.0, this module is for 2.14")

    def test_server_does_not_find_the_arrays_library(self):
        self.run_server("2.14.4", libraries="/")
        self.refused("server does not find libqbxapi.so")


class Module(unittest.TestCase):
    def test_has_no_run_path(self):
        output = subprocess.check_output(["readelf", "-d", LIBRARIES / LIBRARY], text=True)
        self.assertNotRegex(output, "R(UN)?PATH")
        self.assertIn("[libqbxapi.so]", output)


if __name__ == "__main__":
    unittest.main()
