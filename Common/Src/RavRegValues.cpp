#include "Common/Src/RavRegValues.h"

#include <cstring>

namespace
{
constexpr DWORD MOST_BYTES = 2048; // longer values are none that anybody asks for
constexpr DWORD TEXT_CHARACTERS = 256;
} // namespace

CRavRegValues::CRavRegValues(HKEY hKey, std::initializer_list<CRavString> names)
{
    m_values.reserve(names.size());
    for (const CRavString& name : names)
        m_values.emplace_back().name = name;
    if (hKey != nullptr && !ReadTogether(hKey))
        ReadEach(hKey);
}

bool CRavRegValues::ReadTogether(HKEY hKey)
{
    std::vector<VALENTW> entries(m_values.size());
    for (size_t index = 0; index < entries.size(); ++index)
        entries[index].ve_valuename = m_values[index].name.data();
    std::vector<BYTE> buffer(MOST_BYTES);
    auto room = static_cast<DWORD>(buffer.size());
    if (RegQueryMultipleValuesW(hKey, entries.data(), static_cast<DWORD>(entries.size()),
                                reinterpret_cast<wchar_t*>(buffer.data()), &room) != ERROR_SUCCESS)
        return false;
    for (size_t index = 0; index < entries.size(); ++index)
    {
        const auto* const data = reinterpret_cast<const BYTE*>(entries[index].ve_valueptr);
        VALUE& value = m_values[index];
        value.status = ERROR_SUCCESS;
        value.type = entries[index].ve_type;
        value.data.assign(data, data + entries[index].ve_valuelen);
    }
    return true;
}

void CRavRegValues::ReadEach(HKEY hKey)
{
    for (VALUE& value : m_values)
    {
        value.data.resize(MOST_BYTES);
        DWORD size = MOST_BYTES;
        value.status = RegQueryValueExW(hKey, value.name, nullptr, &value.type, value.data.data(), &size);
        value.data.resize(value.status == ERROR_SUCCESS ? size : 0);
    }
}

bool CRavRegValues::Number(size_t uIndex, DWORD& dwValue) const
{
    const VALUE& value = m_values[uIndex];
    if (value.status != ERROR_SUCCESS || value.type != REG_DWORD || value.data.size() != sizeof(dwValue))
        return false;
    std::memcpy(&dwValue, value.data.data(), sizeof(dwValue));
    return true;
}

bool CRavRegValues::Text(size_t uIndex, CRavString& strValue, size_t uMostCharacters) const
{
    return m_values[uIndex].type == REG_SZ && AnyText(uIndex, strValue, uMostCharacters);
}

bool CRavRegValues::AnyText(size_t uIndex, CRavString& strValue, size_t uMostCharacters) const
{
    const VALUE& value = m_values[uIndex];
    if (value.status != ERROR_SUCCESS || value.data.size() > uMostCharacters * sizeof(wchar_t))
        return false;
    std::vector<wchar_t> text(value.data.size() / sizeof(wchar_t) + 2, L'\0'); // half a character, and the NUL
    if (!value.data.empty())                                                   // then it need not point anywhere
        std::memcpy(text.data(), value.data.data(), value.data.size());
    strValue = text.data();
    return true;
}

bool RavReadTextAt(const CRavString& strPath, const wchar_t* pName, CRavString& strText)
{
    wchar_t buffer[TEXT_CHARACTERS + 1] = {};
    DWORD size = sizeof(buffer);
    const bool done = RegGetValueW(HKEY_LOCAL_MACHINE, strPath, pName, RRF_RT_ANY | RRF_NOEXPAND, nullptr, buffer,
                                   &size) == ERROR_SUCCESS;
    strText = done ? buffer : L"";
    return done;
}

bool RavReadNumberAt(const CRavString& strPath, const wchar_t* pName, DWORD& dwNumber)
{
    DWORD number = 0;
    DWORD size = sizeof(number);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, strPath, pName, RRF_RT_REG_DWORD, nullptr, &number, &size) != ERROR_SUCCESS)
        return false;
    dwNumber = number;
    return true;
}

bool RavReadList(CRavRegKey& key, const CRavString& name, std::vector<CRavString>& list)
{
    list.clear();
    return key.GetRegType(name) == REG_MULTI_SZ && key.GetValue(name, list);
}
