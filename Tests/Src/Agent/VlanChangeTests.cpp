// VLANs changed through the agent, as whole differences of the registry in the short notation of CVlanLab.

#include "Common/Intf/RavParameter.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Settings/RavSetting.h"
#include "Tests/Src/Agent/VlanScenario.h"

#include <functional>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

// Its VLANs are {100} to {105}, with the instances 0006 to 0011; {105} is the only one of its parent.
const char* const HOST = R"({
    "adapters": [ { "name": "Port A", "mac": "001B21000001", "jumboFrames": [1514, 4088, 9014], "vmq": true,
                    "parameters": { "VlanFiltering": "1" } },
                  { "name": "Member 1", "mac": "001B21000002", "jumboFrames": [1514, 9014], "vmq": false },
                  { "name": "Member 2", "mac": "001B21000003", "jumboFrames": [1514, 4088, 9014] },
                  { "name": "Port B", "mac": "001B21000004" } ],
    "teams": [ { "name": "Team", "members": ["Member 1", "Member 2"], "mode": 2 } ],
    "vlans": [ { "parent": "Port A", "id": 10, "name": "Ten" }, { "parent": "Port A", "id": 20, "name": "Twenty" },
               { "parent": "Port A", "id": 30, "name": "Thirty" }, { "parent": "Team", "id": 40, "name": "Forty" },
               { "parent": "Team", "id": 0, "name": "Zero" }, { "parent": "Port B", "id": 0, "name": "Alone" } ],
    "templates": [ { "name": "*LsoV2IPv4", "type": "enum", "description": "Offload", "default": 1,
                     "choices": [{ "value": 0, "text": "Disabled" }, { "value": 1, "text": "Enabled" }] },
                   { "name": "Rate", "type": "int", "description": "Rate", "default": 100, "min": 0, "max": 1000,
                     "step": 50 } ]
})";
const CRavString TEN = LabGuid(100);
const CRavString FORTY = LabGuid(103);
const CRavString ZERO = LabGuid(104);
const CRavString ALONE = LabGuid(105);

using A = CVlanAgentWin;

class CChangeHost : public CLabHost
{
  public:
    CChangeHost() : CLabHost(HOST) {}
    // A jumbo-frame setting with the parent's choices, as a creation gives one on a server.
    void GiveJumbo(const CRavString& vlan, const char* parent)
    {
        std::unique_ptr<RAV_SETTING> setting;
        EXPECT_TRUE(CRavMiniportReg(LabInstancePath(Key(parent))).GetSetting(JUMBO_PACKET, setting).Succeeded());
        EXPECT_TRUE(CRavMiniportReg(LabInstancePath(vlan)).CreateSetting(*setting).Succeeded());
    }
    CResult SetJumboOf(const char* adapter, int size)
    {
        CResult result;
        RAV_LOCK_TOKEN token;
        const RAV_SETTING_VAL_INT value(size);
        Agent().StartLock(result, Lock(), token);
        result = Agent().GetCoreAgentPvt()->SetSetting(Key(adapter), JUMBO_PACKET, &value);
        CResult done;
        Agent().DoneLock(done, token);
        return result;
    }
    // An operation of the agent, without its result and with the lock record at the end of its arguments.
    template <typename... Parameters, typename... Arguments>
    CResult Do(void (A::*operation)(CResult&, Parameters...), Arguments&&... arguments)
    {
        CResult result;
        (Agent().*operation)(result, std::forward<Arguments>(arguments)...);
        return result;
    }
    CResult Rename(const CRavString& vlan, const wchar_t* name) { return Do(&A::SetVLANName, vlan, name, Lock()); }
    CResult SetId(const CRavString& vlan, DWORD id) { return Do(&A::SetVLANId, vlan, id, Lock()); }
    CResult SetType(const CRavString& vlan, DWORD type) { return Do(&A::SetVlanType, vlan, type, Lock()); }
    CResult Set(const CRavString& vlan, const wchar_t* name, const RAV_SETTING_VAL& value)
    {
        CResult result;
        Agent().SetSetting(result, vlan, name, &value, Lock());
        return result;
    }
    CResult Set(const CRavString& vlan, const wchar_t* name, int number, const wchar_t* text = L"")
    {
        return Set(vlan, name, RAV_SETTING_VAL_INT(number, text));
    }
    CResult Reset(const CRavString& vlan, const wchar_t* name)
    {
        return Do(&A::SetSettingToDefault, vlan, name, Lock());
    }
    static DWORD Stops(const CRavString& vlan) { return LabNumber(LabPath(LAB_DEVICES, vlan), L"Stops", 0); }
    static DWORD RunsWith(const CRavString& vlan)
    {
        return LabNumber(LabPath(LAB_DEVICES, vlan), LAB_WORKS_WITH_ID, 0);
    }
};

