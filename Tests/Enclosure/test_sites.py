"""The list of arrays, and how they are queried side by side, without any server."""

import gc
import os
import pathlib
import queue
import sys
import tempfile
import threading
import time
import typing
import unittest.mock
import weakref

from qbx_support import testing
from qbx_support.raw import SECONDS
from qbx_support.server import ROOT
from qbx_support.testing import Case, Test, cases

sys.path.insert(0, str(ROOT / "Enclosure"))
from qbx_enclosure import main, severity, sites
from qbx_enclosure.cimxml import Path
from qbx_enclosure.connection import EnclosureError
from qbx_enclosure.model import Element, Words
from qbx_enclosure.severity import Severity

LIST = """
[defaults]
user = "monitor"
password_file = "password"
group = "production"
[array.berlin1]
url = "https://berlin1"
group = ["berlin", "production"]
[array.berlin2]
url = "http://berlin2:80"
password_env = "SECRET"
timeout = 5
well = [1, 7]
[array."paris.1"]
url = "http://paris"
group = "paris"
"""
ONE = '[array.a]\nurl = "http://a"\n'
OPEN = "holds a password, and others can use it"
CRITICAL, WARNING, UNKNOWN, OK = Severity.CRITICAL, Severity.WARNING, Severity.UNKNOWN, Severity.OK


