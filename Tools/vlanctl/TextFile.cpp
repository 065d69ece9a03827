#include "Tools/vlanctl/TextFile.h"

#include "Tools/vlanctl/FileHandle.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

void WriteTextFile(const std::string& path, const std::string& text)
{
    const CFileHandle file(
        CreateFileW(FromUtf8(path), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == FALSE ||
        written != text.size())
        throw CommandError(EXIT_REFUSED, path + " cannot be written: " + WindowsText(GetLastError()));
}
