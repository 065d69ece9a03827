// One VLAN object: what its routines write, the tagging decision, names and addresses, and what hostile data and
// failing platform calls do to them.

#include "Src/Vlan/TaggingModeSpy.h"
#include "Tests/Src/Vlan/VlanObjectFixture.h"

namespace
{
using V = CRavXmsVlan;
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

// Instances: 0001 {1} the port, 0002 {2} and 0003 {3} the members, 0004 {4}, 0005 {5} the team, 0006 to 0009 the VLANs.
const char* const HOST = R"({
    "adapters": [ { "name": "Port", "mac": "001B21000001" }, { "name": "Member 1", "mac": "001B21000002" },
                  { "name": "Member 2", "mac": "001B21000003" },
                  { "name": "Virtual", "mac": "001B21000004", "virtualDevice": true } ],
    "teams": [ { "name": "Team", "members": ["Member 1", "Member 2"] } ],
    "vlans": [ { "parent": "Port", "id": 10, "name": "Ten" }, { "parent": "Port", "id": 0, "name": "Zero" },
               { "parent": "Team", "id": 40, "name": "Forty" }, { "parent": "Team", "id": 0, "name": "None" } ] })";
constexpr size_t TEN = 1, ZERO = 2, FORTY = 3, NONE = 4;
std::unique_ptr<V> Load(CVlanLab& lab, size_t vlan)
{
    return lab.Load(vlan, vlan < FORTY ? "Port" : "Team", vlan == TEN ? 10 : vlan == FORTY ? 40 : 0);
}

// Routines give their answer as text.
using ROUTINE = std::function<std::string(V&)>;
// The VLAN; what the registry has besides; the routine; then its answer, what it changed in the whole registry, and
// what it queued.
using RAV_SCENARIO = std::tuple<size_t, std::string, ROUTINE, const char*>;
void Check(const std::vector<RAV_SCENARIO>& scenarios)
{
    for (const auto& [which, before, run, after] : scenarios)
    {
        CVlanLab lab(HOST);
        const std::unique_ptr<V> vlan = Load(lab, which);
        lab.Change(before);
        const CRegistryChange change;
        const std::string answer = run(*vlan);
        EXPECT_EQ(after, CVlanLab::Short(answer + '\n' + change.Text() + lab.m_strQueued)) << which << ' ' << before;
    }
}

