"""The list of a site's arrays, a TOML file, and how several arrays are queried side by side."""

import dataclasses
import functools
import getpass
import os
import pathlib
import queue
import re
import stat
import sys
import threading
import time
import tomllib
import urllib.parse
from collections.abc import Callable, Generator, Iterator, Sequence
from typing import Any, NamedTuple

from . import COMMANDS
from .connection import Client, EnclosureError, address, clean, one_line, server_of
from .severity import Rules, rules_of

AT_ONCE = 16  # arrays that are queried at the same time
ALL = "all"  # names every array
NAME = re.compile(r"[A-Za-z0-9][A-Za-z0-9._-]{0,62}")
VARIABLE = re.compile("[A-Za-z_][A-Za-z0-9_]*")
PLACES = ("{config}/qbx-enclosure/sites.toml", "/etc/qbx-enclosure/sites.toml")
SECRETS = ("password_file", "password_env")


@dataclasses.dataclass(frozen=True)
class Array:
    """One array: where its CIM server is, and what to know about it. Without a password of its own it
    has that of its URL, or of QBX_PASSWORD."""

    name: str
    url: str
    user: str = ""  # empty: that of the URL
    password_file: str = ""
    password_env: str = ""
    ca: str = ""
    verify: bool = True
    groups: tuple[str, ...] = ()
    namespace: str = "root/qbx"
    timeout: int = 30  # seconds a request may take
    well: frozenset[int] = frozenset({1})  # state codes that mean well
    typed: str | None = dataclasses.field(default=None, repr=False)  # a password that was prompted for

    @property
    def address(self) -> str:
        """Its URL without a user."""
        return address(server_of(self.url))

    def client(self) -> Client:
        """A connection to it. Raises EnclosureError when there is no password, or a bad one."""
        login = (self.user, self._password())
        client = Client(self.url, self.namespace, self.timeout, self.ca or None, self.verify, login, self.well)
        client.name = self.name
        return client

    def prompted(self) -> "Array":
        """The same; without a password, and on a terminal, with one that is prompted for."""
        url = server_of(self.url)
        user = self.user or urllib.parse.unquote(url.username or "")
        is_known = self.password_file or self.password_env or url.password is not None or "QBX_PASSWORD" in os.environ
        if not user or is_known or not sys.stdin.isatty():
            return self
        return dataclasses.replace(self, typed=getpass.getpass(f"Password of {clean(user)} at {self.address}: "))

    def _password(self) -> str | None:
        if self.password_env:
            if self.password_env not in os.environ:
                raise EnclosureError(f"password_env: there is no {self.password_env} in the environment")
            return os.environ[self.password_env]
        return password_in(self.password_file) if self.password_file else self.typed


def opened(file: str, forbidden: int, remedy: str) -> bytes:
    """The content of a file that others may not use so; raises EnclosureError."""
    try:
        with open(file, "rb") as source:
            mode = os.fstat(source.fileno()).st_mode
            if stat.S_ISREG(mode) and mode & forbidden:
                raise EnclosureError(f"{clean(file)}: {remedy} {clean(file)}")
            return source.read(1 << 20)
    except OSError as error:
        raise EnclosureError(f"{clean(file)}: {error.strerror}") from error


def password_in(file: str) -> str:
    """The first line of a password file, which its owner and group alone may use."""
    content = opened(file, stat.S_IRWXO, "holds a password, and others can use it; chmod o=")
    try:
        password = content.decode().partition("\n")[0].removesuffix("\r")
    except UnicodeError as error:
        raise EnclosureError(f"{clean(file)}: holds no text in UTF-8") from error
    if not password:
        raise EnclosureError(f"{clean(file)}: its first line is empty; the password has to be there")
    return password


# ---- The list ----


class Site(NamedTuple):
    """The arrays of a list, in its order, and what its table [health] says."""

    file: str  # empty: there is none
    arrays: tuple[Array, ...] = ()
    rules: Rules = Rules()

    def chosen(self, names: Sequence[str]) -> list[Array]:
        """The arrays that have these names, or are in groups of these names, each once, in the order of
        the list. Raises EnclosureError for a name that nothing has."""
        groups = sorted({group for each in self.arrays for group in each.groups})
        known = [*(each.name for each in self.arrays), *groups, ALL]
        for name in names:
            if not self.file:
                raise EnclosureError(f"there is no list that could name {one_line(name)}: {missing()}")
            if name not in known:
                more = f", ... ({len(known)} in all)" if len(known) > 20 else ""
                there = f"{', '.join(known[:20])}{more}"
                raise EnclosureError(f"{self.file}: no array and no group {one_line(name)}; there is {there}")
        return [each for each in self.arrays if {each.name, *each.groups, ALL} & set(names)]


