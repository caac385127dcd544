#!/usr/bin/env python3
"""The COM suites under Wine, each compared with the native tool.

  comsuite.py prepare TOOL DIR         DIR/host1.vbs, host2.vbs, checks.vbs and
                                       native.json (the tool's outputs)
  comsuite.py compare DIR              the DIR/*.jsonl the scripts wrote against
                                       them: each difference; exit 1 on any
  comsuite.py launch-prepare TOOL DIR  DIR/NAME.json (a scenario), NAME.vbs and
                                       NAME.native.json (`brelvane run`)
  comsuite.py launch-compare DIR       DIR/NAME.com.json against them: PASS/FAIL

The plain suite calls every member of CLSCI_LOOKUP and CLSCI_DECODE with the
fault sweep's plausible arguments and Connessione Nothing, once with each host
(1: BrelvaneTest.DemoHost, 2: the script classes of vbs/host.vbs); checks.vbs
makes its own checks. The launch suites run scenarios against the stand-ins of
brelvane_launcher_standin.dll: "launch" calls every launch method of
CLSCI_CONNECT, "demo" the lookups that reach the database on `brelvane call`'s
demo host and connection, the others are the project's scenarios that reach
launchers, events or the database.
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
q = vbs_text = lambda v: '"' + v.replace('"', '""') + '"'
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
    outdir = Path(outdir)
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
    outdir = Path(outdir)
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



# ---- The launch suites ------------------------------------------------------

SCENARIOS = ["connect_launch", "connect_events", "connect_failures", "lookup_proposals",
             "lookup_chart", "lookup_documents"]
CONNECT = "Brelvane.CLSCI_CONNECT"
# Calls each launcher makes back on its Plookup, and the handlers of the sink.
CALLBACKS = {
    "ExecCausaliCOIN": [{"call": "TransferData", "args": [False, "C01", 8]},
                        {"call": "ChiusuraSelezioneCausaleCoIn", "args": ["C01"]}],
    "ExecSelezioneCausaleCOIN": [{"call": "TransferData", "args": [False, {"$long": 4}, 2]},
                                 {"call": "ChiusuraSelezioneCausaleCoIn", "args": [""]}],
    "ExecMovimentiCOIN": [{"call": "ChiusuraMovimentiContabilitàIndustriale"}],
    "ApriTracciaRib": [{"call": "TransferData", "args": [True, None, 1]},
                       {"call": "ChiusuraTracciaRib"}],
}
HANDLERS = {"TransferData": {"Cancel": True, "tsCalledProgram": 3},
            "ChiusuraSelezioneCausaleCoIn": {"CausaleCoInSelezionata": "C02"}}
# The lookups that reach the database, with the demo host's providers.
DEMO = [("ProposteContiPerProvider", [1, 7]), ("ProposteCogePerProvider2", [1, 1]),
        ("ProposteCausaliPerProvider", [{"$integer": 3}, 7]),
        ("ProposteCausaliPerProvider", [1, 2]), ("AnagraficaPianoDeiConti", ["4"]),
        ("GetNumregCoanFromNumregCoge", [{"$object": "connection"}, 1, "77", 1])]
# Stand-ins whose scripted behaviour has no COM counterpart: their entries
# are left out of the comparison, with the reason printed.
UNMAPPED = {"lookup_proposals": {
    "nocommand": "a connection that cannot make commands: through COM the command is "
                 "ADODB.Command, made by the platform, and it is binding it that fails; the "
                 "lookup keeps that unbound command and does not try again, as with ADO"}}
PER_METHOD = 7  # steps of one launch method in the launch scenario


def expand(value, defs):
    """The document with its $ref and $concat forms replaced."""
    if isinstance(value, list):
        return [expand(v, defs) for v in value]
    if not isinstance(value, dict):
        return value
    if set(value) == {"$ref"}:
        return expand(defs[value["$ref"]], defs)
    if set(value) == {"$concat"}:
        return "".join(expand(v, defs) for v in value["$concat"])
    return {k: expand(v, defs) for k, v in value.items()}


def launch_methods(registry):
    cls = next(c for c in registry if c["progId"] == CONNECT)
    return [m for m in cls["methods"]
            if m["returns"] == "Boolean" and not m["name"].startswith("Chiusura")]


def launch_scenario(registry):
    """Every launch method on a new instance with every context property set;
    a program chosen by the installation setting goes to each component in turn."""
    cls = next(c for c in registry if c["progId"] == CONNECT)
    values = {"Integer": lambda i: {"$integer": i}, "Boolean": lambda i: i % 2 == 0,
              "Variant": lambda i: [f"V{i}", i, {"$date": "2026-11-22"}, None, 2.5][i % 5]}
    context = {p["name"]: values.get(p["type"], lambda i: 1)(i)
               for i, p in enumerate(cls["properties"]) if "put" in p["access"]}
    steps = []
    for i, m in enumerate(launch_methods(registry)):
        refs = {"ActiveInterface": "ps" if i % 2 else "host", "ConnectField": "field",
                "Correlazione": "corr"}
        steps += [{"create": CONNECT, "as": "cn"},
                  {"set": "cn", "values": {k: {"$object": v} for k, v in refs.items()}},
                  {"set": "cn", "values": context},
                  {"advise": "cn", "sink": "ev", "handlers": HANDLERS},
                  {"call": "cn", "method": m["name"], "args": [True, "C01"][:len(m["params"])]},
                  {"get": "cn"}, {"release": "cn"}]
    host = {"kind": "host", "company": {"Code": 5, "LanguageCode": "ITA"}}
    return {"objects": {"host": dict(host, installationSetting=1),
                        "ps": dict(host, installationSetting=2),
                        "field": {"kind": "control"}, "corr": {"kind": "control"},
                        "db": {"kind": "connection",  # for the client check's lookups
                               "procedures": {"SPCI_PROPCONTI_LOOKUPPROVIDER": {
                                   "@LABELS": "A|B", "@QUERY": "SELECT A, B"}},
                               "results": [{"match": "PC01_DESCRPDC",
                                            "columns": ["PC01_INDTIPOPDC"], "rows": [[4]]}]}},
            "launchers": {p: {"on": CALLBACKS} for p in ("Tormesk.CLSCI_CONNECT",
                                                         "Quillane.CLSCI_CONNECT")},
            "steps": steps}


def demo_scenario():
    steps = []
    for method, args in DEMO:
        steps += [{"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"},
                  {"set": "lk", "values": {"ActiveInterface": {"$object": "host"},
                                           "Connessione": {"$object": "connection"}}},
                  {"call": "lk", "method": method, "args": args},
                  {"get": "lk", "properties": OUTPUTS}, {"release": "lk"}]
    return {"objects": {"host": {"kind": "demoHost"},
                        "connection": {"kind": "demoConnection"}}, "steps": steps}


def vbs(doc, registry, out):
    """The scenario as a script; results and log go to `out` (a Windows path)."""
    readable = {c["progId"]: [p["name"] for p in c["properties"] if "get" in p["access"]]
                for c in registry}
    created = {}  # scenario name -> ProgID, for the objects the script holds
    var = lambda n: "o_" + "".join(c if c.isalnum() else "_" for c in n)
    subject = lambda n: var(n) if n in created else f"sb.Object({q(n)})"

    def assign(left, v):  # Set when the value is an object
        is_object = isinstance(v, dict) and "$object" in v
        expr = var(v["$object"]) if is_object and v["$object"] in created else \
            "sb.V(" + q(json.dumps(v, ensure_ascii=False)) + ")"
        return f"{'Set ' * is_object}{left} = {expr}"

    raised = "If Err.Number <> 0 Then sb.Error Err.Number, Err.Source, Err.Description"
    arity = max([len(s.get("args", [])) for s in doc["steps"]] + [1])
    lines = ["Option Explicit", f"Dim sb, o, {', '.join(f'a{n}' for n in range(arity))}",
             'Set sb = CreateObject("BrelvaneTest.Standins")', "On Error Resume Next",
             f"sb.Load {q(out + '.json')}"]
    for i, s in enumerate(doc["steps"]):
        op = next(k for k in ("create", "set", "call", "get", "advise", "release") if k in s)
        target = s[op]
        lines += ["Err.Clear", f"sb.Begin {i}, {q(op)}"]
        if op == "create":
            name = s.get("as", target)
            if name not in created:
                lines.insert(1, f"Dim {var(name)}")
            created[name] = target
            lines.append(f"Set {var(name)} = CreateObject({q(target)})")
        elif op == "set":
            lines += [f"If Err.Number = 0 Then {assign(f'{subject(target)}.{k}', v)}"
                      for k, v in s["values"].items()]
        elif op == "call":
            args = [f"a{n}" for n in range(len(s.get("args", [])))]
            lines += [assign(a, v) for a, v in zip(args, s.get("args", []))]
            lines += [f"sb.Put \"return\", {subject(target)}.{s['method']}({', '.join(args)})",
                      raised, "Err.Clear"] + [f"sb.Arg {a}" for a in args]
        elif op == "get":
            names = s.get("properties") or readable.get(created.get(target), [])
            lines.append(f"Set o = {subject(target)}")
            if not names:  # a launcher: what it was given
                lines.append(f"If Err.Number = 0 Then sb.Values {q(target)}")
            lines += [f"If Err.Number = 0 Then sb.Value {q(n)}, o.{n}" for n in names]
        elif op == "advise":
            lines.append(f"sb.Advise {subject(target)}, {q(s['sink'])}, "
                         f"{q(json.dumps(s.get('handlers', {}), ensure_ascii=False))}")
        else:
            lines.append(f"Set {var(target)} = Nothing")
        lines += [raised, "Set o = Nothing"]
    # What the script still holds goes last-made first, as one more step.
    return cp1252_script(lines + [f"sb.Step = {len(doc['steps'])}",
                                  *(f"Set {var(n)} = Nothing" for n in reversed(created)),
                                  *(f"a{n} = Empty" for n in range(arity)),
                                  f"sb.Save {q(out + '.com.json')}",
                                  'WScript.Echo "live stand-ins: " & sb.LiveObjects()', ""])


def launch_prepare(tool, d):
    registry, d = registry_of(tool), Path(d)
    (d / "registry.json").write_text(json.dumps(registry))
    (d / "launch.methods").write_text("".join(m["name"] + "\n" for m in launch_methods(registry)))
    docs = {"launch": launch_scenario(registry), "demo": demo_scenario()}
    for name in SCENARIOS:
        doc = json.loads((HERE.parents[1] / "tests/scenarios" / f"{name}.json").read_text())
        docs[name] = expand({k: v for k, v in doc.items() if k != "define"}, doc.get("define", {}))
    for name, doc in docs.items():
        base = d / name
        base.with_suffix(".json").write_text(json.dumps(doc, ensure_ascii=False, indent=1))
        (d / f"{name}.vbs").write_bytes(
            vbs(doc, registry, "Z:" + str(base.resolve()).replace("/", "\\")))
        native = native_demo(tool, doc) if name == "demo" else \
            subprocess.run([tool, "run", str(base.with_suffix(".json"))], capture_output=True).stdout
        Path(f"{base}.native.json").write_bytes(native)


def native_demo(tool, doc):
    """The demo calls made one by one by `brelvane call`, in the shape of a run."""
    form = lambda a: (f"integer:{a['$integer']}" if isinstance(a, dict) and "$integer" in a
                      else a["$object"] if isinstance(a, dict) else
                      f"text:{a}" if isinstance(a, str) else str(a))
    steps = []
    for i, s in ((i, s) for i, s in enumerate(doc["steps"]) if "call" in s):
        out = json.loads(subprocess.run(
            [tool, "call", "--json", "Brelvane.CLSCI_LOOKUP", s["method"], "--"]
            + [form(a) for a in s["args"]], capture_output=True).stdout)
        steps.append({"step": i, "return": out["return"],
                      "values": {k: out["properties"].get(k, {"$empty": True}) for k in OUTPUTS}})
    return json.dumps({"steps": steps}).encode()


def normal(value, foreign):
    """Objects of brelvane.dll have no name in the stand-ins' log ("?"); a
    runner's own error (source "scenario") is compared by its number."""
    if isinstance(value, list):
        return [normal(v, foreign) for v in value]
    if not isinstance(value, dict):
        return value
    if value.keys() == {"$object"} and value["$object"] in foreign:
        return {"$object": "?"}
    if value.keys() == {"number", "source", "description"} and value["source"] == "scenario":
        return {"number": value["number"]}
    return {k: normal(v, foreign) for k, v in value.items() if k != "failures"}


