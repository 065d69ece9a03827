#include "Tools/vlanctl/Session.h"

#include "Common/Src/RavRegKey.h"
#include "Tools/vlanctl/Output.h"

#include <objbase.h>

#include <cstring>

namespace
{
constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\CORVO\\NETWORK_SERVICES\\RAV2";

class Apartment
{
  public:
    Apartment() : m_entered(SUCCEEDED(CoInitialize(nullptr))) {}
    ~Apartment()
    {
        if (m_entered)
            CoUninitialize();
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

  private:
    bool m_entered;
};

class Module
{
  public:
    Module() = default;
    ~Module()
    {
        if (m_handle != nullptr)
            FreeLibrary(m_handle);
    }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    bool Load(const CRavString& path)
    {
        m_handle = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        return m_handle != nullptr;
    }
    template <typename Function>
    Function Export(const char* name) const
    {
        Function function = nullptr;
        const FARPROC address = m_handle != nullptr ? GetProcAddress(m_handle, name) : nullptr;
        static_assert(sizeof(function) == sizeof(address));
        memcpy(&function, &address, sizeof(function));
        return function;
    }

  private:
    HMODULE m_handle = nullptr;
};

[[noreturn]] void NoSuite(const std::string& message)
{
    throw CommandError(EXIT_NO_SUITE, message);
}

CRavString SuiteFolder()
{
    CRavRegKey key;
    CRavString folder;
    if (!key.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false) || !key.GetValue(L"InstalledDir", folder) || folder.IsEmpty())
        NoSuite(
            "the management suite is not installed on this machine (no \"InstalledDir\" below HKEY_LOCAL_MACHINE\\" +
            ToUtf8(SUITE_KEY) + ")");
    return folder;
}
} // namespace

struct CSession::Modules
{
    Apartment apartment; // left last
    Module agent;
    Module core;
    Module team;
};

CSession::CSession() : m_modules(std::make_unique<Modules>())
{
    const CRavString folder = SuiteFolder();
    const auto load = [&](Module& module, const wchar_t* file) { return module.Load(folder + L"\\" + file); };
    if (!load(m_modules->core, L"CoreAgent.dll"))
        NoSuite("the suite's core agent cannot be loaded from " + ToUtf8(folder) + " (error " +
                std::to_string(GetLastError()) + ")");
    if (!load(m_modules->agent, L"VlanAgent.dll"))
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
    m_pAgent = getAgent != nullptr ? getAgent() : nullptr;
    if (m_pAgent == nullptr)
        NoSuite("the VLAN agent could not be initialised; see the trace log VlanAgent.txt in " + ToUtf8(folder));

    if (load(m_modules->team, L"TeamAgent.dll"))
    {
        const auto getTeams = m_modules->team.Export<RAV_GET_TEAM_AGENT_PVT>(RAV_GET_TEAM_AGENT_PVT_NAME);
        m_pTeams = getTeams != nullptr ? getTeams() : nullptr;
    }
}

CSession::~CSession() = default;

std::string CSession::LockHolder() const
{
    const auto describe = m_modules->core.Export<RAV_GET_LOCK_HOLDER>(RAV_GET_LOCK_HOLDER_NAME);
    wchar_t text[256] = {};
    if (describe == nullptr || describe(text, 256) != 0)
        return "nobody that the core agent could name";
    return ToUtf8(text);
}
