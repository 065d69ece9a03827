#include "Tools/vlanctl/Interruption.h"

#include "Tools/vlanctl/Output.h"

#include <windows.h>

#include <atomic>

namespace
{
std::atomic<bool> s_wanted = false;
std::atomic<bool> s_isEnding = false; // a handler waits for the end of the process

// Runs on a thread of its own. When the console closes or the session ends, the system ends the process as soon as this
// returns, and by itself after some seconds: it is left to the command to be done before that.
BOOL WINAPI Note(DWORD event)
{
    if (!s_wanted.exchange(true))
        PrintError("vlanctl: stopping; what has been begun is finished first\n");
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
    {
        s_isEnding = true;
        Sleep(INFINITE);
    }
    return TRUE;
}
} // namespace

CInterruption::CInterruption()
{
    SetConsoleCtrlHandler(Note, TRUE);
}

CInterruption::~CInterruption()
{
    if (!s_isEnding) // this would wait for the handler, and that for the end of the process
        SetConsoleCtrlHandler(Note, FALSE);
}

bool CInterruption::IsWanted()
{
    return s_wanted;
}
