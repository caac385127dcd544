#!/usr/bin/env python3
"""The COM suites: every member of CLSCI_LOOKUP and CLSCI_DECODE called from
VBScript through brelvane.dll, once with each host, and compared with the
same call of the native tool; plus the checks a script makes itself.

  comsuite.py prepare TOOL DIR   writes DIR/host1.vbs, host2.vbs, checks.vbs
                                 and DIR/native.json (the tool's outputs)
  comsuite.py compare DIR        reads the DIR/*.jsonl the scripts wrote,
                                 prints each difference; exit 1 on any

Host 1 is BrelvaneTest.DemoHost (the stand-ins' DLL), host 2 the script
classes of vbs/host.vbs. Every argument is the fault sweep's plausible value
(tests/unit/fault_sweep_test.cpp); Connessione is Nothing on both sides.
"""
import json
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
CATALOGUE = HERE.parents[1] / "tools/brelvane/data/catalogo.tsv"
HOSTS = {"host1": 'CreateObject("BrelvaneTest.DemoHost")', "host2": "New ScriptHost"}
OUTPUTS = ["Str_Sql", "Arr_Fields", "Str_Caption", "IDLookup"]
vbs_text = lambda v: '"' + v.replace('"', '""') + '"'
# How an argument (kind, value) is written in VBScript and on the tool's command line.
FORMS = {
    "Long": (lambda v: f"CLng({v})", str),
    "Integer": (lambda v: f"CInt({v})", lambda v: f"integer:{v}"),
    "String": (vbs_text, lambda v: f"text:{v}"),
    "Boolean": (str, lambda v: str(v).lower()),
    "Date": (lambda v: "DateSerial(%d, %d, %d)" % tuple(map(int, v.split("-"))),
             lambda v: f"date:{v}"),
    "control": (lambda v: "Ctl", lambda v: "control"),
    "nothing": (lambda v: "Nothing", lambda v: "nothing"),
    "missing": (lambda v: "", lambda v: "missing"),
}
MISSING, CONTROL, NOTHING = ("missing", None), ("control", None), ("nothing", None)
# Calls beyond the plain suite the tool can make too: (what, class, method,
# arguments). By-reference parameters are passed as variables.
CASES = [
    ("an optional argument left out in the middle", "CLSCI_LOOKUP", "Entità",
     [MISSING, ("Long", 3)]),
    ("an optional argument left out at the end", "CLSCI_LOOKUP", "ModelliStdPers", []),
    ("an optional argument left out at the end", "CLSCI_DECODE", "CampoProviderTestata",
     [CONTROL, ("Integer", 1)]),
    ("by-reference arguments come back converted", "CLSCI_CONNECT", "TransferData",
     [("Long", 1), ("String", "x"), ("Integer", 3)]),
]
# A property round trip by declared type: the value put, of another type
# than the declared one, and the VarType and value read back (others: an enumeration).
ROUND_TRIPS = {"Variant": ('"7"', 8, '"7"'), "String": ("CLng(7)", 8, '"7"'),
               "Integer": ('"2"', 2, "2"), "Boolean": ("CLng(1)", 11, "True")}


def registry_of(tool):
    return json.loads(subprocess.run([tool, "list", "--json"], check=True,
                                     capture_output=True).stdout)


def cp1252_script(lines):
    """Wine's cscript reads a script in the ANSI code page only."""
    return "\r\n".join(lines).replace("\r\n", "\n").replace("\n", "\r\n").encode("cp1252")


def object_types(registry):
    """"Object", and the types of the properties that can only be Set."""
    return {"Object"} | {p["type"] for c in registry for p in c["properties"]
                         if "putRef" in p["access"] and "put" not in p["access"]}


def row(what, cls, method, args):
    """A call, and the outputs compared: by-reference arguments, the return
    value, the readable output properties."""
    keys = [f"byRef {i}" for i, (p, a) in enumerate(zip(method["params"], args))
            if p["byRef"] and a != MISSING] + ["return"] * bool(method["returns"])
    keys += [p["name"] for p in cls["properties"] if p["name"] in OUTPUTS and "get" in p["access"]]
    return {"id": what, "cls": cls, "method": method, "args": args, "keys": keys}


def rows_of(registry):
    classes = {c["progId"].split(".")[1]: c for c in registry}
    objects = object_types(registry)

    def plausible(p):  # the fault sweep's argument (a database: Nothing)
        if p["type"] in objects:
            return NOTHING if p["type"] == "Connection" or "Connessione" in p["name"] else CONTROL
        return {"Boolean": ("Boolean", False), "String": ("String", "7"),
                "Date": ("Date", "2026-11-22"), "Integer": ("Integer", 1)}.get(p["type"], ("Long", 1))
    rows = [row(f"{name}.{m['name']}", classes[name], m, [plausible(p) for p in m["params"]])
            for name in ("CLSCI_LOOKUP", "CLSCI_DECODE") for m in classes[name]["methods"]]
    for what, name, method, args in CASES:
        m = next(m for m in classes[name]["methods"] if m["name"] == method)
        rows.append(row(f"{what} ({name}.{method})", classes[name], m, args) | {"case": True})
    return rows


