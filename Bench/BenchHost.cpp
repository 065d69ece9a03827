#include "Bench/BenchHost.h"

#include "Common/Src/SuiteNames.h"
#include "Src/Agent/RavVlanAgent.h"
#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Suite/Lab/LabTool/LabCommands.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr size_t FIRST_VLAN_NUMBER = 100; // of a host with few adapters

std::string HostWith(size_t vlans, size_t vlansPerPort)
{
    std::string adapters;
    std::string list;
    const size_t ports = std::max<size_t>(1, (vlans + vlansPerPort - 1) / vlansPerPort);
    for (size_t port = 0; port <= ports; ++port)
        adapters += std::string(port > 0 ? "," : "") + R"({ "name": "Port )" + std::to_string(port) + R"(", "mac": ")" +
                    std::to_string(100000000000 + port) + R"(" })";
    for (size_t vlan = 0; vlan < vlans; ++vlan)
    {
        const std::string id = std::to_string(1 + vlan % vlansPerPort);
        list += std::string(vlan > 0 ? "," : "") + R"({ "parent": "Port )" + std::to_string(1 + vlan / vlansPerPort) +
                R"(", "id": )" + id + R"(, "name": "N)" + id + R"(" })";
    }
    return R"({ "adapters": [)" + adapters + R"(], "vlans": [)" + list + "] }";
}

// Gives the VLAN a setting with a range.
void AddSetting(const CRavString& strVlanKey)
{
    const CRavString instance = LabInstancePath(strVlanKey);
    const CRavString description = LabPath(LabPath(LabPath(instance, L"Ndi"), L"Params"), CBenchHost::SETTING);
    LabSetText(instance, CBenchHost::SETTING, L"2");
    LabSetText(description, L"Type", L"int");
    LabSetText(description, L"Min", L"1");
    LabSetText(description, L"Max", L"8");
}
} // namespace

HMODULE NetCfgModule()
{
    static const HMODULE module = LoadLibraryW(L"NetCfg.dll");
    return module;
}

void RegisterNetCfg()
{
    CoInitialize(nullptr);
    // Kept loaded: each module that is unloaded costs a thread-local slot of this compiler's runtime.
    LoadLibraryW(L"CoreAgent.dll");
    LoadLibraryW(L"TeamAgent.dll");
    using GetClass = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    const auto get =
        reinterpret_cast<GetClass>(reinterpret_cast<void*>(GetProcAddress(NetCfgModule(), "DllGetClassObject")));
    ComPtr<IUnknown> factory;
    DWORD cookie = 0;
    get(CLSID_CNetCfg, IID_PPV_ARGS(&factory));
    CoRegisterClassObject(CLSID_CNetCfg, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
}

CBenchHost::CBenchHost(size_t vlans, size_t vlansPerPort) : CBenchHost(HostWith(vlans, vlansPerPort))
{
    if (vlans >= WITH_SETTING)
        AddSetting(Vlan(WITH_SETTING));
}

CBenchHost::CBenchHost(const std::string& text)
{
    BuildHost(ParseHost(text), ProgramFolder());
    LabSetText(CLASS_KEY, L"Installer32", L"NetCfg.dll,NetClassInstaller");
    LabSetNumber(SUITE_KEY, SuiteValue::Trace, 0);
    CRavString client;
    client.FormatString(L"%s\\%u", LAB_CLIENTS, GetCurrentProcessId());
    LabSetNumber(client, L"Cookie", Lock().client.dwCookie);
}

CBenchHost::~CBenchHost() = default;

CVlanAgentWin& CBenchHost::Agent()
{
    if (!m_agent)
    {
        CResult result;
        m_agent = std::make_unique<CVlanAgentWin>();
        m_agent->Initialize(result);
    }
    return *m_agent;
}

CRavString CBenchHost::Parent()
{
    return LabGuid(2);
}

CRavString CBenchHost::Vlan(size_t number)
{
    return LabGuid(FIRST_VLAN_NUMBER + number - 1);
}

RAV_LOCK_RECORD CBenchHost::Lock()
{
    return {{GetCurrentProcessId(), 1}, 0};
}
