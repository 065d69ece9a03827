#include "Src/View/RavHostView.h"

#include "Common/Library/ParamKey.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"
#include "Common/Src/RavKeyHandle.h"
#include "Common/Src/RavRegValues.h"
#include "Common/Src/XmsNames.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr size_t PARENT_CHARACTERS = 512;
constexpr size_t NAME_CHARACTERS = 256;

RAV_ADAPTER_KIND KindOf(DWORD features)
{
    if (RavIsVlan(features))
        return (features & FEATURE_OVER_TEAM) != 0 ? RAV_ADAPTER_KIND::VlanOnTeam : RAV_ADAPTER_KIND::VlanOnAdapter;
    return RavIsTeam(features) ? RAV_ADAPTER_KIND::Team : RAV_ADAPTER_KIND::Adapter;
}

// Whether the query was answered, by a value or by its absence; otherwise the key could not be read.
bool IsAnswer(LONG status)
{
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND || status == ERROR_MORE_DATA;
}

LONG QueryNumber(HKEY key, const wchar_t* name, DWORD& value)
{
    DWORD type = REG_NONE;
    DWORD data = 0;
    DWORD size = sizeof(data);
    const LONG status = RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
    if (status == ERROR_SUCCESS && type == REG_DWORD && size == sizeof(data))
        value = data;
    return status;
}

bool ReadParent(HKEY key, RAV_HOST_ADAPTER& adapter)
{
    const CRavRegValues values(key, {XmsValue::VlanParentKey});
    values.Text(0, adapter.parentKey, PARENT_CHARACTERS);
    return IsAnswer(values.Status(0));
}

// Whether the names could be read is told apart from the answer, which is the parent's.
bool ReadParentAndNames(HKEY key, RAV_HOST_ADAPTER& adapter, bool& named)
{
    const CRavRegValues values(key, {XmsValue::VlanParentKey, XmsValue::VlanName});
    values.Text(0, adapter.parentKey, PARENT_CHARACTERS);
    values.AnyText(1, adapter.vlanName, NAME_CHARACTERS);
    named = IsAnswer(values.Status(1)) && IsAnswer(QueryNumber(key, XmsValue::VlanId, adapter.vlanId));
    return IsAnswer(values.Status(0));
}
} // namespace

HRESULT CRavHostView::EnumerateVlans(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys)
{
    std::vector<CRavString> guids;
    const HRESULT status = m_netCfg.ListNetworkComponents(guids);
    if (FAILED(status))
        return status;
    for (const CRavString& guid : guids)
    {
        const RAV_HOST_ADAPTER* const adapter = Known(guid, strParentKey.IsEmpty() ? DEPTH::Kinds : DEPTH::Parents);
        if (adapter == nullptr || !adapter->IsVlan())
            continue;
        if (strParentKey.IsEmpty() || adapter->parentKey == strParentKey)
            vlanKeys.push_back(guid);
        else
            RavTrace().Print(L"CVlanAgentWin::EnumVlansPvt1 - Deleting sMiniport");
    }
    return status;
}

// What is known of an adapter does not say that it is still there.
const RAV_HOST_ADAPTER* CRavHostView::Find(const CRavString& strGuid, DEPTH depth)
{
    ComPtr<INetCfgComponent> component;
    if (FAILED(m_netCfg.FindNetworkComponentByGUID(strGuid, component)) || !component)
        return nullptr;
    return Known(RavCanonicalKey(strGuid), depth);
}

const RAV_HOST_ADAPTER* CRavHostView::Known(const CRavString& strGuid, DEPTH depth)
{
    const auto isEnough = [depth](const KNOWN& known) { return known.depth >= depth || !known.adapter.IsVlan(); };
    auto found = m_adapters.find(strGuid);
    if (found == m_adapters.end() || !isEnough(found->second))
    {
        KNOWN known;
        if (!Read(strGuid, std::max(depth, m_depth), known))
            return nullptr;
        found = m_adapters.insert_or_assign(strGuid, known).first;
    }
    return isEnough(found->second) ? &found->second.adapter : nullptr;
}

void CRavHostView::Forget(const CRavString& strGuid)
{
    m_adapters.erase(RavCanonicalKey(strGuid));
}

// A VLAN of which no more can be read is known as one all the same.
bool CRavHostView::Read(const CRavString& strGuid, DEPTH depth, KNOWN& known)
{
    ComPtr<INetCfgComponent> component;
    CRavKeyHandle key;
    RAV_HOST_ADAPTER& adapter = known.adapter;
    if (FAILED(m_netCfg.FindNetworkComponentByGUID(strGuid, component)) || !component ||
        FAILED(RavOpenParamKey(*component.Get(), key)) ||
        !IsAnswer(QueryNumber(key.Get(), XmsValue::SupportedFeatures, adapter.features)))
        return false;
    adapter.kind = KindOf(adapter.features);
    if (!adapter.IsVlan() || depth == DEPTH::Kinds)
        return true;
    bool named = false;
    if (depth == DEPTH::Names ? ReadParentAndNames(key.Get(), adapter, named) : ReadParent(key.Get(), adapter))
        known.depth = named ? DEPTH::Names : DEPTH::Parents;
    return true;
}
