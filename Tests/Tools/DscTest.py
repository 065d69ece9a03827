#!/usr/bin/python3
"""The resource as an engine of desired state drives it, by its manifest alone: DscTest.py ROOT FOLDER-OF-THE-PROGRAMS"""

import json
import subprocess
import sys

import jsonschema

faults = []


def check(what, expected, actual):
    if expected != actual:
        faults.append(f"{what}\n  expected: {expected}\n  actual:   {actual}")


class Resource:
    def __init__(self, root, bin_folder):
        self.program = [root + "/scripts/wine.sh", bin_folder + "/vlanctl.exe"]
        with open(root + "/Tools/dsc/VlanAgent.dsc.resource.json", encoding="utf-8") as file:
            self.manifest = json.load(file)
        self.schema = self.lines("schema", self.manifest["schema"]["command"], None)[0]
        jsonschema.Draft7Validator.check_schema(self.schema)

    def lines(self, what, command, instance, status=0):
        """What an operation answers, a JSON value a line."""
        check(what + ": executable", "vlanctl", command["executable"])
        arguments = []
        for argument in command["args"]:
            if isinstance(argument, str):
                arguments.append(argument)
            elif instance is not None:
                arguments += [argument["jsonInputArg"], json.dumps(instance)]
            elif argument.get("mandatory"):
                raise SystemExit(what + " needs an instance")
        run = subprocess.run(self.program + arguments, capture_output=True, check=False, stdin=subprocess.DEVNULL)
        check(f"{what} {instance}: status", status, run.returncode)
        if str(run.returncode) not in self.manifest["exitCodes"]:
            faults.append(f"the manifest does not say what {run.returncode} is")
        return [json.loads(line) for line in run.stdout.decode().splitlines()]

    def run(self, operation, instance=None, status=0):
        answers = self.lines(operation, self.manifest[operation], instance, status)
        for state in answers:
            if isinstance(state, dict):
                jsonschema.validate(state, self.schema)
        return answers


def brief(state):
    return [state["parent"], state["_exist"], [f"{vlan['id']} {vlan['name']}" for vlan in state["vlans"]]]


def main(root, bin_folder):
    lab = [root + "/scripts/lab.sh", bin_folder]
    subprocess.run(lab + ["down"], capture_output=True, check=False)  # another test's may be up
    subprocess.run(lab + ["up", root + "/Suite/Lab/hosts/vlans.json"], check=True)
    resource = Resource(root, bin_folder)
    run = resource.run

    before = run("export")
    check("export", [["Team 1", True, ["40 Backup", "50 Voice"]], ["Team 2", True, ["0 Untagged", "60 Guests"]],
                     ["Port A", True, ["10 Sales", "20 Büro"]], ["Port B", True, ["0 Untagged", "30 Storage"]]],
          [brief(state) for state in before])
    check("get", before[2], run("get", {"parent": "Port A"})[0])
    check("get of nothing", ["Port C", False, []], brief(run("get", {"parent": "Port C"})[0]))
    check("what is so is as wanted", [True, []], [run("test", before[0])[0]["_inDesiredState"], run("test", before[0])[1]])

    wanted = {"parent": "Port A", "vlans": [{"id": 10, "name": "Office", "settings": {"*NumRssQueues": 4}}, {"id": 30, "name": "Lab"}]}
    state, differing = run("test", wanted)
    check("test", [False, ["vlans"]], [state["_inDesiredState"], differing])
    foretold = run("whatIf", wanted)[0]
    check("what-if", ["Port A", True, ["10 Office", "30 Lab"]], brief(foretold))
    check("what-if changes nothing", before[2], run("get", {"parent": "Port A"})[0])
    after = run("set", wanted)[0]
    check("set", brief(foretold), brief(after))
    check("what-if foretells the settings", foretold["vlans"][0], after["vlans"][0])
    check("set again", after, run("set", wanted)[0])
    check("it is as wanted", True, run("test", wanted)[0]["_inDesiredState"])

    gone = {"parent": "Team 1", "_exist": False}
    check("test of what is to go", ["_exist", "vlans"], run("test", gone)[1])
    check("what-if of what is to go", ["Team 1", False, []], brief(run("whatIf", gone)[0]))
    check("it goes", ["Team 1", False, []], brief(run("set", gone)[0]))
    check("it comes back", brief(before[0]), brief(run("set", before[0])[0]))

    wrong = [
        ("get", {"parent": "nowhere"}, 1), ("get", {}, 2), ("get", {"parent": "Port A", "vlan": []}, 2), ("get", [], 2),
        ("set", {"parent": "Port A"}, 2), ("set", {"parent": "Port A", "vlans": [{"id": 5000, "name": "x"}]}, 2),
        ("set", {"parent": "Port A", "vlans": [{"id": 5, "name": "x"}, {"id": 5, "name": "y"}]}, 2),
        ("set", {"parent": "Port G", "vlans": [{"id": 5, "name": "x"}]}, 1),
        ("set", {"parent": "Port B", "vlans": [{"id": 0, "name": "alone"}]}, 1),
        ("whatIf", {"parent": "Port B", "vlans": [{"id": 0, "name": "alone"}]}, 1),
        ("test", {"parent": "Port A", "_exist": "no"}, 2),
    ]
    now = run("export")
    for operation, instance, status in wrong:
        check(f"{operation} {instance}: no answer", [], [state for state in run(operation, instance, status) if "error" not in state])
    check("what is refused changes nothing", now, run("export"))
    print("\n".join(faults))
    return len(faults)


if __name__ == "__main__":
    sys.exit(1 if main(*sys.argv[1:3]) else 0)
