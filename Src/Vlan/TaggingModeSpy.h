#pragma once

#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavString.h"

#include <windows.h>

class CRavXmsVlan;

// Finds out, and writes, which tagging modes the parent of a VLAN needs while the VLAN exists or is being removed.
// Lives no longer than the VLAN object. Statuses are 0 for success and -1 for failure.
class TaggingModeSpy
{
  public:
    explicit TaggingModeSpy(CRavXmsVlan& vlan) : m_vlan(vlan) {}

    // dwInUse: 1 while tagging is in use on the port, for the adapter's instance key. dwMode: 0 untagged traffic only
    // or no VLAN left, 1 tagged VLANs only, 3 tagged VLANs and the untagged one, for the driver's entry.
    bool GetTaggingModeIntDisguise(DWORD& dwInUse, DWORD& dwMode);
    // The driver's mode as decimal text.
    bool GetTaggingModeStrDisguise(CRavString& strMode);
    // Writes both: the mode into the driver's entry, the flag into the instance key of the parent, for a team of the
    // member with the given id.
    void SetTaggingModeDisguise(int& status, CRavRegKey& xmsKey, const CRavString& strAdapterId);
    void SetPhysicalDeviceTaggingModeDisguise(int& status, HKEY hKey, DWORD dwInUse);

  private:
    bool ModeForUntagged(DWORD& dwInUse, DWORD& dwMode);
    bool ModeForTagged(DWORD& dwInUse, DWORD& dwMode);
    bool OpenDeviceKey(const CRavString& strAdapterId);

    CRavXmsVlan& m_vlan;
};
