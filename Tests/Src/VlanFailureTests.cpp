// Creation and removal with each of their platform calls failing in turn.

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Tests/Common/ModuleTrace.h"
#include "Tests/Src/LabFixture.h"

#include <functional>
#include <set>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
CModuleTrace* const s_trace = CModuleTrace::Register();

// As little as a creation needs: these hosts are built many hundred times.
const char* const TINY_HOST = R"({
    "adapters": [ { "name": "Port A", "mac": "001B21000001", "parameters": { "VlanFiltering": "0", "*PriorityVLANTag": "1" } } ],
    "templates": [ { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 } ]
})";

// The team agent stays loaded from one question to the next.
std::string OpenHandles(const CJournal& journal)
{
    std::string open;
    for (const std::string& line : SplitLines(journal.OpenHandles()))
    {
        if (line.find("TeamAgent.dll") == std::string::npos)
            open += line + "\n";
    }
    return open;
}

// What was traced since the last Forget, without the numbers in it.
std::set<std::string> Said()
{
    std::set<std::string> said;
    for (const std::string& line : SplitLines(s_trace->Text()))
        said.insert(std::regex_replace(line.substr(line.find(' ')), std::regex("[0-9A-F]+"), "#"));
    return said;
}

// Whether a change was refused, other than those whose outcome is of no interest by design.
bool HasFailedChange(const CJournal& journal)
{
    static const std::regex refused("(RegSetValueExW|RegCreateKeyExW|RegDelete(Value|Key|Tree)W) .* -> 5");
    static const std::regex ignored(".* (XMSLoaded|VLANID|VlanMode) -> 5|.*SupportedFeatures -> 5");
    for (const std::string& line : SplitLines(journal.Calls()))
        if (std::regex_match(line, refused) && !std::regex_match(line, ignored))
            return true;
    return false;
}

// The VLAN with id 5, which the operation was not about, and the locks.
void ExpectTheRestWhole(CLabHost& host, const CRavString& other)
{
    EXPECT_TRUE(CLabHost::IsNetworkLockFree());
    EXPECT_TRUE(host.IsSuiteLockFree());
    if (other.IsEmpty())
        return;
    const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key("Port A"));
    const auto holds = [](const std::vector<CRavString>& list, const CRavString& text) {
        return std::count(list.begin(), list.end(), text) == 1;
    };
    EXPECT_EQ(other, host.Vlan("Port A", 5));
    EXPECT_TRUE(holds(LabList(LabPath(CLASS_KEY, L"0001"), L"VLANID"), L"5"));
    EXPECT_TRUE(holds(LabList(entry, L"MiniportBindingList"), CRavString(L"\\Device\\") + other));
    EXPECT_NE(0u, LabNumber(entry, L"MiniportBindingListCount", 0));
    EXPECT_EQ(1u, LabNumber(entry, L"TaggingMode", 9));
    EXPECT_EQ(1u, LabNumber(LabPath(CLASS_KEY, L"0001"), L"TaggingMode", 9));
    EXPECT_EQ(1u, LabNumber(LabPath(CLASS_KEY, L"0001"), L"VlanMode", 9));
}

// Without VLANs an adapter has its own protocols and address, with them the driver has both.
void ExpectParentHas(CLabHost& host, bool protocols)
{
    const CRavString device = CRavString(L"\\Device\\") + host.Key("Port A");
    for (const wchar_t* const service : {L"Tcpip", L"Tcpip6", L"oXMSProtocol"})
    {
        const std::vector<CRavString> bound = LabList(LabPath(LabPath(SERVICES_KEY, service), L"Linkage"), L"Bind");
        EXPECT_EQ(protocols == (*service == L'T'), std::count(bound.begin(), bound.end(), device) == 1)
            << Utf8(service);
    }
    EXPECT_EQ(protocols ? 1u : 0u, LabNumber(LabPath(TCPIP_INTERFACES_KEY, host.Key("Port A")), L"EnableDHCP", 9));
}

// Removes what a removal that failed has left of VLAN 10. The count of the driver's entry is never brought below 1:
// when it was decreased already, and no more than one is left in it, it has to be put right first.
bool RemoveRest(CLabHost& host, const CRavString& ten)
{
    const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key("Port A"));
    const bool counted = !host.Vlan("Port A", 5).IsEmpty() && LabNumber(entry, L"MiniportBindingListCount", 9) <= 1;
    EXPECT_EQ(!counted, host.Remove(ten).Succeeded());
    return !counted || (LabSetNumber(entry, L"MiniportBindingListCount", 2) && host.Remove(ten).Succeeded());
}

