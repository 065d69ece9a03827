#pragma once
// What a test program with hosts of the lab has once: the lab's COM server, and the module's trace.

#include "Tests/Common/Src/ModuleTrace.h"
#include "Tests/Src/LabFixture.h"

#include <regex>
#include <string>

inline const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);
inline CModuleTrace* const s_trace = CModuleTrace::Register();

// The lines traced since the last Forget that hold one of the words.
inline std::string Traced(const std::string& words)
{
    std::string text;
    for (const std::string& line : SplitLines(s_trace->Text()))
        if (std::regex_search(line, std::regex(words)))
            text += line.substr(line.find(' ') + 1) + "\n";
    return text;
}
