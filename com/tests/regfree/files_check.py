"""Checks the files that travel with brelvane.dll: its version resource and
the side-by-side manifest that `regsvr32 /n /i:manifest` wrote.

    python3 files_check.py DLL MANIFEST VERSION DESCRIPTION
"""
import re
import struct
import sys
import xml.etree.ElementTree as ET

dll, manifest, version, description = sys.argv[1:5]
data = open(dll, "rb").read()
failures = []


def wide(text):
    return re.escape(text.encode("utf-16le"))


# A string of the resource: its key, padding to 32 bits, its value.
for key, value in [("FileVersion", version), ("ProductVersion", version),
                   ("OriginalFilename", "brelvane.dll"), ("FileDescription", description),
                   ("OLESelfRegister", "")]:
    if not re.search(wide(key) + b"\0\0(\0\0)?" + wide(value) + b"\0\0", data):
        failures.append(f"version resource: {key} is not {value!r}")
major, minor, patch = (int(n) for n in version.split("."))
fixed = struct.pack("<II", 0xFEEF04BD, 0x10000) + struct.pack(
    "<IIII", major << 16 | minor, patch << 16, major << 16 | minor, patch << 16)
if fixed not in data:
    failures.append("version resource: the fixed file and product versions differ")

ns = {"a": "urn:schemas-microsoft-com:asm.v1"}
root = ET.parse(manifest).getroot()
identity = root.find("a:assemblyIdentity", ns)
if identity is None or identity.get("version") != version + ".0":
    failures.append("manifest: the assembly's version is not the project's")
classes = root.findall("a:file[@name='brelvane.dll']/a:comClass", ns)
progIds = sorted(c.findtext("a:progid", namespaces=ns) for c in classes)
if progIds != ["Brelvane.CLSCI_CONNECT", "Brelvane.CLSCI_DECODE", "Brelvane.CLSCI_LOOKUP",
               "Brelvane.Settings"]:
    failures.append(f"manifest: classes {progIds}")
for c in classes:
    if c.get("threadingModel") != "Apartment" or c.get("progid") != c.findtext("a:progid", namespaces=ns) + ".1":
        failures.append(f"manifest: {c.get('description')} lacks its versioned ProgID or model")
if root.find("a:file[@name='brelvane.tlb']/a:typelib", ns) is None:
    failures.append("manifest: no type library")
if len(root.findall("a:comInterfaceExternalProxyStub", ns)) != 5:
    failures.append("manifest: not one proxy entry per dispatch interface")

for f in failures:
    print("FAIL", f)
print(f"version resource and manifest: {'FAIL' if failures else 'ok'}")
sys.exit(1 if failures else 0)
