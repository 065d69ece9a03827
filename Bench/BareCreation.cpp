#include "Bench/BareCreation.h"

#include "Bench/BareCalls.h"

#include "Common/Library/RavMiniportDrv.h"
#include "Suite/Lab/State/LabNames.h"

#include <setupapi.h>
#include <initguid.h>
#include <devguid.h>

#include <algorithm>
#include <cstring>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t DEVICE[] = L"\\Device\\";
constexpr DWORD OID_NEW_VLAN = 0xFF010109;
constexpr DWORD ANNOUNCEMENT_SIZE = 258;
constexpr size_t LIST_CHARACTERS = 8192;

void SetNumber(HKEY key, const wchar_t* name, DWORD value)
{
    RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

void SetText(HKEY key, const wchar_t* name, const std::wstring& value)
{
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void SetList(HKEY key, const wchar_t* name, const std::vector<std::wstring>& values)
{
    std::wstring data;
    for (const std::wstring& value : values)
        data += value + L'\0';
    data += L'\0';
    RegSetValueExW(key, name, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data.data()),
                   static_cast<DWORD>(data.size() * sizeof(wchar_t)));
}

std::vector<std::wstring> ListOf(HKEY key, const wchar_t* name)
{
    std::vector<wchar_t> data(LIST_CHARACTERS + 1);
    DWORD size = LIST_CHARACTERS * sizeof(wchar_t);
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
    std::vector<std::wstring> values;
    for (const wchar_t* cursor = data.data(); *cursor != L'\0'; cursor += wcslen(cursor) + 1)
        values.emplace_back(cursor);
    return values;
}

HKEY Create(const CRavString& path)
{
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    return key;
}

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
    Open();
    ReadParent();
    for (DWORD id = firstId; id <= lastId; ++id)
        Install(id, prefix + std::to_wstring(id));
    WriteLists();
    if (m_first)
    {
        SetUpParent();
        MoveDhcp();
        BindParent();
    }
    Close();
    Announce();
    Restart();
    m_core.UnloadMiniportDuringApplyDone(m_parent);
    m_core.DoneLock(token);
}

void CBareCreation::Open()
{
    wchar_t* holder = nullptr;
    CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_netCfg));
    m_netCfg.As(&m_lock);
    m_lock->AcquireWriteLock(0, L"bench", &holder);
    CoTaskMemFree(holder);
    m_netCfg->Initialize(nullptr);
    m_netCfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClassSetup,
                               reinterpret_cast<void**>(m_setup.GetAddressOf()));
    WalkNetwork(*m_netCfg.Get(), [&](INetCfgComponent& component) {
        if (GuidOf(component) == m_parent.c_str())
            m_adapter = &component;
        return !m_adapter;
    });
    m_adapter->OpenParamKey(&m_parentKey);
    m_driverKey = Create(BelowKey(XMS_ADAPTERS_KEY));
}

void CBareCreation::ReadParent()
{
    wchar_t* name = nullptr;
    m_adapter->GetDisplayName(&name);
    m_parentName = name;
    CoTaskMemFree(name);
    if (m_first)
    {
        CRavString address;
        m_core.GetPermMacAddress(m_parent, address);
        m_address = address.c_str();
        return;
    }
    m_address = TextOf(m_parentKey, L"NetworkAddress");
    m_ids = ListOf(m_parentKey, L"VLANID");
    m_devices = ListOf(m_driverKey, L"MiniportBindingList");
    m_group = NumberOf(m_driverKey, L"LogicalGroupID");
}

