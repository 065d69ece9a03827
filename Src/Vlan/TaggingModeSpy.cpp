#include "Src/Vlan/TaggingModeSpy.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavXmsVlan.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\TaggingModeSpy";
} // namespace

bool TaggingModeSpy::GetTaggingModeIntDisguise(DWORD& dwInUse, DWORD& dwMode)
{
    bool done = false;
    const CRavTraceScope trace(L"TaggingModeSpy::GetTaggingModeIntDisguise", &done);
    dwInUse = 0;
    dwMode = 0;
    RAV_VLANS_PRESENT present;
    done = m_vlan.IsUntagged() ? AskForUntagged(present) : AskForTagged(present);
    if (done)
    {
        const RAV_TAGGING tagging = RavTaggingFor(present, m_vlan.m_iVlanId, Stage());
        dwInUse = tagging.dwInUse;
        dwMode = static_cast<DWORD>(tagging.mode);
    }
    RavTrace().Print(L"tagging in use= %d tagging mode= %d", dwInUse, dwMode);
    return done;
}

RavVlanStage TaggingModeSpy::Stage() const
{
    return m_vlan.IsThisBeingRemoved() ? RavVlanStage::BeingRemoved : RavVlanStage::Present;
}

bool TaggingModeSpy::AskForUntagged(RAV_VLANS_PRESENT& present)
{
    present.bUntagged = true;
    bool tagged = false;
    const bool done = m_vlan.IsParentWithTaggedVlan(tagged);
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsParentWithTaggedVlan failed.");
    present.iTagged = tagged ? 1 : 0; // how many makes no difference to it
    return done;
}

bool TaggingModeSpy::AskForTagged(RAV_VLANS_PRESENT& present)
{
    RavTrace().Print(L"m_iVlanId= %d", m_vlan.m_iVlanId);
    if (m_vlan.m_iVlanId == -1)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: invalid program state.");
    if (!m_vlan.IsParentWithUntaggedVlan(present.bUntagged))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsParentWithUntaggedVlan failed.");
        return false;
    }
    if (Stage() == RavVlanStage::BeingRemoved) // only then does their number matter
        present.iTagged = m_vlan.CountRemainingVlans() - (present.bUntagged ? 1 : 0);
    return true;
}

bool TaggingModeSpy::GetTaggingModeStrDisguise(CRavString& strMode)
{
    bool done = false;
    const CRavTraceScope trace(L"TaggingModeSpy::GetTaggingModeStrDisguise", &done);
    DWORD inUse = 0;
    DWORD mode = 0;
    done = GetTaggingModeIntDisguise(inUse, mode);
    if (done)
        strMode = static_cast<int>(mode);
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetTaggingModeIntDisguise failed.");
    return done;
}

void TaggingModeSpy::SetTaggingModeDisguise(int& status, CRavRegKey& xmsKey, const CRavString& strAdapterId)
{
    status = 0;
    const CRavTraceScope trace(L"TaggingModeSpy::SetTaggingModeDisguise", &status);
    DWORD inUse = 0;
    DWORD mode = 0;
    const CRavString device = strAdapterId.IsEmpty() ? m_vlan.m_strParentKey : strAdapterId;
    if (!GetTaggingModeIntDisguise(inUse, mode))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__,
                         L"ERROR: GetTaggingModeIntDisguise failed. Might not be an Corvo Adapter");
        status = -1;
        return;
    }
    if (!xmsKey.SetValue(RavName(RAV_NAME_TAGGING_MODE), mode))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: XmsProtocolKey.SetValue. path: %s\\%s",
                         RavName(RAV_NAME_DRIVER_ADAPTERS_KEY).c_str(), device.c_str());
        status = -1;
        return;
    }
    const CRavParentKeyBorrow borrowed(m_vlan);
    if (!OpenDeviceKey(strAdapterId))
    {
        status = -1;
        return;
    }
    SetPhysicalDeviceTaggingModeDisguise(status, m_vlan.GetParentClassKey(), inUse);
    if (status != 0)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetPhysicalDeviceTaggingMode failed on %s", device.c_str());
}

bool TaggingModeSpy::OpenDeviceKey(const CRavString& strAdapterId)
{
    if (m_vlan.m_iParentType != RAV_PARENT_TEAM)
    {
        if (SUCCEEDED(m_vlan.GetParentOOOKey()))
            return true;
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetParentOOOKey failed.");
        return false;
    }
    if (strAdapterId.IsEmpty())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Invalid program state.");
        return false;
    }
    const DWORD number = m_vlan.GetAdapterNumberFromAdapterID(strAdapterId);
    if (number == CRavXmsVlan::NO_ADAPTER_NUMBER)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetAdapterNumberFromAdapterID failed.");
        return false;
    }
    CRavKeyHandle key = m_vlan.OpenKeyForAdapterNumber(number);
    if (!key)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenKeyForAdapterNumber failed.");
        return false;
    }
    m_vlan.AdoptParentClassKey(std::move(key));
    return true;
}

void TaggingModeSpy::SetPhysicalDeviceTaggingModeDisguise(int& status, HKEY hKey, DWORD dwInUse)
{
    status = 0;
    const CRavTraceScope trace(L"TaggingModeSpy::SetPhysicalDeviceTaggingModeDisguise", &status);
    if (RavWriteNumber(hKey, XmsValue::TaggingMode, dwInUse) == ERROR_SUCCESS)
        return;
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetPhysicalDeviceTaggingMode failed.");
    status = -1;
}
