#pragma once

#include "Plan/RavCarryOut.h"
#include "Tools/vlanctl/Commands.h"
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

// Reads the file, and the host in one walk. Throws CommandError when one of them cannot be read, or names nothing.
DesiredPlan MakeDesiredPlan(CSession& session, const DiffOptions& options);
// The plan once more, as the host is now.
void Replan(CSession& session, bool prune, DesiredPlan& plan);
// All steps of the plan, in their order.
std::vector<Step> StepsOf(const DesiredPlan& plan);
