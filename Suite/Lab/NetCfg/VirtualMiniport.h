#pragma once

#include "Suite/Lab/NetCfg/NetComponents.h"

#include <string>

/// Whether a component id of a class is the intermediate driver's virtual miniport.
bool IsVirtualMiniport(const GUID& classGuid, const std::wstring& id);

/// Does the class installer's work for a new virtual miniport: instance key, device, connection and the bindings of
/// the ordinary protocols, at once. A failure takes back what was made. Result: Win32 error.
LSTATUS InstallVirtualMiniport(LAB_COMPONENT& installed);

/// Removes what the installation made, with all that was put below its keys since.
LSTATUS RemoveVirtualMiniport(const LAB_COMPONENT& miniport);

/// Takes back what a client that died has left of an installation, or goes on with its removal. For the holder of the
/// write lock.
void FinishMiniportChange();
