#include "Suite/Lab/TeamAgent/LabTeams.h"

#include "Common/Library/BindingRecord.h"
#include "Common/Library/XmsBindings.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabState.h"

bool LabTakeProtocolsOff(const CRavString& team)
{
    CRavNetCfgInterface netCfg;
    Microsoft::WRL::ComPtr<INetCfgComponent> miniport;
    std::vector<CRavString> taken;
    if (FAILED(netCfg.Initialize()) || FAILED(netCfg.AcquireLockForWrite()))
        return false;
    // What is taken is noted before it is applied: whoever is interrupted between can give it back.
    const bool done = SUCCEEDED(netCfg.FindNetworkComponentByGUID(team, miniport)) && miniport &&
                      SUCCEEDED(RavTakeProtocolsOff(netCfg, *miniport.Get(), taken)) &&
                      (taken.empty() || RavWriteBindingRecord(team, taken)) && LabMoveDhcp(team);
    return SUCCEEDED(netCfg.ReleaseLockForWrite()) && done;
}

bool LabGiveProtocolsBack(const CRavString& team)
{
    std::vector<CRavString> protocols;
    if (!RavReadBindingRecord(team, protocols) && !LabHasKey(LabPath(XMS_CONFIGURATION_KEY, team)))
        return true; // it has given up nothing
    CRavNetCfgInterface netCfg;
    if (FAILED(netCfg.Initialize()) || FAILED(netCfg.AcquireLockForWrite()))
        return false;
    const bool done = netCfg.CleanUpAdapterFromXms(team, true) == 0;
    return SUCCEEDED(netCfg.ReleaseLockForWrite()) && done;
}
