// What a VLAN can do, and what it shares with others: its parent's answers, for sibling agents.

#include "Src/Agent/RavVlanAgentChange.h"

#include "Common/Intf/RavParameter.h"
#include "Src/RavCoreInterface.h"
#include "Src/RavNameTable.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentCapabilities";
} // namespace

// Asks each adapter below the VLAN: ask(adapter, answer). share(answers) says what they have in common.
template <typename Answer, typename Ask, typename Share>
void CVlanAgentWin::AskBelow(CResult& result, const wchar_t* operation, const CRavString& strVlanKey, Answer& answer,
                             Ask&& ask, Share&& share)
{
    answer = Answer();
    ForSibling(result, operation, strVlanKey, [&](CRavXmsVlan& vlan) {
        std::vector<CRavString> adapters;
        if (!vlan.FindCarriers(adapters) || adapters.empty())
            return CResult();
        for (const CRavString& adapter : adapters)
        {
            Answer one = Answer();
            const CResult asked = ask(adapter, one);
            if (!asked.Succeeded())
                return asked;
            answer = &adapter == &adapters.front() ? one : share(answer, one);
        }
        return CResult::Success();
    });
    if (!result.Succeeded())
        answer = Answer();
}

void CVlanAgentWin::IsVlanVmqCapable(CResult& result, const CRavString& strVlanKey, bool& bCapable)
{
    AskBelow(
        result, L"IsVlanVmqCapable", strVlanKey, bCapable,
        [&](const CRavString& adapter, bool& capable) { return Core().IsDeviceVmqCapable(adapter, capable); },
        std::logical_and<bool>());
}

void CVlanAgentWin::IsVlanVmqEnabled(CResult& result, const CRavString& strVlanKey, bool& bEnabled)
{
    AskBelow(
        result, L"IsVlanVmqEnabled", strVlanKey, bEnabled,
        [&](const CRavString& adapter, bool& enabled) { return Core().IsDeviceVmqEnabled(adapter, enabled); },
        std::logical_and<bool>());
}

void CVlanAgentWin::GetReceiveScaleCapabilitiesFlag(CResult& result, const CRavString& strVlanKey, DWORD& dwFlags)
{
    AskBelow(
        result, L"GetReceiveScaleCapabilitiesFlag", strVlanKey, dwFlags,
        [&](const CRavString& adapter, DWORD& flags) {
            return Core().GetReceiveScaleCapabilitiesFlagForAdapter(adapter, flags);
        },
        std::bit_and<DWORD>());
}

void CVlanAgentWin::IsOtherVlansBoundToVmSwitchProtocol(CResult& result, const CRavString& strVlanKey, bool& bBound)
{
    bBound = false;
    ForSibling(result, L"IsOtherVlansBoundToVmSwitchProtocol", strVlanKey, [&](CRavXmsVlan& vlan) {
        std::vector<CRavString> siblings;
        CResult asked = EnumerateVlansOnParent(vlan.m_strParentKey, siblings);
        for (const CRavString& key : siblings)
        {
            bool bound = false;
            if (asked.Succeeded() && !key.CompareI(vlan.m_strVlanKey))
                IsHyperV_EnabledOnVlan(asked, key, bound);
            bBound = bBound || bound;
        }
        return asked;
    });
}

void CVlanAgentWin::GetParameter(CResult& result, const CRavString& strVlanKey, RAV_PARAMETER& parameter)
{
    ForSibling(result, L"GetParameter", strVlanKey, [&](CRavXmsVlan& vlan) { return vlan.GetParameter(parameter); });
}

// A parameter that an adapter does not have is not given to it.
CResult CVlanAgentWin::SetFilteringOf(const CRavString& strAdapter, const CRavString& strValue)
{
    RAV_PARAMETER present;
    present.strName = RavName(RAV_NAME_VLAN_FILTERING);
    CResult result = Core().GetParameter(strAdapter, present);
    if (result.ulErrCode == ERROR_FILE_NOT_FOUND)
        return CResult::Success();
    if (!result.Succeeded() || (present.dwType == REG_SZ && present.strValue == strValue))
        return result;
    result = Core().SetParameter(strAdapter, RAV_PARAMETER::Text(present.strName, strValue));
    return result.Succeeded() ? Core().UnloadMiniportDuringApplyDone(strAdapter) : result;
}

void CVlanAgentWin::SetVlanFilteringSetting(CResult& result, const CRavString& strParentKey, bool bOn)
{
    result = CResult();
    const CRavTraceScope trace(L"CVlanAgentWin::SetVlanFilteringSetting", &result);
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::SetVlanFilteringSetting", result, [&] {
        const CNetCfgSession session(*this);
        CRavXmsVlan vlan(RAV_NEW_VLAN_KEY, *this);
        vlan.m_strParentKey = RavCanonicalKey(strParentKey);
        std::vector<CRavString> adapters;
        if (!vlan.GetParentType(vlan.m_iParentType).Succeeded() || !vlan.FindCarriers(adapters))
            return;
        result = CResult::Success();
        for (const CRavString& adapter : adapters)
        {
            const CResult set = SetFilteringOf(adapter, bOn ? L"1" : L"0");
            if (result.Succeeded())
                result = set;
        }
    });
}
