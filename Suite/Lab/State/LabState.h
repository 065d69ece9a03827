#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Small readers and writers of the lab's registry state. Each call opens and closes its key, so a test that changes
// HKEY_LOCAL_MACHINE under the process changes the lab with it.

CRavString LabPath(const wchar_t* parent, const CRavString& name);

DWORD LabNumber(const CRavString& path, const wchar_t* name, DWORD missing);
CRavString LabText(const CRavString& path, const wchar_t* name);
std::vector<CRavString> LabList(const CRavString& path, const wchar_t* name);
bool LabHasKey(const CRavString& path);

bool LabSetNumber(const CRavString& path, const wchar_t* name, DWORD value);
bool LabSetText(const CRavString& path, const wchar_t* name, const CRavString& value);
bool LabSetList(const CRavString& path, const wchar_t* name, const std::vector<CRavString>& values);

// The instance key path of the network component with the GUID; empty when there is none.
CRavString LabInstancePath(const CRavString& guid);
// The friendly name, or else the description, of the component's device.
CRavString LabDisplayName(const CRavString& guid);
// The team that has the adapter as a member; empty when none has.
CRavString LabTeamOf(const CRavString& adapter);
// What the driver keeps of an adapter that it serves, and the adapter's own mark and address.
struct LAB_DRIVER_ENTRY
{
    CRavString adapter;
    DWORD group = 0;
    DWORD total = 1; // adapters of the parent
    std::vector<CRavString> bindings;
    DWORD tagging = 0;
};
bool LabSetDriverEntry(const LAB_DRIVER_ENTRY& entry);
// Moves the DHCP flag of an adapter or team that gives up TCP/IP to the driver's configuration key, unless that is
// there.
bool LabMoveDhcp(const CRavString& adapter);
// A file in the folder of lock files; the folder exists afterwards.
CRavString LabStateFile(const wchar_t* name);

// Who holds the suite-wide lock, and the write lock of the network configuration, in words; empty when nobody does.
// These look and take nothing, so nobody who wants the lock at that moment is kept from it.
CRavString LabSuiteLockHolder();
CRavString LabWriteLockHolder();
// Whether the process waits for the suite-wide lock, which another one has. For tests of several programs.
bool LabIsWaiting(DWORD process);
// Whether a transaction is being applied, by any process.
bool LabIsApplying();
