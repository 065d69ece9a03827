#pragma once

#include "Src/RavVlanMessages.h"
#include "Tools/vlanctl/Change.h"

#include <functional>

// What the verbs have in common that change a VLAN which is there.

struct Alteration
{
    const char* verb;
    const char* action; // of its steps
    ChangeWords words;
    bool isInterrupting; // the VLAN's miniport is reloaded
    // What stands against it; asked before anything is done, and again under the lock.
    std::function<std::vector<Note>()> examine;
    // Carries out one step.
    std::function<CResult(const Step&)> make;
    std::vector<Note> warnings = {}; // beside those of an interruption
    bool hasToRun = false;           // the VLAN afterwards, whatever it did before
    // Plans the steps anew under the lock, from what the VLAN has become until then, and notes what is wrong with them.
    // Without it they stay as they are.
    std::function<std::vector<Step>(std::vector<Note>&)> plan = {};
};

// A step of an alteration, with its one change.
Step StepOf(const Alteration& alteration, const VlanRow& vlan, const Change& change);
// Says what would be done and what it costs, asks, takes the steps and shows what has become of them. Without steps
// there is nothing to change. `errors` are known already; with them nothing is done.
ExitStatus RunAlteration(CSession& session, const ChangeOptions& options, const Alteration& alteration,
                         const std::vector<Step>& steps, const std::vector<Note>& errors = {});
