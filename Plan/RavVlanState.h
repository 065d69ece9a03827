#pragma once

#include "Common/Settings/RavSettingValues.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <memory>
#include <optional>
#include <vector>

// The VLANs of parents as plain values: as they are, and as somebody wants them.

using RAV_SETTINGS = std::vector<std::shared_ptr<const RAV_SETTING>>;

struct RAV_PRESENT_VLAN
{
    CRavString key;
    DWORD id = 0; // 0 untagged
    CRavString name;
    DWORD type = 0;                       // 0, 1 or 2
    std::optional<RAV_SETTINGS> settings; // none: not read
};

struct RAV_PRESENT_PARENT
{
    CRavString key;
    CRavString name;
    size_t mostVlans = 0; // that it can carry
    std::vector<RAV_PRESENT_VLAN> vlans;
    RAV_SETTINGS newSettings; // that a VLAN has when it is created
};

struct RAV_WANTED_SETTING
{
    CRavString keyword;
    CRavString value; // a number, or the text of a choice; RAV_DEFAULT_VALUE resets it
};
inline constexpr wchar_t RAV_DEFAULT_VALUE[] = L"default";

// Settings that are not named stay as they are, and so does a type that is not given.
struct RAV_WANTED_VLAN
{
    CRavString key; // when it is known which VLAN is meant; empty in a file
    DWORD id = 0;
    CRavString name;
    std::optional<DWORD> type;
    std::vector<RAV_WANTED_SETTING> settings;
};

// Ids and names (without regard to case) are each there once, and are possible ones: whoever makes this sees to it.
struct RAV_WANTED_PARENT
{
    CRavString key;
    std::vector<RAV_WANTED_VLAN> vlans;
    // It was so before: a setting's value that was there and cannot be set is no reason to leave all the rest.
    bool wasBefore = false;
};

// The setting of that keyword; null when there is none.
const RAV_SETTING* RavFindSetting(const RAV_SETTINGS& settings, const CRavString& keyword);
// A name or keyword without regard to case.
CRavString RavFolded(CRavString text);

// A state that leads back to this one, with the keys of the VLANs and all their settings.
RAV_WANTED_PARENT RavWantedAsIs(const RAV_PRESENT_PARENT& parent);
