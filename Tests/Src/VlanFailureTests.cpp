// Creation and removal with each of their platform calls failing in turn.

#include "Tests/Src/LabFixture.h"

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

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
} // namespace

// Whatever fails: it is reported, every lock is given back, nothing stays open, and a creation that failed leaves no
// miniport behind.
TEST(Failures, EveryPlatformCallOfACreation)
{
    for (const DWORD before : {0u, 1u})
    {
        for (size_t k = 1;; ++k)
        {
            CLabHost host(TINY_HOST);
            if (before != 0)
            {
                ASSERT_EQ(0u, host.Create("Port A", 5, L"Five").ulErrCode);
            }
            host.Agent();
            CJournal journal;
            journal.FailCall(k);
            journal.Start();
            const CResult result = host.Create("Port A", 10, L"Ten");
            const bool failed = journal.HasFailed();
            journal.Stop();
            if (!failed)
            {
                EXPECT_EQ(0u, result.ulErrCode);
                break;
            }
            EXPECT_EQ("", OpenHandles(journal)) << k;
            EXPECT_TRUE(CLabHost::IsNetworkLockFree()) << k;
            EXPECT_TRUE(host.IsSuiteLockFree()) << k;
            EXPECT_EQ(before + (result.Succeeded() ? 1 : 0), CLabHost::Miniports()) << k << ": " << journal.Calls();
            if (HasFailure())
                return;
        }
    }
}

TEST(Failures, EveryPlatformCallOfARemoval)
{
    for (const size_t others : {0u, 1u})
    {
        for (size_t k = 1;; ++k)
        {
            CLabHost host(TINY_HOST);
            ASSERT_EQ(0u, host.Create("Port A", 10, L"Ten").ulErrCode);
            if (others != 0)
            {
                ASSERT_EQ(0u, host.Create("Port A", 11, L"Eleven").ulErrCode);
            }
            const CRavString key = host.Vlan("Port A", 10);
            CJournal journal;
            journal.FailCall(k);
            journal.Start();
            const CResult result = host.Remove(key);
            const bool failed = journal.HasFailed();
            journal.Stop();
            EXPECT_EQ("", OpenHandles(journal)) << k;
            EXPECT_TRUE(CLabHost::IsNetworkLockFree()) << k;
            EXPECT_TRUE(host.IsSuiteLockFree()) << k;
            if (result.Succeeded() && result.ulErrClass != 2)
            {
                EXPECT_EQ(others, CLabHost::Miniports()) << k;
            }
            if (!failed || HasFailure())
                break;
        }
    }
}
