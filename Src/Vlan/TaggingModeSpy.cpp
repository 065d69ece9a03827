#include "Src/Vlan/TaggingModeSpy.h"

#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavXmsVlan.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\TaggingModeSpy";
constexpr DWORD TAGGED_ONLY = 1;
constexpr DWORD TAGGED_AND_UNTAGGED = 3;
} // namespace

bool TaggingModeSpy::GetTaggingModeIntDisguise(DWORD& dwInUse, DWORD& dwMode)
{
    bool done = false;
    const CRavTraceScope trace(L"TaggingModeSpy::GetTaggingModeIntDisguise", &done);
    dwInUse = 0;
    dwMode = 0;
    done = m_vlan.IsUntagged() ? ModeForUntagged(dwInUse, dwMode) : ModeForTagged(dwInUse, dwMode);
    RavTrace().Print(L"tagging in use= %d tagging mode= %d", dwInUse, dwMode);
    return done;
}

bool TaggingModeSpy::ModeForUntagged(DWORD& dwInUse, DWORD& dwMode)
{
    bool tagged = false;
    if (!m_vlan.IsParentWithTaggedVlan(tagged))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsParentWithTaggedVlan failed.");
        return false;
    }
    if (!tagged)
        return true;
    dwInUse = 1;
    dwMode = m_vlan.IsThisBeingRemoved() ? TAGGED_ONLY : TAGGED_AND_UNTAGGED;
    return true;
}

// Unlike the untagged VLAN, a tagged one clears both only when the count says that it is the last tagged one.
bool TaggingModeSpy::ModeForTagged(DWORD& dwInUse, DWORD& dwMode)
{
    RavTrace().Print(L"m_iVlanId= %d", m_vlan.m_iVlanId);
    if (m_vlan.m_iVlanId == -1)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: invalid program state.");
    bool untagged = false;
    if (!m_vlan.IsParentWithUntaggedVlan(untagged))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsParentWithUntaggedVlan failed.");
        return false;
    }
    const int lastCount = untagged ? 2 : 1;
    if (m_vlan.IsThisBeingRemoved() && m_vlan.CountRemainingVlans() == lastCount)
        return true;
    dwInUse = 1;
    dwMode = untagged ? TAGGED_AND_UNTAGGED : TAGGED_ONLY;
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
    if (number == 0xFFFFFFFF)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetAdapterNumberFromAdapterID failed.");
        return false;
    }
    const HKEY key = m_vlan.OpenKeyForAdapterNumber(number);
    if (key == nullptr)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: OpenKeyForAdapterNumber failed.");
        return false;
    }
    m_vlan.AdoptParentClassKey(key);
    return true;
}

void TaggingModeSpy::SetPhysicalDeviceTaggingModeDisguise(int& status, HKEY hKey, DWORD dwInUse)
{
    status = 0;
    const CRavTraceScope trace(L"TaggingModeSpy::SetPhysicalDeviceTaggingModeDisguise", &status);
    const LONG result =
        RegSetValueExW(hKey, L"TaggingMode", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dwInUse), sizeof(dwInUse));
    if (result == ERROR_SUCCESS)
        return;
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetPhysicalDeviceTaggingMode failed.");
    status = -1;
}
