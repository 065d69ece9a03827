#include "Src/View/RavHostView.h"

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

bool ReadParentAndNames(HKEY key, RAV_HOST_ADAPTER& adapter)
{
    const CRavRegValues values(key, {XmsValue::VlanParentKey, XmsValue::VlanName});
    values.Text(0, adapter.parentKey, PARENT_CHARACTERS);
    values.AnyText(1, adapter.vlanName, NAME_CHARACTERS);
    adapter.named = IsAnswer(values.Status(1)) && IsAnswer(QueryNumber(key, XmsValue::VlanId, adapter.vlanId));
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
        const RAV_HOST_ADAPTER* const adapter = Find(guid);
        if (adapter == nullptr || !adapter->IsVlan())
            continue;
        if (strParentKey.IsEmpty() || adapter->parentKey == strParentKey)
            vlanKeys.push_back(guid);
        else
            RavTrace().Print(L"CVlanAgentWin::EnumVlansPvt1 - Deleting sMiniport");
    }
    return status;
}

const RAV_HOST_ADAPTER* CRavHostView::Find(const CRavString& strGuid, DEPTH depth)
{
    const auto isEnough = [depth](const RAV_HOST_ADAPTER& adapter) {
        return depth == DEPTH::Parents || adapter.named || !adapter.IsVlan();
    };
    const CRavString guid = RavCanonicalKey(strGuid);
    auto known = m_adapters.find(guid);
    if (known == m_adapters.end() || !isEnough(known->second))
    {
        RAV_HOST_ADAPTER adapter;
        if (!Read(guid, std::max(depth, m_depth), adapter))
            return nullptr;
        known = m_adapters.insert_or_assign(guid, adapter).first;
    }
    return isEnough(known->second) ? &known->second : nullptr;
}

void CRavHostView::Forget(const CRavString& strGuid)
{
    m_adapters.erase(RavCanonicalKey(strGuid));
}

bool CRavHostView::Read(const CRavString& strGuid, DEPTH depth, RAV_HOST_ADAPTER& adapter)
{
    ComPtr<INetCfgComponent> component;
    CRavKeyHandle key;
    if (FAILED(m_netCfg.FindNetworkComponentByGUID(strGuid, component)) || !component ||
        FAILED(component->OpenParamKey(key.Receive())))
        return false;
    if (!IsAnswer(QueryNumber(key.Get(), XmsValue::SupportedFeatures, adapter.features)))
        return false;
    adapter.kind = KindOf(adapter.features);
    if (!adapter.IsVlan())
        return true;
    return depth == DEPTH::Names ? ReadParentAndNames(key.Get(), adapter) : ReadParent(key.Get(), adapter);
}
