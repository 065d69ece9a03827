#include "Common/Library/RavMiniportReg.h"

#include "Common/Src/RavDebug.h"
#include "Common/Src/RavValueWriter.h"
#include "Common/Settings/RavSetting.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cwchar>

namespace
{
constexpr wchar_t PARAMS[] = L"Ndi\\Params";

CResult Failed(DWORD status, const CRavString& setting)
{
    RavTrace().Print(L"CRavMiniportReg - setting %s, error %u", setting.c_str(), status);
    return CResult(status);
}

// Fails with the status of the key's last call.
CResult Failed(CRavRegKey& key, const CRavString& setting)
{
    const auto status = static_cast<DWORD>(key.LastResult());
    return Failed(status != ERROR_SUCCESS ? status : ERROR_GEN_FAILURE, setting);
}

constexpr int DECIMAL = 10;
constexpr int HEXADECIMAL = 16;

// Drivers may store unsigned numbers: one that a signed number cannot hold is read as the largest signed one.
bool ParseNumber(const CRavString& text, int32_t& number, int base = DECIMAL)
{
    wchar_t* end = nullptr;
    errno = 0;
    const long long value = wcstoll(text, &end, base);
    if (text.IsEmpty() || *end != L'\0' || errno != 0 || value < INT32_MIN || value > UINT32_MAX)
        return false;
    number = static_cast<int32_t>(std::min<long long>(value, INT32_MAX));
    return true;
}

// Drivers and their installers keep a number as text or as REG_DWORD. What is absent leaves it as it was, what does
// not parse is an error.
bool ReadNumber(CRavRegKey& key, const CRavString& name, int32_t& number, int base = DECIMAL)
{
    CRavString text;
    DWORD stored = 0;
    const DWORD type = key.GetRegType(name);
    if (type != REG_DWORD)
        return type == REG_NONE || !key.GetValue(name, text) || ParseNumber(text, number, base);
    if (!key.GetValue(name, stored))
        return false;
    number = static_cast<int32_t>(std::min<DWORD>(stored, INT32_MAX));
    return true;
}

// Negative numbers get a sign in hexadecimal, too: as 0xFFFFFFFF they would be read as the largest signed number, see
// ParseNumber.
CRavString NumberText(int32_t value, int base)
{
    CRavString text;
    const int64_t magnitude = value < 0 ? -int64_t{value} : value;
    constexpr CRavFormat<const wchar_t*, uint32_t> hexadecimal = L"%s%x";
    constexpr CRavFormat<const wchar_t*, uint32_t> decimal = L"%s%u";
    text.FormatString(base == HEXADECIMAL ? hexadecimal : decimal, value < 0 ? L"-" : L"",
                      static_cast<uint32_t>(magnitude));
    return text;
}

int BaseOf(const RAV_SETTING_INT& setting)
{
    return setting.iBase == HEXADECIMAL ? HEXADECIMAL : DECIMAL;
}

// Numbers as text, as drivers expect them.
class TextWriter
{
  public:
    explicit TextWriter(CRavRegKey& key) : m_writer(key) {}
    TextWriter& Text(const wchar_t* name, const CRavString& value)
    {
        m_writer.Text(name, value);
        return *this;
    }
    TextWriter& Number(const wchar_t* name, int32_t value, int base = DECIMAL)
    {
        return Text(name, NumberText(value, base));
    }
    // A 0 in the record stands for a value that the description does not have: it is not written.
    TextWriter& OptionalNumber(const wchar_t* name, int32_t value, int base = DECIMAL)
    {
        return value != 0 ? Number(name, value, base) : *this;
    }
    bool Done() const { return m_writer.Done(); }

