#pragma once

#include "Common/Src/RavString.h"

#include <objbase.h>

// The one spelling of a GUID that the network configuration writes: in braces, digits in upper case. Keys of adapters,
// teams and VLANs are compared exactly in places, so what a client spells otherwise is brought to it. Any other text
// stays as it is.
inline CRavString RavCanonicalKey(const CRavString& strKey)
{
    constexpr int TEXT_SIZE = 39;
    GUID guid = {};
    wchar_t text[TEXT_SIZE] = {};
    if (FAILED(IIDFromString(strKey, &guid)) || StringFromGUID2(guid, text, TEXT_SIZE) == 0)
        return strKey;
    return text;
}
