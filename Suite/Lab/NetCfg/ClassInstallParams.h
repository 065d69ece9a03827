#pragma once

#include <windows.h>
#include <setupapi.h>

/// Class install parameters tell a class installer which change of state is meant. Wine has neither
/// SetupDiSetClassInstallParamsW nor SetupDiGetClassInstallParamsW; this supplies both to the whole process until the
/// server is unloaded. Does nothing on Windows, nor where the platform can do it itself.
void SupplyClassInstallParams();

/// Forgets the parameters of a device information set, or of one device of it.
void ForgetClassInstallParams(HDEVINFO set, const SP_DEVINFO_DATA* device);