  private:
    CRavValueWriter m_writer;
};

bool WriteHead(TextWriter& writer, const RAV_SETTING& setting, const wchar_t* type, int32_t defaultValue, int base)
{
    writer.Text(L"ParamDesc", setting.strDisplayName)
        .Text(L"Type", type)
        .Number(L"Default", defaultValue, base)
        .OptionalNumber(L"ExposeLevel", static_cast<int32_t>(setting.ulExposeLevel));
    if (!setting.strHelpText.IsEmpty())
        writer.Text(L"HelpText", setting.strHelpText);
    return writer.Done();
}

bool WriteEnum(CRavRegKey& key, const RAV_SETTING_ENUM& setting)
{
    TextWriter writer(key);
    CRavRegKey choices;
    if (!WriteHead(writer, setting, L"enum", setting.iDefault, DECIMAL) ||
        !choices.Create(key.GetHKey(), L"Enum", true, false))
        return false;
    TextWriter choiceWriter(choices);
    for (size_t index = 0; index < setting.values.size(); ++index)
        choiceWriter.Text(NumberText(setting.values[index], DECIMAL), setting.Description(index));
    return choiceWriter.Done();
}

bool WriteInt(CRavRegKey& key, const RAV_SETTING_INT& setting)
{
    TextWriter writer(key);
    const int base = BaseOf(setting);
    if (!WriteHead(writer, setting, L"int", setting.iDefault, base))
        return false;
    writer.OptionalNumber(L"Base", setting.iBase)
        .Number(L"Max", setting.iMax, base)
        .Number(L"Min", setting.iMin, base)
        .OptionalNumber(L"Step", setting.iStep, base)
        .OptionalNumber(L"Scale", setting.iScale);
    return writer.Done();
}

int32_t CurrentOf(const RAV_SETTING& setting)
{
    return setting.GetType() == RAV_SETTING_TYPE_ENUM ? static_cast<const RAV_SETTING_ENUM&>(setting).iCurrent
                                                      : static_cast<const RAV_SETTING_INT&>(setting).iCurrent;
}

std::unique_ptr<RAV_SETTING> ReadEnum(CRavRegKey& key)
{
    auto setting = std::make_unique<RAV_SETTING_ENUM>();
    if (!ReadNumber(key, L"Default", setting->iDefault) ||
        !CRavMiniportReg::GetEnumDataTypesSubKey(key, *setting).Succeeded())
        return nullptr;
    return setting;
}

std::unique_ptr<RAV_SETTING> ReadInt(CRavRegKey& key)
{
    auto setting = std::make_unique<RAV_SETTING_INT>();
    if (!ReadNumber(key, L"Base", setting->iBase))
        return nullptr;
    const int base = BaseOf(*setting);
    if (!ReadNumber(key, L"Default", setting->iDefault, base) || !ReadNumber(key, L"Max", setting->iMax, base) ||
        !ReadNumber(key, L"Min", setting->iMin, base) || !ReadNumber(key, L"Step", setting->iStep, base) ||
        !ReadNumber(key, L"Scale", setting->iScale))
        return nullptr;
    return setting;
}

// The present value; without one, or with one that is no number, the default stands.
void ReadCurrent(CRavRegKey& instance, RAV_SETTING& setting)
{
    if (setting.GetType() == RAV_SETTING_TYPE_ENUM)
    {
        auto& choice = static_cast<RAV_SETTING_ENUM&>(setting);
        choice.iCurrent = choice.iDefault;
        ReadNumber(instance, setting.strName, choice.iCurrent);
        choice.ShowCurrent();
        return;
    }
    auto& number = static_cast<RAV_SETTING_INT&>(setting);
    number.iCurrent = number.iDefault;
    ReadNumber(instance, setting.strName, number.iCurrent, BaseOf(number));
    number.strCurrentDisplay.FormatString(L"%d", number.iCurrent);
}

std::unique_ptr<RAV_SETTING> ReadSetting(CRavRegKey& instance, CRavRegKey& key, const CRavString& name)
{
    CRavString type;
    std::unique_ptr<RAV_SETTING> setting;
    if (!key.GetValue(L"Type", type))
        return nullptr;
    if (type.CompareI(L"enum"))
        setting = ReadEnum(key);
    else if (type.CompareI(L"int") || type.CompareI(L"dword") || type.CompareI(L"long") || type.CompareI(L"word"))
        setting = ReadInt(key);
    if (!setting)
        return nullptr;
    setting->strName = name;
    setting->strRegistryName = name;
    key.GetValue(L"ParamDesc", setting->strDisplayName);
    key.GetValue(L"HelpText", setting->strHelpText);
    int32_t level = 0;
    if (ReadNumber(key, L"ExposeLevel", level))
        setting->ulExposeLevel = static_cast<uint32_t>(level);
    ReadCurrent(instance, *setting);
    return setting;
}
} // namespace

