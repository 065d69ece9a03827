#include "Common/Src/RavRegKey.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavSecure.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>
#include <utility>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"..\\..\\Common\\Src\\RavRegKey";
constexpr int ALLOCATION_LINE = 956;
constexpr DWORD TEXT_BYTES = 512;
constexpr DWORD SUBKEY_NAME_SIZE = 256;
constexpr DWORD VALUE_NAME_SIZE = 512;
// Room for two terminators and for the half of a character that an odd size leaves.
constexpr DWORD LIST_SLACK_BYTES = 5;

struct RootName
{
    HKEY root;
    const wchar_t* prefix;
};
const RootName ROOT_NAMES[] = {
    {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\"},
    {HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT\\"},
    {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\"},
    {HKEY_USERS, L"HKEY_USERS\\"},
    {HKEY_PERFORMANCE_DATA, L"HKEY_PERFORMANCE_DATA\\"},
    {HKEY_CURRENT_CONFIG, L"HKEY_CURRENT_CONFIG\\"},
    {HKEY_DYN_DATA, L"HKEY_DYN_DATA\\"},
};

REGSAM Access(bool write)
{
    return write ? KEY_READ | KEY_WRITE : KEY_READ;
}

using Characters = std::unique_ptr<wchar_t[]>;

Characters ZeroedCharacters(size_t bytes)
{
    return Characters(new (std::nothrow) wchar_t[(bytes + 1) / sizeof(wchar_t)]());
}

// Takes the strings out of list data of any shape. The characters behind the data are zero.
void SplitList(const wchar_t* data, DWORD size, std::vector<CRavString>& values)
{
    const wchar_t* cursor = data;
    long long remaining = size;
    while (*cursor != L'\0' || remaining > 0)
    {
        const size_t length = wcslen(cursor);
        if (length > 0)
            values.emplace_back(cursor);
        cursor += length + 1;
        remaining -= static_cast<long long>((length + 1) * sizeof(wchar_t));
    }
}

size_t ListBytes(const std::vector<CRavString>& values)
{
    size_t size = sizeof(wchar_t);
    for (const CRavString& value : values)
        size += (wcslen(value) + 1) * sizeof(wchar_t);
    return size;
}

bool EqualsI(const CRavString& left, const CRavString& right)
{
    return _wcsicmp(left, right) == 0;
}
} // namespace

CRavRegKey::CRavRegKey()
{
    Init();
}

CRavRegKey::CRavRegKey(HKEY hKey) : m_key(hKey), m_bIsOpened(true) {}

CRavRegKey::CRavRegKey(CRavKeyHandle key) : m_key(std::move(key)), m_bIsOpened(static_cast<bool>(m_key)) {}

CRavRegKey::CRavRegKey(const CRavRegKey& /*other*/) : CRavRegKey() {}

CRavRegKey::~CRavRegKey()
{
    Close();
}

CRavRegKey& CRavRegKey::operator=(HKEY hKey)
{
    m_key.Release();
    m_key = CRavKeyHandle(hKey);
    m_bIsOpened = true;
    return *this;
}

void CRavRegKey::Init()
{
    m_key.Close();
    m_bIsOpened = false;
    m_lLastResult = ERROR_SUCCESS;
    m_dwEnumIndex = 0;
    m_strKeyName.ClearString();
}

void CRavRegKey::Close()
{
    if (m_bIsOpened)
        Init();
}

void CRavRegKey::Adopt(CRavKeyHandle key)
{
    Close();
    m_key = std::move(key);
    m_bIsOpened = static_cast<bool>(m_key);
}

// Opening another key keeps the enumeration's index: it starts again only after its end, by ResetEnumeration and by
// Close.
bool CRavRegKey::TakeKey(LONG status)
{
    m_bIsOpened = TakeStatus(status);
    if (!m_bIsOpened)
        m_key.Release(); // whatever a failing call leaves there is no key
    return m_bIsOpened;
}

bool CRavRegKey::TakeStatus(LONG status)
{
    m_lLastResult = status;
    return status == ERROR_SUCCESS;
}

void CRavRegKey::BuildKeyName(HKEY root, const CRavString& subKey)
{
    for (const RootName& name : ROOT_NAMES)
    {
        if (name.root == root)
            m_strKeyName = CRavString(name.prefix) + subKey;
    }
}

bool CRavRegKey::Open(HKEY root, const CRavString& subKey, bool bWrite)
{
    TakeKey(RavOpenKey(root, subKey, Access(bWrite), m_key));
    BuildKeyName(root, subKey);
    return m_bIsOpened;
}

bool CRavRegKey::Create(HKEY root, const CRavString& subKey, bool bWrite, bool bVolatile)
{
    const DWORD options = bVolatile ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE;
    if (!TakeKey(RegCreateKeyExW(root, subKey, 0, nullptr, options, Access(bWrite), nullptr, m_key.Receive(), nullptr)))
        return false;
    BuildKeyName(root, subKey);
    return true;
}

bool CRavRegKey::GetValue(const CRavString& name, DWORD& value)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavRegKey::GetValue", &done);
    if (!m_bIsOpened)
        return false;
    RavTrace().Print(L"CRavRegKey::GetValue m_bIsOpened = true");
    DWORD type = REG_NONE;
    DWORD data = 0;
    DWORD size = sizeof(data);
    done = TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size));
    RavTrace().Print(L"CRavRegKey::GetValue :%d", m_lLastResult);
    if (done && type != REG_DWORD)
    {
        RavTrace().Print(L"CRavRegKey::GetValue dwRegType != REG_DWORD ");
        done = false;
    }
    if (done)
        value = data;
    return done;
}

