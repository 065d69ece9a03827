#pragma once

#include "Common/Library/BindingRecord.h"
#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <map>
#include <optional>
#include <vector>

// The host as one walk has found it: a plain value, for whoever has to see it as a whole. A value of the registry that
// is missing, or of another type than it has to be, is an empty optional.

enum class RAV_COMPONENT_KIND
{
    Adapter,       // a port, or another driver's
    Team,          // a miniport of the driver's over several adapters
    VlanOnAdapter, // by its "SupportedFeatures"
    VlanOnTeam,
    Miniport // of the driver, but neither team nor VLAN
};

// What the key of a VLAN's miniport says.
struct RAV_VLAN_VALUES
{
    CRavString parentKey;
    CRavString name;
    CRavString displayName;
    CRavString miniportKey;
    std::optional<DWORD> id; // none: the untagged VLAN
    std::optional<DWORD> type;
    std::optional<DWORD> group;
    std::optional<DWORD> teamMode; // these two over a team alone
    std::optional<DWORD> totalAdapters;
    std::optional<CRavString> jumboPacket;
};

// What an adapter's key says, and what is bound to it. Of a team's own miniport the DHCP flag and the protocols alone.
struct RAV_PORT_VALUES
{
    std::optional<std::vector<CRavString>> ids;
    std::optional<DWORD> vlanMode;
    std::optional<DWORD> taggingMode;      // as a number
    std::optional<CRavString> taggingText; // as a text, which the adapter's own parameter is
    std::optional<CRavString> priorityTag;
    std::optional<CRavString> filtering;
    std::optional<DWORD> xmsLoaded;
    std::optional<DWORD> dhcp; // of its TCP/IP interface
    bool hasStaticAddress = false;
    bool isBound = false;              // to the intermediate driver
    std::vector<CRavString> protocols; // those bound to it that a parent of VLANs gives up, by component id
};

struct RAV_HOST_COMPONENT
{
    CRavString guid;
    CRavString instance; // the four digits of its key; empty when it has none
    CRavString displayName;
    CRavString device; // its instance id; empty when its key does not say
    CRavString networkAddress;
    RAV_COMPONENT_KIND kind = RAV_COMPONENT_KIND::Adapter;
    DWORD features = 0;
    std::optional<DWORD> teamMode; // of a team
    DWORD loadStatus = 0;          // RAV_LOAD_STATUS
    ULONG problem = 0;             // the device's problem code
    RAV_VLAN_VALUES vlan;          // of a VLAN
    RAV_PORT_VALUES port;          // of an adapter or team

    bool IsVlan() const { return kind == RAV_COMPONENT_KIND::VlanOnAdapter || kind == RAV_COMPONENT_KIND::VlanOnTeam; }
    // The path of its instance key below HKEY_LOCAL_MACHINE.
    CRavString Path() const;
};

// The driver's entry for an adapter.
struct RAV_DRIVER_ENTRY
{
    std::optional<DWORD> group;
    std::optional<DWORD> physicalAdapter;
    std::optional<DWORD> totalAdapters;
    std::optional<std::vector<CRavString>> bindings;
    std::optional<DWORD> count;
    std::optional<DWORD> taggingMode;
};

struct RAV_HOST
{
    std::vector<RAV_HOST_COMPONENT> components;                // in the order of the network class
    std::map<CRavString, size_t> places;                       // of the components, by GUID
    std::map<CRavString, RAV_DRIVER_ENTRY> entries;            // by the adapter's GUID, as are the following
    std::map<CRavString, std::optional<DWORD>> configurations; // the former "EnableDHCP"
    std::map<CRavString, std::vector<CRavString>> records;     // the protocols that were taken off
    // What there is and could not be read; it counts as missing above. Nothing is to be changed on such ground.
    std::vector<CRavString> unread;

    RAV_HOST_COMPONENT& Add(const CRavString& guid);
    // By its GUID, whichever way that is spelled; null when there is none.
    const RAV_HOST_COMPONENT* Find(const CRavString& guid) const;
    // Whether an adapter is in a team: its driver entry names the team's own miniport.
    bool IsMember(const CRavString& adapter, const CRavString& team) const;
};

// How much is read beside the components and what their keys say.
enum class RAV_HOST_DEPTH
{
    Values,  // nothing else: neither display names nor status
    Keys,    // these, and the driver's entries
    Bindings // and what is bound to each adapter
};

// Reads the whole host. Negative when the network class or the driver's entries cannot be walked.
HRESULT RavReadHost(CRavNetCfgInterface& netCfg, RAV_HOST& host, RAV_HOST_DEPTH depth = RAV_HOST_DEPTH::Bindings);
