#pragma once

#include "Tools/vlanctl/ExitStatus.h"

#include <string>
#include <vector>

// Runs the command that the arguments name, which come last first and without the program, and tells what it has to
// tell on the standard streams. Throws nothing but for lack of memory.
ExitStatus RunCommandLine(std::vector<std::string> arguments);
