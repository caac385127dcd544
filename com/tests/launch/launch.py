#!/usr/bin/env python3
"""Scenarios through COM: each scenario runs natively (`brelvane run`) and as
a VBScript driving brelvane.dll against the same stand-ins, served by
brelvane_launcher_standin.dll; the step results and the stand-ins' logs of
both runs must be the same.

  launch.py prepare TOOL SRC DIR   writes DIR/NAME.json (the scenario),
                                   DIR/NAME.vbs, DIR/NAME.native.json
  launch.py compare DIR            reads DIR/NAME.com.json; PASS/FAIL lines

Suites: "launch" calls every launch method of CLSCI_CONNECT (the Boolean
methods that run a program: all but the closing ones) with its context
properties set and callbacks configured; "demo" calls the lookups that reach
the database on the demo host and connection of `brelvane call`; the rest
are the project's scenarios that reach launchers, events or the database.
"""
import json
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
from comsuite import OUTPUTS, cp1252_script, registry_of, vbs_text as q  # noqa: E402

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
             f"sb.Load {q(out + '.config')}"]
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


def prepare(tool, src, d):
    registry, d = registry_of(tool), Path(d)
    (d / "registry.json").write_text(json.dumps(registry))
    (d / "launch.methods").write_text("".join(m["name"] + "\n" for m in launch_methods(registry)))
    docs = {"launch": launch_scenario(registry), "demo": demo_scenario()}
    for name in SCENARIOS:
        doc = json.loads((Path(src) / "tests/scenarios" / f"{name}.json").read_text())
        docs[name] = expand({k: v for k, v in doc.items() if k != "define"}, doc.get("define", {}))
    for name, doc in docs.items():
        base = d / name
        base.with_suffix(".json").write_text(json.dumps(doc, ensure_ascii=False, indent=1))
        Path(f"{base}.config").write_text(json.dumps(doc, ensure_ascii=False))
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
    for i, s in enumerate(doc["steps"]):
        if "call" in s:
            out = json.loads(subprocess.run(
                [tool, "call", "--json", "Brelvane.CLSCI_LOOKUP", s["method"], "--"]
                + [form(a) for a in s["args"]], capture_output=True).stdout)
            steps.append({"step": i, "return": out["return"],
                          "values": {k: out["properties"].get(k, {"$empty": True})
                                     for k in OUTPUTS}})
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

    def walk(value):
        if isinstance(value, dict):
            if value.get("call") in members:
                found.add(value["call"])
            for v in value.values():
                walk(v)
        elif isinstance(value, list):
            for v in value:
                walk(v)
    walk(doc.get("launchers", {}))
    return found & members


def compare(d):
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
    if sys.argv[1:2] == ["prepare"] and len(sys.argv) == 5:
        prepare(*sys.argv[2:])
    elif sys.argv[1:2] == ["compare"] and len(sys.argv) == 3:
        sys.exit(1 if compare(sys.argv[2]) else 0)
    else:
        sys.exit(__doc__)
