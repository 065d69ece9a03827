#include "Bench/BenchHost.h"

#include "Src/Agent/RavVlanAgent.h"
#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr size_t VLANS_PER_PORT = 64;

std::string HostWith(size_t vlans)
{
    std::string adapters;
    std::string list;
    const size_t ports = std::max<size_t>(1, (vlans + VLANS_PER_PORT - 1) / VLANS_PER_PORT);
    for (size_t port = 0; port <= ports; ++port)
        adapters += std::string(port > 0 ? "," : "") + R"({ "name": "Port )" + std::to_string(port) + R"(", "mac": ")" +
                    std::to_string(100000000000 + port) + R"(" })";
    for (size_t vlan = 0; vlan < vlans; ++vlan)
    {
        const std::string id = std::to_string(1 + vlan % VLANS_PER_PORT);
        list += std::string(vlan > 0 ? "," : "") + R"({ "parent": "Port )" + std::to_string(1 + vlan / VLANS_PER_PORT) +
                R"(", "id": )" + id + R"(, "name": "N)" + id + R"(" })";
    }
    return R"({ "adapters": [)" + adapters + R"(], "vlans": [)" + list + "] }";
}
} // namespace

CRavString ProgramFolder()
{
    wchar_t folder[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, folder, MAX_PATH);
    *wcsrchr(folder, L'\\') = L'\0';
    return folder;
}

HMODULE NetCfgModule()
{
    static const HMODULE module = LoadLibraryW(L"NetCfg.dll");
    return module;
}

void RegisterNetCfg()
{
    CoInitialize(nullptr);
    using GetClass = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    const auto get =
        reinterpret_cast<GetClass>(reinterpret_cast<void*>(GetProcAddress(NetCfgModule(), "DllGetClassObject")));
    ComPtr<IUnknown> factory;
    DWORD cookie = 0;
    get(CLSID_CNetCfg, IID_PPV_ARGS(&factory));
    CoRegisterClassObject(CLSID_CNetCfg, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
}

CBenchHost::CBenchHost(size_t vlans)
{
    BuildHost(ParseHost(HostWith(vlans)), ProgramFolder());
    LabSetText(CLASS_KEY, L"Installer32", L"NetCfg.dll,NetClassInstaller");
    LabSetNumber(SUITE_KEY, L"TRACE", 0);
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

RAV_LOCK_RECORD CBenchHost::Lock()
{
    return {{GetCurrentProcessId(), 1}, 0};
}