template <typename... Parameters, typename... Arguments>
std::string Do(V& vlan, void (V::*routine)(Parameters...), Arguments&&... arguments)
{
    int status = 7;
    (vlan.*routine)(arguments..., status);
    return std::to_string(status);
}
// With a text that the routine leaves in the object.
template <typename Routine, typename... Arguments>
std::string Tell(V& vlan, CRavString V::*text, Routine routine, Arguments&&... arguments)
{
    const std::string status = Do(vlan, routine, arguments...);
    return status + ' ' + Utf8(vlan.*text);
}
constexpr auto SetId = [](int id) { return [=](V& v) { return Do(v, &V::SetVLANId, id); }; };
constexpr auto SetParentName = [](V& v) { return Do(v, &V::UpdateVLANName, L"New"); };
// Into the driver's entry for an adapter, and into a team member's instance key or the parent's.
ROUTINE SetTagging(size_t adapter, size_t member = 0, bool removed = false)
{
    return [=](V& v) {
        CRavRegKey key;
        int status = 7;
        v.m_bRemovedByTeam = removed;
        key.Open(HKEY_LOCAL_MACHINE, LabPath(XMS_ADAPTERS_KEY, LabGuid(adapter)), true);
        TaggingModeSpy(v).SetTaggingModeDisguise(status, key, member != 0 ? LabGuid(member) : CRavString());
        return std::to_string(status);
    };
}
constexpr auto Save = [](V& v) { return Do(v, &V::SetParamsForAdptrOOOKey) + SetTagging(1)(v); };
// In use and mode: while the VLAN stays; while it is removed and 1, 2, 3 VLANs are counted.
std::string Decisions(V& vlan)
{
    std::string text;
    for (CVlanLab::s_iSiblings = 0; CVlanLab::s_iSiblings <= 3; ++CVlanLab::s_iSiblings)
    {
        DWORD inUse = 7;
        DWORD mode = 7;
        vlan.m_bRemovedByTeam = CVlanLab::s_iSiblings != 0;
        const bool done = TaggingModeSpy(vlan).GetTaggingModeIntDisguise(inUse, mode);
        text += done ? std::to_string(inUse) + std::to_string(mode) + ' ' : "fails ";
    }
    CVlanLab::s_iSiblings = 1;
    return text;
}
// The list, its size, and whether it tells of tagged VLANs.
std::string Ids(V& vlan)
{
    std::vector<CRavString> ids{L"old"};
    std::string text = vlan.GetVlanIdArray(ids) ? "" : "fails ";
    for (const CRavString& id : ids)
        text += Utf8(id) + ' ';
    bool tagged = false;
    const bool told = vlan.IsParentWithTaggedVlan(tagged);
    return text + std::to_string(vlan.CountNumberTaggedVlans()) + (!told ? " fails" : tagged ? " tagged" : " untagged");
}
std::string Replace(V& vlan)
{
    vlan.m_iPreviousVlanId = 10;
    vlan.m_iVlanId = 30;
    return Do(vlan, &V::SetVlanIdAsMultiStrInAdptrOOOKi, LabGuid(1));
}
constexpr auto Drop = [](V& v) { return v.DeleteVlanID(v.GetMyParentRegistryKey(), 10), ""; };
constexpr auto Unbind = [](V& v) { return std::to_string(v.UpdoXMSProtocolKeyAdptr(false, L"")); };
constexpr auto LeaveMember = [](V& v) { return v.m_strMemberKey = LabGuid(2), std::to_string(v.UpdOOOKeyAdptr(true)); };
constexpr auto ForgetId = [](V& v) { return v.m_iVlanId = -1, Decisions(v); };
std::string OpenByNumber(V& vlan)
{
    std::string opened;
    for (const DWORD number : {0u, 42u, 77u, 9999u, 10000u, 0xFFFFFFFFu})
    {
        CRavRegKey key(vlan.OpenKeyForAdapterNumber(number));
        CRavString here;
        opened += key.GetHKey() != nullptr && key.GetValue(L"Here", here) ? Utf8(here) : "-";
    }
    return opened;
}
// The new group, while the n-th key that is opened cannot be.
constexpr auto Group = [](size_t unreadable) {
    return [=](V& v) {
        CJournal journal;
        if (unreadable != 0)
            journal.FailNext("RegOpenKeyExW", ERROR_ACCESS_DENIED, unreadable);
        journal.Start();
        const std::string status = Do(v, &V::GenNewLogicalGroupId);
        return status + ' ' + std::to_string(v.m_dwLogicalGroupId);
    };
};
constexpr auto VlanOf = [](const wchar_t* parent) {
    return [=](V& v) { return Tell(v, &V::m_strMemberKey, &V::GetVlanNiidFrmPk, parent, v.m_strMemberKey); };
};
template <typename... Given>
ROUTINE DisplayName(Given... given)
{
    return [=](V& v) {
        v.m_strVlanName = L"Sales";
        void (V::*const construct)(std::conditional_t<true, const CRavString&, Given>..., int&) =
            &V::ConstructVlanDisplayName;
        return Tell(v, &V::m_strVlanDisplayName, construct, given...);
    };
}
constexpr auto Address = [](size_t parent) {
    return [=](V& v) {
        v.m_strParentKey = LabGuid(parent);
        v.GetParentOOOKey();
        return Tell(v, &V::m_strNetworkAddress, &V::GetCurrentMACAddress);
    };
};
} // namespace

