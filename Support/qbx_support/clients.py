"""Two WBEM clients behind one interface, so that the same tests run through both.

A path is (class, {key: value}); a value in it may be such a path. Host and namespace are left out.
Every operation raises ResponseError for a response that is an error. `last` is the last request, as
the client's user would give it.
"""

import os
import re
import shlex
import subprocess

from qbx_support.server import NAMESPACE, USERS


class ResponseError(Exception):
    """The server responded with an error: code (a CIM status, or the HTTP status), text."""

    def __init__(self, code, text):
        super().__init__(f"{code}: {text}")
        self.code = code
        self.text = text


class Wbemcli:
    """The command line client wbemcli. Values are the texts that it prints."""

    name = "wbemcli"
    hard_text = "Room 2 rack 7"  # no comma (it cuts there), no < or & (it sends them as they are)

    def __init__(self, server, user="admin", password=None):
        password = USERS.get(user, "") if password is None else password
        self.base = server.url.replace("://", f"://{user}:{password}@")

    # -- what it prints -----------------------------------------------------------------------

    @classmethod
    def shown(cls, value):
        """A value as this client shows it."""
        if isinstance(value, bool):
            return "TRUE" if value else "FALSE"
        if isinstance(value, list):
            return ",".join(cls.shown(each) for each in value)
        if isinstance(value, tuple):
            return cls.path_text(value)
        if isinstance(value, str):
            return '"' + value.replace('"', '\\"') + '"'
        return str(value)

    @classmethod
    def path_text(cls, path):
        """A path as this client shows it and wants it: keys sorted by name."""
        name, keys = path
        listed = ",".join(f"{key}={cls.shown(keys[key])}" for key in sorted(keys, key=str.lower))
        return f"{name}.{listed}" if listed else name

    @classmethod
    def shown_path(cls, path):
        return cls.path_text(path)

    @staticmethod
    def _without_host(text):
        """A path without host and namespace, also in references that it holds."""
        return re.sub(rf"(^|=)[\w.:-]*/?{NAMESPACE}:?", r"\1", text.strip())

    def run(self, operation, path, *arguments, options=(), namespace=NAMESPACE):
        """The lines that wbemcli prints. `path` is a path or a text."""
        target = path if isinstance(path, str) else self.path_text(path)
        url = f"{self.base}/{namespace}:{target}"
        command = ["wbemcli", operation, "-nl", *options, url, *arguments]
        self.last = shlex.join(command)
        done = subprocess.run(
            command,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=600,
            check=False,
            env=dict(os.environ, LC_ALL="C.UTF-8"),
        )
        output, error = (each.decode("utf-8", "replace") for each in (done.stdout, done.stderr))
        if done.returncode != 0 or "* wbemcli:" in error:
            match = re.search(r"\* wbemcli: (?:Cim: \((\d+)\) )?(.*?)\s*\*?\s*$", error, re.DOTALL)
            if not match:
                raise AssertionError(f"wbemcli ended with {done.returncode}: {output}{error}")
            code = int(match.group(1)) if match.group(1) else 401 if "sername" in error else None
            raise ResponseError(code, match.group(2).replace("&#32;", " "))  # which it does not decode
        return [line for line in output.splitlines() if line.strip()]

    def _instances(self, lines):
        found: list = []
        for line in lines:
            if line.startswith("-"):
                name, _, value = line[1:].partition("=")
                if value != "":
                    found[-1][1][name] = self._without_host(value)
            else:
                found.append((self._without_host(line), {}))
        return found

    # -- operations ---------------------------------------------------------------------------

    def names(self, class_name):
        return [self._without_host(line) for line in self.run("ein", class_name)]

    def instances(self, class_name):
        """[(path, {property: value})] without the null properties."""
        return self._instances(self.run("ei", class_name))

    def get(self, path, properties=None):
        extra = [",".join(properties)] if properties else []
        return self._instances(self.run("gi", path, *extra))[0][1]

    def _narrowed(self, association=None, result=None, role=None, result_role=None):
        given = (("-ac", association), ("-arc", result), ("-ar", role), ("-arr", result_role))
        return [word for option, value in given if value for word in (option, value)]

    def associator_names(self, path, **narrowed):
        return [
            self._without_host(line)
            for line in self.run("ain", path, options=self._narrowed(**narrowed))
        ]

    def associators(self, path, **narrowed):
        return self._instances(self.run("ai", path, options=self._narrowed(**narrowed)))

    def reference_names(self, path, **narrowed):
        return [
            self._without_host(line)
            for line in self.run("rin", path, options=self._narrowed(**narrowed))
        ]

    def references(self, path, **narrowed):
        return self._instances(self.run("ri", path, options=self._narrowed(**narrowed)))

    def invoke(self, path, method, parameters):
        """The method's return value."""
        listed = ",".join(f"{name}={self.shown(value)}" for name, value in parameters)
        lines = self.run("cm", path, f"{method}.{listed}" if listed else method)
        return int(lines[0].rpartition(f"{method}: ")[2].split()[0])

    def set(self, path, name, value):
        """Changes one property, and no other."""
        self.run("sp", path, f"{name}={value}")  # in quotes it cuts at the first blank

    def send_back(self, path, name, value):
        """Reads the instance, changes a property and sends the whole instance back."""
        self.run("mi", path, f"{name}={self.shown(value)}")


