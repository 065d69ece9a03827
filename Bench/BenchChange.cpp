// Changing one VLAN of several, beside bare calls that leave the same values behind.

#include "Bench/BareChange.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchOperations.h"
#include "Common/Settings/RavSetting.h"
#include "Src/Agent/RavVlanAgent.h"

namespace
{
constexpr DWORD NEW_ID = 4000;
constexpr int NEW_VALUE = 4;

// ours(agent, result, vlan) beside bare(core, vlan).
template <typename Ours, typename Bare>
BenchOperation Change(const Ours& ours, const Bare& bare)
{
    return {
        [=](CBenchHost& host) {
            CResult result;
            ours(host.Agent(), result, CBenchHost::Vlan(CBenchHost::WITH_SETTING));
            if (!result.Succeeded())
                BenchText("  a change failed with code " + std::to_string(result.ulErrCode));
        },
        [=](CBenchHost& host) { bare(*host.Agent().GetCoreAgentPvt(), CBenchHost::Vlan(CBenchHost::WITH_SETTING)); }};
}
} // namespace

void BenchChange()
{
    const auto rename =
        Change([](CVlanAgentWin& agent, CResult& result,
                  const CRavString& vlan) { agent.SetVLANName(result, vlan, L"New", CBenchHost::Lock()); },
               [](CRavCoreAgentPvtIntf& core, const CRavString& vlan) { BareRename(core, vlan, L"New"); });
    const auto setId = Change([](CVlanAgentWin& agent, CResult& result,
                                 const CRavString& vlan) { agent.SetVLANId(result, vlan, NEW_ID, CBenchHost::Lock()); },
                              [](CRavCoreAgentPvtIntf& core, const CRavString& vlan) {
                                  BareSetId(core, vlan, CBenchHost::WITH_SETTING, NEW_ID);
                              });
    const auto set = Change(
        [](CVlanAgentWin& agent, CResult& result, const CRavString& vlan) {
            const RAV_SETTING_VAL_INT value(NEW_VALUE);
            agent.SetSetting(result, vlan, CBenchHost::SETTING, &value, CBenchHost::Lock());
        },
        [](CRavCoreAgentPvtIntf& core, const CRavString& vlan) {
            BareSetSetting(core, vlan, CBenchHost::SETTING, NEW_VALUE);
        });
    BenchHeading("Changing one VLAN, by those its adapter has");
    for (const size_t vlans : {8, 64})
    {
        const std::string of = " of " + std::to_string(vlans);
        ChangeRow("name" + of, vlans, rename, {});
        ChangeRow("id" + of, vlans, setId, {});
        ChangeRow("setting" + of, vlans, set, {});
    }
}
