#pragma once

#include "Tools/vlanctl/Desired.h"

#include <string>
#include <vector>

// Bringing the host to a desired state: shown, agreed to, done under one lock, read again, and taken back where it
// fails.

struct Applied
{
    Report report;
    std::vector<Difference> differences;
    std::string confirmUntil; // empty: it needs no confirmation any more
};

// Shows what it does on standard output, but with `options.json` and errors. Throws CommandError when nothing was done.
Applied ApplyPlan(CSession& session, const ApplyOptions& options, DesiredPlan plan);