using OPERATION = std::function<CResult(CChangeHost& host)>;

// What an operation does to the host: its code, how often the first VLANs were reloaded, and the difference.
std::string Done(CChangeHost& host, const OPERATION& operation)
{
    host.Agent();
    const CRegistryChange change;
    std::string text = std::to_string(operation(host).ulErrCode);
    for (const CRavString& vlan : {TEN, FORTY})
        text += CChangeHost::Stops(vlan) == 0 ? "" : "; reloads " + std::to_string(CChangeHost::Stops(vlan));
    const std::string difference = CVlanLab::Short(CLabHost::Readable(change.Text(), {}));
    EXPECT_TRUE(host.IsSuiteLockFree() && CLabHost::IsNetworkLockFree());
    return text + (difference.empty() ? "" : "; " + difference);
}

// The number of a message; with an s of those about settings.
std::string NumberOf(DWORD code)
{
    return code == 0 ? "" : ((code >> 24) == 0x35 ? "s" : "") + std::to_string(code & 0xFF);
}

std::string Codes(const CRavVlanMessages& messages)
{
    std::string codes;
    for (const RAV_VALIDATION_MESSAGE& message : messages)
    {
        codes += (codes.empty() ? "" : " ") + NumberOf(message.dwCode);
        for (const CRavString& parameter : message.parameters)
            codes += parameter.IsEmpty() ? "" : "," + Utf8(parameter);
    }
    return codes;
}
} // namespace

TEST(Change, AsTheRegistryHasIt)
{
    const std::pair<OPERATION, const char*> CASES[] = {
        {[](auto& host) { return host.Rename(TEN, L"Büro"); },
         R"(0; ~ 0006 VLANDisplayName SZ "Port A - VLAN : Ten" -> "Port A - VLAN : Büro"; )"
         R"(~ 0006 VLANName SZ "Ten" -> "Büro"; )"
         R"(~ Enum\ROOT\NET\0006 FriendlyName SZ "Port A - VLAN : Ten" -> "Port A - VLAN : Büro")"},
        {[](auto& host) { return host.Rename(ALONE, L"ALONE"); },
         R"(0; ~ 0011 VLANDisplayName SZ "Port B - VLAN : Alone" -> "Port B - VLAN : ALONE"; )"
         R"(~ 0011 VLANName SZ "Alone" -> "ALONE"; )"
         R"(~ Enum\ROOT\NET\0011 FriendlyName SZ "Port B - VLAN : Alone" -> "Port B - VLAN : ALONE")"},
        {[](auto& host) { return host.Rename(TEN, L"Ten"); }, "0"},
        {[](auto& host) { // whose name nobody tells
             const auto team = host.Agent().GetTeamAgentPvtIntf();
             const CSlot thrower(team.get(), Place(&CRavTeamAgentPvtIntf::GetTeamInfo), &CSlot::Throw);
             return host.Rename(FORTY, L"New");
         },
         "4294967295"},
        {[](auto& host) { return host.SetId(TEN, 15); },
         R"(0; reloads 1; ~ 0001 VLANID MULTI_SZ "10", "20", "30" -> "20", "30", "15"; ~ 0006 VLANID DWORD 10 -> 15)"},
        {[](auto& host) { return host.SetId(FORTY, 41); },
         R"(0; reloads 1; ~ 0002 VLANID MULTI_SZ "40" -> "41"; ~ 0003 VLANID MULTI_SZ "40" -> "41"; )"
         "~ 0009 VLANID DWORD 40 -> 41"},
        {[](auto& host) { return host.SetId(TEN, 10); }, "0"},
        {[](auto& host) { return host.SetId(ZERO, 0); }, "0"},
        {[](auto& host) { return host.SetType(TEN, 2); }, "0; reloads 1; ~ 0006 RavVlanType DWORD 1 -> 3"},
        {[](auto& host) { return host.SetType(TEN, 0); }, "0"},
        {[](auto& host) { return host.Set(TEN, L"*lsov2ipv4", 0); },
         R"(0; reloads 1; ~ 0006 *LsoV2IPv4 SZ "1" -> "0")"},
        {[](auto& host) { return host.Set(TEN, L"*LsoV2IPv4", 1, L"disabled"); },
         R"(0; reloads 1; ~ 0006 *LsoV2IPv4 SZ "1" -> "0")"},
        {[](auto& host) { return host.Set(TEN, L"*LsoV2IPv4", 1, RAV_DISPLAY_VALUE_NOT_SUPPORTED); }, "0"},
        {[](auto& host) { return host.Set(TEN, L"Rate", 150); }, R"(0; reloads 1; ~ 0006 Rate SZ "100" -> "150")"},
        {[](auto& host) { return host.Set(TEN, L"Rate", 100, L"200"); },
         R"(0; reloads 1; ~ 0006 Rate SZ "100" -> "200")"},
        {[](auto& host) { return host.Reset(TEN, L"Rate"); }, "0"},
        {[](auto& host) { // what is no number reads as the default, and is not it
             LabSetText(LabInstancePath(TEN), L"Rate", L"fast");
             return host.Reset(TEN, L"Rate");
         },
         "0; reloads 1"},
        {[](auto& host) {
             CRavString lower = TEN;
             lower.MakeLower();
             return host.Set(lower, L"Rate", 0).Succeeded() ? host.Reset(TEN, L"Rate") : CResult();
         },
         "0; reloads 2"},
    };
    for (const auto& [operation, expected] : CASES)
    {
        CChangeHost host;
        EXPECT_EQ(expected, Done(host, operation));
    }
}

