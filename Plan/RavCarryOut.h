#pragma once

#include "Plan/RavOthers.h"
#include "Plan/RavPlan.h"
#include "Plan/RavStateReader.h"

#include <functional>

// Brings parents to what is wanted, and makes sure of it; or back to what they were.

struct RAV_PARENT_CHANGE
{
    RAV_PRESENT_PARENT before;
    RAV_WANTED_PARENT wanted;
    RAV_PLAN plan;
};

// Plans what is wanted of parents of a host that has been read. The result tells whether their settings could be read.
CResult RavPlanChanges(const RAV_STATE_SOURCE& source, const RAV_HOST& host,
                       const std::vector<RAV_WANTED_PARENT>& wanted, bool prune,
                       std::vector<RAV_PARENT_CHANGE>& changes);
// Reads the host itself.
CResult RavPlanChanges(const RAV_STATE_SOURCE& source, const std::vector<RAV_WANTED_PARENT>& wanted, bool prune,
                       std::vector<RAV_PARENT_CHANGE>& changes);

// Reads what has to be known of VLANs that are removed, for the way back; what is known already is kept.
CResult RavReadRemoved(const RAV_STATE_SOURCE& source, std::vector<RAV_PARENT_CHANGE>& changes);

struct RAV_CARRY_OUT_OPTIONS
{
    bool prune = false;
    bool keep = false;            // what was done when something fails
    std::function<bool()> goesOn; // asked before each step
    std::function<void(const RAV_PLAN_STEP&, const CResult&)> onTaken;
    std::function<void()> onWayBack; // before the first step of it
};

enum class RAV_CARRIED_STATE
{
    Done,       // it is as wanted, which was read again
    RolledBack, // it is as before, which was read again
    Kept,       // something failed, and what was done stays
    Left        // something failed, and so did the way back
};

// What has become of a way back.
struct RAV_WAY_BACK
{
    bool isDone = false;                     // it is as before, which was read again
    CResult failure = CResult::Success();    // the first one, of a step or of the reading before it
    CResult reading = CResult::Success();    // of what is there in the end; when it failed nobody knows what is left
    std::vector<RAV_PLAN_STEP> left;         // what it would take to be as before
    std::vector<RAV_REFUSAL> refusals;       // why that cannot be done
    std::vector<RAV_REFUSAL> dropped;        // settings that could not be set again; the rest was brought back
    std::vector<RAV_PLAN_STEP> createdAgain; // VLANs that are new ones now, without the addresses of the old ones
    std::vector<RAV_PRESENT_VLAN> gaveWay;   // VLANs of others that were not spared
};

struct RAV_CARRIED
{
    RAV_CARRIED_STATE state = RAV_CARRIED_STATE::Left;
    CResult failure = CResult::Success(); // of the step that failed, or of the reading before it
    CResult reading = CResult::Success(); // of what is there when all steps were taken
    bool isInterrupted = false;
    bool isDifferent = false;              // all steps were taken, and it is not as wanted all the same
    std::vector<RAV_PRESENT_PARENT> found; // of Done: the parents as they were read again
    RAV_WAY_BACK back;                     // of RolledBack and Left
};

// Takes the steps of the plans one after the other. The client holds the suite's lock, and whoever does so applies the
// changes when he gives it back. What was removed and is created again has another key: its addresses are lost.
RAV_CARRIED RavCarryOut(const RAV_STATE_SOURCE& source, std::vector<RAV_PARENT_CHANGE>& changes,
                        const RAV_CARRY_OUT_OPTIONS& options);

// The way back alone, to states that were noted before; VLANs that others have created since are spared.
RAV_WAY_BACK RavGoBack(const RAV_STATE_SOURCE& source, std::vector<RAV_BEFORE> before);
