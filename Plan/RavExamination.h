#pragma once
// Shared by the files that examine a host: what is known of its VLANs and parents, and how findings are noted.

#include "Plan/RavFinding.h"
#include "Src/View/RavHost.h"

#include <map>
#include <set>
#include <vector>

// An adapter that carries VLANs: its own, or as a member those of a team.
struct RAV_CARRIER
{
    const RAV_HOST_COMPONENT* adapter = nullptr;
    std::vector<const RAV_HOST_COMPONENT*> teams; // that it is a member of
    std::vector<const RAV_HOST_COMPONENT*> vlans;

    bool IsMember() const { return !teams.empty(); }
};

class CRavExamination
{
  public:
    explicit CRavExamination(const RAV_HOST& host) : m_host(host) {}
    std::vector<RAV_FINDING> Findings();

  private:
    using VLAN = const RAV_HOST_COMPONENT&;
    using VLANS = std::vector<const RAV_HOST_COMPONENT*>;

    // --- which VLANs stay, and whose they are (RavExamineVlans.cpp)
    void JudgeMiniports();
    void JudgeVlan(VLAN vlan);
    bool JudgeParent(VLAN vlan, const RAV_HOST_COMPONENT*& parent);
    const RAV_HOST_COMPONENT* ParentByEntries(VLAN vlan) const;
    void JudgeAbandoned();
    bool IsAbandoned(const RAV_HOST_COMPONENT& parent, VLAN vlan, const VLANS& siblings) const;
    bool IsUnfinishedFirst(const RAV_HOST_COMPONENT& parent, const VLANS& siblings) const;
    bool IsListed(const RAV_HOST_COMPONENT& parent, VLAN vlan) const;
    bool HasId(const RAV_HOST_COMPONENT& parent, VLAN vlan) const;
    std::vector<const RAV_HOST_COMPONENT*> CarriersOf(const RAV_HOST_COMPONENT& parent) const;
    void ExamineVlans(const RAV_HOST_COMPONENT& parent, const VLANS& vlans);
    void ExamineId(const RAV_HOST_COMPONENT& parent, VLAN vlan, const VLANS& vlans);
    void FindDevices();
    const RAV_HOST_COMPONENT* WithDeviceOf(VLAN vlan) const;
    void ExamineDevice(VLAN vlan, const RAV_HOST_COMPONENT& other);
    void ExamineName(const RAV_HOST_COMPONENT& parent, VLAN vlan);
    void ExamineKey(const RAV_HOST_COMPONENT& parent, VLAN vlan);
    void ExamineDoubles(const RAV_HOST_COMPONENT& parent, const VLANS& vlans);

    // --- teams, and who belongs to them (RavExamineTeams.cpp)
    void FindMembers();
    void FindMembersWithoutEntry();
    std::vector<const RAV_HOST_COMPONENT*> AdaptersWithoutEntry() const;
    bool ListsIdsOf(const RAV_HOST_COMPONENT& team, const RAV_HOST_COMPONENT& adapter) const;
    void AddMember(const RAV_HOST_COMPONENT& team, const RAV_HOST_COMPONENT& adapter);
    DWORD SizeOf(const RAV_HOST_COMPONENT& team) const;
    DWORD GroupOf(const RAV_CARRIER& carrier) const;
    void ExamineTeam(const RAV_HOST_COMPONENT& team);
    void ExamineTeamOfVlan(const RAV_HOST_COMPONENT& team, VLAN vlan);
    void ExamineMemberEntry(const RAV_CARRIER& carrier, const RAV_DRIVER_ENTRY& entry);
    void ExamineMemberWithoutVlans(const RAV_CARRIER& carrier);

    // --- adapters with VLANs, and members of teams (RavExamineParents.cpp)
    void ExamineCarrier(const RAV_CARRIER& carrier);
    void ExamineInstanceKey(const RAV_CARRIER& carrier);
    void ReloadRenumbered(const RAV_CARRIER& carrier, RAV_FINDING& finding) const;
    void ExamineParameters(const RAV_CARRIER& carrier);
    void ExamineEntry(const RAV_CARRIER& carrier);
    void ExamineLists(const RAV_CARRIER& carrier, const RAV_DRIVER_ENTRY& entry);
    void ExamineBindings(const RAV_CARRIER& carrier);
    void ExamineDhcp(const RAV_CARRIER& carrier);

    // --- what is left on adapters without VLANs (RavExamineLeft.cpp)
    void ExamineFormerParent(const RAV_HOST_COMPONENT& adapter);
    void ExamineLostAdapters();
    void ExamineStopped();
    void ResetInstanceKey(const RAV_HOST_COMPONENT& adapter);
    void ContradictedVlan(RAV_FINDING_KIND kind, VLAN vlan, const wchar_t* name, const CRavString& actual,
                          const RAV_STEP& step);

    // --- notes
    RAV_FINDING& Note(RAV_FINDING_KIND kind, const RAV_HOST_COMPONENT& subject, const CRavString& detail);
    void Reload(RAV_FINDING& finding, const RAV_HOST_COMPONENT& component) const;
    // Notes a value that is not what it has to be, with the step that writes it.
    void Want(RAV_FINDING_KIND kind, const RAV_CARRIER& carrier, const CRavString& path, const wchar_t* name,
              const std::optional<DWORD>& actual, std::optional<DWORD> wanted);
    void Want(RAV_FINDING_KIND kind, const RAV_CARRIER& carrier, const CRavString& path, const wchar_t* name,
              const std::optional<std::vector<CRavString>>& actual, const std::vector<CRavString>& wanted);
    const RAV_DRIVER_ENTRY* Entry(const RAV_HOST_COMPONENT& adapter) const;

    const RAV_HOST& m_host;
    std::vector<RAV_FINDING> m_findings;
    std::map<CRavString, VLANS> m_devices;              // what has each device, by its folded id
    std::map<const RAV_HOST_COMPONENT*, VLANS> m_vlans; // those that stay, by their parent
    std::map<const RAV_HOST_COMPONENT*, std::vector<const RAV_HOST_COMPONENT*>> m_teams;   // by their member
    std::map<const RAV_HOST_COMPONENT*, std::vector<const RAV_HOST_COMPONENT*>> m_members; // by their team
};

// The values of steps.
RAV_STEP RavSetNumber(const CRavString& path, const wchar_t* name, DWORD number);
RAV_STEP RavSetText(const CRavString& path, const wchar_t* name, const CRavString& text);
RAV_STEP RavSetList(const CRavString& path, const wchar_t* name, const std::vector<CRavString>& list);
RAV_STEP RavDeleteValue(const CRavString& path, const wchar_t* name);
RAV_STEP RavDo(RAV_ACT act, const CRavString& guid, const CRavString& text = {});

CRavString RavDeviceName(const RAV_HOST_COMPONENT& component);
CRavString RavEntryPath(const RAV_HOST_COMPONENT& adapter);
