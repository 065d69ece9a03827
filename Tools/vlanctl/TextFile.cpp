#include "Tools/vlanctl/TextFile.h"

#include "Tools/vlanctl/FileHandle.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

#include <algorithm>
#include <array>

namespace
{
constexpr wchar_t NEW[] = L".new"; // is put to the name of the file until it is whole
constexpr DWORD POLL_MILLISECONDS = 10;
constexpr DWORD MOST_MILLISECONDS = 5000;
constexpr size_t MOST_BYTES = size_t{16} * 1024 * 1024;

bool WriteNew(const CRavString& path, const std::string& text)
{
    const CFileHandle file(CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    return file && WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != FALSE &&
           written == text.size() && FlushFileBuffers(file.Get()) != FALSE;
}

// While somebody else reads the former file it cannot be replaced; that takes a moment.
bool Move(const CRavString& from, const CRavString& to)
{
    const ULONGLONG start = GetTickCount64();
    while (MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE)
    {
        const DWORD error = GetLastError();
        if ((error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) ||
            GetTickCount64() - start > MOST_MILLISECONDS)
        {
            DeleteFileW(from);
            SetLastError(error);
            return false;
        }
        Sleep(POLL_MILLISECONDS);
    }
    return true;
}

std::string ReadAll(HANDLE file, const std::string& path)
{
    std::string text;
    std::array<char, 65536> part = {};
    for (;;)
    {
        DWORD size = 0;
        const bool isRead = ReadFile(file, part.data(), part.size(), &size, nullptr) != 0;
        if (!isRead && GetLastError() != ERROR_BROKEN_PIPE)
            throw CommandError(EXIT_REFUSED, path + " cannot be read: " + WindowsText(GetLastError()));
        if (!isRead || size == 0)
            return text;
        text.append(part.data(), size);
        if (text.size() > MOST_BYTES)
            throw CommandError(EXIT_REFUSED, path + " is larger than 16 MiB");
    }
}

// What PowerShell's ">" makes of a text is UTF-16.
std::string InUtf8(const std::string& bytes)
{
    if (!bytes.starts_with("\xFF\xFE"))
        return bytes;
    std::wstring wide((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::copy_n(bytes.data() + 2, wide.size() * sizeof(wchar_t), reinterpret_cast<char*>(wide.data()));
    return ToUtf8(wide);
}
} // namespace

bool ReplaceFileText(const CRavString& path, const std::string& text)
{
    const CRavString unfinished = path + NEW;
    return WriteNew(unfinished, text) && Move(unfinished, path);
}

void WriteTextFile(const std::string& path, const std::string& text)
{
    if (!ReplaceFileText(FromUtf8(path), text))
        throw CommandError(EXIT_REFUSED, path + " cannot be written: " + WindowsText(GetLastError()));
}

std::string ReadTextFile(const std::string& path)
{
    const bool isInput = path == "-";
    const CFileHandle file(isInput ? nullptr
                                   : CreateFileW(FromUtf8(path), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!isInput && !file)
        throw CommandError(EXIT_REFUSED, path + " cannot be opened: " + WindowsText(GetLastError()));
    return InUtf8(ReadAll(isInput ? GetStdHandle(STD_INPUT_HANDLE) : file.Get(), path));
}
