#include "Bench/BareCreation.h"

#include "Bench/BareCalls.h"
#include "Bench/BareParent.h"

#include "Common/Library/RavMiniportDrv.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"
#include "Suite/Lab/State/LabNames.h"

#include <setupapi.h>

#include <algorithm>
#include <cstring>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr DWORD ANNOUNCEMENT_SIZE = 258;

void ChangeState(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD state)
{
    SP_PROPCHANGE_PARAMS change = {};
    change.ClassInstallHeader.cbSize = sizeof(change.ClassInstallHeader);
    change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    change.StateChange = state;
    change.Scope = DICS_FLAG_CONFIGSPECIFIC;
    SetupDiSetClassInstallParamsW(list, &device, &change.ClassInstallHeader, sizeof(change));
    SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, list, &device);
}
} // namespace

void CBareCreation::Run(DWORD firstId, DWORD lastId, const wchar_t* prefix)
{
    RAV_LOCK_TOKEN token;
    m_core.StartLock(CBenchHost::Lock(), token);
    CBareParent parent;
    ReadParent(parent);
    for (DWORD id = firstId; id <= lastId; ++id)
        Install(parent, id, prefix + std::to_wstring(id));
    parent.WriteLists();
    if (m_first)
    {
        SetUpParent(parent);
        MoveDhcp(parent);
        BindParent(parent);
    }
    parent.Close();
    Announce();
    Restart();
    m_core.UnloadMiniportDuringApplyDone(CBenchHost::Parent());
    m_core.DoneLock(token);
}

void CBareCreation::ReadParent(CBareParent& parent)
{
    wchar_t* name = nullptr;
    parent.adapter->GetDisplayName(&name);
    m_parentName = name;
    CoTaskMemFree(name);
    if (m_first)
    {
        CRavString address;
        m_core.GetPermMacAddress(CBenchHost::Parent(), address);
        m_address = address.c_str();
        return;
    }
    m_address = TextOf(parent.key, NetworkValue::NetworkAddress);
    parent.ReadLists();
    m_group = NumberOf(parent.driverKey, XmsValue::LogicalGroupId);
}

void CBareCreation::Install(CBareParent& parent, DWORD id, const std::wstring& name)
{
    ComPtr<INetCfgComponent> miniport;
    OBO_TOKEN token = {};
    token.Type = OBO_USER;
    parent.setup->Install(L"oxmsmp", &token, 0, 0, nullptr, nullptr, &miniport);
    const std::wstring guid = GuidOf(*miniport.Get());
    const std::wstring displayName = m_parentName + L" - VLAN : " + name;
    wchar_t* node = nullptr;
    HKEY key = nullptr;
    miniport->OpenParamKey(&key);
    SetText(key, L"MediaType", L"0");
    SetNumber(key, XmsValue::VlanId, id);
    SetNumber(key, XmsValue::LogicalGroupId, m_group);
    SetText(key, XmsValue::XmsMiniportKey, guid);
    SetText(key, XmsValue::VlanParentKey, CBenchHost::Parent().c_str());
    SetNumber(key, XmsValue::VlanType, 1);
    SetText(key, NetworkValue::NetworkAddress, m_address);
    SetNumber(key, XmsValue::SupportedFeatures, FEATURE_VLAN);
    SetText(key, XmsValue::VlanName, name);
    SetText(key, XmsValue::VlanDisplayName, displayName);
    RegCloseKey(key);
    miniport->SetDisplayName(displayName.c_str());
    miniport->GetPnpDevNodeId(&node);
    m_nodes.emplace_back(node);
    CoTaskMemFree(node);
    parent.ids.push_back(std::to_wstring(id));
    parent.devices.push_back(DEVICE_PREFIX + guid);
    m_newDevices.push_back(DEVICE_PREFIX + guid);
}

void CBareCreation::SetUpParent(const CBareParent& parent)
{
    SetNumber(parent.key, XmsValue::XmsLoaded, 1);
    SetNumber(parent.key, XmsValue::VlanMode, 1);
    SetNumber(parent.key, XmsValue::TaggingMode, 1);
    SetText(parent.key, NetworkValue::NetworkAddress, m_address);
    SetNumber(parent.driverKey, XmsValue::LogicalGroupId, m_group);
    SetNumber(parent.driverKey, XmsValue::PhysicalAdapterId, CBenchHost::PARENT_INSTANCE);
    SetText(parent.driverKey, XmsValue::AdapterName, m_parentName);
    SetNumber(parent.driverKey, XmsValue::TotalPhysicalAdapters, 1);
    SetNumber(parent.driverKey, XmsValue::TaggingMode, 1);
}

void CBareCreation::MoveDhcp(const CBareParent& parent)
{
    HKEY tcpip = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, parent.BelowKey(TCPIP_INTERFACES_KEY), 0, KEY_READ | KEY_WRITE, &tcpip);
    const DWORD dhcp = NumberOf(tcpip, NetworkValue::EnableDhcp);
    SetNumber(tcpip, NetworkValue::EnableDhcp, 0);
    const HKEY configuration = CreateKey(parent.BelowKey(XMS_CONFIGURATION_KEY));
    SetNumber(configuration, NetworkValue::EnableDhcp, dhcp);
    RegCloseKey(configuration);
    RegCloseKey(tcpip);
}

void CBareCreation::BindParent(const CBareParent& parent)
{
    parent.BindingsOf(L"oxmsprotocol")->BindTo(parent.adapter.Get());
    parent.BindingsOf(L"ms_tcpip")->UnbindFrom(parent.adapter.Get());
    parent.BindingsOf(L"ms_tcpip6")->UnbindFrom(parent.adapter.Get());
    // What was taken off is noted, so that it can be given back one day.
    const HKEY notes = CreateKey(CRavString(SUITE_KEY) + L"\\Bindings");
    SetList(notes, CBenchHost::Parent(), {L"ms_tcpip", L"ms_tcpip6"});
    RegCloseKey(notes);
}

void CBareCreation::Announce()
{
    const HANDLE driver = CreateFileW(RAV_XMS_DEVICE, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (driver == INVALID_HANDLE_VALUE)
        return;
    for (const std::wstring& device : m_newDevices)
    {
        BYTE request[sizeof(RAV_OID_HEADER) + ANNOUNCEMENT_SIZE] = {};
        RAV_OID_HEADER header = {};
        DWORD returned = 0;
        wcscpy_s(header.szAdapter, CBenchHost::Parent());
        header.dwOid = OID_NEW_VLAN;
        header.dwLength = ANNOUNCEMENT_SIZE;
        memcpy(request, &header, sizeof(header));
        request[sizeof(header)] = static_cast<BYTE>(device.size());
        std::transform(device.begin(), device.end(), request + sizeof(header) + sizeof(USHORT),
                       [](wchar_t character) { return static_cast<BYTE>(character); });
        DeviceIoControl(driver, RAV_IOCTL_SET_OID, request, sizeof(request), nullptr, 0, &returned, nullptr);
    }
    CloseHandle(driver);
}

void CBareCreation::Restart()
{
    for (const std::wstring& node : m_nodes)
    {
        SP_DEVINFO_DATA device = {};
        device.cbSize = sizeof(device);
        const HDEVINFO list = SetupDiCreateDeviceInfoList(nullptr, nullptr);
        SetupDiOpenDeviceInfoW(list, node.c_str(), nullptr, 0, &device);
        ChangeState(list, device, DICS_STOP);
        ChangeState(list, device, DICS_START);
        SetupDiDestroyDeviceInfoList(list);
    }
}
