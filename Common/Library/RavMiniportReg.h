#pragma once

#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <memory>
#include <vector>

struct RAV_SETTING;
struct RAV_SETTING_ENUM;
struct RAV_SETTING_VAL;

// The advanced settings of one driver instance, as Windows keeps them: the value itself in the instance key, its
// description in the subkey "Ndi\Params\<keyword>" ("ParamDesc", "Type", "Default", "Min", "Max", "Step", "Base",
// "Enum"). Used by one thread at a time.
class CRavMiniportReg
{
  public:
    // strInstancePath: path of the instance key under HKEY_LOCAL_MACHINE.
    explicit CRavMiniportReg(const CRavString& strInstancePath);
    ~CRavMiniportReg();
    CRavMiniportReg(const CRavMiniportReg&) = delete;
    CRavMiniportReg& operator=(const CRavMiniportReg&) = delete;

    // Writes description and current value of the setting; an existing description is replaced.
    CResult CreateSetting(const RAV_SETTING& setting);
    // Reads one setting. Fails with ERROR_FILE_NOT_FOUND when the driver has none of that keyword.
    CResult GetSetting(const CRavString& strName, std::unique_ptr<RAV_SETTING>& setting);
    // Reads all settings, in registry order. Damaged ones are traced and left out.
    CResult EnumerateSettings(std::vector<std::unique_ptr<RAV_SETTING>>& settings);
    // Whether the current value that was read is the stored one, or there is none: what is stored and is no number
    // reads as the default.
    bool IsCurrentStored(const RAV_SETTING& setting);
    // Writes the current value after the setting itself has accepted it.
    CResult SetSetting(const CRavString& strName, const RAV_SETTING_VAL& value);
    // Deletes description and current value.
    CResult DeleteSetting(const CRavString& strName);

    // Reads the choices below an open setting or template key (its subkey "Enum": value name the number, data the
    // text) into the record, in registry order. Code 0 when at least one choice was read.
    static CResult GetEnumDataTypesSubKey(CRavRegKey& settingKey, RAV_SETTING_ENUM& setting);

  private:
    CRavString m_strInstancePath;
};
