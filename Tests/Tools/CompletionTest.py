#!/usr/bin/python3
"""Presses Tab in a bash at a terminal of its own: CompletionTest.py ROOT FOLDER-OF-THE-PROGRAMS

The vlanctl that this bash finds asks the real one, on a host of the lab, what to complete, and prints its words for everything
else."""
import os
import pty
import re
import select
import subprocess
import sys
import tempfile
import time

PATIENCE = 60  # seconds
CASES = [
    # what is typed, the words that vlanctl gets
    ("ren\t", ["rename"]),
    ("create --auto\t", ["create", "--auto-names"]),
    ("show Sal\t", ["show", "Sales"]),
    ("show Port\\ A/1\t", ["show", "Port A/10"]),
    ('create -p "Port A\t', ["create", "-p", "Port A"]),
    ("create -p 'team 2\t", ["create", "-p", "Team 2"]),
    ("create --parent=Team\\ 1\t", ["create", "--parent=Team 1"]),
    ("set Sales '*LsoV2IPv4=En\t", ["set", "Sales", "*LsoV2IPv4=Enabled"]),
    ("set Sales *NumR\t8", ["set", "Sales", "*NumRssQueues=8"]),
    ("doctor --repair not-b\t", ["doctor", "--repair", "not-bound"]),
]
FAKE = """#!/bin/sh
case $1 in
complete | completion) exec "{root}/scripts/wine.sh" "{bin}/vlanctl.exe" "$@" ;;
esac
printf 'WORDS'
printf '<%s>' "$@"
echo END
"""


class Terminal:
    def __init__(self, folder):
        self.process, self.end = pty.fork()
        if self.process == 0:
            os.environ.update(PATH=folder + ":" + os.environ["PATH"], TERM="dumb", PS1="> ", INPUTRC="/dev/null", LC_ALL="C.UTF-8")
            os.execvp("bash", ["bash", "--norc", "--noprofile", "-i"])

    def send(self, text):
        os.write(self.end, text.encode())

    def read_until(self, pattern):
        text, limit = "", time.monotonic() + PATIENCE
        while not (found := re.search(pattern, text, re.S)):
            if not select.select([self.end], [], [], max(0, limit - time.monotonic()))[0]:
                raise SystemExit(f"nothing like {pattern} came within {PATIENCE} s, but {text!r}")
            text += os.read(self.end, 4096).decode(errors="replace")
        return found


def main(root, bin_folder):
    lab = [root + "/scripts/lab.sh", bin_folder]
    subprocess.run(lab + ["down"], capture_output=True, check=False)  # another test's may be up
    subprocess.run(lab + ["up", root + "/Suite/Lab/hosts/vlans.json"], check=True)
    faults = 0
    with tempfile.TemporaryDirectory() as folder:
        with open(folder + "/vlanctl", "w", encoding="utf-8") as fake:
            fake.write(FAKE.format(root=root, bin=bin_folder))
        os.chmod(folder + "/vlanctl", 0o755)
        terminal = Terminal(folder)
        terminal.send('source <(vlanctl completion bash); echo "READY"\n')
        terminal.read_until("\r\nREADY")
        for typed, words in CASES:
            before, tab, after = typed.partition("\t")
            terminal.send("vlanctl " + before + tab)
            terminal.send(after + "\n")
            got = re.findall("<(.*?)>", terminal.read_until("WORDS(.*?)END").group(1))
            if got != words:
                faults += 1
                print(f"{typed!r} makes {got}, not {words}")
        terminal.send("exit\n")
        os.waitpid(terminal.process, 0)
    return faults


if __name__ == "__main__":
    sys.exit(1 if main(*sys.argv[1:3]) else 0)
