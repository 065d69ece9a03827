#pragma once

#include "Tools/vlanctl/Note.h"

#include <string>
#include <vector>

// What vlanctl has against a VLAN's name, beyond the agent's own rules: characters that nobody sees, a blank at its
// end, and what is no text. Nobody would find such a VLAN by its name again.
std::vector<Note> NameRefusals(const std::string& name);