class ListTest(Test):
    """Tests with a folder for lists."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def file(self, name, content, mode=0o640):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        path.chmod(mode)
        return str(path)

    def site(self, content):
        return sites.load(self.file("sites.toml", content))

    def fails(self, message, action):
        """That an action fails with a message that begins so; FOLDER stands for the folder."""
        with self.assertRaises(EnclosureError) as caught:
            action()
        self.assertEqual(str(caught.exception).replace(str(self.folder), "FOLDER")[: len(message)], message)


class Lists(ListTest):
    def test_array_has_its_own_values_and_the_defaults(self):
        first, second, _ = self.site(LIST).arrays
        self.assertEqual(first, sites.Array(
            "berlin1", "https://berlin1", "monitor", str(self.folder / "password"), groups=("berlin", "production")))
        self.assertEqual(second, sites.Array(
            "berlin2", "http://berlin2:80", "monitor", password_env="SECRET", groups=("production",), timeout=5,
            well=frozenset({1, 7})))  # fmt: skip

    def test_names_choose_each_array_once_in_its_order(self):
        chosen = self.site(LIST).chosen(["berlin2", "production"])
        self.assertEqual([each.name for each in chosen], ["berlin1", "berlin2"])

    @cases(
        Case("option", ["option", "variable", "home"], ["option"]),
        Case("variable", ["variable", "home"], ["variable"]),
        Case("home", ["home"], ["home"]),
    )
    def test_is_found_by(self, there, names):
        files = {}
        for each in there:
            (self.folder / f"{each}/qbx-enclosure").mkdir(parents=True)
            files[each] = self.file(f"{each}/qbx-enclosure/sites.toml", ONE.replace(".a", f".{each}"))
        variables = {"XDG_CONFIG_HOME": str(self.folder / "home"), "QBX_SITES": files.get("variable", "")}
        own = unittest.mock.patch.object(sites, "PLACES", sites.PLACES[:1])  # none of this machine's
        with own, unittest.mock.patch.dict(os.environ, variables):
            found = sites.load(files.get("option"))
        self.assertEqual([each.name for each in found.arrays], names)

    @cases(
        Case("no_toml", b"[array", ": cannot be read as TOML: Expected ']' at the end of a table declaration (at end"),
        Case("no_utf8", b"\xff", ": cannot be read as TOML: 'utf-8' codec can't decode byte 0xff in position 0: "),
        Case("two_of_one_name", ONE + ONE, ": cannot be read as TOML: Cannot declare ('array', 'a') twice (at line 3,"),
        Case("two_names_alike", ONE + ONE.replace(".a", ".A"), ": a names two; call one of them otherwise"),
        Case("group_named_as_an_array", ONE + 'group = "a"', ": a names two; call one of them otherwise"),
        Case("no_array", "[health]", ": lists no array; each is a table [array.NAME] with a url"),
        Case("array_without_url", "[array.a]", ": [array.a]: has no url"),
        Case("array_that_is_no_table", "array = 1", ": [array]: is no table"),
        Case("array_named_all", ONE.replace(".a", ".all"), ": [array.all]: no name for an array; give letters,"),
        Case("array_named_as_a_path", ONE.replace(".a", '."../a"'), ": [array.../a]: no name for an array; give "),
        Case("unknown_table", "[arrays.a]", ": unknown table [arrays]; there is [array.NAME], [defaults], [health]"),
        Case("unknown_key", ONE + "timout = 1", ": [array.a] timout: unknown key; there is url, user, password_file,"),
        Case("password_in_url", '[array.a]\nurl = "http://u:hidden@a"', ": [array.a] url: has a password, which does"),
        Case("number_for_text", "[defaults]\nuser = 1\n" + ONE, ": [defaults] user: a text is expected"),
        Case("boolean_for_code", ONE + "well = [true]", ": [array.a] well: a list of state codes such as [1, 7] is"),
        Case("group_all", ONE + 'group = "all"', ": [array.a] group: a name, or a list of names, but not all, is exp"),
        Case("two_passwords", ONE + 'password_env = "A"\npassword_file = "b"', ": [array.a]: password_file and pass"),
        Case("unknown_key_of_the_check", ONE + "[health]\nwarn = 1", ": [health] warn: unknown key; there is warning"),
        Case("unknown_cause", ONE + '[health.severity]\nlamp = "ok"', ": [health.severity] lamp: unknown cause; there"),
        Case("unknown_severity", ONE + '[health.severity]\ngap = "bad"', ": [health.severity] gap: ok, warning, unkno"),
        Case("wrong_range", ONE + '[health.readings]\nV = {warning = "a"}', ': [health.readings] V: { warning = "10:3'),
    )
    def test_is_refused_for(self, content, message):
        self.fails(f"FOLDER/sites.toml{message}", lambda: self.site(content))

    def test_is_refused_for_a_file_that_others_can_write(self):
        path = self.file("sites.toml", ONE, 0o646)
        self.fails("FOLDER/sites.toml: says where passwords go, and others can write it; chmod o-w FOLDER/sites.toml",
                   lambda: sites.load(path))  # fmt: skip


class Passwords(ListTest):
    """A bad one is that of its array, whose list is good."""

    @cases(
        Case("in_a_file", b" se cret \r\nmore\n", 0o640, " se cret "),
        Case("that_others_can_read", b"secret\n", 0o644, None, f"password: {OPEN}; chmod o= FOLDER/password"),
        Case("that_others_can_write", b"secret\n", 0o602, None, f"password: {OPEN}; chmod o= FOLDER/password"),
        Case("in_an_empty_file", b"\n", 0o600, None, "password: its first line is empty; the password has to"),
        Case("in_binary", b"\xff\n", 0o600, None, "password: holds no text in UTF-8"),
    )
    def test_is(self, content, mode, password, message=""):
        self.file("password", content, mode)
        (array,) = self.site(ONE + 'user = "u"\npassword_file = "password"').arrays
        if message:
            self.fails(f"FOLDER/{message}", array.client)
        else:
            self.assertEqual(sites.password_in(array.password_file), password)

    def test_of_an_option_counts_before_the_list(self):
        file = self.file("sites.toml", ONE + 'user = "u"\npassword_env = "QBX_TEST_SECRET"\nverify = true')
        words = f"--sites {file} a tree --password-file other --no-verify --timeout 7 --well 1,7"
        _, arrays = main.chosen(main.arguments(words.split()))
        self.assertEqual(arrays, [sites.Array("a", "http://a", "u", "other", verify=False, timeout=7,
                                              well=frozenset({1, 7}))])  # fmt: skip

    def test_is_in_the_environment(self):
        (array,) = self.site(ONE + 'user = "u"\npassword_env = "QBX_TEST_SECRET"').arrays
        self.fails("password_env: there is no QBX_TEST_SECRET in the environment", array.client)


class Queries(Test):
    """Arrays are asked side by side: they stand at events, and no test waits for a time."""

    def arrays(self, count):
        return [sites.Array(f"a{number}", f"http://a{number}") for number in range(count)]

    def meeting(self, count):
        """A question at which this many meet, and a list of how many were asked at once."""
        together, running, most = threading.Barrier(count), [], []

        def question(client):
            running.append(client)
            most.append(len(running))
            together.wait(SECONDS)
            time.sleep(0.001)  # one too many would come meanwhile
            running.remove(client)

        return question, most

    def test_bound_is_kept_and_used(self):
        question, most = self.meeting(3)
        found = list(sites.ask(self.arrays(6), question, at_once=3))
        self.assertEqual([each.error for each in found], [None] * 6)
        self.assertEqual(max(most), 3)

    def test_one_that_hangs_delays_no_other(self):
        hung = threading.Event()
        self.addCleanup(hung.set)
        asked = sites.ask(self.arrays(9), lambda client: client.url == "http://a0" and hung.wait(SECONDS),
                          at_once=2)  # fmt: skip
        self.assertEqual({next(asked).array.name for _ in range(8)}, {f"a{number}" for number in range(1, 9)})
        hung.set()
        self.assertEqual(next(asked).array.name, "a0")

    def test_total_time_is_bounded(self):
        hung = threading.Event()
        self.addCleanup(hung.set)
        asked, before = [], threading.enumerate()

        def question(client):
            asked.append(client.url)
            hung.wait(SECONDS)

        found = list(sites.ask(self.arrays(3), question, at_once=1, within=0.2))
        self.assertEqual([str(each.error) for each in found], ["no answer within 0.2 s"] * 3)
        self.assertFalse(hung.is_set())
        hung.set()
        for each in set(threading.enumerate()) - set(before):
            each.join(SECONDS)
        self.assertEqual(asked, ["http://a0"])  # nothing was asked after the end

    def test_array_is_polled_again_after_the_period(self):
        pauses: queue.SimpleQueue[float] = queue.SimpleQueue()
        go, clients = threading.Semaphore(0), []

        def sleep(seconds):
            pauses.put(seconds)
            go.acquire()

        def question(client):
            clients.append(client)
            if len(clients) == 2:
                raise EnclosureError("refused")

        with unittest.mock.patch.object(sites.time, "sleep", sleep):
            answers = sites.follow(self.arrays(1), question, 60)
            for error in (None, "refused", None):
                self.assertEqual(next(answers).error and "refused", error)
                self.assertTrue(0 < pauses.get(timeout=SECONDS) <= 60)
                go.release()
        self.assertIs(clients[0], clients[1])  # it keeps what it has read of the schema
        self.assertIsNot(clients[1], clients[2])  # its password or server may be another

    def test_polls_keep_the_bound(self):
        question, most = self.meeting(2)
        answers = sites.follow(self.arrays(4), question, 0.001, at_once=2)
        names = {next(answers).array.name for _ in range(100)}
        answers.close()
        self.assertEqual((len(names), max(most)), (4, 2))

    def test_fault_of_this_program_is_one_of_one_array(self):
        found = {each.array.name: each for each in sites.ask(self.arrays(2), lambda client: 1 // int(client.url[-1]))}
        self.assertEqual(str(found["a0"].error), "ZeroDivisionError: integer division or modulo by zero")
        self.assertEqual(found["a1"].result, 1)


class Elements(Test):
    def test_are_freed_without_garbage_collection(self):
        made = [Element(kind, Path("QBX", ()), {"tag": kind}, Words({}, {1})) for kind in ("cage", "magazine")]
        made[1].cage = made[0]
        made[0].parts.append(made[1])
        self.assertIs(made[1].cage, made[0])
        cage = weakref.ref(made[0])
        gc.disable()
        self.addCleanup(gc.enable)
        made.clear()
        self.assertIsNone(cage())


class Limits(Test):
    def test_check_ends_before_nagios_gives_up(self):
        self.assertEqual([main.arguments([each]).within for each in ("health", "tree", "arrays")], [50, None, None])


class Severities(Test):
    @cases(
        Case("from_zero", "35", [0, 35], [-1, 36]),
        Case("from_to", "10:35", [10, 35], [9, 36]),
        Case("from", "10:", [10, 999], [9]),
        Case("to", "~:35", [-9, 35], [36]),
    )
    def test_range_is(self, span, inside, beyond):
        self.assertEqual([each for each in inside + beyond if severity.outside(each, span)], beyond)

    def test_unknown_is_worse_than_a_warning_only(self):
        self.assertEqual(severity.worst([OK, WARNING, UNKNOWN]), UNKNOWN)
        self.assertEqual(severity.worst([UNKNOWN, CRITICAL]), CRITICAL)

    @cases(
        Case("below_the_first_threshold", 1, OK),
        Case("at_the_first_threshold", 2, WARNING),
        Case("at_the_second_threshold", 4, CRITICAL),
    )
    def test_of_several_warnings(self, count, status):
        rules = severity.rules_of({"warning_from": 2, "critical_from": 4}, "[health")
        findings = [severity.Finding(typing.cast(Element, None), WARNING, [])] * count
        self.assertEqual(rules.status(findings), status)


if __name__ == "__main__":
    testing.main()
