#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavResult.h"
#include "Plan/RavFinding.h"
#include "Src/View/RavHost.h"

#include <functional>
#include <vector>

class CRavCoreAgentPvtIntf;
class CRavNetAgentPvt;

struct RAV_REPAIR
{
    // 0 when both locks were had and the host could be read; otherwise nothing was changed. ERROR_LOCK_VIOLATION: the
    // configuration is locked by another program.
    CResult result;
    std::vector<RAV_FINDING> mended; // those whose steps were taken, in the order in which they were
    std::vector<RAV_STEP> failed;    // steps that could not be taken
    std::vector<RAV_FINDING> left;   // what the host has afterwards
    bool isRestartNeeded = false;
};

// Whether a repair also reloads the devices whose values it has changed. Where the driver knows already what is only
// written down late, a reload would interrupt connections for nothing.
enum class RAV_RELOADS
{
    WhereNeeded,
    None
};

// Mends what is wrong with the host: takes the suite's lock and the network configuration's, reads the host under them,
// takes the steps of those findings that are chosen, again until none of these is left, and gives both locks back, with
// which the changes are applied and devices reloaded; and so again for each further component with the GUID of one that
// was removed. Interrupted at any place it leaves a host that it mends when it is called again. Whatever cannot be done
// is left out, and shows in the result. Nothing is written when nothing is chosen. One thread at a time.
RAV_REPAIR RavRepairHost(CRavNetAgentPvt& agent, CRavCoreAgentPvtIntf& core, const RAV_LOCK_RECORD& lock,
                         const std::function<bool(const RAV_FINDING&)>& isChosen,
                         RAV_RELOADS reloads = RAV_RELOADS::WhereNeeded);
