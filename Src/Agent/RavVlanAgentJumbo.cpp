// How VLANs follow the jumbo size of their parent; for sibling agents.

#include "Src/Agent/RavVlanAgentChange.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentJumbo";
} // namespace

void CVlanAgentWin::ReSyncJumboFrameSettingEnumValues(CResult& result, const CRavString& strVlanKey,
                                                      const CRavString& strTopValue)
{
    ForSibling(result, L"ReSyncJumboFrameSettingEnumValues", strVlanKey, [&](CRavXmsVlan& vlan) {
        VlanWritten(vlan.m_strVlanKey);
        const CResult made = vlan.ReSyncJumboFrameSettingEnumValues(strTopValue);
        if (made.Succeeded())
            vlan.UnloadMiniport();
        return made;
    });
}

void CVlanAgentWin::SyncJumboFramesOnAllVlans(CResult& result, const CRavString& strParentKey)
{
    ForEachVlanOf(result, L"SyncJumboFramesOnAllVlans", strParentKey, [](CRavXmsVlan& vlan) {
        bool changed = false;
        const CResult followed = vlan.FollowParentJumboSize(changed);
        if (changed)
            vlan.UnloadMiniport();
        return followed;
    });
}
