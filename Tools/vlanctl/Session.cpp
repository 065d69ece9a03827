#include "Tools/vlanctl/Session.h"

#include "Common/Src/ComApartment.h"
#include "Common/Src/Helper.h"
#include "Common/Src/ModuleHandle.h"
#include "Common/Src/SuiteNames.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Traces.h"

#include <objbase.h>
#include <netcfgx.h>
#include <wrl/client.h>

#include <algorithm>
#include <iterator>

namespace
{
[[noreturn]] void NoSuite(const std::string& message)
{
    throw CommandError(EXIT_NO_SUITE, message);
}

// Who holds the write lock of the network configuration, as they describe themselves.
bool IsNetworkLocked(std::string& holder)
{
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> lock;
    wchar_t* text = nullptr;
    if (FAILED(CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg))) ||
        FAILED(netCfg.As(&lock)) || lock->IsWriteLocked(&text) != S_OK)
        return false;
    holder = text != nullptr && *text != L'\0' ? '"' + ToUtf8(text) + '"' : "another program";
    CoTaskMemFree(text);
    return true;
}
} // namespace

CommandError::CommandError(ExitStatus status, const Note& note, const std::string& text)
    : std::runtime_error(!text.empty()         ? text
                         : note.advice.empty() ? note.meaning
                                               : note.meaning + "\n  " + note.advice),
      m_status(status), m_note(note)
{
}

CommandError::CommandError(ExitStatus status, const std::string& message)
    : std::runtime_error(message), m_status(status)
{
    const auto text = std::find_if(std::begin(EXIT_STATUS_TEXTS), std::end(EXIT_STATUS_TEXTS),
                                   [&](const ExitStatusText& entry) { return entry.status == status; });
    m_note.name = text != std::end(EXIT_STATUS_TEXTS) ? text->name : "failed";
    m_note.meaning = message;
}

CRavString SuiteFolder()
{
    CRavString folder;
    if (!CHelper::RavInstalledFolder(folder) || folder.IsEmpty())
        NoSuite(
            "the management suite is not installed on this machine (no \"InstalledDir\" below HKEY_LOCAL_MACHINE\\" +
            ToUtf8(SUITE_KEY) + ")");
    return folder;
}

struct CSession::Modules
{
    CRavComApartment apartment; // left last
    CRavModuleHandle agent;
    CRavModuleHandle core;
    CRavModuleHandle team;
};

CSession::CSession() : m_modules(std::make_unique<Modules>())
{
    const CRavString folder = SuiteFolder();
    KeepFormerTraces(folder);
    const auto load = [&](CRavModuleHandle& module, const wchar_t* file) {
        module = CRavModuleHandle(LoadLibraryExW(folder + L"\\" + file, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        return static_cast<bool>(module);
    };
    if (!load(m_modules->core, CORE_AGENT_FILE))
        NoSuite("the suite's core agent cannot be loaded from " + ToUtf8(folder) + " (error " +
                std::to_string(GetLastError()) + ")");
    if (!load(m_modules->agent, VLAN_AGENT_FILE))
        NoSuite("the VLAN agent cannot be loaded from " + ToUtf8(folder) + " (error " + std::to_string(GetLastError()) +
                ")");

    const auto registerClient = m_modules->core.Export<RAV_REGISTER_CLIENT>(RAV_REGISTER_CLIENT_NAME);
    const auto getCore = m_modules->core.Export<RAV_GET_CORE_AGENT_PVT>(RAV_GET_CORE_AGENT_PVT_NAME);
    m_pCore = getCore != nullptr ? getCore() : nullptr;
    if (m_pCore == nullptr || registerClient == nullptr)
        NoSuite("the suite's core agent does not answer; see the trace log VlanAgent.txt in " + ToUtf8(folder));
    if (registerClient(&m_client) != 0)
        NoSuite("the core agent does not accept this program as a client; run it as an administrator");

    const auto getAgent = m_modules->agent.Export<RAV_GET_VLAN_AGENT>(RAV_GET_VLAN_AGENT_NAME);
    const auto getAgentPvt = m_modules->agent.Export<RAV_GET_VLAN_AGENT_PVT>(RAV_GET_VLAN_AGENT_PVT_NAME);
    m_pAgent = getAgent != nullptr ? getAgent() : nullptr;
    m_pAgentPvt = m_pAgent != nullptr && getAgentPvt != nullptr ? getAgentPvt() : nullptr;
    if (m_pAgentPvt == nullptr)
        NoSuite("the VLAN agent could not be initialised; see the trace log VlanAgent.txt in " + ToUtf8(folder));

    if (load(m_modules->team, TEAM_AGENT_FILE))
    {
        const auto getTeams = m_modules->team.Export<RAV_GET_TEAM_AGENT_PVT>(RAV_GET_TEAM_AGENT_PVT_NAME);
        m_pTeams = getTeams != nullptr ? getTeams() : nullptr;
    }
}

CSession::~CSession() = default;

std::string CSession::WhoHoldsTheSuite() const
{
    wchar_t holder[256] = {};
    const auto describe = m_modules->core.Export<RAV_GET_LOCK_HOLDER>(RAV_GET_LOCK_HOLDER_NAME);
    return describe != nullptr && describe(holder, 256) == 0
               ? "the configuration is locked by " + ToUtf8(holder) + "; try again when it is done"
               : "";
}

std::string CSession::WhoHoldsTheNetwork() const
{
    std::string holder;
    return IsNetworkLocked(holder)
               ? "the network configuration is locked by " + holder + "; close its window, or try again when it is done"
               : "";
}

std::string CSession::WhoHoldsALock() const
{
    const std::string holder = WhoHoldsTheSuite();
    return holder.empty() ? WhoHoldsTheNetwork() : holder;
}

std::string ComputerName()
{
    wchar_t name[256] = {};
    DWORD size = 256;
    return GetComputerNameExW(ComputerNameDnsHostname, name, &size) && size > 0 ? ToUtf8(name) : "this machine";
}