TEST(VlanObject, Identity)
{
    Check({
        {TEN, "", [](V& v) { return Do(v, &V::SetVLANName, L"Sales"); },
         R"(0; ~ 0006 VLANDisplayName SZ "Port - VLAN : Ten" -> "Port - VLAN : Sales"; ~ 0006 VLANName SZ "Ten" -> "Sales")"
         R"(; ~ Enum\ROOT\NET\0006 FriendlyName SZ "Port - VLAN : Ten" -> "Port - VLAN : Sales")"},
        {FORTY, "", SetParentName,
         R"(0; ~ 0008 VLANDisplayName SZ "Team - VLAN : Forty" -> "New - VLAN : Forty")"
         R"(; ~ Enum\ROOT\NET\0008 FriendlyName SZ "Team - VLAN : Forty" -> "New - VLAN : Forty")"},
        {TEN, "- 0006 VLANName", SetParentName, "-1"},
        {TEN, "", [](V& v) { return Do(v, &V::SetVLANType, 2u); }, "0; ~ 0006 RavVlanType DWORD 1 -> 2; unload {100}"},
        // Of two keys with one GUID the first one counts.
        {TEN, "0001 VLANID MULTI_SZ 8 10 9; 0010 NetCfgInstanceId SZ {100}", SetId(7),
         R"(0; ~ 0001 VLANID MULTI_SZ "8", "10", "9" -> "8", "9", "7"; ~ 0006 VLANID DWORD 10 -> 7; unload {100})"},
        {FORTY, "0003 VLANID MULTI_SZ 41 40", SetId(44),
         R"(0; ~ 0002 VLANID MULTI_SZ "40" -> "44"; ~ 0003 VLANID MULTI_SZ "41", "40" -> "41", "44")"
         "; ~ 0008 VLANID DWORD 40 -> 44; unload {102}"},
        {TEN, "", SetId(4095),
         R"(0; ~ 0001 VLANID MULTI_SZ "10" -> "4095"; ~ 0006 VLANID DWORD 10 -> 4095; unload {100})"},
        {TEN, "0001 VLANID MULTI_SZ 10 7", SetId(7),
         R"(0; ~ 0001 VLANID MULTI_SZ "10", "7" -> "7", "7"; ~ 0006 VLANID DWORD 10 -> 7; unload {100})"},
        {TEN, "", SetId(10000), "-1; ~ 0006 VLANID DWORD 10 -> 10000"},
        {TEN, "", DisplayName(), "0 Port - VLAN : Sales"},
        {FORTY, "", DisplayName(), "0 Team - VLAN : Sales"},
        {TEN, "", DisplayName(L"New"), "0 New - VLAN : Sales"},
        {TEN, "", DisplayName(L""), "0 Sales"},
        {TEN, R"(Enum\PCI\VEN_1A2B&DEV_0010\1 FriendlyName SZ ""; 0001 DriverDesc SZ "")", DisplayName(), "0 Sales"},
        {FORTY, R"(Lab\Teams\{5} Name SZ "")", DisplayName(), "0 Sales"},
        {TEN, R"(- Lab\Adapters\{1})", DisplayName(), "-1"},
        {TEN, "- 0001 NetCfgInstanceId", DisplayName(), "-1"},
        {TEN, "0001 NetworkAddress SZ 02AA00000001", Address(1), "0 02AA00000001"},
        {TEN, "- 0001 NetworkAddress", Address(1), R"(0 001B21000001; + 0001 NetworkAddress SZ "001B21000001")"},
        {TEN, R"(0001 NetworkAddress SZ "")", Address(1),
         R"(0 001B21000001; ~ 0001 NetworkAddress SZ "" -> "001B21000001")"},
        {TEN, "0004 NetworkAddress SZ 02AA00000004", Address(4), "0 02AA00000004"},
        {TEN, "", Address(4), "0"},
        {TEN, "", Address(5), "0 001B21000002"}, // a team has that of its first member
        {TEN, "- 0005 NetworkAddress", Address(5), R"(0 001B21000002; + 0005 NetworkAddress SZ "001B21000002")"},
        // A number counts as no address; a text that is too long to be read may be one, and is not overwritten.
        {TEN, "0001 NetworkAddress DWORD 1", Address(1),
         R"(0 001B21000001; ~ 0001 NetworkAddress DWORD 1 -> SZ "001B21000001")"},
        {TEN, "0001 NetworkAddress SZ " + std::string(300, 'A'), Address(1), "-1"},
    });
}

TEST(VlanObject, ParentsFollowTheirVlans)
{
    Check({
        // Untagged only; tagged only; both; the last one being removed.
        {ZERO, "- 0001 VLANID", Save,
         "00; ~ 0001 TaggingMode DWORD 1 -> 0; - 0001 VlanMode DWORD 1; ~ {1} TaggingMode DWORD 3 -> 0"},
        {TEN, "- 0001 VlanMode; - 0001 TaggingMode; - {1} TaggingMode", Save,
         "00; + 0001 TaggingMode DWORD 1; + 0001 VlanMode DWORD 1; + {1} TaggingMode DWORD 1"},
        {ZERO, "{1} TaggingMode DWORD 1", Save, "00; ~ {1} TaggingMode DWORD 1 -> 3"},
        {TEN, "{1} TaggingMode DWORD 1", SetTagging(1, 0, true),
         "0; ~ 0001 TaggingMode DWORD 1 -> 0; ~ {1} TaggingMode DWORD 1 -> 0"},
        {FORTY, "0002 TaggingMode DWORD 0; {2} TaggingMode DWORD 0", SetTagging(2, 2),
         "0; ~ 0002 TaggingMode DWORD 0 -> 1; ~ {2} TaggingMode DWORD 0 -> 3"},
        // No member; no number of the member; no entry of the driver; no list that can be read.
        {FORTY, "", SetTagging(2), "-1"},
        {FORTY, "- {3} PhysicalAdapterID", SetTagging(2, 3), "-1"},
        {TEN, "- {1}", Save, "0-1"},
        {ZERO, "0001 VLANID SZ 10", Save, "0-1"},
        {TEN, "- {1} MiniportBindingListCount", Unbind,
         R"(0; ~ {1} MiniportBindingList MULTI_SZ "\Device\{100}", "\Device\{101}" -> "\Device\{101}")"},
        // A member's key that was not opened is never taken for the VLAN's own.
        {FORTY, "", LeaveMember, "0"},
    });
}