def vbs_row(r):
    names = {p["name"] for p in r["cls"]["properties"]}
    lines = ["Err.Clear", "Set Ctl = New Control", f'Set o = CreateObject("{r["cls"]["progId"]}")']
    lines += [f"Set o.{n} = {v}" for n, v in (("ActiveInterface", "Host"),
                                              ("Connessione", "Nothing")) if n in names]
    words, values = [FORMS[kind][0](value) for kind, value in r["args"]], {}
    for key in [k for k in r["keys"] if k.startswith("byRef")]:
        i = int(key.split()[1])
        lines.append(f"{'Set ' * (r['args'][i][0] in ('control', 'nothing'))}b{i} = {words[i]}")
        words[i] = values[key] = f"b{i}"
    while words and not words[-1]:
        words.pop()
    call = f"o.{r['method']['name']}"
    lines += ["r = Empty", f"r = {call}({', '.join(words)})"] if "return" in r["keys"] else \
        [f"{call} {', '.join(words)}".rstrip()]
    pairs = [f'"{k}", {values.get(k, "r" if k == "return" else "o." + k)}' for k in r["keys"]]
    return lines + ["Caught", f'Record "{r["id"]}", Array({", ".join(pairs)})']


def vbs_round_trips(registry, objects):
    """Every property of the three classes put or Set, then read back."""
    lines = []
    for cls in registry:
        lines += ["Set Ctl = New Control", f'Set o = CreateObject("{cls["progId"]}")']
        for p in cls["properties"]:
            name, access, what = p["name"], p["access"], f'{cls["progId"][9:]}.{p["name"]}'
            trips = []  # (label, put, read back, test)
            if "put" in access and p["type"] not in objects:
                value, vartype, expected = ROUND_TRIPS.get(p["type"], ('"1"', 3, "1"))
                trips.append((f"{what} = {value.replace(chr(34), '')}",
                              f"v = Empty : o.{name} = {value}", f"v = o.{name}",
                              f"VarType(v) = {vartype} And v = {expected}"))
            if "putRef" in access:
                trips.append((f"Set {what}", f"Set v = Nothing : Set o.{name} = Ctl",
                              f"Set v = o.{name}", "v Is Ctl"))
            for label, put, read, test in trips:
                read, test = (read, test) if "get" in access else ("Err.Clear", "True")
                lines += [f"Err.Clear : {put} : Caught : e = ErrNumber", f"{read} : Caught",
                          f'Check "round trip: {label}", e = 0 And ErrNumber = 0 And {test}, '
                          f'e & " " & ErrNumber & " " & Value(v)']
    return lines


def script(body, run, output):
    """A whole script: the checked-in parts, host 2's catalogue, `body`, then
    `run` writing to `output`."""
    lines = [(HERE / "vbs" / f).read_text(encoding="utf-8") for f in ("record.vbs", "host.vbs")]
    lines += ["Function Catalogue()", "  Dim d", '  Set d = CreateObject("Scripting.Dictionary")']
    for key, text in (e.split("\t", 1) for e in CATALOGUE.read_text(encoding="utf-8").splitlines()
                      if e.strip()):
        lines.append(f'  d.Add "{int(key)}", {vbs_text(text)}')
    return cp1252_script(lines + [
        "  Set Catalogue = d", "End Function", *body,
        'Set Fso = CreateObject("Scripting.FileSystemObject")',
        f'Set Out = Fso.CreateTextFile("{output}", True, True)', "On Error Resume Next",
        *run, "Out.Close", ""])


def native(tool, r):
    """What the tool answers for a row, in the form the scripts record."""
    command = [tool, "call", "--json", r["cls"]["progId"], r["method"]["name"]]
    if any(p["name"] == "Connessione" for p in r["cls"]["properties"]):
        command[3:3] = ["--set", "Connessione=nothing"]
    run = subprocess.run(command + [FORMS[k][1](v) for k, v in r["args"]], capture_output=True)
    stdout, stderr = run.stdout.decode(), run.stderr.decode()  # bytes: CR LF stays as it is
    if stdout.strip():
        doc = json.loads(stdout)
        doc |= {f"byRef {i}": a for i, a in enumerate(doc["args"])} | doc["properties"]
        return {"error": None} | {k: doc.get(k) for k in r["keys"]}
    raised = re.search(r"raised error (-?\d+) \((.*?)\): (.*)\n", stderr, re.S)
    if run.returncode != 1 or not raised:
        return {"rejected": stderr.strip()}
    return {"error": [int(raised[1]), raised[2], raised[3]]}