TEST(Change, TheCachedRecordHasTheNewValuesAndTheDriverTheId)
{
    CChangeHost host;
    RAV_VLAN_INFO info;
    EXPECT_EQ(0u, host.Do(&A::GetVlanInfo, TEN, info).ulErrCode);
    EXPECT_EQ(10u, CChangeHost::RunsWith(TEN));
    EXPECT_EQ(0u, host.Rename(TEN, L"New").ulErrCode);
    EXPECT_EQ(0u, host.SetId(TEN, 77).ulErrCode);
    EXPECT_EQ(0u, host.SetType(TEN, 1).ulErrCode);
    EXPECT_EQ(0u, host.Do(&A::GetVlanInfo, TEN, info).ulErrCode);
    EXPECT_TRUE(info.vlanName == L"New" && info.displayName == L"Port A - VLAN : New");
    EXPECT_EQ(77u, info.vlanId);
    EXPECT_EQ(1u, info.vlanType);
    EXPECT_EQ(77u, CChangeHost::RunsWith(TEN));
    EXPECT_EQ(TEN, host.Vlan("Port A", 77));
}

TEST(Change, SeveralUnderOneLockReloadOnce)
{
    CChangeHost host;
    CResult result;
    RAV_LOCK_TOKEN token;
    host.Agent().StartLock(result, host.Lock(), token);
    EXPECT_EQ(0u, host.Set(TEN, L"Rate", 200).ulErrCode);
    EXPECT_EQ(0u, host.Set(TEN, L"*LsoV2IPv4", 0).ulErrCode);
    EXPECT_EQ(0u, host.SetId(TEN, 77).ulErrCode);
    EXPECT_EQ(0u, CChangeHost::Stops(TEN));
    host.Agent().DoneLock(result, token);
    EXPECT_EQ(1u, CChangeHost::Stops(TEN));
    EXPECT_EQ(77u, CChangeHost::RunsWith(TEN));
}

