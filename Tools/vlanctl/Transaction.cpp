#include "Tools/vlanctl/Transaction.h"

#include "Tools/vlanctl/Interruption.h"
#include "Tools/vlanctl/Messages.h"
#include "Tools/vlanctl/Output.h"

#include <algorithm>

namespace
{
constexpr ULONGLONG SLICE_MILLISECONDS = 200; // of the wait, after which an interruption is heeded

[[noreturn]] void CannotLock(const CSession& session, const CResult& result)
{
    const std::string holder = session.WhoHoldsTheSuite();
    if (result.ulErrCode != ERROR_LOCK_VIOLATION)
        throw CommandError(EXIT_REFUSED, "the configuration lock is refused: " + CodeText(result));
    throw CommandError(EXIT_LOCKED, !holder.empty() ? holder : CodeText(result));
}
void TellWait(const std::string& holder)
{
    if (!holder.empty())
        PrintError("vlanctl: waiting: " + holder + "\n");
}
} // namespace

CTransaction::CTransaction(CSession& session, unsigned waitSeconds) : m_session(session)
{
    const ULONGLONG start = GetTickCount64();
    const ULONGLONG wait = waitSeconds * 1000ULL;
    for (bool isTold = false;; isTold = true)
    {
        const ULONGLONG waited = GetTickCount64() - start;
        const ULONGLONG left = waited < wait ? wait - waited : 0;
        const RAV_LOCK_RECORD request = {session.Client(), static_cast<DWORD>(std::min(left, SLICE_MILLISECONDS))};
        const CResult result = session.Core().StartLock(request, m_token);
        m_isHeld = result.Succeeded();
        if (m_isHeld)
            break;
        if (CInterruption::IsWanted())
            throw CommandError(EXIT_REFUSED, "interrupted; nothing was changed");
        if (result.ulErrCode != ERROR_LOCK_VIOLATION || left <= SLICE_MILLISECONDS)
            CannotLock(session, result);
        if (!isTold)
            TellWait(session.WhoHoldsTheSuite());
    }
    TellWait(session.WhoHoldsTheNetwork()); // for which the agent waits in its turn
}

CTransaction::~CTransaction()
{
    try
    {
        Finish();
    }
    catch (...)
    {
        PrintError("vlanctl: the configuration lock cannot be given back\n");
    }
}

CResult CTransaction::Finish()
{
    if (!m_isHeld)
        return CResult::Success();
    m_isHeld = false;
    return m_session.Core().DoneLock(m_token);
}