CRavMiniportReg::CRavMiniportReg(const CRavString& strInstancePath) : m_strInstancePath(strInstancePath) {}

CRavMiniportReg::~CRavMiniportReg() = default;

CResult CRavMiniportReg::CreateSetting(const RAV_SETTING& setting)
{
    CResult result;
    const CRavTraceScope trace(L"CRavMiniportReg::CreateSetting", &result);
    CRavRegKey instance;
    CRavRegKey params;
    CRavRegKey key;
    const bool isEnum = setting.GetType() == RAV_SETTING_TYPE_ENUM;
    if (setting.strName.IsEmpty() || (!isEnum && setting.GetType() != RAV_SETTING_TYPE_INT))
        return result = Failed(ERROR_INVALID_PARAMETER, setting.strName);
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, true))
        return result = Failed(instance, setting.strName);
    if (!params.Create(instance.GetHKey(), PARAMS, true, false))
        return result = Failed(params, setting.strName);
    // An older description is deleted first, or its values would mix with the new ones. For the same reason one that
    // cannot be opened is a failure.
    CRavRegKey older;
    const bool isThere = older.Open(params.GetHKey(), setting.strName, false);
    if (!isThere && older.LastResult() != ERROR_FILE_NOT_FOUND)
        return result = Failed(older, setting.strName);
    older.Close();
    if (isThere && !params.DeleteSubKey(setting.strName))
        return result = Failed(ERROR_ACCESS_DENIED, setting.strName);
    if (!key.Create(params.GetHKey(), setting.strName, true, false))
        return result = Failed(key, setting.strName);
    const bool described = isEnum ? WriteEnum(key, static_cast<const RAV_SETTING_ENUM&>(setting))
                                  : WriteInt(key, static_cast<const RAV_SETTING_INT&>(setting));
    if (!described)
        return result = Failed(key, setting.strName);
    TextWriter current(instance);
    const int base = isEnum ? DECIMAL : BaseOf(static_cast<const RAV_SETTING_INT&>(setting));
    if (!current.Number(setting.strName, CurrentOf(setting), base).Done())
        return result = Failed(instance, setting.strName);
    return result = CResult::Success();
}

CResult CRavMiniportReg::GetSetting(const CRavString& strName, std::unique_ptr<RAV_SETTING>& setting)
{
    CResult result;
    const CRavTraceScope trace(L"CRavMiniportReg::GetSetting", &result);
    CRavRegKey instance;
    CRavRegKey key;
    setting.reset();
    // Most drivers lack most settings: the look for the description comes first.
    if (!key.Open(HKEY_LOCAL_MACHINE, m_strInstancePath + L"\\" + PARAMS + L"\\" + strName, false))
        return result = Failed(key, strName);
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, false))
        return result = Failed(instance, strName);
    setting = ReadSetting(instance, key, strName);
    return result = setting ? CResult::Success() : Failed(ERROR_INVALID_DATA, strName);
}

CResult CRavMiniportReg::EnumerateSettings(std::vector<std::unique_ptr<RAV_SETTING>>& settings)
{
    CResult result;
    const CRavTraceScope trace(L"CRavMiniportReg::EnumerateSettings", &result);
    CRavRegKey instance;
    CRavRegKey params;
    settings.clear();
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, false))
        return result = Failed(instance, L"(all)");
    if (!params.Open(instance.GetHKey(), PARAMS, false) && params.LastResult() != ERROR_FILE_NOT_FOUND)
        return result = Failed(params, L"(all)");
    CRavString name;
    while (params.IsOpened() && params.EnumSubKey(name))
    {
        CRavRegKey key;
        std::unique_ptr<RAV_SETTING> setting;
        if (key.Open(params.GetHKey(), name, false))
            setting = ReadSetting(instance, key, name);
        if (setting)
            settings.push_back(std::move(setting));
        else
            RavTrace().Print(L"CRavMiniportReg::EnumerateSettings - %s cannot be read and is left out", name.c_str());
    }
    if (params.IsOpened() && params.LastResult() != ERROR_NO_MORE_ITEMS)
        return result = Failed(params, L"(all)");
    return result = CResult::Success();
}

