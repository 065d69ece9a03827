#include "Common/Library/BindingRecord.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/SuiteNames.h"

bool RavReadBindingRecord(const CRavString& adapter, std::vector<CRavString>& protocols, LONG* pStatus)
{
    CRavRegKey records;
    protocols.clear();
    const bool done = records.Open(HKEY_LOCAL_MACHINE, BINDING_RECORDS_KEY, false) &&
                      records.GetRegType(adapter) == REG_MULTI_SZ && records.GetValue(adapter, protocols);
    if (pStatus != nullptr)
        *pStatus = records.LastResult();
    return done;
}

bool RavWriteBindingRecord(const CRavString& adapter, const std::vector<CRavString>& protocols)
{
    CRavRegKey suite;
    CRavRegKey records;
    const bool done = suite.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, true) &&
                      records.Create(suite.GetHKey(), BINDINGS_NAME, true, false) &&
                      records.SetValue(adapter, protocols);
    if (!done)
        RavTrace().Print(L"RavWriteBindingRecord - the protocols of %s cannot be remembered", adapter.c_str());
    return done;
}

bool RavDeleteBindingRecord(const CRavString& adapter)
{
    CRavRegKey suite;
    CRavRegKey records;
    const bool deleted = suite.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, true) &&
                         records.Open(suite.GetHKey(), BINDINGS_NAME, true) && records.DeleteValue(adapter);
    const LONG status = suite.IsOpened() ? records.LastResult() : suite.LastResult();
    if (!deleted && status != ERROR_FILE_NOT_FOUND)
    {
        RavTrace().Print(L"RavDeleteBindingRecord - %s, error %d", adapter.c_str(), status);
        return false;
    }
    CRavString other;
    const bool last = records.IsOpened() && !records.EnumValue(other) && records.LastResult() == ERROR_NO_MORE_ITEMS;
    records.Close();
    if (!last || suite.DeleteSubKey(BINDINGS_NAME))
        return true;
    RavTrace().Print(L"RavDeleteBindingRecord - the empty key stays");
    return false;
}