// A refusal has the code of the first message, changes nothing, and is what the validation says.
TEST(Change, WhatIsRefused)
{
    struct UPDATE
    {
        CRavString vlan;
        const wchar_t* name;
        DWORD id;
        const char* codes;
    };
    const wchar_t* const LONG_NAME = L"A name that has one more than 32.";
    const UPDATE UPDATES[] = {
        {TEN, L"Ten", 10, ""},       {TEN, L"ten", 11, ""},       {ZERO, L"Other", 0, ""},
        {ALONE, L"Other", 0, ""},    {TEN, L"Forty", 40, ""},     {TEN, L"", 10, "154"},
        {TEN, L" A", 10, "135"},     {TEN, LONG_NAME, 10, "153"}, {TEN, L"a|b", 10, "136"},
        {TEN, L"TWENTY", 10, "137"}, {TEN, L"Ten", 4095, "142"},  {TEN, L"Ten", 20, "143"},
        {TEN, L"Ten", 0, "141"},     {ZERO, L"Zero", 5, "141"},   {TEN, L"Thirty", 20, "137 143"},
    };
    for (const UPDATE& update : UPDATES)
    {
        CChangeHost host;
        CRavVlanMessages messages;
        EXPECT_EQ(0u, host.Do(&A::ValidateUpdate, update.vlan, update.name, update.id, messages).ulErrCode);
        EXPECT_EQ(update.codes, Codes(messages));
        const CRegistryChange change;
        std::string codes;
        for (const CResult& result : {host.Rename(update.vlan, update.name), host.SetId(update.vlan, update.id)})
            codes += (codes.empty() || result.Succeeded() ? "" : " ") + NumberOf(result.ulErrCode);
        EXPECT_EQ(update.codes, codes);
        if (!messages.empty())
        {
            EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
        }
    }
}

// Also while the network configuration does not show every VLAN.
TEST(Change, AnIdInUseIsNeverGiven)
{
    CChangeHost host;
    host.Agent();
    CJournal journal;
    journal.Hook(GetModuleHandleW(L"NetCfg.dll"));
    bool failed = true;
    for (size_t k = 1; failed; ++k)
    {
        journal.FailCall(k);
        journal.Start();
        EXPECT_FALSE(host.SetId(TEN, 20).Succeeded()) << k;
        failed = journal.HasFailed();
        journal.Stop();
    }
}

TEST(Change, SettingsThatAreRefused)
{
    CChangeHost host;
    host.GiveJumbo(TEN, "Port A");
    host.GiveJumbo(FORTY, "Member 2");
    RAV_SETTING_VAL_STR text;
    text.strValue = L"1";
    struct ROW
    {
        CRavString vlan;
        const wchar_t* name;
        int number;
        const wchar_t* text;
        const char* codes;
    };
    const ROW ROWS[] = {
        {TEN, L"Rote", 1, L"", "s1,Rote"},
        {TEN, L"", 1, L"", "s1"},
        {TEN, L"*LsoV2IPv4\\Enum", 1, L"", "s1,*LsoV2IPv4\\Enum"},
        {TEN, L"*LsoV2IPv4", 2, L"", "s2,*LsoV2IPv4"},
        {TEN, L"*LsoV2IPv4", 1, L"Perhaps", "s2,*LsoV2IPv4"},
        {TEN, L"Rate", -1, L"", "s3,0,1000"},
        {TEN, L"Rate", 1050, L"", "s3,0,1000"},
        {TEN, L"Rate", 120, L"", "s4,0,50"},
        {TEN, L"Rate", 100, L"12x", "s5,Rate"},
        {TEN, L"*JumboPacket", 9014, L"", "s6,1514"},
        {TEN, L"*JumboPacket", 5000, L"", "s2,*JumboPacket"},
        {FORTY, L"*JumboPacket", 4088, L"", "s6,1514"},
    };
    const CRegistryChange change;
    const auto refused = [&](const CRavString& vlan, const wchar_t* name, const RAV_SETTING_VAL& value) {
        CRavVlanMessages messages;
        EXPECT_EQ(0u, host.Do(&A::ValidateSetting, vlan, name, &value, messages).ulErrCode);
        EXPECT_EQ(messages.empty() ? 0u : messages[0].dwCode, host.Set(vlan, name, value).ulErrCode);
        EXPECT_EQ(messages.empty() ? 0u : messages[0].dwCode,
                  host.Do(&A::SetSettingOnVlan, vlan, name, &value).ulErrCode);
        return Codes(messages);
    };
    for (const ROW& row : ROWS)
        EXPECT_EQ(row.codes, refused(row.vlan, row.name, RAV_SETTING_VAL_INT(row.number, row.text)));
    EXPECT_EQ("s5,Rate", refused(TEN, L"Rate", text));
    EXPECT_EQ("s1", NumberOf(host.Reset(TEN, L"Rote").ulErrCode));
    EXPECT_EQ(DWORD{RAV_CODE_NOT_VALID}, host.SetType(TEN, 3).ulErrCode);
    for (const CRavString& unknown : {CRavString(), host.Key("Port A"), LabGuid(77)})
        EXPECT_EQ(CResult::FAILED, host.SetId(unknown, 5).ulErrCode);
    CResult result;
    host.Agent().SetVLANId(result, TEN, 15, {{GetCurrentProcessId(), 99}, 0});
    EXPECT_EQ(CResult::FAILED, result.ulErrCode);
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    EXPECT_EQ(0u, CChangeHost::Stops(TEN));
}

