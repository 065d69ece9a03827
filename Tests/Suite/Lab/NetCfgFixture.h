#pragma once
// The COM server on a small host, with one object of every kind.

#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryDiff.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <initguid.h>
#include <devguid.h>
#include <netcfgx.h>
#include <setupapi.h>
#include <wrl/client.h>

#include <string>
#include <utility>

using Microsoft::WRL::ComPtr;

inline const char* const s_host = R"(
    Lab  StateDir  REG_SZ  %STATE%
    Class  Installer32  REG_SZ  NetCfg.dll,NetClassInstaller
    Class\0002  NetCfgInstanceId  REG_SZ  {A0000000-0000-0000-0000-000000000002}
    ..  ComponentId  REG_SZ  pci\ven_1a2b&dev_0010
    ..  DriverDesc  REG_SZ  Corvo 10G
    ..  Characteristics  REG_DWORD  0x84
    ..  DeviceInstanceID  REG_SZ  PCI\VEN_1A2B&DEV_0010\1
    Class\0003  NetCfgInstanceId  REG_SZ  not a guid
    Class\0004  DriverDesc  REG_SZ  no instance
    Class\0005  NetCfgInstanceId  REG_SZ  {A0000000-0000-0000-0000-000000000005}
    ..  ComponentId  REG_SZ  pci\ven_9999&dev_0001
    ..  DriverDesc  REG_SZ  Other
    Class\0006  NetCfgInstanceId  REG_DWORD  6
    Class\Properties  NetCfgInstanceId  REG_SZ  {A0000000-0000-0000-0000-0000000000FF}
    Enum\PCI\VEN_1A2B&DEV_0010\1  ClassGUID  REG_SZ  {4D36E972-E325-11CE-BFC1-08002BE10318}
    ..  Driver  REG_SZ  {4D36E972-E325-11CE-BFC1-08002BE10318}\0002
    ..  FriendlyName  REG_SZ  "Corvo 10G #2"
    Protocols\{B0000000-0000-0000-0000-000000000001}  ComponentId  REG_SZ  ms_tcpip
    ..  Description  REG_SZ  Internet Protocol
    ..\Ndi  Service  REG_SZ  Tcpip
    ..  HelpText  REG_SZ  Help
    Protocols\{B0000000-0000-0000-0000-000000000002}  ComponentId  REG_SZ  oxmsprotocol
    ..\Ndi  Service  REG_SZ  oXMSProtocol
    Services\Tcpip\Linkage  Bind  REG_MULTI_SZ  \Device\{A0000000-0000-0000-0000-000000000002}
    ..  Disabled  REG_MULTI_SZ  \Device\{A0000000-0000-0000-0000-000000000005}
    Services\oXMSProtocol\Linkage  Bind  REG_MULTI_SZ
    Network\{A0000000-0000-0000-0000-000000000002}
)";

inline std::wstring StateFolder()
{
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    return folder + (L"NetCfgTests" + std::to_wstring(GetCurrentProcessId()));
}

inline std::string HostText()
{
    std::string text = s_host;
    return text.replace(text.find("%STATE%"), 7, Utf8(StateFolder()));
}

inline HMODULE Server()
{
    static const HMODULE server = LoadLibraryW(L"NetCfg.dll");
    return server;
}

template <typename Function>
Function* Export(const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(Server(), name)));
}

inline ComPtr<INetCfg> NewNetCfg()
{
    ComPtr<IClassFactory> factory;
    ComPtr<INetCfg> netcfg;
    Export<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject")(CLSID_CNetCfg, IID_PPV_ARGS(&factory));
    factory->CreateInstance(nullptr, IID_PPV_ARGS(&netcfg));
    return netcfg;
}

template <typename To, typename From>
ComPtr<To> As(const ComPtr<From>& from)
{
    ComPtr<To> to;
    from->QueryInterface(IID_PPV_ARGS(&to));
    return to;
}

inline std::string Taken(LPWSTR text)
{
    std::string copy = text ? Utf8(text) : "(null)";
    CoTaskMemFree(text);
    return copy;
}

inline ComPtr<INetCfgComponent> Find(const ComPtr<INetCfg>& netcfg, const wchar_t* id)
{
    ComPtr<INetCfgComponent> component;
    EXPECT_EQ(S_OK, netcfg->FindComponent(id, &component)) << Utf8(id);
    return component;
}

inline ComPtr<INetCfgClassSetup> NetSetup(const ComPtr<INetCfg>& netcfg)
{
    ComPtr<INetCfgClassSetup> setup;
    EXPECT_EQ(S_OK, netcfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_PPV_ARGS(&setup)));
    return setup;
}

class NetCfg : public testing::Test
{
  protected:
    NetCfg() : m_hive((SetNames(), HostText())) {}
    ~NetCfg() override { RemoveDirectoryW(StateFolder().c_str()); }

    static void SetNames()
    {
        SetShortNames(
            {{"SOFTWARE\\VlanLab", "Lab"},
             {"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}", "Class"},
             {"SYSTEM\\CurrentControlSet\\Control\\Network\\{4D36E972-E325-11CE-BFC1-08002BE10318}", "Network"},
             {"SYSTEM\\CurrentControlSet\\Control\\Network\\{4D36E975-E325-11CE-BFC1-08002BE10318}", "Protocols"},
             {"SYSTEM\\CurrentControlSet\\Services", "Services"},
             {"SYSTEM\\CurrentControlSet\\Enum", "Enum"}});
    }

    static ComPtr<INetCfg> Locked(const wchar_t* who = L"tests")
    {
        ComPtr<INetCfg> netcfg = NewNetCfg();
        EXPECT_EQ(S_OK, As<INetCfgLock>(netcfg)->AcquireWriteLock(0, who, nullptr));
        EXPECT_EQ(S_OK, netcfg->Initialize(nullptr));
        return netcfg;
    }

    CPrivateHive m_hive;
};

/// One object of every kind, and the calls that may fail for the state of the session alone.
struct OBJECTS
{
    ComPtr<INetCfg> netcfg;
    ComPtr<INetCfgClass> netClass;
    ComPtr<INetCfgClassSetup> setup;
    ComPtr<INetCfgComponent> adapter, protocol;
    ComPtr<INetCfgComponentBindings> bindings;
    ComPtr<IEnumNetCfgBindingPath> paths;
    ComPtr<INetCfgBindingPath> path;
};

inline OBJECTS AllObjects()
{
    OBJECTS all{NewNetCfg(), {}, {}, {}, {}, {}, {}, {}};
    EXPECT_EQ(S_OK, all.netcfg->Initialize(nullptr));
    all.setup = NetSetup(all.netcfg);
    all.netClass = As<INetCfgClass>(all.setup);
    all.adapter = Find(all.netcfg, L"PCI\\ven_1a2b&dev_0010");
    all.protocol = Find(all.netcfg, L"ms_tcpip");
    all.bindings = As<INetCfgComponentBindings>(all.protocol);
    EXPECT_EQ(S_OK, all.bindings->EnumBindingPaths(EBP_BELOW, &all.paths));
    EXPECT_EQ(S_OK, all.paths->Next(1, &all.path, nullptr));
    return all;
}
