#include "Suite/Lab/NetCfg/WriteLock.h"

#include "Suite/Lab/NetCfg/NetComponents.h"
#include "Suite/Lab/NetCfg/RegistryKey.h"

#include <utility>

namespace
{

constexpr DWORD pollInterval = 20;

std::wstring lockKeyPath()
{
    return std::wstring(labKeyPath) + L"\\Lock";
}

std::wstring stateFolder()
{
    CRegistryKey lab;
    if (lab.Open(labKeyPath) == ERROR_SUCCESS)
    {
        std::optional<std::wstring> folder = lab.Text(L"StateDir");
        if (folder && !folder->empty())
            return *folder;
    }
    wchar_t temporary[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, temporary);
    return std::wstring(temporary) + L"VlanLab";
}

// Makes the folders of a path that are missing; the open that follows reports what is wrong with it.
void makeFolders(const std::wstring& path)
{
    for (size_t end = path.find(L'\\', 3); end != std::wstring::npos; end = path.find(L'\\', end + 1))
        CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    CreateDirectoryW(path.c_str(), nullptr);
}

void writeHolder(const std::wstring& description)
{
    CRegistryKey key;
    if (key.Create(lockKeyPath(), REG_OPTION_VOLATILE) == ERROR_SUCCESS)
        key.SetText(L"Holder", description);
}

} // namespace

HRESULT CWriteLock::Acquire(DWORD milliseconds, const std::wstring& description)
{
    const std::wstring folder = stateFolder();
    makeFolders(folder);
    const std::wstring file = folder + L"\\netcfg.lock";
    const ULONGLONG start = GetTickCount64();
    for (;;)
    {
        m_hFile = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        if (IsHeld())
            break;
        const DWORD error = GetLastError();
        // A file on its way out answers "access denied" for a moment.
        if (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED)
            return HRESULT_FROM_WIN32(error);
        const ULONGLONG waited = GetTickCount64() - start;
        if (milliseconds != INFINITE && waited >= milliseconds)
            return error == ERROR_SHARING_VIOLATION ? S_FALSE : HRESULT_FROM_WIN32(error);
        Sleep(pollInterval);
    }
    writeHolder(description);
    return S_OK;
}

void CWriteLock::Release()
{
    if (!IsHeld())
        return;
    // Before the file is let go, or it would be the next holder's description that goes.
    DeleteKeyTree(lockKeyPath());
    CloseHandle(std::exchange(m_hFile, INVALID_HANDLE_VALUE));
}

bool CWriteLock::IsHeldBySomebody()
{
    const std::wstring file = stateFolder() + L"\\netcfg.lock";
    const HANDLE probe = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
    if (probe == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(probe);
    return false;
}

std::wstring CWriteLock::HolderDescription()
{
    CRegistryKey key;
    if (key.Open(lockKeyPath()) != ERROR_SUCCESS)
        return {};
    return key.Text(L"Holder").value_or(std::wstring());
}
