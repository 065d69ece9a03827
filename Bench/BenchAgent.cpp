// Inventory and creation, by the number of VLANs.

#include "Bench/BenchTable.h"

#include "Src/RavVlanAgent.h"
#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/PrivateHive.h"

#include <netcfgx.h>
#include <initguid.h>
#include <devguid.h>
#include <wrl/client.h>

#include <cstdio>

using Microsoft::WRL::ComPtr;

namespace
{
void RegisterServer()
{
    CoInitialize(nullptr);
    using GetClass = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    const auto get = reinterpret_cast<GetClass>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"NetCfg.dll"), "DllGetClassObject")));
    ComPtr<IUnknown> factory;
    DWORD cookie = 0;
    get(CLSID_CNetCfg, IID_PPV_ARGS(&factory));
    CoRegisterClassObject(CLSID_CNetCfg, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
}

// A host with so many VLANs, spread over adapters as they may carry them.
std::string HostWith(size_t vlans)
{
    std::string adapters;
    std::string list;
    for (size_t number = 0; number <= (vlans + 63) / 64; ++number)
        adapters += std::string(number > 0 ? "," : "") + R"({ "name": "Port )" + std::to_string(number) +
                    R"(", "mac": ")" + std::to_string(100000000000 + number) + R"(" })";
    for (size_t vlan = 0; vlan < vlans; ++vlan)
        list += std::string(vlan > 0 ? "," : "") + R"({ "parent": "Port )" + std::to_string(1 + vlan / 64) +
                R"(", "id": )" + std::to_string(1 + vlan % 64) + R"(, "name": "N)" + std::to_string(1 + vlan % 64) +
                R"(" })";
    return R"({ "adapters": [)" + adapters + R"(], "vlans": [)" + list + "] }";
}

class Host
{
  public:
    explicit Host(size_t vlans)
    {
        wchar_t folder[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, folder, MAX_PATH);
        *wcsrchr(folder, L'\\') = L'\0';
        BuildHost(ParseHost(HostWith(vlans)), folder);
        LabSetText(CLASS_KEY, L"Installer32", L"NetCfg.dll,NetClassInstaller");
        LabSetNumber(SUITE_KEY, L"TRACE", 0);
        CRavString client;
        client.FormatString(L"%s\\%u", LAB_CLIENTS, GetCurrentProcessId());
        LabSetNumber(client, L"Cookie", 1);
        CResult result;
        agent = std::make_unique<CVlanAgentWin>();
        agent->Initialize(result);
    }
    CPrivateHive hive;
    std::unique_ptr<CVlanAgentWin> agent;
};

// The walk that any enumeration has to make.
void BareWalk(std::vector<std::wstring>& keys)
{
    ComPtr<INetCfg> netCfg;
    ComPtr<INetCfgClass> networkClass;
    ComPtr<IEnumNetCfgComponent> components;
    keys.clear();
    if (FAILED(CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg))) ||
        FAILED(netCfg->Initialize(nullptr)))
        return;
    netCfg->QueryNetCfgClass(&GUID_DEVCLASS_NET, IID_INetCfgClass,
                             reinterpret_cast<void**>(networkClass.GetAddressOf()));
    networkClass->EnumComponents(&components);
    ComPtr<INetCfgComponent> component;
    ULONG fetched = 0;
    while (components->Next(1, component.ReleaseAndGetAddressOf(), &fetched) == S_OK)
    {
        HKEY key = nullptr;
        DWORD features = 0;
        DWORD size = sizeof(features);
        if (FAILED(component->OpenParamKey(&key)))
            continue;
        if (RegQueryValueExW(key, L"SupportedFeatures", nullptr, nullptr, reinterpret_cast<BYTE*>(&features), &size) ==
            ERROR_SUCCESS)
        {
            GUID guid = {};
            wchar_t text[39] = {};
            component->GetInstanceGuid(&guid);
            StringFromGUID2(guid, text, 39);
            keys.emplace_back(text);
        }
        RegCloseKey(key);
    }
    components.Reset();
    component.Reset();
    networkClass.Reset();
    netCfg->Uninitialize();
}

void BenchInventory()
{
    BenchHeading("EnumerateVlans, beside a bare walk of the network class");
    for (const size_t vlans : {8, 64, 512, 2000})
    {
        const Host host(vlans);
        std::vector<CRavString> keys;
        std::vector<std::wstring> bareKeys;
        const auto ours = [&] {
            CResult result;
            host.agent->EnumerateVlans(result, L"", keys);
        };
        const auto bare = [&] { BareWalk(bareKeys); };
        BenchRow(std::to_string(vlans) + " VLANs", BestTimes(ours, bare, 1, vlans > 1000 ? 3 : 7), 1.1,
                 CountCalls(ours), CountCalls(bare));
    }
}

void BenchListing()
{
    BenchText("\nA whole listing in a fresh process: EnumerateVlans, then GetVlanInfo of each");
    for (const size_t vlans : {1, 8, 64, 512})
    {
        const Host host(vlans);
        const auto list = [&] {
            CResult result;
            std::vector<CRavString> keys;
            host.agent->ClearVlanCache();
            host.agent->EnumerateVlans(result, L"", keys);
            for (const CRavString& key : keys)
            {
                RAV_VLAN_INFO info;
                host.agent->GetVlanInfo(result, key, info);
            }
        };
        const double time = BestTime(list, 1, vlans > 100 ? 1 : 3);
        char line[128];
        std::snprintf(line, sizeof(line), "%5u VLANs: %9.2f ms, %.3f ms each, %u platform calls",
                      static_cast<unsigned>(vlans), time / 1e6, time / 1e6 / static_cast<double>(vlans),
                      static_cast<unsigned>(CountCalls(list)));
        BenchText(line);
    }
}

void BenchCreation()
{
    BenchText("\nCreating VLANs one after the other over one adapter");
    const Host host(0);
    const CRavString parent = LabGuid(1);
    const RAV_LOCK_RECORD lock{{GetCurrentProcessId(), 1}, 0};
    for (DWORD number = 1; number <= 64; ++number)
    {
        CResult result;
        CRavString name;
        name.FormatString(L"V%u", number);
        size_t calls = 0;
        const double time = BestTime(
            [&] { calls = CountCalls([&] { host.agent->CreateVlan(result, parent, number, name, 0, lock); }); }, 1, 1);
        if (number != 1 && number != 2 && number != 8 && number != 64)
            continue;
        char line[128];
        std::snprintf(line, sizeof(line), "%5u. VLAN: %8.2f ms, %5u platform calls, code %lu",
                      static_cast<unsigned>(number), time / 1e6, static_cast<unsigned>(calls), result.ulErrCode);
        BenchText(line);
    }
    const Host other(0);
    CResult result;
    const double time = BestTime(
        [&] { other.agent->CreateMultipleVLANs(result, parent, L"1-60", RAV_AUTO_VLAN_NAMES, 0, nullptr, lock); }, 1,
        1);
    char line[128];
    std::snprintf(line, sizeof(line), "60 VLANs at once: %.0f ms, code %lu", time / 1e6, result.ulErrCode);
    BenchText(line);
}
} // namespace

void BenchAgent()
{
    RegisterServer();
    BenchInventory();
    BenchListing();
    BenchCreation();
}
