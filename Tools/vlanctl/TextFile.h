#pragma once

#include "Common/Src/RavString.h"

#include <string>

// A file as a whole, in place of one that is there: whatever happens meanwhile, the file is the former or the new one.
// False when it cannot be written; GetLastError tells why.
bool ReplaceFileText(const CRavString& path, const std::string& text);
// Throws CommandError when it cannot be written.
void WriteTextFile(const std::string& path, const std::string& text);
