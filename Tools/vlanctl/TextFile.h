#pragma once

#include <string>

// A file as a whole, in place of one that is there. Throws CommandError when it cannot be written.
void WriteTextFile(const std::string& path, const std::string& text);
