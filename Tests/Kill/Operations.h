#pragma once
// The operations that are killed, each on a host that is prepared for it. A further one is a line of the table.

#include "Src/Agent/RavVlanAgent.h"

#include <functional>
#include <string>
#include <vector>

struct RAV_KILL_OPERATION
{
    const char* name;
    const char* parent;   // "Port A" or "Team"
    const char* prepared; // the ids of the VLANs that are there before, "10 0"
    const char* request;  // a verb and its argument
    // Whole states on the way, as the requests that lead to them: what is killed between two VLANs ends in one.
    std::vector<const char*> between;
    // Requests after which the host is as before, apart from what VLANs leave of themselves.
    std::vector<const char*> undone;
    const char* preparing = ""; // a request that comes first
};

const std::vector<RAV_KILL_OPERATION>& KillOperations();

// A request, ready to be carried out: what it needs to know has been looked up.
std::function<CResult()> MakeRequest(CVlanAgentWin& agent, const RAV_LOCK_RECORD& lock, const CRavString& parent,
                                     const std::string& request);
