#include "Suite/Lab/CoreAgent/LabCoreAgent.h"

#include "Common/Src/RavSecure.h"

#include <new>

namespace
{
CLabCoreAgent& Agent()
{
    static CLabCoreAgent agent;
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
    const CRavString holder = CLabCoreAgent::DescribeLockHolder();
    if (holder.IsEmpty())
        return ERROR_NOT_FOUND;
    return RavSafeCopy(L"Suite\\Lab\\CoreAgent\\Exports", __LINE__, pText, dwSize, holder) == 0
               ? ERROR_SUCCESS
               : ERROR_INSUFFICIENT_BUFFER;
}
