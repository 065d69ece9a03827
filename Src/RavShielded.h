#pragma once

#include "Common/Src/RavDebug.h"

// Runs work that enters another module, or that another module has called. Whether nothing was thrown: what was is
// traced with the caller's file, line and operation, and goes no further.
template <typename Work>
bool RavShielded(const wchar_t* file, int line, const wchar_t* operation, Work&& work)
{
    try
    {
        work();
        return true;
    }
    catch (...)
    {
        RavTrace().Error(file, line, L"%s - Exception caught", operation);
        return false;
    }
}

// What another module answers; when it throws, what the type of the answer begins with, which is a failure.
template <typename Ask>
auto RavAnswer(const wchar_t* file, int line, const wchar_t* operation, Ask&& ask)
{
    decltype(ask()) answer{};
    RavShielded(file, line, operation, [&] { answer = ask(); });
    return answer;
}
