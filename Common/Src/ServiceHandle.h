#pragma once

#include "Common/Src/HandleOwner.h"

#include <windows.h>

struct RavServiceCloser
{
    static void Close(SC_HANDLE handle)
    {
        if (handle != nullptr)
            CloseServiceHandle(handle);
    }
};

// A handle of the service control manager or of a service; null when it was not to be had.
using CRavServiceHandle = CRavHandleOwner<SC_HANDLE, RavServiceCloser>;