bool CRavRegKey::GetValue(const CRavString& name, CRavString& value)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavRegKey::GetValue", &done);
    done = QueryText(name, value);
    return done;
}

bool CRavRegKey::QueryText(const CRavString& name, CRavString& value)
{
    // The caller may pass one string as name and output: the output is cleared after the query only.
    wchar_t buffer[TEXT_BYTES / sizeof(wchar_t) + 1] = {};
    DWORD size = TEXT_BYTES;
    const bool done = m_bIsOpened && TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, nullptr,
                                                                 reinterpret_cast<BYTE*>(buffer), &size));
    value.ClearString();
    if (done)
        value = buffer;
    return done;
}

bool CRavRegKey::GetValue(const CRavString& name, std::vector<CRavString>& values)
{
    // The name may be an element of the output list: the list is replaced after the query only.
    std::vector<CRavString> read;
    const bool done = QueryList(name, read);
    values.swap(read);
    return done;
}

bool CRavRegKey::QueryList(const CRavString& name, std::vector<CRavString>& values)
{
    m_lLastResult = ERROR_SUCCESS;
    if (!m_bIsOpened)
        return false;
    DWORD type = REG_MULTI_SZ;
    DWORD size = 0;
    if (!TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, &type, nullptr, &size)))
        return false;
    const Characters data = ZeroedCharacters(static_cast<size_t>(size) + LIST_SLACK_BYTES);
    if (!data)
        return false;
    if (!TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(data.get()), &size)))
        return false;
    SplitList(data.get(), size, values);
    return true;
}

bool CRavRegKey::GetValue(const CRavString& name, BYTE* data, DWORD& size)
{
    return m_bIsOpened && TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, nullptr, data, &size));
}

DWORD CRavRegKey::GetRegType(const CRavString& name)
{
    m_lLastResult = ERROR_SUCCESS;
    DWORD type = REG_NONE;
    if (!m_bIsOpened || !TakeStatus(RegQueryValueExW(m_key.Get(), name, nullptr, &type, nullptr, nullptr)))
        return REG_NONE;
    return type;
}

