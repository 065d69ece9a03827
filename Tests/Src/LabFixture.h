#pragma once
// A host of the lab in a private hive, with the agent on top: what the scenarios of the module start from.

#include "Common/Library/RavNetCfgInterface.h"
#include "Src/Agent/RavVlanAgent.h"
#include "Src/Vlan/RavXmsVlan.h"
#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/Journal.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/RegistryDiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <regex>

// Patterns are kept: to make one takes longer than to use it.
inline std::string Replaced(const std::string& text, const std::string& pattern, const std::string& by)
{
    static std::map<std::string, std::regex> s_patterns;
    return std::regex_replace(text, s_patterns.try_emplace(pattern, pattern).first->second, by);
}

// Offers the lab's COM server to the whole process.
class CLabServer : public testing::Environment
{
  public:
    void SetUp() override
    {
        CoInitialize(nullptr);
        // Kept loaded: this compiler's runtime leaks a thread-local slot with each module that is unloaded, and there
        // are no more than about a thousand.
        LoadLibraryW(L"CoreAgent.dll");
        LoadLibraryW(L"TeamAgent.dll");
        const HMODULE server = LoadLibraryW(L"NetCfg.dll");
        using GetClass = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
        const auto get =
            reinterpret_cast<GetClass>(reinterpret_cast<void*>(GetProcAddress(server, "DllGetClassObject")));
        Microsoft::WRL::ComPtr<IUnknown> factory;
        ASSERT_EQ(S_OK, get(CLSID_CNetCfg, IID_PPV_ARGS(&factory)));
        ASSERT_EQ(S_OK, CoRegisterClassObject(CLSID_CNetCfg, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                              &m_cookie));
    }
    void TearDown() override { CoRevokeClassObject(m_cookie); }

  private:
    DWORD m_cookie = 0;
};

// The place of a virtual operation in its table, counted from 0. A virtual destructor has two places.
template <typename Member>
size_t Place(Member member)
{
    size_t words[sizeof(member) / sizeof(size_t)] = {};
    std::memcpy(words, &member, sizeof(member));
    return words[0] / sizeof(void*);
}

// Another function in one slot of an interface, for as long as one of these lives.
class CSlot
{
  public:
    using FUNCTION = void (*)();

    template <typename Function>
    CSlot(void* object, size_t slot, Function* function)
        : m_slot(*static_cast<FUNCTION**>(object) + slot), m_original(*m_slot)
    {
        Write(reinterpret_cast<FUNCTION>(function));
    }
    ~CSlot() { Write(m_original); }
    CSlot(const CSlot&) = delete;
    CSlot& operator=(const CSlot&) = delete;
    FUNCTION Original() const { return m_original; }
    [[noreturn]] static void Throw() { throw std::runtime_error("a module that misbehaves"); }

  private:
    void Write(FUNCTION function) const
    {
        DWORD protection = 0;
        VirtualProtect(m_slot, sizeof(*m_slot), PAGE_READWRITE, &protection);
        *m_slot = function;
        VirtualProtect(m_slot, sizeof(*m_slot), protection, &protection);
    }

    FUNCTION* m_slot;
    FUNCTION m_original;
};

inline const char* const SMALL_HOST = R"({
    "adapters": [
        { "name": "Port A", "mac": "001B21000001",
          "parameters": { "VlanFiltering": "0", "TaggingMode": "0", "*PriorityVLANTag": "1" } },
        { "name": "Port B", "mac": "001B21000002", "dhcp": false },
        { "name": "Port C", "mac": "001B21000003", "vlansOnPort": false },
        { "name": "Virtual", "mac": "001B21000004", "virtualDevice": true },
        { "name": "Unloaded", "mac": "001B21000005", "driverLoaded": false },
        { "name": "Queues", "mac": "001B21000006", "vmq": true },
        { "name": "Foreign", "mac": "00AA00000007", "corvo": false },
        { "name": "Member 1", "mac": "001B21000008" },
        { "name": "Member 2", "mac": "001B21000009" }
    ],
    "teams": [ { "name": "Team", "members": ["Member 1", "Member 2"], "mode": 2 } ],
    "templates": [ { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 } ]
})";

class CLabHost
{
  public:
    // A host is built once in a process; all further ones begin as its image.
    explicit CLabHost(const std::string& host = SMALL_HOST) : m_built(Built(host)), m_hive(*m_built.image) {}
    // A host as another one was, with an agent that knows nothing yet.
    CLabHost(const std::string& host, const CHiveImage& image) : m_built(Built(host)), m_hive(image) {}

    CVlanAgentWin& Agent()
    {
        if (!m_agent)
        {
            CResult result;
            m_agent = std::make_unique<CVlanAgentWin>();
            m_agent->Initialize(result);
            EXPECT_EQ(0u, result.ulErrCode);
        }
        return *m_agent;
    }
    void CloseAgent() { m_agent.reset(); }
    CPrivateHive& Hive() { return m_hive; }

    // Adapters and teams by name.
    CRavString Key(const std::string& name) const
    {
        size_t number = 0;
        for (const LabAdapter& adapter : m_built.host.adapters)
        {
            ++number;
            if (adapter.name == name)
                return LabGuid(number);
        }
        for (const LabTeam& team : m_built.host.teams)
        {
            ++number;
            if (team.name == name)
                return LabGuid(number);
        }
        ADD_FAILURE() << name;
        return CRavString();
    }
    // By which the core agent knows the first client of this process.
    static CRavString ClientKey()
    {
        CRavString path;
        path.FormatString(L"%s\\%u", LAB_CLIENTS, GetCurrentProcessId());
        return path;
    }
    RAV_CLIENT_ID Client() const { return {GetCurrentProcessId(), 1}; }
    RAV_LOCK_RECORD Lock() const { return {Client(), 0}; }

