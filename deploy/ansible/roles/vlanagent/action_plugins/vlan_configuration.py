"""Brings the VLANs of a host to a desired state with its own vlanctl.

Everything happens through the connection alone: nothing but vlanctl is needed on the host, no Python and no other module. The
state goes to vlanctl's standard input, so that check mode leaves nothing behind; with `path` the host keeps it as a file, too.

arguments
  state           what 'vlanctl apply' reads: a mapping with `parents`
  command         the words that run vlanctl; ["vlanctl"]
  prune           VLANs that the state does not name are removed; false
  confirm_within  the change is taken back unless it is confirmed within so many seconds, over the connection as it is then; 0: never
  wait            seconds to wait for the configuration lock; 60
  path            where the host keeps the state; empty: nowhere
"""

import json

from ansible.errors import AnsibleActionFail
from ansible.module_utils.parsing.convert_bool import boolean
from ansible.plugins.action import ActionBase

DONE, RESTART, FINDINGS = 0, 6, 8
SIGNS = {"create": "+", "change": "~", "remove": "-", "keep": "="}


class HostFailure(Exception):
    """What a host refuses, in its own words."""

    def __init__(self, text, **details):
        super().__init__(text)
        self.details = details


class ActionModule(ActionBase):
    TRANSFERS_FILES = True
    _supports_check_mode = True

    def run(self, tmp=None, task_vars=None):
        super().run(tmp, task_vars)
        try:
            return self._converge()
        except HostFailure as failure:
            return dict(failure.details, failed=True, changed=False, msg=str(failure))

    def _converge(self):
        arguments = dict(self._task.args)
        self._state = json.dumps(arguments.pop("state", None) or self._miss("state"))
        self._command = arguments.pop("command", None) or ["vlanctl"]
        self._prune = ["--prune"] if boolean(arguments.pop("prune", False)) else []
        self._confirm = int(arguments.pop("confirm_within", 0) or 0)
        self._wait = ["--wait", str(int(arguments.pop("wait", 60)))]
        path = arguments.pop("path", "") or ""
        if arguments:
            raise AnsibleActionFail("there is no argument " + ", ".join(sorted(arguments)))
        if isinstance(self._command, str):
            self._command = [self._command]

        plan = self._ask(["diff", "-", "--json"] + self._prune, (DONE, FINDINGS))
        differences = [one for one in plan.get("differences", []) if one["difference"] != "keep"]
        result = {
            "changed": bool(differences),
            "differences": differences,
            "restart_needed": False,
            "warnings": [warning["meaning"] for warning in plan["warnings"]] if differences else [],
        }
        if self._task.diff:
            result["diff"] = {"prepared": self._text_of(plan.get("differences", []))}
        if self._task.check_mode:
            return result
        if differences:
            report = self._apply()
            result.update(restart_needed=report["restartNeeded"], steps=report["steps"])
        if path:  # what the host has become, not what it has refused
            self._keep(path)
        return result

    @staticmethod
    def _miss(name):
        raise AnsibleActionFail(f"the argument {name} is missing")

    def _apply(self):
        words = ["apply", "-", "--json", "--yes"] + self._prune + self._wait
        if self._confirm:
            words += ["--confirm-within", str(self._confirm)]
        report = self._ask(words, (DONE, RESTART))
        if self._confirm:
            if self._connection.transport != "local":
                self._connection.reset()  # a new connection has to get through
            self._ask(["confirm", "--json"], (DONE,), with_state=False)
        return report

    def _keep(self, path):
        folder = self._make_tmp_path()
        temporary = self._transfer_data(self._connection._shell.join_path(folder, "vlans.json"), self._state)
        move = "Move-Item -Force" if self._is_powershell() else "mv"
        moved = self._low_level_execute_command(" ".join([move, self._quote(temporary), self._quote(path)]))
        self._remove_tmp_path(folder)
        if moved["rc"] != 0:
            raise HostFailure(f"the state cannot be kept at {path}: {moved['stderr'].strip()}")

    def _is_powershell(self):
        return self._connection._shell.SHELL_FAMILY == "powershell"

    def _quote(self, word):
        return self._connection._shell.quote(word)

    def _ask(self, words, good, with_state=True):
        """What vlanctl answers; a failure of the host in vlanctl's own words when the status is none of the good ones."""
        line = " ".join(self._quote(word) for word in self._command + words)
        if self._is_powershell():
            line = "& " + line
        answer = self._low_level_execute_command(line, in_data=self._state.encode() if with_state else None, executable=None)
        try:
            report = json.loads(answer["stdout"])
        except ValueError:
            raise HostFailure(f"{line} ended with {answer['rc']} and no answer: {answer['stderr'].strip()}") from None
        if answer["rc"] in good and not report.get("errors"):
            return report
        errors = [report["error"]] if "error" in report else report.get("errors", [])
        texts = [error["meaning"] + (": " + error["advice"] if error.get("advice") else "") for error in errors]
        texts += [f"{step['action']} {step['id']} {step['name']}: {step['reason']}" for step in report.get("steps", []) if step["reason"]]
        raise HostFailure(
            "; ".join(texts) or f"vlanctl ended with {answer['rc']}",
            status=answer["rc"],
            errors=errors,
            steps=report.get("steps", []),
        )

    @staticmethod
    def _text_of(differences):
        text, parent = "", None
        for one in differences:
            if one["parentName"] != parent:
                parent = one["parentName"]
                text += parent + "\n"
            changes = ", ".join(f"{change.get('setting') or change['property']} {change['was']} -> {change['is']}" for change in one["changes"])
            text += f"  {SIGNS[one['difference']]} {one['id'] or 'untagged'} {one['name']}" + (": " + changes if changes else "") + "\n"
        return text
