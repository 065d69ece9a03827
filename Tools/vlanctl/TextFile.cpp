#include "Tools/vlanctl/TextFile.h"

#include "Tools/vlanctl/FileHandle.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

namespace
{
constexpr wchar_t NEW[] = L".new"; // is put to the name of the file until it is whole
constexpr DWORD POLL_MILLISECONDS = 10;
constexpr DWORD MOST_MILLISECONDS = 5000;

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
