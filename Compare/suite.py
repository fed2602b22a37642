"""The requests of `./qbx compare`: all operations on all classes, with flags, filters, users, faults."""

import itertools
import re

from qbx_support import exchanges
from qbx_support.cimxml import authorization, http_request, instance_name, request
from qbx_support.server import NAMESPACE, SAMPLE_FIRMWARE, USERS

CAGE, MAGAZINE, CARD = "QBX_DriveCage", "QBX_Magazine", "QBX_CageInterfaceCard"
FAMILIES = ["", "DC1Family", "DC2Family", "DC3Family"]
CAGES, CARDS = [CAGE + each for each in FAMILIES], [CARD + each for each in FAMILIES]
PARTS = [*CAGES, *CARDS, MAGAZINE, "QBX_CageSensor"]
SYSTEM = ["QBX_StorageSystem", "QBX_SystemPackage", "QBX_StorageSystemView"]
LINKS = ["QBX_MagazineInDriveCage", "QBX_InterfaceCardInDriveCage", "QBX_SensorInDriveCage"]
LINKS += ["QBX_SysCageContainer"]
OWN = PARTS + SYSTEM + LINKS
BASES = ["Chassis", "Magazine", "PhysicalPackage", "ManagedElement", "Sensor", "Container"]
BASES = ["CIM_" + each for each in [*BASES, "PackageInChassis", "PackageDependency"]]
TRAVERSALS = ("AssociatorNames", "Associators", "ReferenceNames", "References")
FLAGS = ("LocalOnly", "IncludeQualifiers", "IncludeClassOrigin")
ORIGINS = {"IncludeQualifiers": True, "IncludeClassOrigin": True}
LISTS: tuple[list[str], ...] = (["tag", "ElementName", "Nope", "CAPTION", "Tag"], ["Nope"], [])
FULL = {"LocalOnly": False, **ORIGINS}

# What clients list to find their way: namespaces, the object manager, profiles, registrations.
INTEROP = ["CIM_Namespace", "__Namespace", "CIM_ObjectManager", "CIM_RegisteredProfile"]
INTEROP += ["CIM_ObjectManagerCommunicationMechanism", "PG_ProviderModule", "PG_Provider"]
INTEROP += ["PG_ProviderCapabilities", "CIM_ElementConformsToProfile"]

# By method: what it is given, each time.
METHODS = {
    "Locate": ([], [("LocateTimer", "0")], [("LocateTimer", "60"), ("Port", "1")]),
    "Upgrade": (
        [],
        [("FileName", "/nowhere"), ("IsPortA", "true")],
        [("FileName", str(SAMPLE_FIRMWARE)), ("IsPortA", "x")],
        [("FileName", str(SAMPLE_FIRMWARE)), ("IsPortA", "true")],
    ),
    "SetLoopState": (
        [],
        [("IsOnloop", "maybe")],
        [("IsOnloop", "false"), ("IsPortA", "true")],
        [("IsOnloop", "true")],
    ),
    "Explode": ([], [("Nope", "x")]),
}
BAD_TIMERS = ("-1", "65536", "x", "", "1.0", "0x10")

# Not sent, for OpenPegasus crashes: PUT.
KILLS = {"verb_put"}
# Not sent, for nobody responds in time, or the embedded server delays one wrong login after another.
SLOW = {"no_clen", "clen_huge", "auth_ok", "auth_nouser"}


def shown(value):
    """A value of a request, as its name shows it."""
    if isinstance(value, tuple):
        keys = [shown(each) for key, each in value[1].items() if "Creation" not in key]
        return f"{value[0]}.{'+'.join(keys)}"
    if isinstance(value, list):
        return f"[{','.join(value)}]"
    return re.sub(r"<(?:CLASSNAME NAME=\"(.*)\"/|INSTANCE .*)>", r"\1", str(value))


