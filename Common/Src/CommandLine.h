#pragma once
// Command lines and their texts, which the suite's programs have in UTF-8. The program links shell32.

#include "Common/Src/RavString.h"

#include <windows.h>
#include <shellapi.h>

#include <algorithm>
#include <string>
#include <vector>

inline std::string ToUtf8(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

// Up to the first zero character.
inline CRavString FromUtf8(const std::string& text)
{
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<size_t>(std::max(size, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size);
    return CRavString(wide.c_str());
}

// The arguments of this process as the parser takes them: last first, without the program.
inline std::vector<std::string> ArgumentsLastFirst()
{
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int index = count - 1; index > 0; --index)
        arguments.push_back(ToUtf8(wide[index]));
    LocalFree(wide);
    return arguments;
}