bool CRavMiniportReg::IsCurrentStored(const RAV_SETTING& setting)
{
    CRavRegKey instance;
    CRavString text;
    int32_t number = 0;
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, false))
        return false;
    const DWORD type = instance.GetRegType(setting.strName);
    if (type == REG_DWORD || instance.LastResult() == ERROR_FILE_NOT_FOUND)
        return true;
    const int base =
        setting.GetType() == RAV_SETTING_TYPE_INT ? BaseOf(static_cast<const RAV_SETTING_INT&>(setting)) : DECIMAL;
    return instance.GetValue(setting.strName, text) && ParseNumber(text, number, base);
}

CResult CRavMiniportReg::SetSetting(const CRavString& strName, const RAV_SETTING_VAL& value)
{
    std::unique_ptr<RAV_SETTING> setting;
    const CResult found = GetSetting(strName, setting);
    if (!found.Succeeded())
        return found;
    if (!setting->IsValueValid(&value))
        return Failed(ERROR_INVALID_PARAMETER, strName);
    CRavRegKey instance;
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, true))
        return Failed(instance, strName);
    const int base =
        setting->GetType() == RAV_SETTING_TYPE_INT ? BaseOf(static_cast<const RAV_SETTING_INT&>(*setting)) : DECIMAL;
    TextWriter writer(instance);
    return writer.Number(strName, static_cast<const RAV_SETTING_VAL_INT&>(value).iValue, base).Done()
               ? CResult::Success()
               : Failed(instance, strName);
}

CResult CRavMiniportReg::DeleteSetting(const CRavString& strName)
{
    CResult result;
    const CRavTraceScope trace(L"CRavMiniportReg::DeleteSetting", &result);
    CRavRegKey instance;
    CRavRegKey params;
    CRavRegKey description;
    if (!instance.Open(HKEY_LOCAL_MACHINE, m_strInstancePath, true))
        return result = Failed(instance, strName);
    const bool described =
        params.Open(instance.GetHKey(), PARAMS, true) && description.Open(params.GetHKey(), strName, false);
    // Only ERROR_FILE_NOT_FOUND means that there is no description; one that cannot be opened is a failure.
    CRavRegKey& refused = params.IsOpened() ? description : params;
    if (!described && refused.LastResult() != ERROR_FILE_NOT_FOUND)
        return result = Failed(refused, strName);
    description.Close();
    if (described && !params.DeleteSubKey(strName))
        return result = Failed(ERROR_ACCESS_DENIED, strName);
    // A described setting may have no value of its own.
    if (!instance.DeleteValue(strName) && !(described && instance.LastResult() == ERROR_FILE_NOT_FOUND))
        return result = Failed(instance, strName);
    return result = CResult::Success();
}

CResult CRavMiniportReg::GetEnumDataTypesSubKey(CRavRegKey& settingKey, RAV_SETTING_ENUM& setting)
{
    setting.values.clear();
    setting.descriptions.clear();
    CRavRegKey choices;
    if (!choices.Open(settingKey.GetHKey(), L"Enum", false))
        return CResult(ERROR_FILE_NOT_FOUND);
    CRavString name;
    while (choices.EnumValue(name))
    {
        int32_t number = 0;
        CRavString text;
        if (!ParseNumber(name, number) || !choices.GetValue(name, text))
        {
            RavTrace().Print(L"CRavMiniportReg::GetEnumDataTypesSubKey - choice %s is left out", name.c_str());
            continue;
        }
        if (std::find(setting.values.begin(), setting.values.end(), number) != setting.values.end())
        {
            RavTrace().Print(L"CRavMiniportReg::GetEnumDataTypesSubKey - choice %s is there twice", name.c_str());
            continue;
        }
        setting.values.push_back(number);
        setting.descriptions.push_back(text);
    }
    return setting.values.empty() ? CResult(ERROR_FILE_NOT_FOUND) : CResult::Success();
}