class Pywbem:
    """The Python client pywbem. Values are Python values."""

    name = "pywbem"
    hard_text = 'Room 2, <&> "rack"  7\''

    def __init__(self, server, user="admin", password=None):
        import pywbem

        self.pywbem = pywbem
        password = USERS.get(user, "") if password is None else password
        self.connection = pywbem.WBEMConnection(
            server.url, (user, password), NAMESPACE, timeout=600
        )

    # -- what it gives ------------------------------------------------------------------------

    @classmethod
    def shown(cls, value):
        return cls.shown_path(value) if isinstance(value, tuple) else value

    @classmethod
    def shown_path(cls, path):
        """A path in a form that can be compared and sorted."""
        name, keys = path
        return (name, tuple(sorted((key, cls.shown(value)) for key, value in keys.items())))

    def _value(self, value):
        """A value of pywbem as a plain one."""
        if isinstance(value, list):
            return [self._value(each) for each in value]
        if isinstance(value, self.pywbem.CIMInstanceName):
            return (
                value.classname,
                {key: self._value(each) for key, each in value.keybindings.items()},
            )
        if isinstance(value, self.pywbem.CIMInt):
            return int(value)
        return value

    def _path(self, name):
        return self.shown_path(self._value(name))

    def _name(self, path):
        name, keys = path
        return self.pywbem.CIMInstanceName(
            name,
            {
                key: self._name(value) if isinstance(value, tuple) else value
                for key, value in keys.items()
            },
            namespace=NAMESPACE,
        )

    def _values(self, instance):
        return {
            prop.name: self.shown(self._value(prop.value))
            for prop in instance.properties.values()
            if prop.value is not None
        }

    def call(self, operation, *arguments, **named):
        """Calls an operation of the connection."""
        given = [*map(str, arguments), *(f"{name}={value}" for name, value in named.items())]
        self.last = f"{operation}({', '.join(given)})"
        try:
            return getattr(self.connection, operation)(*arguments, **named)
        except self.pywbem.CIMError as error:
            raise ResponseError(error.status_code, error.status_description) from error
        except self.pywbem.AuthError as error:
            raise ResponseError(401, str(error)) from error

    # -- operations ---------------------------------------------------------------------------

    def names(self, class_name):
        return [self._path(each) for each in self.call("EnumerateInstanceNames", class_name)]

    def instances(self, class_name):
        return [
            (self._path(each.path), self._values(each))
            for each in self.call("EnumerateInstances", class_name)
        ]

    def get(self, path, properties=None):
        return self._values(self.call("GetInstance", self._name(path), PropertyList=properties))

    def _narrowed(self, association=None, result=None, role=None, result_role=None):
        given = {
            "AssocClass": association,
            "ResultClass": result,
            "Role": role,
            "ResultRole": result_role,
        }
        return {name: value for name, value in given.items() if value}

    def associator_names(self, path, **narrowed):
        return [
            self._path(each)
            for each in self.call("AssociatorNames", self._name(path), **self._narrowed(**narrowed))
        ]

    def associators(self, path, **narrowed):
        return [
            (self._path(each.path), self._values(each))
            for each in self.call("Associators", self._name(path), **self._narrowed(**narrowed))
        ]

    def reference_names(self, path, **narrowed):
        return [
            self._path(each)
            for each in self.call("ReferenceNames", self._name(path), **self._narrowed(**narrowed))
        ]

    def references(self, path, **narrowed):
        return [
            (self._path(each.path), self._values(each))
            for each in self.call("References", self._name(path), **self._narrowed(**narrowed))
        ]

    def invoke(self, path, method, parameters):
        typed = [
            (name, self.pywbem.Uint16(value) if type(value) is int else value)
            for name, value in parameters
        ]
        value, _ = self.call("InvokeMethod", method, self._name(path), Params=typed)
        return int(value)

    def set(self, path, name, value):
        instance = self.pywbem.CIMInstance(path[0], {name: value}, path=self._name(path))
        self.call("ModifyInstance", instance, PropertyList=[name])

    def send_back(self, path, name, value):
        instance = self.call("GetInstance", self._name(path))
        instance.path = self._name(path)
        instance[name] = value
        self.call("ModifyInstance", instance)
