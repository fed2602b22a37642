"""Writes the tables of instructions in Docs/Performance.md from a file that ./qbx bench has written."""

from qbx_support.server import ROOT

DOCUMENT = ROOT / "Docs" / "Performance.md"
OBJECTS = "100"  # of the rows of the module that are shown


def table(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "".join(f"| {' | '.join(map(str, line))} |\n" for line in lines)


def module_table(found):
    """Thousand instructions an object, beside the lower bound."""
    rows = []
    for row, sides in found["module"].items():
        operation, _, objects = row.rpartition("/")
        if objects == OBJECTS and "bound" in sides:
            counts = sides["module"], sides["bound"]
            rows.append([operation.replace("/", " "), *(f"{count / 1e3:.1f}" for count in counts)])
    return table(["operation, thousand instructions an object", "module", "bound"], rows)


def request_table(found):
    """Million instructions a request, of few and of many records."""
    (few, small), (many, large) = found["instructions"].items()
    rows = [[row, f"{small[row] / 1e6:.2f}", f"{large[row] / 1e6:.2f}"] for row in large]
    return table(["request, million instructions", f"{few} records", f"{many} records"], rows)


def write(found):
    """Puts the tables between their marks in the document, with date and commit."""
    text = DOCUMENT.read_text(encoding="utf-8")
    stamp = f"Of {found['date'][:10]}, commit {found['commit']}:\n\n"
    for name, content in ("module", module_table(found)), ("requests", request_table(found)):
        begin, end = f"<!-- {name}: written by ./qbx bench --document -->\n", f"<!-- end of {name} -->"
        before, found_begin, rest = text.partition(begin)
        _, found_end, after = rest.partition(end)
        assert found_begin and found_end, f"{DOCUMENT} has no marks for {name}"
        text = before + begin + stamp + content + end + after
    DOCUMENT.write_text(text, encoding="utf-8")
