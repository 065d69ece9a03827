#pragma once

#include "Tools/vlanctl/Report.h"
#include "Tools/vlanctl/Session.h"

#include <string>
#include <vector>

// Whether a change that failed or was interrupted has left its parent as it was before or should be after it.
enum class Aftermath
{
    Whole,
    Damaged
};

// Looks at the parent after such a change, with no lock held, and says on standard error what was left and which
// command mends it; with `repair` it is mended at once. An empty parent key stands for all.
Aftermath ExamineAfterTrouble(CSession& session, const CRavString& parentKey, bool repair);

// What is wrong with a parent, each finding in a line.
std::vector<std::string> FindingTexts(CSession& session, const CRavString& parentKey);

// Finishes changes over a team: the agent touches a team's members with the last tagged VLAN alone, so their lists
// still name those that went before. Tells on standard error what it has mended. Nothing is done for an adapter.
Aftermath TidyTeam(CSession& session, const CRavString& parentKey);
// For all parents of the steps that were taken; what cannot be examined or is left is noted.
void TidyTeams(CSession& session, Report& report);
