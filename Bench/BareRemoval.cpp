#include "Bench/BareRemoval.h"

#include "Bench/BareCalls.h"
#include "Bench/BareParent.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
struct Miniport
{
    ComPtr<INetCfgComponent> component;
    std::wstring device;
    std::wstring id;
};

void DeleteBelow(const CRavString& path)
{
    HKEY parent = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | KEY_WRITE, &parent);
    RegDeleteTreeW(parent, CBenchHost::Parent());
    RegCloseKey(parent);
}

Miniport MiniportOf(INetCfgComponent& component, const std::wstring& guid)
{
    HKEY key = nullptr;
    component.OpenParamKey(&key);
    Miniport miniport{&component, DEVICE_PREFIX + guid, std::to_wstring(NumberOf(key, XmsValue::VlanId))};
    RegCloseKey(key);
    return miniport;
}
} // namespace

void CBareRemoval::Run(const std::vector<std::wstring>& keys, bool lastOfParent)
{
    RAV_LOCK_TOKEN token;
    std::vector<Miniport> miniports;
    m_core.StartLock(CBenchHost::Lock(), token);
    CBareParent parent([&](INetCfgComponent& component) {
        const std::wstring guid = GuidOf(component);
        if (std::find(keys.begin(), keys.end(), guid) != keys.end())
            miniports.push_back(MiniportOf(component, guid));
        return miniports.size() == keys.size();
    });
    if (lastOfParent)
        ResetParent(parent);
    else
    {
        parent.ReadLists();
        for (const Miniport& miniport : miniports)
        {
            std::erase(parent.ids, miniport.id);
            std::erase(parent.devices, miniport.device);
        }
        parent.WriteLists();
    }
    for (Miniport& miniport : miniports)
    {
        OBO_TOKEN obo = {};
        obo.Type = OBO_USER;
        parent.setup->DeInstall(miniport.component.Get(), &obo, nullptr);
    }
    miniports.clear();
    parent.Close();
    if (lastOfParent)
        m_core.UnloadMiniportDuringApplyDone(CBenchHost::Parent());
    m_core.DoneLock(token);
}

void CBareRemoval::ResetParent(CBareParent& parent)
{
    for (const wchar_t* name : {XmsValue::XmsLoaded, XmsValue::VlanId, XmsValue::VlanMode})
        RegDeleteValueW(parent.key, name);
    SetText(parent.key, NetworkValue::NetworkAddress, L"");
    SetText(parent.key, XmsValue::VlanFiltering, L"0");
    SetText(parent.key, XmsValue::TaggingMode, L"0");
    GiveDhcpBack(parent);
    DeleteBelow(XMS_ADAPTERS_KEY);
    DeleteBelow(XMS_CONFIGURATION_KEY);
    parent.BindingsOf(L"oxmsprotocol")->UnbindFrom(parent.adapter.Get());
    parent.BindingsOf(L"ms_tcpip")->BindTo(parent.adapter.Get());
    parent.BindingsOf(L"ms_tcpip6")->BindTo(parent.adapter.Get());
}

void CBareRemoval::GiveDhcpBack(const CBareParent& parent)
{
    const auto open = [&](const CRavString& path, REGSAM access) {
        HKEY key = nullptr;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, parent.BelowKey(path), 0, access, &key);
        return key;
    };
    const HKEY configuration = open(XMS_CONFIGURATION_KEY, KEY_READ);
    const HKEY tcpip = open(TCPIP_INTERFACES_KEY, KEY_WRITE);
    SetNumber(tcpip, NetworkValue::EnableDhcp, NumberOf(configuration, NetworkValue::EnableDhcp));
    RegCloseKey(tcpip);
    RegCloseKey(configuration);
}
