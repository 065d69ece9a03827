#include "Suite/Lab/CoreAgent/LabCoreAgent.h"

#include "Common/Src/RavSecure.h"
#include "Suite/Lab/State/LabState.h"

#include <new>

namespace
{
CLabCoreAgent& Agent()
{
    static CLabCoreAgent agent;
    [[maybe_unused]] static const int traced = RavTrace().Configure(L"CORE_AGENT", L"CoreAgent.txt", 1, 0, 0, nullptr);
    return agent;
}
} // namespace

extern "C" CRavCoreAgentPvtIntf* GetCoreAgentPvt()
{
    return &Agent();
}

extern "C" DWORD RegisterClient(RAV_CLIENT_ID* pClient)
{
    return pClient != nullptr ? CLabCoreAgent::RegisterClient(*pClient) : ERROR_INVALID_PARAMETER;
}

extern "C" DWORD GetLockHolder(wchar_t* pText, DWORD dwSize)
{
    const CRavString holder = LabSuiteLockHolder();
    if (holder.IsEmpty())
        return ERROR_NOT_FOUND;
    return RavSafeCopy(L"Suite\\Lab\\CoreAgent\\Exports", __LINE__, pText, dwSize, holder) == 0
               ? ERROR_SUCCESS
               : ERROR_INSUFFICIENT_BUFFER;
}