TEST(Change, VlansFollowTheJumboSizeOfTheirParent)
{
    CChangeHost host;
    host.GiveJumbo(TEN, "Port A");
    host.GiveJumbo(FORTY, "Member 2");
    EXPECT_EQ(R"(0; ~ 0001 *JumboPacket SZ "1514" -> "9014")",
              Done(host, [](auto& h) { return h.SetJumboOf("Port A", 9014); }));
    EXPECT_EQ(R"(0; reloads 1; ~ 0006 *JumboPacket SZ "1514" -> "9014")",
              Done(host, [](auto& h) { return h.Set(TEN, JUMBO_PACKET, 9014); }));
    EXPECT_EQ(R"(0; reloads 2; ~ 0001 *JumboPacket SZ "9014" -> "4088"; ~ 0006 *JumboPacket SZ "9014" -> "4088"; )"
              R"(- 0006\Ndi\Params\*JumboPacket\Enum 9014 SZ "9014 Bytes")",
              Done(host, [](auto& h) { return h.SetJumboOf("Port A", 4088); }));
    EXPECT_EQ("0; reloads 2", Done(host, [](auto& h) { return h.SetJumboOf("Port A", 4088); }));
    // Of a team the least of its members' counts, and the choices of the member with the fewest.
    EXPECT_EQ(R"(0; reloads 2; reloads 1; ~ 0003 *JumboPacket SZ "1514" -> "9014"; )"
              R"(- 0009\Ndi\Params\*JumboPacket\Enum 4088 SZ "4088 Bytes"; )"
              R"(- 0009\Ndi\Params\*JumboPacket\Enum 9014 SZ "9014 Bytes")",
              Done(host, [](auto& h) { return h.SetJumboOf("Member 2", 9014); }));
    EXPECT_EQ(R"(0; reloads 2; reloads 2; ~ 0002 *JumboPacket SZ "1514" -> "9014"; )"
              R"(+ 0009\Ndi\Params\*JumboPacket\Enum 9014 SZ "9014 Bytes")",
              Done(host, [](auto& h) { return h.SetJumboOf("Member 1", 9014); }));
}

// The description is damaged, or lost: in any way it is there again, with the value that was stored.
TEST(Change, AnInterruptedJumboSettingIsMended)
{
    for (const wchar_t* const lost : {L"Type", L"Enum", L""})
    {
        CChangeHost host;
        host.GiveJumbo(TEN, "Port A");
        host.SetJumboOf("Port A", 9014);
        host.Set(TEN, JUMBO_PACKET, 4088);
        host.Agent();
        const CRegistryChange change;
        const std::string path = "Class\\0006\\Ndi\\Params\\*JumboPacket";
        if (*lost == L'T')
            CLabHost::Delete(path, lost);
        else
            CLabHost::Delete(path + (*lost == L'E' ? "\\Enum" : ""));
        EXPECT_EQ(0u, host.Do(&A::SyncJumboFramesOnAllVlans, host.Key("Port A")).ulErrCode);
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    }
}

TEST(Change, ANameNeedsTheNetworkConfigurationsLock)
{
    CChangeHost host;
    host.Agent();
    Microsoft::WRL::ComPtr<INetCfg> netCfg;
    Microsoft::WRL::ComPtr<INetCfgLock> lock;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg)));
    ASSERT_EQ(S_OK, netCfg.As(&lock));
    const CSlot refusing(
        lock.Get(), 3, +[](INetCfgLock*, DWORD, LPCWSTR, LPWSTR* holder) {
            *holder = nullptr;
            return S_FALSE;
        });
    const CRegistryChange change;
    const CResult result = host.Rename(TEN, L"New");
    EXPECT_TRUE(result.ulErrCode == CResult::FAILED && result.ulErrClass == RAV_CLASS_REFUSED);
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
    EXPECT_EQ(0u, host.SetId(TEN, 15).ulErrCode); // needs no such lock
}

