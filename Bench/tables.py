"""Writes the tables in Docs/Performance.md from a file that ./qbx bench has written."""

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


def load_table(found):
    """CPU milliseconds of a request by size, how they grow, and the ratios to the servers beside it."""
    sizes = [size for size in found["load"] if size.startswith("c")]
    by_row: dict[str, dict] = {}
    for size in sizes:
        for row, servers in found["load"][size]["rows"].items():
            by_row.setdefault(row, {})[size] = servers
    rows = []
    for row, by_size in by_row.items():
        cells = [by_size[size]["embedded"]["cpu_ms"] if size in by_size else "" for size in sizes]
        cells.append(found["growth"].get(row, {}).get("embedded", ""))
        *_, largest = by_size.values()
        for server, figures in largest.items():
            if server != "embedded":
                cells.append(f"{min(figures['ratios'])} to {max(figures['ratios'])}")
        rows.append([row, *cells])
    others = [server for server in next(iter(by_row.values()))[sizes[0]] if server != "embedded"]
    beside = [f"ratio to {number}" for number in range(1, len(others) + 1)]
    header = ["request, clients", *(f"{size[1:]} records" for size in sizes), "growth", *beside]
    return table(header, rows)


def memory_table(found):
    """MiB of the embedded server, of the largest arrays of both shapes."""
    largest = list(found["load"])[-2:]
    rows = []
    for when in found["load"][largest[0]]["memory"]:
        sides = (found["load"][size]["memory"][when]["embedded"] for size in largest)
        rows.append([when, *(f"{side['resident']}, peak {side['peak']}" for side in sides)])
    return table(["MiB", *largest], rows)


TABLES = {"module": module_table, "requests": request_table, "load": load_table, "memory": memory_table}


def write(found):
    """Puts the tables between their marks in the document, with date and commit."""
    text = DOCUMENT.read_text(encoding="utf-8")
    stamp = f"Of {found['date'][:10]}, commit {found['commit']}:\n\n"
    for name, content in ((name, make(found)) for name, make in TABLES.items()):
        begin, end = f"<!-- {name}: written by ./qbx bench --document -->\n", f"<!-- end of {name} -->"
        before, found_begin, rest = text.partition(begin)
        _, found_end, after = rest.partition(end)
        assert found_begin and found_end, f"{DOCUMENT} has no marks for {name}"
        text = before + begin + stamp + content + end + after
    DOCUMENT.write_text(text, encoding="utf-8")
