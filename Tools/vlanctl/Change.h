#pragma once

#include "Tools/vlanctl/Report.h"
#include "Tools/vlanctl/Transaction.h"

#include <functional>

// What the verbs that change VLANs have in common: one transaction for all steps, which stops at an interruption, and
// the truth about what has become of them.

struct ChangeOptions
{
    bool yes = false;
    bool dryRun = false;
    bool json = false;
    bool repair = false;
    unsigned waitSeconds = 10;
};

// How a verb speaks of its steps: "create", "created", "are there".
struct ChangeWords
{
    const char* verb;
    const char* done;
    const char* result;
};

// Does the work under one lock, with which the changes are applied at the end. A step that is still Planned after it
// becomes NotReached.
void TakeUnderLock(CSession& session, const ChangeOptions& options, Report& report, const std::function<void()>& work);
// Whether an interruption is wanted, which is noted then.
bool IsInterrupted(Report& report);
// Takes the planned steps from the first to the last under one lock. `prepare` comes first: when it leaves errors
// nothing is done. `take` makes the step Done or Failed; whether the next one is taken, too. Later steps are NotReached
// then.
void TakeSteps(CSession& session, const ChangeOptions& options, Report& report, const std::function<void()>& prepare,
               const std::function<bool(Step&)>& take);
// Says on standard error how far a change has come that did not come to its end, has the parent examined, and tells of
// a restart. Then the report is complete.
void TellTheEnd(CSession& session, const ChangeOptions& options, const ChangeWords& words, Report& report);