def parameter(name, value):
    """A value as it is sent."""
    if isinstance(value, bool):
        return str(value).lower()
    if isinstance(value, list):
        return f"<VALUE.ARRAY>{''.join(f'<VALUE>{each}</VALUE>' for each in value)}</VALUE.ARRAY>"
    if isinstance(value, tuple):
        return instance_name(value)
    if name in ("ClassName", "AssocClass", "ResultClass", "InstanceName", "ObjectName"):
        return f'<CLASSNAME NAME="{value}"/>'
    return value


class Suite:
    """The requests to a server: requests is [(name, bytes)]. The paths are those of an array, by
    class; interop is the server's interop namespace."""

    def __init__(self, paths, interop):
        self.paths, self.interop, self.requests = paths, interop, []
        self.first = {name: found[0] for name, found in paths.items() if found}
        for part in (self.schema, self.instances, self.walks, self.discovery, self.faults):
            part()
        for user in USERS:
            self.user(user)
        self.methods()
        self.exchanges()

    def send(self, method, user="admin", namespace=NAMESPACE, **given):
        """An operation."""
        words = [method, *(f"{name}={shown(value)}" for name, value in given.items())]
        words += [f"in {'interop' if namespace == self.interop else namespace}"] * (
            namespace != NAMESPACE
        )
        sent = {name: parameter(name, value) for name, value in given.items()}
        self.add(words, user, request(method, namespace=namespace, **sent))

    def add(self, words, user, of):
        words += [f"as {user}"] * (user != "admin")
        self.requests.append((" ".join(words), http_request(of, user)))

    def invoke(self, path, method, given, user="admin"):
        words = [method, shown(path), *(f"{name}={value}" for name, value in given)]
        self.add(words, user, request(method, path, **dict(given)))

    def modify(self, path, values, user="admin", **more):
        """A change of an instance; a value is given with its type."""
        given = "".join(
            f'<PROPERTY NAME="{name}" TYPE="{kind}"><VALUE>{value}</VALUE></PROPERTY>'
            for name, (kind, value) in values.items()
        )
        given = f'<INSTANCE CLASSNAME="{path[0]}">{given}</INSTANCE>'
        given = f"<VALUE.NAMEDINSTANCE>{instance_name(path)}{given}</VALUE.NAMEDINSTANCE>"
        sent = {name: parameter(name, value) for name, value in more.items()}
        words = ["ModifyInstance", shown(path), str(values), *map(shown, more.values())]
        self.add(words, user, request("ModifyInstance", ModifiedInstance=given, **sent))

    def schema(self):
        for deep in (False, True):
            self.send("EnumerateClassNames", DeepInheritance=deep)
            for name in ("CIM_ManagedElement", CAGE, CAGE.lower(), "Nope"):
                self.send("EnumerateClassNames", ClassName=name, DeepInheritance=deep)
            self.send("EnumerateClasses", ClassName=CAGE, DeepInheritance=deep)
            self.send("EnumerateClasses", ClassName="CIM_Chassis", DeepInheritance=deep, **FULL)
        for name in (*OWN, *BASES, "Nope"):
            self.send("GetClass", ClassName=name)
        for flags in itertools.product((False, True), repeat=3):
            for name in (CAGES[2], LINKS[2]):
                self.send("GetClass", ClassName=name, **dict(zip(FLAGS, flags, strict=True)))
        for each in LISTS:
            self.send("GetClass", ClassName=CARD.upper(), PropertyList=each)
        self.send("EnumerateQualifiers")
        for name in ("Key", "nope"):
            self.send("GetQualifier", QualifierName=name)

    def instances(self):
        for name in OWN + BASES:
            self.send("EnumerateInstanceNames", ClassName=name)
            self.send("EnumerateInstances", ClassName=name)
        for name in (CAGE, "CIM_Chassis", LINKS[0]):
            for deep in (False, True):
                self.send("EnumerateInstances", ClassName=name, DeepInheritance=deep, **ORIGINS)
            for each in LISTS:
                self.send(
                    "EnumerateInstances", ClassName=name, DeepInheritance=False, PropertyList=each
                )
        for name in (*OWN, MAGAZINE.upper()):
            path = (name, self.first[MAGAZINE][1]) if name.isupper() else self.first[name]
            self.send("GetInstance", InstanceName=path)
            self.send("GetInstance", InstanceName=path, **FULL)
            self.send("GetInstance", InstanceName=path, PropertyList=LISTS[0])
            self.send("GetProperty", InstanceName=path, PropertyName="elementname")
        for path in itertools.chain(*(self.paths[name] for name in PARTS)):
            if not shown(path).isascii() or len(shown(path)) > 60:
                self.send("GetInstance", InstanceName=path, PropertyList=["Tag", "DeviceID"])
                self.send("AssociatorNames", ObjectName=path)

    def walks(self):
        cage, magazine, package = (self.first[each] for each in (CAGES[2], MAGAZINE, SYSTEM[1]))
        for name in (*PARTS, *SYSTEM):
            for operation in TRAVERSALS:
                self.send(operation, ObjectName=self.first[name])
        for path in (cage, magazine, package, self.first["QBX_CageSensor"]):
            for link in (*LINKS, "CIM_PackageInChassis"):
                self.send("AssociatorNames", ObjectName=path, AssocClass=link)
                self.send("ReferenceNames", ObjectName=path, ResultClass=link)
        for path in (cage, magazine, package):
            for role in ("GroupComponent", "partcomponent", "Antecedent", "Dependent", "nope"):
                self.send("AssociatorNames", ObjectName=path, Role=role)
                self.send("AssociatorNames", ObjectName=path, ResultRole=role)
                self.send("References", ObjectName=path, Role=role)
        for path in (cage, magazine):
            for name in (CAGE, MAGAZINE, CARDS[2], "CIM_Chassis", "CIM_ManagedElement", "Nope"):
                self.send("AssociatorNames", ObjectName=path, ResultClass=name)
                self.send("ReferenceNames", ObjectName=path, ResultClass=name)
        for operation in TRAVERSALS[1::2]:
            self.send(operation, ObjectName=cage, **ORIGINS)
            self.send(operation, ObjectName=cage, PropertyList=["Tag", "Antecedent", "Name"])
        self.send("Associators", ObjectName=cage, AssocClass="Nope")
        for name in (CAGE, CAGES[1], MAGAZINE, "CIM_PhysicalElement", LINKS[0], "Nope"):
            for operation in TRAVERSALS:
                self.send(operation, ObjectName=name)
        for operation in TRAVERSALS[:2]:
            for link in (*LINKS, "CIM_Container", "Nope"):
                self.send(operation, ObjectName=CAGE, AssocClass=link)
            for result in (MAGAZINE, "CIM_PhysicalPackage", "Nope"):
                self.send(operation, ObjectName=CAGE, ResultClass=result)
            self.send(operation, ObjectName=CAGE, ResultRole="GroupComponent")
        for operation in TRAVERSALS[2:]:
            for link in (LINKS[0], "CIM_Container", "Nope"):
                self.send(operation, ObjectName=CAGE, ResultClass=link)
        for operation in TRAVERSALS:
            self.send(operation, ObjectName=CAGE, Role="PartComponent")
        self.send("References", ObjectName=CAGE, PropertyList=["PartComponent"], **ORIGINS)

    def discovery(self):
        for name in INTEROP:
            for operation in ("EnumerateInstanceNames", "EnumerateInstances", "GetClass"):
                self.send(operation, namespace=self.interop, ClassName=name)
        for namespace in ("interop", "root", "root/nope", NAMESPACE.upper()):
            self.send("EnumerateInstanceNames", namespace=namespace, ClassName=CAGE)

    def faults(self):
        """What is absent, missing, unknown or twice."""
        path = self.first[CAGES[2]]
        ghost, other = (path[0], {**path[1], "Tag": "ghost"}), (CAGES[1], path[1])
        for name in (ghost, other, (CAGE, {}), (CAGE, {"Tag": "cage0"}), ("Nope", {"a": "b"})):
            self.send("GetInstance", InstanceName=name)
            self.send("AssociatorNames", ObjectName=name)
            self.send("DeleteInstance", InstanceName=name)
        new = '<INSTANCE CLASSNAME="QBX_DriveCage"></INSTANCE>'
        self.send("CreateInstance", NewInstance=new)
        self.send("CreateInstance", NewInstance=new.replace(CAGE, "Nope"))
        for operation in ("EnumerateInstances", "EnumerateClassNames", "GetClass", "GetInstance"):
            self.send(operation)
            self.send(operation, Bogus="x", ClassName=CAGE)
        self.send("EnumerateInstances", ClassName=CAGE, LocalOnly="perhaps")
        self.send("GetProperty", InstanceName=path, PropertyName="Nope")
        self.send("ExecQuery", QueryLanguage="WQL", Query="select * from QBX_DriveCage")
        self.send("Frobnicate", ClassName=CAGE)

    def user(self, user):
        """What one is allowed to."""
        cage, magazine, card = (self.first[each] for each in (CAGES[2], MAGAZINE, CARDS[1]))
        if user != "admin":
            for name in (CAGE, CARD, MAGAZINE, "QBX_CageSensor", LINKS[0], LINKS[3], SYSTEM[0]):
                self.send("EnumerateInstanceNames", user, ClassName=name)
                self.send("EnumerateInstances", user, ClassName=name)
            self.send("GetInstance", user, InstanceName=cage)
            self.send("AssociatorNames", user, ObjectName=cage)
        for path in (cage, magazine, card):
            self.invoke(path, "Locate", [("LocateTimer", "0"), ("Port", "0")], user)
        self.invoke(magazine, "SetLoopState", [("IsOnloop", "true")], user)
        self.modify(cage, {"Location": ("string", f"of {user}")}, user, PropertyList=["Location"])

    def methods(self):
        ghosts = [(name, {"CreationClassName": name, "Tag": "ghost"}) for name in (CAGE, MAGAZINE)]
        for path in [*map(self.first.get, [*CAGES[1:], *CARDS[1:], MAGAZINE]), *ghosts]:
            for method, times in METHODS.items():
                for given in times:
                    if path not in ghosts or not given:
                        self.invoke(path, method, given)
            self.send("GetInstance", InstanceName=path)
        cage = self.first[CAGES[2]]
        for text in BAD_TIMERS:
            self.invoke(cage, "Locate", [("LocateTimer", text)])
        for values, more in (
            ({"Location": ("string", "a &lt;&amp;&gt; &#252;")}, ["Location"]),
            ({"Location": ("string", "")}, ["LOCATION"]),
            ({"Location": ("uint16", "3")}, ["Location"]),
            ({"Location": ("string", "x"), "Tag": ("string", "y")}, ["Location", "Tag"]),
            ({"Location": ("string", 300 * "x")}, ["Location"]),
            ({"Nope": ("string", "x")}, ["Nope"]),
            ({}, ["Location"]),
            ({}, []),
        ):
            self.modify(cage, values, PropertyList=more)
        self.send("SetProperty", InstanceName=cage, PropertyName="Location", NewValue="set")
        self.send("SetProperty", InstanceName=cage, PropertyName="Tag", NewValue="set")
        self.modify(self.first[MAGAZINE], {"Position": ("uint16", "1")})
        self.send("GetInstance", InstanceName=cage, PropertyList=["Location", "Tag"])

    def exchanges(self):
        """Requests with a fault or an oddity in HTTP or XML, of a user; and users without rights."""
        admin = f"\nAuthorization: {authorization('admin', 'admin')}\r\n".encode()
        for name in sorted(set(exchanges.names()) - KILLS - SLOW):
            sent = exchanges.recorded(name)[0]
            if not name.startswith("auth_"):
                sent = sent.replace(b"\n", admin, 1)
            self.requests.append((f"exchange {name}", sent))
