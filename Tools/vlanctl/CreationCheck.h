#pragma once

#include "Tools/vlanctl/Note.h"
#include "Tools/vlanctl/Session.h"
#include "Tools/vlanctl/WantedVlans.h"

#include <string>
#include <vector>

// What stands against the creation of VLANs, and which of them it is about.

struct CreationCheck
{
    std::vector<Note> errors;
    std::vector<Note> warnings;
};

// Asks the agent, and adds the rules of vlanctl about names. Throws CommandError when the agent cannot tell.
CreationCheck CheckCreation(CSession& session, const CRavString& parentKey, const WantedVlans& wanted);
// The name by which the agent is asked for a VLAN's.
CRavString RequestedName(const std::optional<std::string>& name);