    CResult Create(const std::string& parent, DWORD id, const wchar_t* name)
    {
        CResult result;
        Agent().CreateVlan(result, Key(parent), id, name, 0, Lock());
        return result;
    }
    CResult Remove(const CRavString& key)
    {
        CResult result;
        Agent().RemoveVlan(result, Lock(), key);
        return result;
    }
    std::vector<CRavString> Vlans(const std::string& parent = "")
    {
        CResult result;
        std::vector<CRavString> keys;
        Agent().EnumerateVlans(result, parent.empty() ? CRavString() : Key(parent), keys);
        EXPECT_EQ(0u, result.ulErrCode);
        return keys;
    }
    // The VLAN of a parent with the id; empty when there is none.
    CRavString Vlan(const std::string& parent, DWORD id)
    {
        for (const CRavString& key : Vlans(parent))
        {
            CResult result;
            RAV_VLAN_INFO info;
            Agent().GetVlanInfo(result, key, info);
            if (result.Succeeded() && info.vlanId == id)
                return key;
        }
        return CRavString();
    }

    bool IsSuiteLockFree()
    {
        CResult result;
        RAV_LOCK_TOKEN token;
        Agent().StartLock(result, {{GetCurrentProcessId(), 77}, 0}, token);
        CResult done;
        if (result.Succeeded())
            Agent().DoneLock(done, token);
        return result.Succeeded();
    }
    static bool IsNetworkLockFree()
    {
        Microsoft::WRL::ComPtr<INetCfg> netCfg;
        Microsoft::WRL::ComPtr<INetCfgLock> lock;
        LPWSTR holder = nullptr;
        if (FAILED(CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg))) ||
            FAILED(netCfg.As(&lock)) || lock->AcquireWriteLock(0, L"test", &holder) != S_OK)
            return false;
        return lock->ReleaseWriteLock() == S_OK;
    }
    // How many virtual miniports there are, teams left out, as the registry has them.
    static size_t Miniports()
    {
        size_t count = 0;
        for (unsigned number = 1; number < 100; ++number)
        {
            CRavString path;
            path.FormatString(L"%s\\%04u", CLASS_KEY, number);
            if (LabText(path, L"ComponentId") == L"oxmsmp" && LabNumber(path, L"SupportedFeatures", 0) != 1)
                ++count;
        }
        return count;
    }

    // Puts {V1}, {V2}, ... for the keys of VLANs, in the order of their creation, and leaves out the lab's own notes.
    static std::string Readable(const std::string& text, const std::vector<CRavString>& vlans)
    {
        std::string named = text;
        for (size_t index = 0; index < vlans.size(); ++index)
        {
            const std::string vlan = Utf8(vlans[index]);
            for (size_t at = 0; !vlan.empty() && (at = named.find(vlan, at)) != std::string::npos;)
                named.replace(at, vlan.size(), "{V" + std::to_string(index + 1) + "}");
        }
        std::string readable;
        for (const std::string& line : SplitLines(named))
            readable += line.find(" Lab") == std::string::npos ? line + "\n" : "";
        return readable;
    }

    // The lines that only one of two texts has: "- " and the line, or "+ " and the line.
    static std::string Delta(const std::string& before, const std::string& after)
    {
        const std::vector<std::string> old = SplitLines(before);
        const std::vector<std::string> now = SplitLines(after);
        std::string delta;
        for (const std::string& line : old)
            delta += std::count(now.begin(), now.end(), line) == 0 ? "- " + line + "\n" : "";
        for (const std::string& line : now)
            delta += std::count(old.begin(), old.end(), line) == 0 ? "+ " + line + "\n" : "";
        return delta;
    }
    // Takes a value, or a whole key, out of the hive.
    static void Delete(const std::string& path, const wchar_t* value = nullptr)
    {
        const std::wstring key = Wide(Expand(path));
        EXPECT_EQ(ERROR_SUCCESS, value != nullptr ? RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), value)
                                                  : RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str()));
    }

  private:
    struct BUILT
    {
        LabHost host;
        std::unique_ptr<CHiveImage> image;
    };
    static const BUILT& Built(const std::string& text)
    {
        static std::map<std::string, BUILT> s_built;
        BUILT& built = s_built[text];
        if (built.image)
            return built;
        SetShortNames({{Utf8(CLASS_KEY), "Class"},
                       {Utf8(XMS_PARAMETERS_KEY), "XMS"},
                       {Utf8(TCPIP_INTERFACES_KEY), "TcpIp"},
                       {Utf8(NETWORK_KEY), "Network"},
                       {Utf8(SERVICES_KEY), "Services"},
                       {Utf8(ENUM_KEY), "Enum"},
                       {Utf8(LAB_KEY), "Lab"}});
        wchar_t folder[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, folder, MAX_PATH);
        *wcsrchr(folder, L'\\') = L'\0';
        const CPrivateHive hive;
        built.host = ParseHost(text);
        EXPECT_TRUE(BuildHost(built.host, folder));
        CRavString state;
        state.FormatString(L"%s\\lab-%u", _wgetenv(L"TEMP"), GetCurrentProcessId());
        LabSetText(LAB_KEY, LAB_STATE_DIR, state);
        LabSetText(CLASS_KEY, L"Installer32", L"NetCfg.dll,NetClassInstaller");
        LabSetNumber(SUITE_KEY, L"TRACE", 0);
        LabSetNumber(ClientKey(), L"Cookie", 1);
        built.image = std::make_unique<CHiveImage>(hive);
        return built;
    }
    const BUILT& m_built;
    CPrivateHive m_hive;
    std::unique_ptr<CVlanAgentWin> m_agent;
};
