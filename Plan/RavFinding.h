#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// What an examination of the host can find.
enum class RAV_FINDING_KIND
{
    GhostMiniport,
    UnfinishedVlan,
    AbandonedVlan,
    ParentGone,
    ParentUnknown,
    DamagedVlan,
    TeamValues,
    UnknownId,
    SameId,
    SameName,
    SameDevice,
    UntaggedAlone,
    NoDriverEntry,
    DriverEntry,
    BindingList,
    BindingCount,
    StaleDriverEntry,
    IdList,
    VlanMode,
    TaggingMode,
    DriverTaggingMode,
    PriorityTag,
    ParentMark,
    ParentAddress,
    NotBound,
    ProtocolsBound,
    StillBound,
    ProtocolsMissing,
    DhcpFlag,
    DisplayName,
    NotLoaded,
    COUNT
};

// What is said of every finding of a kind.
struct RAV_FINDING_TEXT
{
    const wchar_t* name;    // stable, for programs and for "--repair NAME"
    const wchar_t* meaning; // to the host
    const wchar_t* repair;  // what mends it
};
const RAV_FINDING_TEXT& RavFindingText(RAV_FINDING_KIND kind);

// What a step of a repair does, in the order in which steps of several findings are taken: no step relies on one of a
// later kind.
enum class RAV_ACT
{
    RemoveMiniport, // the component `target`
    SetNumber,      // the value `name` of the key `target` below HKEY_LOCAL_MACHINE
    SetText,
    SetList,
    DeleteValue,
    GiveBack,       // takes the adapter `target` out of the driver's hands: bindings, DHCP flag, entries
    Bind,           // gives it into the driver's hands: driver on, ordinary protocols off
    SetDisplayName, // of the component `target`
    Start,          // the device of the component `target`
    Reload          // unloads and loads it when the transaction is applied
};

struct RAV_STEP
{
    RAV_ACT act = RAV_ACT::Reload;
    CRavString target;
    CRavString name;
    DWORD number = 0;
    CRavString text;
    std::vector<CRavString> list;

    bool operator==(const RAV_STEP&) const = default;
};
// One line for people: "VLANID of ...\0001 becomes 10,20".
CRavString RavStepText(const RAV_STEP& step);

// The elements of a list with commas between.
CRavString RavJoined(const std::vector<CRavString>& list);

// One thing that is wrong, and what mends it.
struct RAV_FINDING
{
    RAV_FINDING_KIND kind = RAV_FINDING_KIND::GhostMiniport;
    CRavString subject;    // GUID of the adapter, team or VLAN that it is about
    CRavString parent;     // of a VLAN its parent, of a team's member the team; empty when there is none
    bool isOfVlan = false; // or of a miniport that may have become one
    CRavString where;      // the subject as people know it
    CRavString detail;     // what is there, and what should be
    std::vector<RAV_STEP> steps;
    // Where only the administrator knows what was meant there are no steps, but the commands that decide it.
    std::vector<CRavString> commands;

    // Whether it is about an adapter or team, or what that carries or may: a miniport that does not say whose it is.
    // All are about an empty key.
    bool IsAbout(const CRavString& key) const;
    // Whether it is about this VLAN, or about what carries it.
    bool Concerns(const CRavString& vlan, const CRavString& vlansParent) const;
};