void CBareCreation::Install(DWORD id, const std::wstring& name)
{
    ComPtr<INetCfgComponent> miniport;
    OBO_TOKEN token = {};
    token.Type = OBO_USER;
    m_setup->Install(L"oxmsmp", &token, 0, 0, nullptr, nullptr, &miniport);
    const std::wstring guid = GuidOf(*miniport.Get());
    const std::wstring displayName = m_parentName + L" - VLAN : " + name;
    wchar_t* node = nullptr;
    HKEY key = nullptr;
    miniport->OpenParamKey(&key);
    SetText(key, L"MediaType", L"0");
    SetNumber(key, L"VLANID", id);
    SetNumber(key, L"LogicalGroupID", m_group);
    SetText(key, L"RavXmsMiniportKey", guid);
    SetText(key, L"RavVlanParentKey", m_parent.c_str());
    SetNumber(key, L"RavVlanType", 1);
    SetText(key, L"NetworkAddress", m_address);
    SetNumber(key, L"SupportedFeatures", 8);
    SetText(key, L"VLANName", name);
    SetText(key, L"VLANDisplayName", displayName);
    RegCloseKey(key);
    miniport->SetDisplayName(displayName.c_str());
    miniport->GetPnpDevNodeId(&node);
    m_nodes.emplace_back(node);
    CoTaskMemFree(node);
    m_ids.push_back(std::to_wstring(id));
    m_devices.push_back(DEVICE + guid);
    m_newDevices.push_back(DEVICE + guid);
}

void CBareCreation::WriteLists()
{
    SetList(m_parentKey, L"VLANID", m_ids);
    SetList(m_driverKey, L"MiniportBindingList", m_devices);
    SetNumber(m_driverKey, L"MiniportBindingListCount", static_cast<DWORD>(m_devices.size()));
}

void CBareCreation::SetUpParent()
{
    SetNumber(m_parentKey, L"XMSLoaded", 1);
    SetNumber(m_parentKey, L"VlanMode", 1);
    SetNumber(m_parentKey, L"TaggingMode", 1);
    SetText(m_parentKey, L"NetworkAddress", m_address);
    SetNumber(m_driverKey, L"LogicalGroupID", m_group);
    SetNumber(m_driverKey, L"PhysicalAdapterID", CBenchHost::PARENT_INSTANCE);
    SetText(m_driverKey, L"AdapterName", m_parentName);
    SetNumber(m_driverKey, L"TotalPhysicalAdapters", 1);
    SetNumber(m_driverKey, L"TaggingMode", 1);
}

void CBareCreation::MoveDhcp()
{
    HKEY tcpip = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, BelowKey(TCPIP_INTERFACES_KEY), 0, KEY_READ | KEY_WRITE, &tcpip);
    const DWORD dhcp = NumberOf(tcpip, L"EnableDHCP");
    SetNumber(tcpip, L"EnableDHCP", 0);
    const HKEY configuration = Create(BelowKey(CRavString(XMS_PARAMETERS_KEY) + L"\\Configuration"));
    SetNumber(configuration, L"EnableDHCP", dhcp);
    RegCloseKey(configuration);
    RegCloseKey(tcpip);
}

void CBareCreation::BindParent()
{
    const auto bindings = [&](const wchar_t* id) {
        ComPtr<INetCfgComponent> protocol;
        ComPtr<INetCfgComponentBindings> found;
        m_netCfg->FindComponent(id, &protocol);
        protocol.As(&found);
        return found;
    };
    bindings(L"oxmsprotocol")->BindTo(m_adapter.Get());
    bindings(L"ms_tcpip")->UnbindFrom(m_adapter.Get());
    bindings(L"ms_tcpip6")->UnbindFrom(m_adapter.Get());
    // What was taken off is noted, so that it can be given back one day.
    const HKEY notes = Create(CRavString(SUITE_KEY) + L"\\Bindings");
    SetList(notes, m_parent, {L"ms_tcpip", L"ms_tcpip6"});
    RegCloseKey(notes);
}

void CBareCreation::Close()
{
    RegCloseKey(m_driverKey);
    RegCloseKey(m_parentKey);
    m_netCfg->Apply();
    m_setup.Reset();
    m_adapter.Reset();
    m_netCfg->Uninitialize();
    m_lock->ReleaseWriteLock();
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
        wcscpy_s(header.szAdapter, m_parent);
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
