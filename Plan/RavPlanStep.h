#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <cstdint>

// In the words of those who read about it: "create", "remove", ... Names of actions, for programs.
enum class RAV_CHANGE
{
    Create,
    Remove,
    Rename,
    SetId,
    SetType,
    Set,  // one setting
    Reset // one setting, to its default
};
inline const char* RavChangeName(RAV_CHANGE change)
{
    constexpr const char* NAMES[] = {"create", "remove", "rename", "setId", "setType", "set", "reset"};
    return NAMES[static_cast<size_t>(change)];
}

struct RAV_PLAN_STEP
{
    RAV_CHANGE change = RAV_CHANGE::Create;
    CRavString parentKey;
    CRavString vlanKey; // empty: an earlier step creates the VLAN, with `id`
    // As the VLAN has them when the step is taken, or gets them with its creation.
    DWORD id = 0;
    CRavString name;
    DWORD type = 0;
    // What one of them becomes.
    DWORD newId = 0;
    CRavString newName;
    DWORD newType = 0;
    // Of Set and Reset.
    CRavString keyword;
    int32_t was = 0;
    int32_t is = 0;
    // The id or name is one to get out of another VLAN's way with; a later step gives the one that is wanted.
    bool isTemporary = false;
};

// Why a state cannot be had.
struct RAV_REFUSAL
{
    const wchar_t* name = L""; // stable, for programs
    DWORD id = 0;              // of the VLAN that is wanted; of the first one where it is about the parent
    CRavString text;
};
