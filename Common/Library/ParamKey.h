#pragma once

#include "Common/Src/RavKeyHandle.h"

#include <windows.h>
#include <netcfgx.h>

// Opens the component's parameter key. Whatever a failing call leaves is no key.
inline HRESULT RavOpenParamKey(INetCfgComponent& component, CRavKeyHandle& key)
{
    const HRESULT status = component.OpenParamKey(key.Receive());
    if (FAILED(status))
        key.Release();
    return status;
}
