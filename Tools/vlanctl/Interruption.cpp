#include "Tools/vlanctl/Interruption.h"

#include "Tools/vlanctl/Output.h"

#include <windows.h>

#include <atomic>
#include <mutex>

namespace
{
std::atomic<bool> s_wanted = false;
std::atomic<int> s_guarded = 0; // how many objects there are

// Runs on a thread of its own. When the console closes or the session ends, the system ends the process as soon as this
// returns, and by itself after some seconds: it is left to the command to be done before that. It is never taken off:
// that would wait for it while it waits for the end.
BOOL WINAPI Note(DWORD event)
{
    if (s_guarded == 0)
        return FALSE;
    if (!s_wanted.exchange(true))
        PrintError("vlanctl: stopping; what has been begun is finished first\n");
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}
} // namespace

CInterruption::CInterruption()
{
    static std::once_flag s_once;
    std::call_once(s_once, [] { SetConsoleCtrlHandler(Note, TRUE); });
    ++s_guarded;
}

CInterruption::~CInterruption()
{
    --s_guarded;
}

bool CInterruption::IsWanted()
{
    return s_wanted;
}
