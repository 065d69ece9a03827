#pragma once

#include "Common/Src/RavString.h"

#include <objbase.h>

// The one spelling of a GUID that the network configuration writes: in braces, digits in upper case.
inline CRavString RavGuidText(const GUID& guid)
{
    constexpr int TEXT_SIZE = 39;
    wchar_t text[TEXT_SIZE] = {};
    StringFromGUID2(guid, text, TEXT_SIZE);
    return text;
}

// Keys of adapters, teams and VLANs are compared exactly in places, so what a client spells otherwise is brought to
// that spelling. Any other text stays as it is.
inline CRavString RavCanonicalKey(const CRavString& strKey)
{
    GUID guid = {};
    return SUCCEEDED(IIDFromString(strKey, &guid)) ? RavGuidText(guid) : strKey;
}
