#pragma once

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavNetAgentPvt.h"

// Holds the suite-wide configuration lock for a scope. The release applies the transaction.
class CRavSuiteLock
{
  public:
    // result gets the code of the request.
    CRavSuiteLock(CRavNetAgentPvt& agent, const RAV_LOCK_RECORD& request, CResult& result) : m_agent(agent)
    {
        agent.StartLock(result, request, m_token);
        m_bHeld = result.Succeeded();
    }
    ~CRavSuiteLock()
    {
        CResult released = CResult::Success();
        if (m_bHeld)
            m_agent.DoneLock(released, m_token);
        if (!released.Succeeded())
            RavTrace().Print(L"CRavSuiteLock - the transaction could not be applied, 0x%X", released.ulErrCode);
    }
    CRavSuiteLock(const CRavSuiteLock&) = delete;
    CRavSuiteLock& operator=(const CRavSuiteLock&) = delete;

    bool IsHeld() const { return m_bHeld; }

  private:
    CRavNetAgentPvt& m_agent;
    RAV_LOCK_TOKEN m_token;
    bool m_bHeld = false;
};
