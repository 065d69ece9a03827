#include "Suite/Lab/State/ExclusiveFile.h"

namespace
{
constexpr DWORD PAUSE_MILLISECONDS = 10;
constexpr int ATTEMPTS = 20;
} // namespace

DWORD CExclusiveFile::Try(const CRavString& path)
{
    DWORD error = ERROR_SUCCESS;
    for (int attempt = 0; !IsHeld(); ++attempt)
    {
        m_file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE,
                             nullptr);
        error = IsHeld() ? ERROR_SUCCESS : GetLastError();
        // A file on its way out answers "access denied" for a moment.
        if (error != ERROR_ACCESS_DENIED || attempt == ATTEMPTS)
            break;
        Sleep(PAUSE_MILLISECONDS);
    }
    return error == ERROR_SHARING_VIOLATION ? ERROR_LOCK_VIOLATION : error;
}

void CExclusiveFile::Release()
{
    if (IsHeld())
        CloseHandle(m_file);
    m_file = INVALID_HANDLE_VALUE;
}