def differences(native, com, what):
    out = [f"    {what}: native {json.dumps(n, ensure_ascii=False)}\n"
           f"    {what}: com    {json.dumps(c, ensure_ascii=False)}"
           for n, c in zip(native, com) if n != c]
    if len(native) != len(com):
        out.append(f"    {what}: {len(native)} native entries, {len(com)} through COM")
    return out


def members_called(doc, members):
    """The CLSCI_CONNECT members a scenario calls: its steps on an instance,
    and the calls launchers make back on the instance they were handed."""
    ours = {s.get("as", s["create"]) for s in doc["steps"] if s.get("create") == CONNECT}
    found = {s["method"] for s in doc["steps"] if s.get("call") in ours and "method" in s}
    launchers = json.dumps(doc.get("launchers", {}), ensure_ascii=False)
    return (found | set(re.findall(r'"call": "([^"]*)"', launchers))) & members


def launch_compare(d):
    registry, failed = json.loads((Path(d) / "registry.json").read_text()), 0
    members = {m["name"] for c in registry if c["progId"] == CONNECT for m in c["methods"]}
    proven = set()
    for base in sorted(Path(d).glob("*.native.json")):
        name = base.name[: -len(".native.json")]
        doc = json.loads((Path(d) / f"{name}.json").read_text())
        native = json.loads(base.read_text() or "null")
        try:
            com = json.loads((Path(d) / f"{name}.com.json").read_text())
        except (OSError, ValueError) as e:
            com, why = None, f"no result through COM ({e})"
        if com is None or native is None:
            print(f"FAIL {name}: {why if com is None else 'the native run printed nothing'}")
            failed += 1
            continue
        foreign = {s.get("as", s.get("create")) for s in doc["steps"] if "create" in s}
        if name == "demo":
            groups = [([s], [{"step": s["step"], "return": com["steps"][s["step"]]["return"],
                              "values": com["steps"][s["step"] + 1]["values"]}], [], [])
                      for s in native["steps"]]
            labels = [f"{m} {json.dumps(a)}" for m, a in DEMO]
        else:
            n_steps, c_steps = normal(native["steps"], foreign), normal(com["steps"], foreign)
            n_log, c_log = normal(native["log"], foreign), normal(com["log"], foreign)
            for obj, why in UNMAPPED.get(name, {}).items():
                print(f"NOTE {name}: {obj} not compared: {why}")
                n_log, c_log = ([e for e in log if e["object"] != obj] for log in (n_log, c_log))
            labels, ranges = [name], [range(0, len(doc["steps"]) + 1)]
            if name == "launch":
                labels = [m["name"] for m in launch_methods(registry)]
                ranges = [range(i * PER_METHOD, (i + 1) * PER_METHOD) for i in range(len(labels))]
                ranges[-1] = range(ranges[-1].start, len(doc["steps"]) + 1)
            pick = lambda entries, r: [e for e in entries if e["step"] in r]
            groups = [(pick(n_steps, r), pick(c_steps, r), pick(n_log, r), pick(c_log, r))
                      for r in ranges]
        same = 0
        for label, (ns, cs, nl, cl) in zip(labels, groups):
            diff = differences(ns, cs, "step") + differences(nl, cl, "log")
            same += not diff
            print(f"{'FAIL' if diff else 'PASS'} {name}: {label}")
            if diff:
                print("\n".join(diff[:6]))
        failed += len(labels) - same
        if same == len(labels):
            proven |= members_called(doc, members)
        if name == "launch":
            print(f"{same} of {len(labels)} launch methods identical")
    print(f"{len(proven)} of {len(members)} {CONNECT} members called through COM, "
          "identical to the native run")
    for m in sorted(members - proven):
        print(f"  not called: {m}")
    return failed


if __name__ == "__main__":
    commands = {"prepare": (prepare, 2), "compare": (compare, 1),
                "launch-prepare": (launch_prepare, 2), "launch-compare": (launch_compare, 1)}
    command, count = commands.get(sys.argv[1] if len(sys.argv) > 1 else "", (None, 0))
    if not command or len(sys.argv) != 2 + count:
        sys.exit(__doc__)
    sys.exit(1 if command(*sys.argv[2:]) else 0)
