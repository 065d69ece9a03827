// Creation and removal with each of their platform calls failing in turn.

#include "Common/Settings/RavSetting.h"
#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Src/Vlan/VlanObjectFixture.h"

#include <functional>
#include <new>
#include <optional>
#include <set>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
CModuleTrace* const s_trace = CModuleTrace::Register();

// As little as a creation needs: these hosts are read many hundred times.
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
        said.insert(Replaced(line.substr(line.find(' ')), "[0-9A-F]+", "#"));
    return said;
}

// Whether a refused change is among the calls, apart from those whose result the module ignores by design.
bool HasFailedChange(const CJournal& journal)
{
    static const std::regex refused("(RegSetValueExW|RegCreateKeyExW|RegDelete(Value|Key|Tree)W) .* -> 5");
    static const std::regex ignored(".* (XMSLoaded|VLANID|VlanMode) -> 5|.*SupportedFeatures -> 5");
    for (const std::string& line : SplitLines(journal.Calls()))
        if (std::regex_match(line, refused) && !std::regex_match(line, ignored))
            return true;
    return false;
}

// What must hold whatever failed: the VLAN with id 5, which the operation did not concern, is whole, and the locks are
// free.
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

// In the short notation of CVlanLab, without the lab's own notes. The VLAN with the id 5 is {5}, a new one {V}.
std::string Short(const CRegistrySnapshot& before, const CRegistrySnapshot& after, const CRavString& five)
{
    std::string text = CVlanLab::Short(CLabHost::Readable(CRegistrySnapshot::Difference(before, after), {}));
    if (!five.IsEmpty())
        text = Replaced(text, "\\" + Utf8(five), "{5}");
    return Replaced(text, R"(\{[0-9A-F]{8}-[0-9A-F-]+\})", "{V}");
}

std::string ChangeSince(const CRegistrySnapshot& before, const CRavString& five)
{
    return Replaced(Short(before, CRegistrySnapshot(), five), "; ", "\n");
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
struct RAV_OUTCOME
{
    CResult result;
    CRavString prepared; // the VLAN with the id 10
    std::string change;  // of the whole registry, a line for each
    std::string usual;   // the same with no call failing
    std::string behind;  // the part of it after the failing call, in one line
    const CRegistrySnapshot* before = nullptr;
};
using CHECK = std::function<void(CLabHost& host, const RAV_OUTCOME& outcome)>;

// A change without what belongs to the miniport alone: its keys, and its entries in lists.
std::string WithoutMiniport(const std::string& change)
{
    const std::string rest = Replaced(change, R"(- (000\d|Network\\\{V\}|Enum\\ROOT)[^;]*(; )?)", "");
    return Replaced(Replaced(rest, R"re(, "\\Device\\\{V\}")re", ""), R"(~ [^;]* MULTI_SZ ([^;]*) -> \1(; |$))", "");
}

CResult CreateTen(CLabHost& host, const CRavString&)
{
    return host.Create("Port A", 10, L"Ten");
}

// The plain and the hardened build share the calls: each fails every other one.
#ifdef _GLIBCXX_ASSERTIONS
constexpr size_t FIRST_CALL = 2;
#else
constexpr size_t FIRST_CALL = 1;
#endif
constexpr size_t FEWEST_CALLS = 15; // fewer mean that calls are not seen

// Runs an operation on one host after the other, all alike, on each with another of its platform calls refused, or
// throwing. Whatever fails: it is reported, every lock is given back, nothing stays open, and the VLAN with the id 5,
// if there is to be one, stays whole.
void FailEachCall(bool other, bool prepare, bool throwing, const OPERATION& operation, const CHECK& check)
{
    std::optional<CHiveImage> image;
    {
        CLabHost host(TINY_HOST);
        ASSERT_TRUE(!other || host.Create("Port A", 5, L"Five").Succeeded());
        ASSERT_TRUE(!prepare || host.Create("Port A", 10, L"Ten").Succeeded());
        host.CloseAgent();
        image.emplace(host.Hive());
    }
    std::optional<CRegistrySnapshot> before;
    std::set<std::string> usual;
    RAV_OUTCOME outcome;
    const size_t step = throwing ? 6 : 2;
    for (size_t k = 0; !testing::Test::HasFailure(); k += k == 0 ? FIRST_CALL : step)
    {
        CLabHost host(TINY_HOST, *image);
        const CRavString five = host.Vlan("Port A", 5);
        outcome.prepared = host.Vlan("Port A", 10);
        if (!before)
            before.emplace();
        outcome.before = &*before;
        std::optional<CRegistrySnapshot> behind;
        CJournal journal;
        journal.FailCall(k, 0, [&] {
            if (throwing)
                throw std::bad_alloc();
            if (!prepare) // removals are not asked for it
                behind.emplace();
        });
        s_trace->Forget();
        journal.Start();
        outcome.result = operation(host, outcome.prepared);
        const bool failed = journal.HasFailed();
        journal.Stop();
        SCOPED_TRACE("call " + std::to_string(k) + (throwing ? " throws" : ""));
        if (k != 0 && !failed)
        {
            EXPECT_LT(FEWEST_CALLS, k);
            return;
        }
        EXPECT_EQ("", OpenHandles(journal));
        const CRegistrySnapshot after;
        outcome.change = ChangeSince(*before, five);
        outcome.behind = behind ? Short(*behind, after, five) : "";
        if (k == 0)
        {
            usual = Said();
            outcome.usual = outcome.change;
        }
        if (outcome.result.Succeeded() && outcome.result.ulErrClass != 2 && HasFailedChange(journal))
        {
            const std::set<std::string> said = Said();
            EXPECT_FALSE(std::includes(usual.begin(), usual.end(), said.begin(), said.end())) << journal.Calls();
        }
        ExpectTheRestWhole(host, five);
        check(host, outcome);
    }
}
} // namespace

