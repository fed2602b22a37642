"""Writes Docs/Classes.md, the class reference, from the MOF files in Schema/.

  build/venv/bin/python Docs/classes.py            write the file
  build/venv/bin/python Docs/classes.py --check    only say whether it is up to date

Needs pywbem, whose MOF compiler reads the files.
"""

import pathlib
import re
import sys

import pywbem

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCHEMA = ROOT / "Schema"
TARGET = ROOT / "Docs" / "Classes.md"

HEADER = """# Class reference

The classes of namespace "root/qbx" that this module serves, and the three system-level classes that
it looks up. Written from `Schema/` by `Docs/classes.py`: change the MOF, not this file.

Properties that a class inherits from the DMTF schema are described there; the keys, and those that
the module sets, are named in each class's text. `[]` marks an array.
"""

# What the module sets among the properties that are inherited from the DMTF's classes.
SET_INHERITED = {
    "QBX_DriveCage": "Name (the world-wide name, 16 hexadecimal digits), ElementName, Manufacturer, "
    "Model, SerialNumber, OperationalStatus, ChassisPackageType (22), ChassisTypeDescription "
    '("Drive Cage"), MultipleSystemSupport (2), RackMountable (2)',
    "QBX_Magazine": "ElementName, Manufacturer, Model, SerialNumber, OperationalStatus ([2] always), "
    "LocationType (3), MediaTypesSupported ([29]), RemovalConditions (4)",
    "QBX_CageInterfaceCard": "ElementName, Manufacturer, Model, SerialNumber, OperationalStatus "
    "([2] always)",
    "QBX_CageSensor": "SensorType (1), OtherSensorTypeDescription (the sensor's name)",
}


def compile_schema():
    """The classes of Schema/qbx.mof, compiled into a repository in memory."""
    repository = pywbem.MOFWBEMConnection()
    compiler = pywbem.MOFCompiler(repository, search_paths=[str(SCHEMA)], log_func=None)
    compiler.compile_file(str(SCHEMA / "qbx.mof"), "root/qbx")
    return repository.classes["root/qbx"]


def class_order():
    """The class names in the order of the files that qbx_classes.mof includes."""
    names = []
    for file in re.findall(
        r'#pragma include \("(\w+\.mof)"\)', (SCHEMA / "qbx_classes.mof").read_text()
    ):
        names += re.findall(r"^class (\w+)", (SCHEMA / file).read_text(), re.MULTILINE)
    return names


def qualifier(element, name):
    found = element.qualifiers.get(name)
    return found.value if found else None


def text(element):
    return (qualifier(element, "Description") or "").replace("|", "\\|")


def values(element):
    """The value map as text: 0 Unknown, 1 ..."""
    numbers, words = qualifier(element, "ValueMap"), qualifier(element, "Values")
    if not numbers:
        return ""
    shown = ("any other" if number == ".." else number for number in numbers)
    return " Values: " + ", ".join(f"{n} {w}" for n, w in zip(shown, words, strict=True)) + "."


def type_name(element):
    name = f"{element.reference_class} REF" if element.reference_class else element.type
    return name + ("[]" if element.is_array else "")


def ancestors(classes, name):
    chain = []
    while classes[name].superclass:
        name = classes[name].superclass
        chain.append(name)
    return chain


def keys(classes, name):
    found = []
    for each in [name, *ancestors(classes, name)]:
        for prop in classes[each].properties.values():
            if qualifier(prop, "Key") and prop.name not in found:
                found.append(prop.name)
    return sorted(found, key=str.lower)


def own(elements, name):
    """The properties or methods that the class itself declares."""
    return [each for each in elements.values() if each.class_origin in (name, None)]


def section(classes, name):
    cls = classes[name]
    lines = [f"## {name}", "", text(cls), "", f"Derives from {cls.superclass}."]
    lines.append(f"Keys: {', '.join(keys(classes, name))}.")
    if name in SET_INHERITED:
        lines.append(f"Inherited properties that are set: {SET_INHERITED[name]}.")
    lines.append("")
    properties = own(cls.properties, name)
    if properties:
        lines += ["| Property | Type | Meaning |", "|---|---|---|"]
        for prop in properties:
            lines.append(f"| {prop.name} | {type_name(prop)} | {text(prop)}{values(prop)} |")
        lines.append("")
    for method in own(cls.methods, name):
        parameters = ", ".join(f"{type_name(p)} {p.name}" for p in method.parameters.values())
        lines += [f"`{method.return_type} {method.name}({parameters})`: {text(method)}", ""]
        for parameter in method.parameters.values():
            needed = " Required." if qualifier(parameter, "Required") else ""
            lines.append(f"- {parameter.name}: {text(parameter)}{needed}")
        lines.append("")
    return "\n".join(lines)


def main(arguments):
    classes = compile_schema()
    reference = (
        "\n".join([HEADER] + [section(classes, name) for name in class_order()]).rstrip() + "\n"
    )
    if arguments == ["--check"]:
        if TARGET.read_text() != reference:
            sys.exit(f"{TARGET} does not fit Schema/: run build/venv/bin/python Docs/classes.py")
    elif arguments:
        sys.exit(__doc__)
    else:
        TARGET.write_text(reference)


if __name__ == "__main__":
    main(sys.argv[1:])
