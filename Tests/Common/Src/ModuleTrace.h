#pragma once
// The module's one trace object, configured for a test program, and what it has written since.

#include "Common/Src/RavDebug.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/TraceFile.h"

#include <gtest/gtest.h>

#include <memory>

class CModuleTrace : public ::testing::Environment
{
  public:
    // Once, in a static object of the test program; gtest owns it.
    static CModuleTrace* Register()
    {
        auto environment = std::make_unique<CModuleTrace>();
        ::testing::AddGlobalTestEnvironment(environment.get());
        return environment.release();
    }

    void SetUp() override
    {
        const CPrivateHive hive;
        ASSERT_EQ(0, RavTrace().Configure(L"TESTS", L"trace.txt", 3, 0, 0, nullptr));
    }

    void Forget() { m_iFirst = FileSize(m_temp.Path(L"trace.txt")); }
    std::string Text() const { return TraceText(m_temp.Path(L"trace.txt"), m_iFirst); }

  private:
    CTempFolder m_temp;
    size_t m_iFirst = 0;
};
