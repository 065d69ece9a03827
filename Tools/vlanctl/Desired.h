#pragma once

#include "Plan/RavCarryOut.h"
#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/DesiredStateFile.h"
#include "Tools/vlanctl/Difference.h"

#include <string>
#include <vector>

// A file and the host: what would have to be done, what stands against it, and what it costs.

struct DesiredPlan
{
    std::vector<RAV_WANTED_PARENT> wanted;
    std::vector<RAV_PARENT_CHANGE> changes;
    std::vector<Difference> differences;
    std::vector<Note> errors; // with any nothing is to be done
    std::vector<Note> warnings;
};

// Reads the host in one walk; `only` are the parents of the state that it is about, none: all. Throws CommandError when
// it cannot be read, or a name is nothing's.
DesiredPlan MakeDesiredPlan(CSession& session, const std::vector<DesiredParent>& state,
                            const std::vector<std::string>& only, bool prune);
// The same of the file that the options name.
DesiredPlan MakeDesiredPlan(CSession& session, const DiffOptions& options);
// The plan once more, as the host is now.
void Replan(CSession& session, bool prune, DesiredPlan& plan);
// All steps of the plan, in their order.
std::vector<Step> StepsOf(const DesiredPlan& plan);
