#pragma once

#include "Src/View/RavHost.h"
#include "Tools/vlanctl/Note.h"

#include <vector>

// What stands against VLANs over the team.
std::vector<Note> TeamRefusals(const RAV_HOST& host, const CRavString& team);