def places() -> list[str]:
    """Where the list is looked for."""
    config = os.environ.get("XDG_CONFIG_HOME") or os.path.expanduser("~/.config")
    return [each.format(config=config) for each in PLACES]


def missing() -> str:
    return f"give --sites FILE or QBX_SITES, or write {' or '.join(map(clean, places()))}"


def load(file: str | None = None) -> Site:
    """The list in this file, or in that of QBX_SITES, or in the first of its places where a file is. An
    empty one when none of them is."""
    file = file or os.environ.get("QBX_SITES")
    file = file or next(filter(os.path.exists, places()), "")
    return parsed(file) if file else Site("")


def parsed(file: str) -> Site:
    """The list in a file. Whatever is wrong with it is an EnclosureError that names the table and key."""
    content = opened(file, stat.S_IWOTH, "says where passwords go, and others can write it; chmod o-w")
    where = clean(file)
    try:
        tables = tomllib.loads(content.decode())
    except (tomllib.TOMLDecodeError, UnicodeError) as error:
        raise EnclosureError(f"{where}: cannot be read as TOML: {one_line(error)}") from error
    if unknown := sorted({*tables} - {"array", "defaults", "health"}):
        raise EnclosureError(f"{where}: unknown table [{one_line(unknown[0])}]; there is [array.NAME], [defaults], "
                             "[health]")  # fmt: skip
    defaults = checked(tables.get("defaults", {}), f"{where}: [defaults]")
    arrays = []
    for name, table in mapping(tables.get("array", {}), f"{where}: [array]").items():
        place = f"{where}: [array.{one_line(name)}]"
        if not NAME.fullmatch(name) or name in (ALL, *COMMANDS):
            forms = f"letters, digits, -, _ and . in quotes; no command and not {ALL}"
            raise EnclosureError(f"{place}: no name for an array; give {forms}")
        arrays.append(array_of(name, checked(table, place), defaults, place, pathlib.Path(file).parent))
    if not arrays:
        raise EnclosureError(f"{where}: lists no array; each is a table [array.NAME] with a url")
    names = [each.name.lower() for each in arrays]
    groups = {group for each in arrays for group in each.groups}
    for name in [*(each for each in names if names.count(each) > 1), *(each for each in groups if each in names)]:
        raise EnclosureError(f"{where}: {name} names two; call one of them otherwise")
    return Site(where, tuple(arrays), rules_of(tables.get("health", {}), f"{where}: [health"))


def array_of(name: str, own: dict, defaults: dict, place: str, folder: pathlib.Path) -> Array:
    """The array of a table and the defaults; its paths are relative to the list's folder."""
    if "url" not in own:
        raise EnclosureError(f"{place}: has no url")
    if set(SECRETS) & {*own}:
        defaults = {key: value for key, value in defaults.items() if key not in SECRETS}
    values = defaults | own
    if {*SECRETS} <= {*values}:
        raise EnclosureError(f"{place}: password_file and password_env; give one")
    try:
        if server_of(values["url"]).password is not None:
            raise EnclosureError("has a password, which does not belong here; give password_file or password_env")
    except EnclosureError as error:
        raise EnclosureError(f"{place} url: {error}") from error
    for key in ("password_file", "ca"):
        if key in values:
            values[key] = str(folder / pathlib.Path(values[key]).expanduser())
    groups = values.pop("group", ())
    values["groups"] = (groups,) if isinstance(groups, str) else tuple(groups)
    values["well"] = frozenset(values.get("well", (1,)))
    return Array(name, **values)


# ---- Its keys ----


def mapping(value: Any, place: str) -> dict:
    if not isinstance(value, dict):
        raise EnclosureError(f"{place}: is no table")
    return value


def is_text(value: Any) -> bool:
    return isinstance(value, str) and bool(value) and value.isprintable()


def is_number(value: Any, low: int, high: int) -> bool:
    return type(value) is int and low <= value <= high


def are_groups(value: Any) -> bool:
    listed = value if isinstance(value, list) else [value]
    return all(isinstance(each, str) and NAME.fullmatch(each) and each != ALL for each in listed)