// A creation that fails leaves what was there when it did, without its miniport, and can be done again. One that
// succeeds all the same lacks no more than a setting, or the question that the team agent was to be asked.
TEST(Failures, EveryPlatformCallOfACreation)
{
    const char* const bound = R"(~ Services\oXMSProtocol\Linkage Bind MULTI_SZ -> "\Device\{1}"; )"
                              R"(~ Services\oXMSProtocol\Linkage Disabled MULTI_SZ "\Device\{1}" ->; )"
                              R"(~ Services\Tcpip\Linkage Bind MULTI_SZ "\Device\{1}" ->; )"
                              R"(~ Services\Tcpip\Linkage Disabled MULTI_SZ -> "\Device\{1}"; )"
                              R"(~ Services\Tcpip6\Linkage Bind MULTI_SZ "\Device\{1}" ->; )"
                              R"(~ Services\Tcpip6\Linkage Disabled MULTI_SZ -> "\Device\{1}")";
    for (const bool other : {false, true})
        FailEachCall(other, false, false, CreateTen, [&](CLabHost& host, const RAV_OUTCOME& outcome) {
            const bool created = outcome.result.Succeeded();
            const bool wasBound = s_trace->Text().find("::BindAdapterToXms, nReturn=0") != std::string::npos;
            EXPECT_EQ((other ? 1u : 0u) + (created ? 1 : 0), CLabHost::Miniports());
            if (created)
                EXPECT_EQ("", Replaced(CLabHost::Delta(outcome.usual, outcome.change),
                                       R"(. . (000\d(\\Ndi\\Params| \*Num)|0001 VlanFiltering)[^\n]*\n)", ""));
            else
                EXPECT_EQ(wasBound ? bound : "", WithoutMiniport(outcome.behind));
            EXPECT_TRUE(created || CreateTen(host, L"").Succeeded());
        });
}

TEST(Failures, EveryPlatformCallOfARemoval)
{
    for (const bool other : {false, true})
        FailEachCall(
            other, true, false, [](CLabHost& host, const CRavString& ten) { return host.Remove(ten); },
            [&](CLabHost& host, const RAV_OUTCOME& outcome) {
                const size_t left = other ? 1 : 0;
                const bool removed = outcome.result.Succeeded() && outcome.result.ulErrClass != 2;
                EXPECT_TRUE(removed || CLabHost::Miniports() == left || RemoveRest(host, outcome.prepared));
                const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key("Port A"));
                EXPECT_EQ(left, CLabHost::Miniports());
                EXPECT_EQ(left, LabList(entry, L"MiniportBindingList").size());
                EXPECT_EQ(left, LabNumber(entry, L"MiniportBindingListCount", 0));
                ExpectParentHas(host, !other);
            });
}

// A change that fails can be made again, and then has the host as if nothing had failed.
TEST(Failures, EveryPlatformCallOfAChange)
{
    const RAV_SETTING_VAL_INT five(5);
    const OPERATION CHANGES[] = {
        [](CLabHost& host, const CRavString& ten) {
            CResult result;
            host.Agent().SetVLANId(result, ten, 15, host.Lock());
            return result;
        },
        [&](CLabHost& host, const CRavString& ten) {
            CResult result;
            host.Agent().SetSetting(result, ten, L"*NumRssQueues", &five, host.Lock());
            return result;
        },
        [](CLabHost& host, const CRavString& ten) {
            CResult result;
            host.Agent().SetVLANName(result, ten, L"New", host.Lock());
            return result;
        },
    };
    for (const OPERATION& change : CHANGES)
        for (const bool throwing : {false, true})
        {
            FailEachCall(true, true, throwing, change, [&](CLabHost& host, const RAV_OUTCOME& outcome) {
                EXPECT_EQ(2u, CLabHost::Miniports());
                EXPECT_TRUE(change(host, outcome.prepared).Succeeded());
                EXPECT_EQ(outcome.usual, ChangeSince(*outcome.before, host.Vlan("Port A", 5)));
            });
        }
}

// Memory runs out in the middle of whatever the module does: while a second VLAN is created, while the last one goes.
TEST(Failures, EveryPlatformCallThrows)
{
    const OPERATION removal = [](CLabHost& host, const CRavString& ten) { return host.Remove(ten); };
    for (const bool create : {true, false})
        FailEachCall(
            create, !create, true, create ? CreateTen : removal, [&](CLabHost& host, const RAV_OUTCOME& outcome) {
                const auto again = [&] { return create ? CreateTen(host, L"") : host.Remove(outcome.prepared); };
                EXPECT_TRUE(outcome.result.Succeeded() || again().Succeeded() || again().Succeeded());
                EXPECT_EQ(create ? 2u : 0u, CLabHost::Miniports());
            });
}

// The same for what the core agent throws, from whichever of its operations: the n-th one lies in the n-th slot.
TEST(Failures, EveryOperationOfTheCoreAgentThrows)
{
    constexpr size_t OPERATIONS = 106;
    constexpr size_t DONE_LOCK = 31; // without this operation the lock cannot be given back
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
