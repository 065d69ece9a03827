#include "Src/RavDriverEntry.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavKey.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavDriverEntry";
} // namespace

CRavString RavDriverEntryPath(const CRavString& adapter)
{
    return RavName(RAV_NAME_DRIVER_ADAPTERS_KEY) + L"\\" + adapter;
}

CRavString RavDeviceOf(const CRavString& vlanKey)
{
    return RavName(RAV_NAME_DEVICE) + RavCanonicalKey(vlanKey);
}

bool RavKeepListed(const CRavString& adapter, std::vector<CRavString>& vlanKeys)
{
    CRavRegKey entry;
    std::vector<CRavString> bindings;
    if (!(entry.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(adapter), false) &&
          RavReadList(entry, RavName(RAV_NAME_BINDING_LIST), bindings)) &&
        entry.LastResult() != ERROR_FILE_NOT_FOUND)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLANs of adapter %s cannot be read. err= %d",
                         adapter.c_str(), entry.LastResult());
        return false;
    }
    std::erase_if(vlanKeys, [&](const CRavString& key) {
        const CRavString device = RavDeviceOf(key);
        return std::none_of(bindings.begin(), bindings.end(),
                            [&](const CRavString& binding) { return binding.CompareI(device); });
    });
    return true;
}

bool RavAlignCount(const CRavString& adapter)
{
    CRavRegKey entry;
    std::vector<CRavString> bindings;
    DWORD count = 0;
    const CRavString name = RavName(RAV_NAME_BINDING_LIST_COUNT);
    if (!entry.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(adapter), true) ||
        !RavReadList(entry, RavName(RAV_NAME_BINDING_LIST), bindings) || !entry.GetValue(name, count) ||
        count == bindings.size())
        return true;
    const bool done = entry.SetValue(name, static_cast<DWORD>(bindings.size()));
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLANs of adapter %s cannot be counted. err= %d",
                         adapter.c_str(), entry.LastResult());
    return done;
}
