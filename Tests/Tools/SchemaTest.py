#!/usr/bin/python3
"""The schema of desired state, as an editor uses it: it takes the examples of the documents and what vlanctl exports,
and refuses what a schema can refuse. Debian's Python runs it, which has Debian's packages."""

import copy
import json
import pathlib
import re
import sys

import jsonschema

ROOT = pathlib.Path(__file__).parents[2]
SCHEMA = json.loads((ROOT / "docs/vlan-configuration.schema.json").read_text())
SCHEMA_CLASS = jsonschema.validators.validator_for(SCHEMA)

VLAN = {"id": 10, "name": "Sales", "type": 0, "settings": {"*JumboPacket": "9014", "*NumRssQueues": 4}}


def file_with(**vlan):
    """A file with VLAN, in which these members are other ones; None takes one away."""
    changed = {name: value for name, value in {**copy.deepcopy(VLAN), **vlan}.items() if value is not None}
    return {"$schema": "vlan-configuration.schema.json", "parents": {"Port A": {"vlans": [changed]}}}


RIGHT = {
    "all members": file_with(),
    "the least": file_with(type=None, settings=None),
    "the limits": file_with(id=4094, name="x" * 32, type=2),
    "the untagged": file_with(id=0, name="a b.c"),
    "no VLANs": {"parents": {"Port A": {"vlans": []}}},
}
WRONG = {
    "no object": [],
    "no parents": {},
    "an unknown member": {"parents": {}, "parent": {}},
    "a list of parents": {"parents": []},
    "a parent without VLANs": {"parents": {"Port A": {}}},
    "a parent with more": {"parents": {"Port A": {"vlans": [], "vlan": []}}},
    "an object of VLANs": {"parents": {"Port A": {"vlans": {}}}},
    "a VLAN that is none": {"parents": {"Port A": {"vlans": [7]}}},
    "65 VLANs": {"parents": {"Port A": {"vlans": [VLAN] * 65}}},
    **{f"with {change}": file_with(**change) for change in (
        {"id": None}, {"id": 4095}, {"id": -1}, {"id": 1.5}, {"id": "1"}, {"name": None}, {"name": 1}, {"name": ""},
        {"name": " A"}, {"name": "A|B"}, {"name": "A\0B"}, {"name": "x" * 33}, {"type": 3}, {"type": "0"}, {"vlan": 1},
        {"settings": []}, {"settings": {"*X": True}}, {"settings": {"*X": 1.5}}, {"settings": {"": 1}})},
}


def examples():
    """The files of the documents: what stands in a fence and has parents."""
    for document in ("README.md", "docs/apply.md"):
        for text in re.findall(r"^```\w*\n(\{.*?)^```", (ROOT / document).read_text(), re.MULTILINE | re.DOTALL):
            if '"parents"' in text:
                yield document, json.loads(re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE))
    exported = ROOT / "Tests/Tools/exported.json"
    yield exported.name, json.loads(exported.read_text())


def main():
    SCHEMA_CLASS.check_schema(SCHEMA)
    schema = SCHEMA_CLASS(SCHEMA)
    shown = list(examples())
    faults = [f"{what} is refused: {error.message}" for what, file in [*shown, *RIGHT.items()]
              for error in schema.iter_errors(file)]
    faults += [f"accepted: {what}" for what, file in WRONG.items() if schema.is_valid(file)]
    if len(shown) < 2:
        faults.append("there are no examples")
    print("\n".join(faults) or f"{len(shown)} examples, {len(RIGHT)} files, {len(WRONG)} wrong ones")
    return 1 if faults else 0


sys.exit(main())
