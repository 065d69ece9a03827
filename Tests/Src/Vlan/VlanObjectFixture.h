#pragma once
// VLAN objects on a host of the lab, each as its agent would load it; what they ask of their agent lies in the test's
// hand.
//
// Registry content and changes stand in one line here, "; " between entries and single blanks between fields:
// 0001 is an instance key, {1} the driver's entry of the first adapter (elsewhere its GUID), {100} the first VLAN, and
// types go without their REG_.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Tests/Src/LabFixture.h"

class CVlanLab final : public CLabHost, public CRavVlanAgentServices
{
  public:
    explicit CVlanLab(const std::string& host) : CLabHost(host) { EXPECT_EQ(S_OK, m_netCfg.Initialize()); }

    // The n-th VLAN of the host file, n from 1. The parent "Team" is a team.
    std::unique_ptr<CRavXmsVlan> Load(size_t number, const std::string& parent, int id)
    {
        auto vlan = std::make_unique<CRavXmsVlan>(LabGuid(99 + number), *this);
        EXPECT_TRUE(vlan->Initialize(m_netCfg).Succeeded());
        vlan->m_strVlanNetCfgInstanceId = vlan->m_strMiniportInst = vlan->m_strVlanKey;
        vlan->m_strParentKey = Key(parent);
        vlan->m_iParentType = parent == "Team" ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
        vlan->m_iVlanId = id;
        vlan->m_ravVlanInfo.vlanId = static_cast<DWORD>(id);
        return vlan;
    }

    // "PATH NAME TYPE DATA" adds, "- PATH NAME" and "- PATH" delete.
    void Change(const std::string& text)
    {
        static const std::regex parts(R"((- )?(\S+) ?(\S*) ?(\S*) ?(.*))");
        for (const std::string& line : SplitLines(Replaced(text, "; ", "\n")))
        {
            std::smatch part;
            std::regex_match(line, part, parts);
            const std::string path =
                Long(Replaced(Replaced(part[2], R"(^(?=\{))", "XMS\\Adapters\\"), R"(^(?=\d{4}))", "Class\\"));
            if (!part[1].matched)
                Hive().Add(path + "  " + part.str(3) + "  REG_" + part.str(4) + "  " + Long(part[5]));
            else if (part.length(3) != 0)
                RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, Wide(Expand(path)).c_str(), Wide(part.str(3)).c_str());
            else
                RegDeleteTreeW(HKEY_LOCAL_MACHINE, Wide(Expand(path)).c_str());
        }
    }
    static std::string Short(const std::string& text)
    {
        std::string line = Replaced(text, R"(\{A0000001-0000-4000-8000-0*(\d+)\})", "{$1}");
        for (const char* const noise : {R"((XMS\\Adapters|Class)\\(?=\{|\d{4}))", "REG_", " (?= )", "\\s+$"})
            line = Replaced(line, noise, "");
        return Replaced(line, "\n", "; ");
    }
    static std::string Long(const std::string& text)
    {
        static const std::regex numbered(R"(\{(\d{1,3})\})");
        std::smatch number;
        if (!std::regex_search(text, number, numbered))
            return text;
        return number.prefix().str() + Utf8(LabGuid(std::stoul(number[1]))) + Long(number.suffix());
    }

    inline static size_t s_iSiblings = 1; // VLANs that the agent counts on any parent
    std::string m_strQueued;              // what was queued for unload

  private:
    template <typename Function>
    static std::invoke_result_t<Function> Sibling(const wchar_t* module, const char* name)
    {
        const FARPROC get = GetProcAddress(LoadLibraryW(module), name);
        return reinterpret_cast<Function>(reinterpret_cast<void*>(get))();
    }
    CRavNetCfgInterface* GetNetCfgInterface() override { return &m_netCfg; }
    CRavCoreAgentPvtIntf* GetCoreInterface() override { return m_pCore; }
    std::shared_ptr<CRavTeamAgentPvtIntf> LoadTeamAgent() override { return {std::shared_ptr<void>(), m_pTeam}; }
    CResult EnumerateVlansOnParent(const CRavString&, std::vector<CRavString>& keys) override
    {
        keys.assign(s_iSiblings, L"{VLAN}");
        return CResult::Success();
    }
    void QueueForReload(const CRavString&) override {}
    void QueueForUnload(const CRavString& instance) override { m_strQueued += "unload " + Utf8(instance); }
    void VlanWritten(const CRavString&) override {}

    CRavNetCfgInterface m_netCfg;
    CRavCoreAgentPvtIntf* m_pCore = Sibling<RAV_GET_CORE_AGENT_PVT>(L"CoreAgent.dll", RAV_GET_CORE_AGENT_PVT_NAME);
    CRavTeamAgentPvtIntf* m_pTeam = Sibling<RAV_GET_TEAM_AGENT_PVT>(L"TeamAgent.dll", RAV_GET_TEAM_AGENT_PVT_NAME);
};
