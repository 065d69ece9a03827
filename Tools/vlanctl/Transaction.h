#pragma once

#include "Tools/vlanctl/Session.h"

// Holds the suite's configuration lock over all the changes of a command: nobody comes in between, and they are applied
// together at the end, so that a parent is reloaded once. The agent's operations take the lock again, which is granted
// to the thread that has it.
class CTransaction
{
  public:
    // Waits for the lock. Throws CommandError with EXIT_LOCKED when another program keeps it, with EXIT_REFUSED when
    // the wait is interrupted or the lock is refused.
    CTransaction(CSession& session, unsigned waitSeconds);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;

    // Gives the lock back. The result tells whether the changes could be applied.
    CResult Finish();

  private:
    CSession& m_session;
    RAV_LOCK_TOKEN m_token;
    bool m_isHeld = false;
};
