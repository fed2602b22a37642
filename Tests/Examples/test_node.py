"""The example module, built as its author would do it: from the installed toolkit, outside the tree."""

import json
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

from qbx_support import testing
from qbx_support.clients import ResponseError, Wbemcli
from qbx_support.server import ROOT, SAMPLE_ARRAY, Server
from qbx_support.testing import must

SOURCES = ROOT / "Examples" / "Node"
SANITIZE = [f"-fsanitize={os.environ['QBX_SANITIZE']}"] if os.environ.get("QBX_SANITIZE") else []
FLAGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", *SANITIZE]


def cmake(*arguments):
    return must(os.environ["QBX_CMAKE"], *arguments)


class InstalledToolkit(unittest.TestCase):
    folder: pathlib.Path
    bare: pathlib.Path  # where the toolkit is installed without the stand-ins
    prefix: pathlib.Path  # where everything is installed

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="qbx-example-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.bare, cls.prefix = cls.folder / "bare", cls.folder / "prefix"
        build = os.environ["QBX_BUILD"]
        cmake("--install", build, "--prefix", cls.bare, "--component", "toolkit")
        cmake("--install", build, "--prefix", cls.prefix)

    def configure(self, build, prefix, *options):
        return cmake("-G", "Ninja", "-S", SOURCES, "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
                     f"-DCMAKE_CXX_COMPILER={os.environ['QBX_CXX']}",
                     f"-DCMAKE_CXX_FLAGS={' '.join(FLAGS)}", *options)

    def test_cmake_package_builds_module_that_the_server_loads(self):
        build = self.folder / "cmake"
        self.configure(build, self.prefix)
        cmake("--build", build)
        array = json.loads(SAMPLE_ARRAY.read_text())
        system = array["storageArray"]
        module = next(self.prefix.rglob("libqbxapi.so")).parent
        options = ("--provider-dir", build, "--provider-dir", module,
                   "--schema", f"root/qbx={build / 'QBX_ExampleNode.mof'}",
                   "--schema", f"root/interop={build / 'registration.mof'}")
        with Server(self.prefix, *options) as server:
            client = Wbemcli(server)
            path = f'QBX_ExampleNode.CreationClassName="QBX_ExampleNode",Tag="{system["name"]}"'
            self.assertEqual(client.names("qbx_examplenode"), [path])
            node = client.get(path)
            self.assertEqual(node["ElementName"], f'"{system["elementName"]}"')
            self.assertEqual(node["NetworkAddress"], f'"{array["nodeIPaddress"]}"')
            self.assertEqual(node["QuadPort"], "TRUE" if system["isQuadPort"] else "FALSE")
            self.assertEqual([(path, node)], client.instances("QBX_ExampleNode"))
            with self.assertRaisesRegex(ResponseError, "Insufficient privilege for the user"):
                Wbemcli(server, "blocked").names("QBX_ExampleNode")
            self.assertEqual(len(client.names("QBX_DriveCage")), len(array["cages"]))

    def test_pkg_config_builds_module(self):
        if not shutil.which("pkg-config"):
            self.skipTest("pkg-config is not installed (./qbx setup)")
        flags = must("pkg-config", "--cflags", "--libs", "qbx-common",
                     PKG_CONFIG_PATH=str(next(self.prefix.rglob("pkgconfig"))))
        module = self.folder / "module.so"
        no_undefined = [] if SANITIZE else ["-Wl,--no-undefined"]
        must(os.environ["QBX_CXX"], "-std=c++17", *FLAGS, "-shared", "-fPIC", "-fvisibility=hidden",
             SOURCES / "QBX_ExampleNodeProvider.cpp", "-o", module, *no_undefined, *flags.split())
        exported = must("nm", "--dynamic", "--defined-only", "--extern-only", module)
        self.assertIn(" T PegasusCreateProvider", exported)
        self.assertNotIn("QBX_Common", exported, "what the toolkit defines stays inside the module")

    @unittest.skipIf(SANITIZE, "a sanitized library cannot be loaded by Python")
    def test_installed_array_serves_installed_sample(self):
        library = next(self.prefix.rglob("libqbxapi.so"))
        query = f"import ctypes; ctypes.CDLL('{library}').api_getStorageArray(None)"
        sample = next(self.prefix.rglob("sample-array.json"))
        self.assertTrue((sample.parent / json.loads(sample.read_text())["$schema"]).is_file())
        output = must(sys.executable, "-c", query, QBX_ARRAY_FILE="", QBX_LOG_FILE="")
        self.assertIn(f"{sample} is in service\n", output)

    def test_rejects_missing_library_of_the_array(self):
        with self.assertRaisesRegex(AssertionError, "set QBX_STORAGE_API"):
            self.configure(self.folder / "no-api", self.bare)

    def test_rejects_missing_cim_library(self):
        library = next(self.prefix.rglob("libqbxapi.so"))
        with self.assertRaisesRegex(AssertionError, "install the\\s+component 'standin_dev' too"):
            self.configure(self.folder / "no-cim", self.bare, f"-DQBX_STORAGE_API={library}")


if __name__ == "__main__":
    testing.main(needs="wbemcli")