// What sibling agents ask: of a VLAN its parent's answer, of a team what all members share.
TEST(Siblings, AreAnswered)
{
    CChangeHost host;
    bool yes = true;
    DWORD number = 9;
    CRavString text;
    std::vector<CRavString> keys;
    RAV_PARAMETER parameter;
    parameter.strName = L"VLANName";
    EXPECT_EQ(0u, host.Do(&A::IsVlanVmqCapable, FORTY, yes).ulErrCode);
    EXPECT_FALSE(yes); // one of two members
    EXPECT_EQ(0u, host.Do(&A::IsVlanVmqEnabled, TEN, yes).ulErrCode);
    EXPECT_TRUE(yes);
    for (const char* const adapter : {"Member 1", "Member 2"})
        LabSetNumber(LabPath(LAB_ADAPTERS, host.Key(adapter)), L"RssFlag", adapter[7] == '1' ? 6 : 3);
    EXPECT_EQ(0u, host.Do(&A::GetReceiveScaleCapabilitiesFlag, FORTY, number).ulErrCode);
    EXPECT_EQ(2u, number);
    EXPECT_EQ(0u, host.Do(&A::IsOtherVlansBoundToVmSwitchProtocol, TEN, yes).ulErrCode);
    EXPECT_FALSE(yes);
    LabSetList(LabPath(SERVICES_KEY, L"VMSP") + L"\\Linkage", L"Bind", {CRavString(DEVICE_PREFIX) + TEN});
    EXPECT_EQ(0u, host.Do(&A::IsOtherVlansBoundToVmSwitchProtocol, TEN, yes).ulErrCode);
    EXPECT_FALSE(yes); // itself
    EXPECT_EQ(0u, host.Do(&A::IsOtherVlansBoundToVmSwitchProtocol, LabGuid(101), yes).ulErrCode);
    EXPECT_TRUE(yes);
    EXPECT_EQ(0u, host.Do(&A::GetParameter, FORTY, parameter).ulErrCode);
    EXPECT_EQ(L"Forty", parameter.strValue);
    EXPECT_EQ(0u, host.Do(&A::GetTeamMembers, host.Key("Team"), keys).ulErrCode);
    EXPECT_EQ((std::vector<CRavString>{host.Key("Member 1"), host.Key("Member 2")}), keys);
    EXPECT_EQ(0u, host.Do(&A::GetStatusOfVlansOnTeam, host.Key("Team"), number).ulErrCode);
    EXPECT_EQ(DWORD{RAV_LOAD_STATUS_LOADED}, number);
    LabSetNumber(LabPath(LAB_DEVICES, ZERO), L"Problem", 22);
    host.Do(&A::GetStatusOfVlansOnTeam, host.Key("Team"), number);
    EXPECT_EQ(DWORD{RAV_LOAD_STATUS_DISABLED}, number);
    LabSetText(LabPath(SERVICES_KEY, L"oXMSProtocol"), L"ImagePath", L"\\??\\C:\\d\\x.sys");
    EXPECT_EQ(0u, host.Do(&A::GetVoTDriver, host.Key("Team"), text).ulErrCode);
    EXPECT_EQ(L"C:\\d\\x.sys", text);
    LabSetText(LabPath(SERVICES_KEY, L"oXMSProtocol"), L"ImagePath", L"system32\\drivers\\x.sys");
    host.Do(&A::GetVoTDriver, host.Key("Team"), text);
    EXPECT_EQ(L"C:\\windows\\system32\\drivers\\x.sys", text);
    EXPECT_EQ(CResult::FAILED, host.Do(&A::GetVoTDriver, host.Key("Port A"), text).ulErrCode);
    // A member that is not in the machine carries nothing: the others answer.
    CLabHost::Delete("Class\\0002");
    CLabHost::Delete("Lab\\Adapters\\" + Utf8(host.Key("Member 1")));
    EXPECT_EQ(0u, host.Do(&A::GetReceiveScaleCapabilitiesFlag, FORTY, number).ulErrCode);
    EXPECT_EQ(3u, number);
    EXPECT_EQ(0u, host.Do(&A::SetVlanFilteringSetting, host.Key("Team"), true).ulErrCode);
    host.GiveJumbo(FORTY, "Member 2");
    EXPECT_EQ(0u, host.Do(&A::SyncJumboFramesOnAllVlans, host.Key("Team")).ulErrCode);
}

