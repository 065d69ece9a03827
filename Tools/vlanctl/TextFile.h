#pragma once

#include "Common/Src/RavString.h"

#include <string>

// A file as a whole, in place of one that is there: whatever happens meanwhile, the file is the former or the new one.
// False when it cannot be written; GetLastError tells why.
bool ReplaceFileText(const CRavString& path, const std::string& text);
// Throws CommandError when it cannot be written.
void WriteTextFile(const std::string& path, const std::string& text);
// A file, or with "-" standard input, in UTF-8 also where it is UTF-16. Throws CommandError when it cannot be read, or
// is larger than 16 MiB.
std::string ReadTextFile(const std::string& path);