def prepare(tool, outdir):
    outdir.mkdir(parents=True, exist_ok=True)
    for stale in outdir.glob("*.jsonl"):
        stale.unlink()
    registry = registry_of(tool)
    rows = rows_of(registry)
    body = ["Sub Suite()", "Dim o, r, v", "On Error Resume Next",
            *(f"  {line}" for r in rows for line in vbs_row(r)),
            "End Sub", "Sub RoundTrips()", "Dim o, v, e", "On Error Resume Next",
            *(f"  {line}" for line in vbs_round_trips(registry, object_types(registry))),
            "End Sub", (HERE / "vbs" / "cases.vbs").read_text(encoding="utf-8")]
    for name, host in HOSTS.items():
        (outdir / f"{name}.vbs").write_bytes(script(body, [f"Set Host = {host}", "Suite"],
                                                    f"{name}.jsonl"))
    (outdir / "checks.vbs").write_bytes(script(body, ["Cases", "RoundTrips"], "checks.jsonl"))
    with ThreadPoolExecutor(4) as pool:
        answers = pool.map(lambda r: native(tool, r), rows)
    expected = {r["id"]: a | {"case": r.get("case", False)} for r, a in zip(rows, answers)}
    checks = re.findall(r'Check "([^"]+)"', (outdir / "checks.vbs").read_text(encoding="cp1252"))
    (outdir / "native.json").write_text(json.dumps({"rows": expected, "checks": checks},
                                                   ensure_ascii=False, indent=1), encoding="utf-8")


def shown(line, keys):
    """The outputs as the tool shows them (a property only when it holds a
    text or an array), in canonical JSON."""
    def one(k, v):
        hidden = k in OUTPUTS and not (isinstance(v, str) or (isinstance(v, dict) and "$array" in v))
        return json.dumps(None if hidden else v, ensure_ascii=False, sort_keys=True)
    return {k: one(k, line.get(k)) for k in keys}


def excerpt(a, b):
    """The two texts around where they first differ."""
    at = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
    start = max(0, at - 25)
    return f"native …{a[start:at + 45]}… COM …{b[start:at + 45]}…"


def read_lines(path):
    text = path.read_text(encoding="utf-16") if path.exists() else ""
    return [json.loads(line) for line in text.splitlines() if line]


def compare(outdir):
    expected = json.loads((outdir / "native.json").read_text(encoding="utf-8"))
    results = []  # (host or "checks", a case or a round trip, held)
    for host in HOSTS:
        got = {line["id"]: line for line in read_lines(outdir / f"{host}.jsonl")}
        for id_, want in expected["rows"].items():
            keys = ["error"] if want.get("error") else [k for k in want if k != "case"]
            want_, got_ = shown(want, keys), shown(got.get(id_, {}), keys)
            problems = [want["rejected"]] if "rejected" in want else \
                ["the script wrote no line"] if id_ not in got else \
                [f"{k}: {excerpt(want_[k], got_[k])}" for k in keys if want_[k] != got_[k]]
            for problem in problems:
                print(f"{host} {id_}: {problem}")
            if want["case"]:
                print(f"{host} case: {id_}: {'DIFFERENT' if problems else 'identical'}")
            results.append((host, want["case"], not problems))
        suite = [ok for h, case, ok in results if h == host and not case]
        print(f"{host}: {sum(suite)} of {len(suite)} identical")
    checks = {line["case"]: line for line in read_lines(outdir / "checks.jsonl")}
    for name in expected["checks"]:
        line = checks.get(name, {"ok": False, "detail": "did not run"})
        if not name.startswith("round trip") or not line["ok"]:
            print(f"check: {name}: {'held' if line['ok'] else 'FAILED: ' + line['detail']}")
        results.append(("checks", name.startswith("round trip"), line["ok"]))
    trips = [ok for h, trip, ok in results if h == "checks" and trip]
    print(f"round trips: {sum(trips)} of {len(trips)} held")
    failed = sum(not ok for _, _, ok in results)
    print(f"{len(results) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    if sys.argv[1:2] == ["prepare"] and len(sys.argv) == 4:
        prepare(sys.argv[2], Path(sys.argv[3]))
    elif sys.argv[1:2] == ["compare"] and len(sys.argv) == 3:
        sys.exit(compare(Path(sys.argv[2])))
    else:
        sys.exit(__doc__)