using OPERATION = std::function<CResult(CLabHost& host, const CRavString& prepared)>;
using CHECK = std::function<void(CLabHost& host, const CResult& result, const CRavString& prepared)>;

// Runs an operation on one new host after the other, on each with another of its platform calls failing. Whatever
// fails: it is reported, every lock is given back, nothing stays open, and the VLAN with id 5, if there is to be one,
// stays whole.
void FailEachCall(bool other, bool prepare, const OPERATION& operation, const CHECK& check)
{
    std::set<std::string> usual;
    for (size_t k = 0; !testing::Test::HasFailure(); ++k)
    {
        CLabHost host(TINY_HOST);
        ASSERT_TRUE(!other || host.Create("Port A", 5, L"Five").Succeeded());
        ASSERT_TRUE(!prepare || host.Create("Port A", 10, L"Ten").Succeeded());
        const CRavString five = host.Vlan("Port A", 5);
        const CRavString ten = host.Vlan("Port A", 10);
        CJournal journal;
        journal.FailCall(k);
        s_trace->Forget();
        journal.Start();
        const CResult result = operation(host, ten);
        const bool failed = journal.HasFailed();
        journal.Stop();
        SCOPED_TRACE("call " + std::to_string(k));
        if (k == 0)
            usual = Said();
        else if (!failed)
            return;
        EXPECT_EQ("", OpenHandles(journal));
        if (result.Succeeded() && result.ulErrClass != 2 && HasFailedChange(journal))
        {
            const std::set<std::string> said = Said();
            EXPECT_FALSE(std::includes(usual.begin(), usual.end(), said.begin(), said.end())) << journal.Calls();
        }
        ExpectTheRestWhole(host, five);
        check(host, result, ten);
    }
}
} // namespace

TEST(Failures, EveryPlatformCallOfACreation)
{
    for (const bool other : {false, true})
        FailEachCall(
            other, false, [](CLabHost& host, const CRavString&) { return host.Create("Port A", 10, L"Ten"); },
            [&](CLabHost& host, const CResult& result, const CRavString&) {
                const bool any = other || result.Succeeded();
                EXPECT_EQ((other ? 1u : 0u) + (result.Succeeded() ? 1 : 0), CLabHost::Miniports());
                ExpectParentHas(host, !any);
            });
}

TEST(Failures, EveryPlatformCallOfARemoval)
{
    for (const bool other : {false, true})
        FailEachCall(
            other, true, [](CLabHost& host, const CRavString& ten) { return host.Remove(ten); },
            [&](CLabHost& host, const CResult& result, const CRavString& ten) {
                const size_t left = other ? 1 : 0;
                const bool removed = result.Succeeded() && result.ulErrClass != 2;
                EXPECT_TRUE(removed || CLabHost::Miniports() == left || RemoveRest(host, ten));
                const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key("Port A"));
                EXPECT_EQ(left, CLabHost::Miniports());
                EXPECT_EQ(left, LabList(entry, L"MiniportBindingList").size());
                EXPECT_EQ(left, LabNumber(entry, L"MiniportBindingListCount", 0));
                ExpectParentHas(host, !other);
            });
}

// The same for what the core agent throws, from whichever of its operations: the n-th one lies in the n-th slot.
TEST(Failures, EveryOperationOfTheCoreAgentThrows)
{
    constexpr size_t OPERATIONS = 106;
    constexpr size_t DONE_LOCK = 31; // who cannot give the lock back holds it
    CLabHost host(TINY_HOST);
    ASSERT_TRUE(host.Create("Port A", 5, L"Five").Succeeded());
    const CRavString five = host.Vlan("Port A", 5);
    for (size_t slot = 0; slot < OPERATIONS; slot += slot + 1 == DONE_LOCK ? 2 : 1)
    {
        SCOPED_TRACE("operation " + std::to_string(slot));
        const auto throwing = [&](const auto& operation) {
            const CSlot thrower(host.Agent().GetCoreAgentPvt(), slot, &CSlot::Throw);
            return operation().Succeeded();
        };
        const bool created = throwing([&] { return host.Create("Port A", 10, L"Ten"); });
        ExpectTheRestWhole(host, five);
        ASSERT_EQ(created ? 2u : 1u, CLabHost::Miniports());
        ASSERT_TRUE(created || host.Create("Port A", 10, L"Ten").Succeeded());
        const CRavString ten = host.Vlan("Port A", 10);
        const bool removed = throwing([&] { return host.Remove(ten); });
        ExpectTheRestWhole(host, five);
        ASSERT_TRUE(removed || RemoveRest(host, ten));
        ASSERT_EQ(1u, CLabHost::Miniports());
    }
}
