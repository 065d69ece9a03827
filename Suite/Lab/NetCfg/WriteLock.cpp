#include "Suite/Lab/NetCfg/WriteLock.h"

#include "Suite/Lab/NetCfg/RegistryKey.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

namespace
{

constexpr DWORD pollInterval = 20;

void writeHolder(const std::wstring& description)
{
    CRegistryKey key;
    if (key.Create(LAB_WRITE_LOCK, REG_OPTION_VOLATILE) == ERROR_SUCCESS)
        key.SetText(L"Holder", description);
}

} // namespace

HRESULT CWriteLock::Acquire(DWORD milliseconds, const std::wstring& description)
{
    const CRavString file = LabStateFile(LAB_WRITE_LOCK_FILE);
    const ULONGLONG start = GetTickCount64();
    milliseconds = std::min(milliseconds, LabNumber(LAB_KEY, LAB_LOCK_PATIENCE, INFINITE));
    DWORD error = m_file.Try(file);
    // A file on its way out answers "access denied", on a busy machine for long.
    while ((error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED) &&
           (milliseconds == INFINITE || GetTickCount64() - start < milliseconds))
    {
        Sleep(pollInterval);
        error = m_file.Try(file);
    }
    if (error != ERROR_SUCCESS)
        return error == ERROR_LOCK_VIOLATION ? S_FALSE : HRESULT_FROM_WIN32(error);
    writeHolder(description);
    return S_OK;
}

void CWriteLock::Release()
{
    if (!IsHeld())
        return;
    // Before the file is let go, or it would be the next holder's description that goes.
    DeleteKeyTree(LAB_WRITE_LOCK);
    m_file.Release();
}

bool CWriteLock::IsHeldBySomebody()
{
    const HANDLE probe =
        CreateFileW(LabStateFile(LAB_WRITE_LOCK_FILE), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (probe == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(probe);
    return false;
}

std::wstring CWriteLock::HolderDescription()
{
    CRegistryKey key;
    if (key.Open(LAB_WRITE_LOCK) != ERROR_SUCCESS)
        return {};
    return key.Text(L"Holder").value_or(std::wstring());
}