TEST(Siblings, ChangeWhatIsOverATeam)
{
    const RAV_SETTING_VAL_INT off(0);
    const RAV_SETTING_VAL_INT none(7);
    const std::pair<OPERATION, const char*> CASES[] = {
        {[](auto& host) { return host.Do(&A::UpdateParentTeamNameAllVlans, host.Key("Team"), L"New"); },
         R"(0; ~ 0009 VLANDisplayName SZ "Team - VLAN : Forty" -> "New - VLAN : Forty"; )"
         R"(~ 0010 VLANDisplayName SZ "Team - VLAN : Zero" -> "New - VLAN : Zero"; )"
         R"(~ Enum\ROOT\NET\0009 FriendlyName SZ "Team - VLAN : Forty" -> "New - VLAN : Forty"; )"
         R"(~ Enum\ROOT\NET\0010 FriendlyName SZ "Team - VLAN : Zero" -> "New - VLAN : Zero")"},
        {[&](auto& host) { return host.Do(&A::SetTeamXMSSetting, host.Key("Team"), L"*LsoV2IPv4", &off); },
         R"(0; ~ 0009 *LsoV2IPv4 SZ "1" -> "0"; ~ 0010 *LsoV2IPv4 SZ "1" -> "0")"},
        {[&](auto& host) { return host.Do(&A::SetTeamXMSSetting, host.Key("Team"), L"*LsoV2IPv4", &none); },
         "889192450"},
        {[](auto& host) { return host.Do(&A::SetVlanFilteringSetting, host.Key("Port A"), false); },
         R"(0; ~ 0001 VlanFiltering SZ "1" -> "0")"},
        {[](auto& host) { return host.Do(&A::SetVlanFilteringSetting, host.Key("Port A"), true); }, "0"},
        {[](auto& host) { return host.Do(&A::SetVlanFilteringSetting, host.Key("Team"), true); }, "0"},
        {[](auto& host) { return host.Do(&A::RemoveAdvSetting, TEN, L"Rate"); },
         R"(0; - 0006 Rate SZ "100"; - 0006\Ndi\Params\Rate)"},
        {[](auto& host) { return host.Do(&A::RemoveAdvSetting, TEN, L"Rote"); }, "2"},
        {[](auto& host) { // another description, the same value: no reload
             RAV_SETTING_INT setting;
             setting.strName = L"Rate";
             setting.strDisplayName = L"Rate";
             setting.iMax = 2000;
             setting.iStep = 50;
             setting.iDefault = setting.iCurrent = 100;
             setting.iBase = 10;
             setting.iScale = 1;
             const CResult made = host.Do(&A::CreateAdvSetting, TEN, &setting);
             return host.IsSuiteLockFree() ? made : CResult();
         },
         R"(0; - 0006\Ndi\Params\Rate ExposeLevel SZ "0"; ~ 0006\Ndi\Params\Rate Max SZ "1000" -> "2000")"},
        {[](auto& host) {
             RAV_SETTING_INT setting;
             setting.strName = L"New";
             setting.iMax = 9;
             setting.iCurrent = 4;
             CResult made = host.Do(&A::CreateAdvSetting, TEN, &setting);
             setting.iCurrent = 5;
             CResult result;
             host.Agent().SetSetting(result, TEN, &setting);
             return made.Succeeded() ? result : made;
         },
         R"(0; + 0006 New SZ "5"; + 0006\Ndi\Params\New Default SZ "0"; + 0006\Ndi\Params\New Max SZ "9"; )"
         R"(+ 0006\Ndi\Params\New Min SZ "0"; + 0006\Ndi\Params\New ParamDesc SZ ""; )"
         R"(+ 0006\Ndi\Params\New Type SZ "int")"},
    };
    for (const auto& [operation, expected] : CASES)
    {
        CChangeHost host;
        EXPECT_EQ(expected, Done(host, operation));
    }
}
