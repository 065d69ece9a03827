#include "Common/Library/RestartNote.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"

void RavNoteRestart()
{
    CRavRegKey suite;
    CRavRegKey note;
    constexpr bool WRITE = true;
    constexpr bool VOLATILE = true;
    const bool done = suite.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, WRITE) &&
                      note.Create(suite.GetHKey(), RESTART_NEEDED_NAME, WRITE, VOLATILE);
    RavTrace().Print(L"RavNoteRestart - a restart of the system is needed%s", done ? L"" : L", and cannot be noted");
}

bool RavIsRestartNoted()
{
    CRavRegKey suite;
    return suite.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false) && suite.SubKeyExists(RESTART_NEEDED_NAME);
}
