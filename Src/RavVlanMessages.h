#pragma once

#include "Src/RavVlanTypes.h"

#include <vector>

using CRavVlanMessages = std::vector<RAV_VALIDATION_MESSAGE>;

// Codes of validation messages: 0x30000000, a family, a number.
enum RAV_VLAN_MESSAGE : DWORD
{
    RAV_MSG_XMS_BLOCKED = 0x310000E2,             // 226: the operating system blocks the intermediate driver
    RAV_MSG_NAME_BEGINS_BLANK = 0x33000087,       // 135
    RAV_MSG_NAME_CHARACTER = 0x33000088,          // 136
    RAV_MSG_NAME_IN_USE = 0x33000089,             // 137
    RAV_MSG_RANGE_ID_IN_USE = 0x3300008A,         // 138
    RAV_MSG_PARENT_OVERFULL = 0x3300008B,         // 139: existing and new VLANs together exceed 64
    RAV_MSG_VIRTUAL_PARENT_OVERFULL = 0x3300008C, // 140: they exceed 63 on a virtual device
    RAV_MSG_ID_NOT_VALID = 0x3300008D,            // 141: no id text, or an id above 4094 among several
    RAV_MSG_ID_TOO_LARGE = 0x3300008E,            // 142
    RAV_MSG_ID_IN_USE = 0x3300008F,               // 143
    RAV_MSG_PARENT_FULL = 0x33000090,             // 144
    RAV_MSG_VIRTUAL_PARENT_FULL = 0x33000091,     // 145
    RAV_MSG_DRIVER_NOT_LOADED = 0x33000092,       // 146
    RAV_MSG_UNTAGGED_ALONE = 0x33000093,          // 147
    RAV_MSG_PARENT_WITHOUT_VLANS = 0x33000094,    // 148
    RAV_MSG_VMQ_ON_ADAPTER = 0x33000095,          // 149, a warning: creation switches VMQ off
    RAV_MSG_VMQ_ON_TEAM = 0x33000096,             // 150, a warning
    RAV_MSG_TEAM_WITHOUT_VLANS = 0x33000097,      // 151
    RAV_MSG_PARENT_IN_TEAM = 0x33000098,          // 152
    RAV_MSG_NAME_TOO_LONG = 0x33000099,           // 153
    RAV_MSG_NAME_EMPTY = 0x3300009A,              // 154
    RAV_MSG_NOT_OUR_DEVICE = 0x340000AB,          // 171
    RAV_MSG_DRIVER_TOO_OLD = 0x340000AE,          // 174
    // About advanced settings, a family of their own; in braces the parameters, decimal texts where they are numbers.
    RAV_MSG_SETTING_UNKNOWN = 0x35000001,      // 1 {name}: the VLAN has no such setting
    RAV_MSG_SETTING_NO_CHOICE = 0x35000002,    // 2 {name}: the value is none of the choices
    RAV_MSG_SETTING_OUT_OF_RANGE = 0x35000003, // 3 {min, max}
    RAV_MSG_SETTING_OFF_STEP = 0x35000004,     // 4 {min, step}: in range, but not min and a multiple of step
    RAV_MSG_SETTING_WRONG_KIND = 0x35000005,   // 5 {name}: no number where one is needed
    RAV_MSG_SETTING_ABOVE_PARENT = 0x35000006 // 6 {size in bytes}: frames larger than the parent carries, which is this
};

// Whether a result's code is that of a message.
inline constexpr bool RavIsMessageCode(DWORD code)
{
    return (code & 0xF0000000) == 0x30000000;
}

inline constexpr DWORD RAV_CATEGORY_VLAN = 16;
// Of the two warnings: queues are in use; a setting that creation switches off has them on.
inline constexpr DWORD RAV_CATEGORY_VMQ = 33;
inline constexpr DWORD RAV_CATEGORY_VMQ_SETTING = 36;
inline constexpr DWORD RAV_CATEGORY_SETTING = 64; // of the family about settings
