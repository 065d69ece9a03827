#pragma once

#include "Common/Src/RavString.h"

#include <vector>

// One registry value of an adapter's driver key, as the core agent and the common library read and write it.
// dwType (REG_SZ, REG_EXPAND_SZ, REG_DWORD or REG_MULTI_SZ) tells which of the three data members counts.
struct RAV_PARAMETER
{
    CRavString strName;
    DWORD dwType = REG_NONE;
    CRavString strValue;            // REG_SZ, REG_EXPAND_SZ
    DWORD dwValue = 0;              // REG_DWORD
    std::vector<CRavString> values; // REG_MULTI_SZ

    static RAV_PARAMETER Text(const CRavString& name, const CRavString& value)
    {
        RAV_PARAMETER parameter;
        parameter.strName = name;
        parameter.dwType = REG_SZ;
        parameter.strValue = value;
        return parameter;
    }

    static RAV_PARAMETER Number(const CRavString& name, DWORD value)
    {
        RAV_PARAMETER parameter;
        parameter.strName = name;
        parameter.dwType = REG_DWORD;
        parameter.dwValue = value;
        return parameter;
    }
};
