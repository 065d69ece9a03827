#pragma once

#include "Common/Src/RavKeyHandle.h"
#include "Tools/vlanctl/FileHandle.h"

#include <windows.h>

#include <vector>

// Tells when something changes in the parts of the registry that describe adapters, teams and VLANs. For the thread
// that has made it.
class CRegistryWatch
{
  public:
    // Throws CommandError when there is nothing to watch, as does Wait when the system will not tell any more.
    CRegistryWatch();

    // Waits for a change, and until what belongs to it has come, too. False when `stop` was set meanwhile. A change
    // since the last call counts.
    bool Wait(HANDLE stop);

  private:
    struct Watched
    {
        const wchar_t* name = nullptr;
        CRavKeyHandle key;
        CFileHandle event;
        bool isAsked = false; // whether the event will tell of the key's next change
    };
    static void Begin(Watched& watched);
    // The place of the event that is set, m_watched.size() for `stop`; larger when none comes in time.
    size_t WaitForOne(HANDLE stop, DWORD milliseconds) const;

    std::vector<Watched> m_watched;
};
