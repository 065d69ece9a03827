#pragma once

#include "Common/Src/HandleOwner.h"

#include <windows.h>

struct RavModuleCloser
{
    static void Close(HMODULE hModule)
    {
        if (hModule != nullptr)
            FreeLibrary(hModule);
    }
};

// A loaded module, or one reference to it.
class CRavModuleHandle : public CRavHandleOwner<HMODULE, RavModuleCloser>
{
  public:
    using CRavHandleOwner::CRavHandleOwner;

    // Null when the module has no export of the name, or there is no module.
    template <typename Function>
    Function Export(const char* name) const
    {
        const FARPROC address = Get() != nullptr ? GetProcAddress(Get(), name) : nullptr;
        return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
    }
};
