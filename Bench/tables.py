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


def by_row_and_size(found):
    """The sizes of shape c, and {row: {size: {server: figures}}}."""
    sizes = [size for size in found["load"] if size.startswith("c")]
    rows: dict[str, dict] = {}
    for size in sizes:
        for row, servers in found["load"][size]["rows"].items():
            rows.setdefault(row, {})[size] = servers
    return sizes, rows


def load_table(found):
    """CPU milliseconds of a request by size, and how they grow."""
    sizes, rows = by_row_and_size(found)
    lines = []
    for row, by_size in rows.items():
        cells = [by_size[size]["embedded"]["cpu_ms"] if size in by_size else "" for size in sizes]
        lines.append([row, *cells, found["growth"].get(row, {}).get("embedded", "")])
    return table(["request, clients", *(f"{size[1:]} records" for size in sizes), "growth"], lines)


def spread(numbers):
    least, most = (f"{each:.1f}" for each in (min(numbers), max(numbers)))
    return least if least == most else f"{least} to {most}"


def beside_table(found):
    """How many times as fast the embedded server is as each of the others, by size; the extremes of the rounds."""
    sizes, rows = by_row_and_size(found)
    others = [server for server in found["load"][sizes[0]]["memory"]["fresh"] if server != "embedded"]
    lines = []
    for row, by_size in rows.items():
        found_ratios = ([by_size.get(size, {}).get(server, {}).get("ratios") for size in sizes] for server in others)
        cells = (spread(each) if each else "" for ratios in found_ratios for each in ratios)
        lines.append([row, *cells])
    header = (f"{server}, {size[1:]} records" for server in others for size in sizes)
    return table(["request, clients", *header], lines) if others else None


def memory_table(found):
    """MiB of the embedded server, of the largest arrays of both shapes."""
    largest = list(found["load"])[-2:]
    rows = []
    for when in found["load"][largest[0]]["memory"]:
        sides = (found["load"][size]["memory"][when]["embedded"] for size in largest)
        rows.append([when, *(f"{side['resident']}, peak {side['peak']}" for side in sides)])
    return table(["MiB", *largest], rows)


TABLES = {"module": module_table, "requests": request_table, "load": load_table, "memory": memory_table}
TABLES["beside"] = beside_table


def write(found):
    """Puts the tables between their marks in the document, with date and commit; one that has nothing stays."""
    text = DOCUMENT.read_text(encoding="utf-8")
    stamp = f"Of {found['date'][:10]}, commit {found['commit']}:\n\n"
    for name, make in TABLES.items():
        content = make(found)
        if content is None:
            continue
        begin, end = f"<!-- {name}: written by ./qbx bench --document -->\n", f"<!-- end of {name} -->"
        before, found_begin, rest = text.partition(begin)
        _, found_end, after = rest.partition(end)
        assert found_begin and found_end, f"{DOCUMENT} has no marks for {name}"
        text = before + begin + stamp + content + end + after
    DOCUMENT.write_text(text, encoding="utf-8")