bool CRavRegKey::ValueExists(const CRavString& name)
{
    bool exists = false;
    const CRavTraceScope trace(L"CRavRegKey::ValueExists", &exists);
    exists = m_bIsOpened && RegQueryValueExW(m_key.Get(), name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    return exists;
}

bool CRavRegKey::SubKeyExists(const CRavString& name)
{
    CRavRegKey subKey;
    return m_bIsOpened && subKey.Open(m_key.Get(), name, false);
}

bool CRavRegKey::WriteValue(const CRavString& name, DWORD type, const void* data, size_t size)
{
    return TakeStatus(RavWriteValue(m_key.Get(), name, type, data, size));
}

bool CRavRegKey::SetValue(const CRavString& name, const CRavString& value, bool bExpand)
{
    m_lLastResult = ERROR_SUCCESS;
    return m_bIsOpened &&
           WriteValue(name, bExpand ? REG_EXPAND_SZ : REG_SZ, value.c_str(), (value.Length() + 1) * sizeof(wchar_t));
}

bool CRavRegKey::SetValue(const CRavString& name, DWORD value)
{
    return m_bIsOpened && WriteValue(name, REG_DWORD, &value, sizeof(value));
}

bool CRavRegKey::SetValue(const CRavString& name, const BYTE* data, DWORD size)
{
    m_lLastResult = ERROR_SUCCESS;
    return m_bIsOpened && WriteValue(name, REG_BINARY, data, size);
}

bool CRavRegKey::SetValue(const CRavString& name, std::vector<CRavString> values)
{
    m_lLastResult = ERROR_SUCCESS;
    if (!m_bIsOpened)
        return false;
    const size_t size = ListBytes(values);
    const Characters data = ZeroedCharacters(size);
    if (!data)
    {
        RavTrace().Error(SOURCE_FILE, ALLOCATION_LINE, L"ERROR:  Unable to allocate memory");
        return false;
    }
    size_t used = 0;
    const size_t total = size / sizeof(wchar_t);
    for (const CRavString& value : values)
    {
        RavSafeCopy(SOURCE_FILE, __LINE__, data.get() + used, total - used, value);
        used += wcslen(value) + 1;
    }
    data[total - 1] = L'\0';
    return WriteValue(name, REG_MULTI_SZ, data.get(), size);
}

LONG CRavRegKey::FlushKey()
{
    const CRavTraceScope trace(L"CRavRegKey::FlushKey");
    const LONG status = RegFlushKey(m_key.Get());
    if (status == ERROR_SUCCESS)
        RavTrace().Print(L"CRavRegKey::RegFlushKey Success");
    else
        RavTrace().Print(L"CRavRegKey::RegFlushKey Failure: %ld", status);
    return status;
}

bool CRavRegKey::EnumSubKey(CRavString& name)
{
    wchar_t buffer[SUBKEY_NAME_SIZE] = {};
    DWORD size = SUBKEY_NAME_SIZE;
    const bool done =
        TakeStatus(RegEnumKeyExW(m_key.Get(), m_dwEnumIndex++, buffer, &size, nullptr, nullptr, nullptr, nullptr));
    if (m_lLastResult == ERROR_NO_MORE_ITEMS)
        ResetEnumeration();
    if (done)
        name = buffer;
    return done;
}

bool CRavRegKey::EnumValue(CRavString& name)
{
    wchar_t buffer[VALUE_NAME_SIZE] = {};
    DWORD size = VALUE_NAME_SIZE;
    const bool done =
        TakeStatus(RegEnumValueW(m_key.Get(), m_dwEnumIndex++, buffer, &size, nullptr, nullptr, nullptr, nullptr));
    if (m_lLastResult == ERROR_NO_MORE_ITEMS)
        ResetEnumeration();
    if (done)
        name = buffer;
    return done;
}

bool CRavRegKey::DeleteValue(const CRavString& name)
{
    m_lLastResult = ERROR_SUCCESS;
    if (m_bIsOpened)
        m_lLastResult = RegDeleteValueW(m_key.Get(), name);
    return m_lLastResult == ERROR_SUCCESS;
}

bool CRavRegKey::DeleteSubKey(const wchar_t* name)
{
    if (!m_bIsOpened || name == nullptr || *name == L'\0')
        return false;
    CRavRegKey subKey;
    if (!subKey.Open(m_key.Get(), name, false))
        return false;
    wchar_t child[SUBKEY_NAME_SIZE] = {};
    DWORD size = SUBKEY_NAME_SIZE;
    // Always the first child: each pass removes the one it found.
    while (RegEnumKeyExW(subKey.m_key.Get(), 0, child, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
    {
        if (!subKey.DeleteSubKey(child))
            return false;
        size = SUBKEY_NAME_SIZE;
    }
    subKey.Close();
    return RemoveSubKey(name) == ERROR_SUCCESS;
}

DWORD CRavRegKey::RemoveSubKey(const wchar_t* name)
{
    return m_key.Get() != nullptr ? static_cast<DWORD>(RegDeleteKeyW(m_key.Get(), name)) : ERROR_SUCCESS;
}

bool CRavRegKey::IsValueInMultiString(const CRavString& name, const CRavString& entry)
{
    std::vector<CRavString> values;
    return GetValue(name, values) &&
           std::any_of(values.begin(), values.end(), [&](const CRavString& value) { return EqualsI(value, entry); });
}

bool CRavRegKey::IsSubStringValueInMultiString(const CRavString& name, const CRavString& part, CRavString& found)
{
    std::vector<CRavString> values;
    if (!GetValue(name, values))
        return false;
    CRavString lowerPart = part;
    lowerPart.MakeLower();
    for (const CRavString& value : values)
    {
        CRavString lower = value;
        lower.MakeLower();
        if (lower.find(lowerPart) != CRavString::npos)
        {
            found = value;
            return true;
        }
    }
    return false;
}

bool CRavRegKey::AddValueToMultiString(const CRavString& name, const CRavString& entry)
{
    std::vector<CRavString> values;
    GetValue(name, values);
    if (std::any_of(values.begin(), values.end(), [&](const CRavString& value) { return EqualsI(value, entry); }))
        return true;
    values.push_back(entry);
    return SetValue(name, std::move(values));
}

bool CRavRegKey::RemoveValueFromMultiString(const CRavString& name, const CRavString& entry)
{
    std::vector<CRavString> values;
    if (!GetValue(name, values))
        return true;
    return std::erase_if(values, [&](const CRavString& value) { return EqualsI(value, entry); }) == 0 ||
           SetValue(name, std::move(values));
}