// In use and mode for a tagged VLAN and for the untagged one: while it is present, and while it is being removed.
TEST(VlanObject, TaggingRule)
{
    const struct
    {
        RAV_VLANS_PRESENT present;
        const char* tagged;
        const char* untagged;
    } rows[] = {{{-1, false}, "11 11", "00 00"}, {{0, true}, "13 13", "00 00"},  {{1, false}, "11 00", "13 11"},
                {{1, true}, "13 00", "13 11"},   {{2, false}, "11 11", "13 11"}, {{2, true}, "13 13", "13 11"}};
    const auto decide = [](const RAV_VLANS_PRESENT& present, int id) {
        std::string text;
        for (const RavVlanStage stage : {RavVlanStage::Present, RavVlanStage::BeingRemoved})
        {
            const RAV_TAGGING tagging = RavTaggingFor(present, id, stage);
            text += (text.empty() ? "" : " ") + std::to_string(tagging.dwInUse) +
                    std::to_string(static_cast<DWORD>(tagging.mode));
        }
        return text;
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(row.tagged, decide(row.present, 10)) << row.present.iTagged << row.present.bUntagged;
        EXPECT_EQ(row.untagged, decide(row.present, 0)) << row.present.iTagged << row.present.bUntagged;
    }
}

// Where the rule's facts come from.
TEST(VlanObject, TaggingDecision)
{
    Check({
        {ZERO, "- 0001 VLANID", Decisions, "00 00 00 00"},
        {NONE, "- 0008 VLANID", Decisions, "00 00 00 00"},
        {ZERO, "", Decisions, "13 11 11 11"},
        {ZERO, "0001 VLANID SZ 10", Decisions, "fails fails fails fails"},
        {TEN, "{1} TaggingMode DWORD 0", Decisions, "13 13 00 13"},
        {FORTY, "{2} TaggingMode DWORD 3", Decisions, "13 13 00 13"},
        {TEN, "{1} TaggingMode DWORD 1", ForgetId, "11 00 11 11"},
        // A driver without a mode is an answer (no untagged VLAN); a mode that cannot be read is a failure.
        {FORTY, "- {2} TaggingMode", Decisions, "11 00 11 11"},
        {TEN, "{1} TaggingMode SZ 0", Decisions, "11 00 11 11"},
        {TEN, "{1} TaggingMode SZ long", Decisions, "11 00 11 11"},
        {TEN, "- {1}", Decisions, "fails fails fails fails"},
        {FORTY, R"(- XMS\Adapters)", Decisions, "fails fails fails fails"},
    });
}