# By key: whether a value fits, and what does.
KEYS: dict[str, tuple[Callable[[Any], Any], str]] = {
    "url": (is_text, '"http(s)://[USER@]HOST[:PORT]"'),
    "user": (is_text, "a text"),
    "password_file": (is_text, "a path"),
    "password_env": (lambda value: is_text(value) and VARIABLE.fullmatch(value), "the name of a variable"),
    "ca": (is_text, "a path"),
    "verify": (lambda value: isinstance(value, bool), "true or false"),
    "group": (are_groups, f"a name, or a list of names, but not {ALL},"),
    "namespace": (is_text, "a text"),
    "timeout": (lambda value: is_number(value, 1, 86400), "a number of seconds, 1 to 86400,"),
    "well": (lambda value: isinstance(value, list) and all(is_number(each, 0, 65535) for each in value),
             "a list of state codes such as [1, 7]"),
}  # fmt: skip


def checked(table: Any, place: str) -> dict:
    """A table whose keys and values are as KEYS says."""
    for key, value in mapping(table, place).items():
        if key not in KEYS:
            raise EnclosureError(f"{place} {one_line(key)}: unknown key; there is {', '.join(KEYS)}")
        fits, what = KEYS[key]
        if not fits(value):
            raise EnclosureError(f"{place} {key}: {what} is expected")
    return dict(table)


# ---- Queries ----


class Answer(NamedTuple):
    """What a query of an array has brought: a result, or why there is none."""

    array: Array
    result: Any  # an EnclosureError when there is none
    seconds: float  # how long it took

    @property
    def error(self) -> EnclosureError | None:
        return self.result if isinstance(self.result, EnclosureError) else None


def answer(array: Array, question: Callable[[Client], Any], connect: Callable[[], Client] | None = None) -> Answer:
    """The answer of one array, through the client that `connect` returns. A fault of this program is
    one of this array only."""
    start = time.monotonic()
    result: Any
    try:
        result = question((connect or array.client)())
    except EnclosureError as error:
        result = error
    except Exception as error:
        result = EnclosureError(f"{type(error).__name__}: {one_line(error)}")
    return Answer(array, result, time.monotonic() - start)


def ask(arrays: Sequence[Array], question: Callable[[Client], Any], *, at_once: int = AT_ONCE,
        within: float | None = None) -> Iterator[Answer]:  # fmt: skip
    """Queries arrays side by side, and yields each answer as it comes. After `within` seconds those
    that have not answered yield an error, and nothing waits for them."""
    end = None if within is None else time.monotonic() + within
    waiting: queue.SimpleQueue[Array] = queue.SimpleQueue()
    answers: queue.SimpleQueue[Answer] = queue.SimpleQueue()

    def work() -> None:
        while end is None or time.monotonic() < end:
            try:
                answers.put(answer(waiting.get_nowait(), question))
            except queue.Empty:
                return

    left = {each.name: each for each in arrays}
    for each in left.values():
        waiting.put(each)
    for _ in range(min(at_once, len(left))):
        threading.Thread(target=work, daemon=True).start()
    while left:
        try:
            found = answers.get(timeout=None if end is None else max(0.0, end - time.monotonic()))
        except queue.Empty:
            for each in left.values():
                yield Answer(each, EnclosureError(f"no answer within {within:g} s"), within or 0)
            return
        del left[found.array.name]
        yield found


def follow(arrays: Sequence[Array], question: Callable[[Client], Any], period: float, *, at_once: int = AT_ONCE
           ) -> Generator[Answer, None, None]:  # fmt: skip
    """Queries each array every `period` seconds, or as soon as its last answer is there; so there are
    never two queries of one array. Yields each answer as it comes, until it is closed."""
    bound, stopped = threading.Semaphore(at_once), threading.Event()
    answers: queue.SimpleQueue[Answer] = queue.SimpleQueue()

    def work(array: Array) -> None:
        connect = functools.cache(array.client)  # it keeps the words of the schema
        while not stopped.is_set():
            start = time.monotonic()
            with bound:
                found = answer(array, question, connect)
            if found.error:  # a password may be new, and the server
                connect.cache_clear()
            answers.put(found)
            time.sleep(max(0.0, start + period - time.monotonic()))

    for each in arrays:
        threading.Thread(target=work, args=(each,), daemon=True).start()
    try:
        while True:
            yield answers.get()
    finally:
        stopped.set()
