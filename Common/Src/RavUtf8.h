#pragma once

#include "Common/Src/RavString.h"
#include "Common/Src/Utf8.h"

// A text in UTF-8 as the suite's string, up to its first zero character.
inline CRavString FromUtf8(std::string_view text)
{
    return WideOf(text).c_str();
}
