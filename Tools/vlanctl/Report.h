#pragma once

#include "Tools/vlanctl/ExitStatus.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Note.h"

#include <string>
#include <vector>

// What a verb that changes the host is about, has found and has done. The verbs fill it in; one place shows it, as JSON
// and as the exit status. docs/vlanctl.md names the members.

enum class StepState
{
    Planned,
    Done,
    Refused,    // before anything was changed for it
    Failed,     // nothing of it is there, or what is there is told
    NotReached, // an interruption or a failure came before
    TakenBack,  // after a failure that came later
    IsThere     // and was before
};

// One value of a VLAN that a step changes.
struct Change
{
    const char* property;       // "name", "id", "type", "setting"
    std::string setting;        // its keyword
    nlohmann::ordered_json was; // a string for a name, else a number
    nlohmann::ordered_json is;  // as it is wanted, and when the step is done as it is
    std::string wasText;        // of a setting, as users see it
    std::string isText;
};

// What is to be done to one VLAN.
struct Step
{
    const char* action; // "create", "remove", "rename", "setId", "setType", "set", "reset", "restart"
    VlanRow vlan;       // as far as it is known
    CRavString with;    // the VLAN that takes this one along; empty for one that was asked for
    StepState state = StepState::Planned;
    std::string reason; // of Refused and Failed, and of Done when the agent reports a failure all the same
    std::vector<Change> changes = {};
};

struct Report
{
    const char* verb;
    bool isDryRun = false;
    std::vector<Step> steps = {}; // in the order in which they are done
    std::vector<Note> errors = {};
    std::vector<Note> warnings = {};
    bool isLocked = false;        // another program's lock was in the way
    bool isDamaged = false;       // something was left that is neither before nor after
    bool isRestartNeeded = false; // of the system, for what was done to take full effect
};

ExitStatus StatusOf(const Report& report);
nlohmann::ordered_json ReportToJson(const Report& report);
nlohmann::ordered_json ChangeToJson(const Change& change);
// "name Sales -> Office", "*JumboPacket 1514 Disabled -> 9014 9014 Bytes"
std::string ChangeText(const Change& change);
void AddError(Report& report, const char* name, const std::string& meaning);
// The steps in one state.
size_t Count(const Report& report, StepState state);
