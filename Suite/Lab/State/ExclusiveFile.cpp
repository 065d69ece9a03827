#include "Suite/Lab/State/ExclusiveFile.h"

namespace
{
constexpr DWORD POLL_MILLISECONDS = 10;
}

bool CExclusiveFile::Acquire(const CRavString& path, DWORD waitMilliseconds)
{
    for (DWORD waited = 0; !IsHeld(); waited += POLL_MILLISECONDS)
    {
        m_file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE,
                             nullptr);
        if (IsHeld())
            break;
        const DWORD error = GetLastError();
        const bool busy = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!busy || (waitMilliseconds != INFINITE && waited >= waitMilliseconds))
            return false;
        Sleep(POLL_MILLISECONDS);
    }
    return true;
}

void CExclusiveFile::Release()
{
    if (IsHeld())
        CloseHandle(m_file);
    m_file = INVALID_HANDLE_VALUE;
}
