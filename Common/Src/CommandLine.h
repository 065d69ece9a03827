#pragma once
// Command lines and their texts, which the suite's programs have in UTF-8. The program links shell32.

#include "Common/Src/RavUtf8.h"

#include <windows.h>
#include <shellapi.h>

#include <string>
#include <vector>

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