TEST(VlanObject, ListsAndKeys)
{
    const char* const stray = R"(0001 VLANID MULTI_SZ "20", "0", "010", "ten", "10")";
    Check({
        {TEN, stray, Ids, "20 0 010 ten 10 5 tagged"},
        {TEN, stray, Drop, R"(; ~ 0001 VLANID MULTI_SZ "20", "0", "010", "ten", "10" -> "20")"},
        {TEN, stray, Replace, R"(0; ~ 0001 VLANID MULTI_SZ "20", "0", "010", "ten", "10" -> "20", "0", "ten", "30")"},
        {TEN, R"(0001 VLANID MULTI_SZ "30", "20")", Replace,
         R"(0; ~ 0001 VLANID MULTI_SZ "30", "20" -> "30", "20", "30")"},
        {TEN, "0001 VLANID MULTI_SZ 99999999999", Ids, "99999999999 1 tagged"},
        {TEN, R"(0001 VLANID MULTI_SZ "0", "ten")", Ids, "0 ten 2 untagged"},
        {TEN, "", Drop, R"(; - 0001 VLANID MULTI_SZ "10"; - 0001 VlanMode DWORD 1)"},
        {TEN, "- 0001 VLANID", Ids, "0 untagged"},
        {TEN, "- 0001 VLANID", Drop, ""},
        {TEN, "- 0001 VLANID", Replace, R"(0; + 0001 VLANID MULTI_SZ "30")"},
        // A value of another type is not the list, and is left as it is.
        {TEN, "0001 VLANID SZ 10", Ids, "0 fails"},
        {TEN, "0001 VLANID SZ 10", Drop, ""},
        {TEN, "0001 VLANID SZ 10", Replace, "-1"},
        // Over a team the list is that of the first member that carries the VLAN, or else of the team's first one.
        {FORTY, R"(0003 VLANID MULTI_SZ 3; {2} MiniportBindingList MULTI_SZ \Device\{5})", Ids, "3 1 tagged"},
        {FORTY, R"({2} MiniportBindingList MULTI_SZ \Device\{5}; {3} MiniportBindingList MULTI_SZ \Device\{5})", Ids,
         "40 1 tagged"},
        {FORTY, "{2} PhysicalAdapterID DWORD 0", Ids, "fails -1 tagged"},
        {FORTY, "{2} PhysicalAdapterID DWORD 10000", Ids, "fails -1 tagged"},
        {FORTY, "{2} PhysicalAdapterID SZ 2", Ids, "fails -1 tagged"},
        {TEN, R"(0000 Here SZ 0; 0042 Here SZ 42; 9999 Here SZ 9999; Class\10000 Here SZ 10000)", OpenByNumber,
         "-42-9999--"},
        // The next group is one above the largest; what has none, or cannot be read, does not count.
        {TEN, "{2} LogicalGroupID DWORD 7; {3} LogicalGroupID SZ 9", Group(0), "0 8"},
        {TEN, "{2} LogicalGroupID DWORD 4294967295", Group(0), "0 0"},
        {TEN, "{2} LogicalGroupID DWORD 70; {3} LogicalGroupID DWORD 7", Group(3), "0 8"},
        {TEN, R"(- XMS\Adapters)", Group(0), "0 0"},
        {TEN, "", Group(1), "-1 0"},
        {TEN, "", VlanOf(LabGuid(1)), "0 {100}"},
        {TEN, "", VlanOf(L"{a0000001-0000-4000-8000-000000000001}"), "-1"},
        {TEN, "- 0006 NetCfgInstanceId", VlanOf(LabGuid(1)), "-1"},
    });
}

// Whatever fails: no exception, the borrowed key is there again, nothing stays open, and a second try does it all: a
// list that the first one has reached gets the id twice.
TEST(VlanObject, FailingCallsGiveTheParentKeyBack)
{
    const std::regex changed(R"re(REG_MULTI_SZ  "77"(, "77")?)re");
    for (const size_t which : {TEN, FORTY})
    {
        CVlanLab lab(HOST);
        CJournal journal;
        journal.Hook(GetModuleHandleW(L"NetCfg.dll"));
        const std::pair<ROUTINE, std::string> routines[] = {{Ids, which == TEN ? "10 1 tagged" : "40 1 tagged"},
                                                            {which == TEN ? SetTagging(1) : SetTagging(2, 2), "0"},
                                                            {SetId(77), "0"}};
        for (const auto& [routine, good] : routines)
            for (size_t k = 1, failed = true; failed && !HasFailure(); ++k)
            {
                lab.Change("0001 VLANID MULTI_SZ 10; 0002 VLANID MULTI_SZ 40; 0003 VLANID MULTI_SZ 40");
                std::unique_ptr<V> vlan = Load(lab, which);
                vlan->AdoptParentClassKey(vlan->OpenoXMSKeyForAdapterID(LabGuid(1)));
                const HKEY borrowed = vlan->GetParentClassKey();
                journal.FailCall(k);
                journal.Start();
                const std::string first = routine(*vlan);
                failed = journal.HasFailed();
                journal.Stop();
                EXPECT_TRUE(failed || k > 3) << "no call of this routine has failed";
                EXPECT_EQ(std::string::npos, first.find("untagged")) << "what was not read has no tagged VLAN";
                EXPECT_EQ(borrowed, vlan->GetParentClassKey()) << k;
                EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(borrowed)) << k;
                EXPECT_EQ(good, routine(*vlan)) << k << ": " << journal.Calls();
                EXPECT_EQ(static_cast<DWORD>(vlan->m_iVlanId), vlan->m_ravVlanInfo.vlanId) << k;
                for (const std::string key : {"0001", "0002", "0003"})
                    EXPECT_EQ(vlan->m_iVlanId == 77 && (key == "0001") == (which == TEN),
                              std::regex_match(lab.Hive().Value("Class\\" + key, "VLANID"), changed))
                        << k;
                vlan.reset();
                EXPECT_EQ("", journal.OpenHandles()) << k << ": " << journal.Calls();
            }
    }
}
