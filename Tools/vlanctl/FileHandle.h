#pragma once

#include "Common/Src/HandleOwner.h"

#include <windows.h>

// A file, pipe, process or event; closed when its owner goes.
struct HandleCloser
{
    static BOOL Close(HANDLE handle) { return handle == nullptr || CloseHandle(handle) ? TRUE : FALSE; }
};

class CFileHandle : public CRavHandleOwner<HANDLE, HandleCloser>
{
  public:
    // Takes what an opening call gives, null or INVALID_HANDLE_VALUE when it fails.
    explicit CFileHandle(HANDLE handle = nullptr) : CRavHandleOwner(handle != INVALID_HANDLE_VALUE ? handle : nullptr)
    {
    }
};
