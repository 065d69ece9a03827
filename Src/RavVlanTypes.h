#pragma once

#include "Common/Src/RavString.h"

#include <windows.h>

#include <vector>

// Description of one VLAN.
struct RAV_VLAN_INFO
{
    CRavString displayName;      // parent and VLAN name, as the network configuration shows them
    CRavString description;      // the network component's own description
    CRavString vlanKey;          // instance GUID text of the VLAN's miniport, in braces
    CRavString xmsMiniportKey;   // the same as the intermediate driver knows it
    DWORD vlanId = 0;            // 0 untagged, 1 to 4094 tagged
    CRavString vlanName;         // the name its administrator gave it
    DWORD vlanType = 0;          // 0, 1 or 2
    DWORD supportedFeatures = 0; // 8 or 12 over an adapter, 9 or 13 over a team
    DWORD logicalGroupId = 0;    // shared by the VLANs of one parent
    int jumboPacket = -1;        // current "*JumboPacket" in bytes; -1 when the VLAN has no such setting
};

// The vlanType of a stored "RavVlanType".
inline DWORD RavClientVlanType(DWORD stored)
{
    return stored == 1 ? 0 : stored == 2 ? 1 : 2;
}

enum RAV_PARENT_TYPE : int
{
    RAV_PARENT_ADAPTER = 0,
    RAV_PARENT_TEAM = 1,
    RAV_PARENT_UNKNOWN = 2
};

// The parent of a VLAN.
struct RAV_VLAN_PARENT
{
    CRavString parentKey; // instance GUID text of the adapter or team
    int parentType = RAV_PARENT_UNKNOWN;
};

// One finding of a validation.
struct RAV_VALIDATION_MESSAGE
{
    DWORD dwCode = 0;
    DWORD dwCategory = 0;
    DWORD dwSeverity = 0; // one of the two below
    std::vector<CRavString> parameters;
};
inline constexpr DWORD RAV_SEVERITY_STOP = 1;
inline constexpr DWORD RAV_SEVERITY_WARNING = 2;

// Told about each VLAN while several are created. Called on the creating thread, under the configuration lock: return
// soon.
class CRavVlanProgress
{
  public:
    virtual ~CRavVlanProgress() = default;
    // uDone of uTotal VLANs exist; vlanId is the one that was created last.
    virtual void OnVlanCreated(DWORD vlanId, size_t uDone, size_t uTotal) = 0;
    // Asked before each VLAN whether it is to be created. After a false no further one is, and the call ends with
    // ERROR_CANCELLED.
    virtual bool GoesOn() { return true; }
    // Asked for the name of each VLAN where the agent is to name them (RAV_AUTO_VLAN_NAMES); it names one itself whose
    // name is left empty. All names are asked for before the first VLAN is created: one that the rules of a single
    // creation refuse ends the call with the refusal's code.
    virtual void NameVlan(DWORD /*vlanId*/, CRavString& /*name*/) {}
};

// Stands for a VLAN that does not exist yet.
inline constexpr wchar_t RAV_NEW_VLAN_KEY[] = L"{NEW VLAN KEY}";
// As a VLAN name: let the agent name each VLAN.
inline constexpr wchar_t RAV_AUTO_VLAN_NAMES[] = L"AutoGenerateVlanNames";
// Limits of 802.1Q and of the intermediate driver: the largest id, and how many VLANs one parent carries, a virtual
// device fewer than others.
inline constexpr DWORD RAV_MAX_VLAN_ID = 4094;
inline constexpr DWORD RAV_MAX_VLAN_TYPE = 2;
inline constexpr DWORD RAV_MAX_VLANS = 64;
inline constexpr DWORD RAV_MAX_VLANS_OF_VIRTUAL_DEVICE = 63;

// Codes of results that an operation documents.
inline constexpr DWORD RAV_CODE_NOT_VALID = ERROR_INVALID_PARAMETER; // there is no such vlan type
inline constexpr DWORD RAV_CODE_HYPER_V = 0x8FFF1050;                // the VLAN is bound to the Hyper-V switch
inline constexpr DWORD RAV_CODE_REBOOT_PENDING = 0xFFFFFEB3;         // -333: the system has to be restarted first

// The class of a removal that was refused: for Hyper-V, or for the lack of the network configuration's write lock.
inline constexpr DWORD RAV_CLASS_REFUSED = 2;
