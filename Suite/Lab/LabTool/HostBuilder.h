#pragma once

#include "Common/Src/RavString.h"
#include "Suite/Lab/LabTool/HostFile.h"

// Builds the host's registry below HKEY_LOCAL_MACHINE as Windows and the suite's setup would have left it. `folder` is
// where the suite's modules are. False when a write failed.
bool BuildHost(const LabHost& host, const CRavString& folder);

// Takes everything out again that the host, and the work done on it since, have put there.
void RemoveHost();

// The instance GUID that an adapter or team of a host file gets: adapters first, then teams, counted from 1.
CRavString LabGuid(size_t number);
