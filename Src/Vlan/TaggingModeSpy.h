#pragma once

#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavString.h"
#include "Src/Vlan/RavTaggingMode.h"

#include <windows.h>

class CRavXmsVlan;

// Finds out, and writes, which tagging modes the parent of a VLAN needs while the VLAN exists or is being removed.
// Lives no longer than the VLAN object. Statuses are 0 for success and -1 for failure.
class TaggingModeSpy
{
  public:
    explicit TaggingModeSpy(CRavXmsVlan& vlan) : m_vlan(vlan) {}

    // The two values of RAV_TAGGING; both 0 when the decision cannot be made.
    bool GetTaggingModeIntDisguise(DWORD& dwInUse, DWORD& dwMode);
    // The driver's mode as decimal text, for the suite; not called here.
    bool GetTaggingModeStrDisguise(CRavString& strMode);
    // Writes both: the mode into the driver's entry, the flag into the instance key of the parent, for a team of the
    // member with the given id.
    void SetTaggingModeDisguise(int& status, CRavRegKey& xmsKey, const CRavString& strAdapterId);
    void SetPhysicalDeviceTaggingModeDisguise(int& status, HKEY hKey, DWORD dwInUse);

  private:
    bool AskForUntagged(RAV_VLANS_PRESENT& present);
    bool AskForTagged(RAV_VLANS_PRESENT& present);
    RavVlanStage Stage() const;
    bool OpenDeviceKey(const CRavString& strAdapterId);

    CRavXmsVlan& m_vlan;
};
