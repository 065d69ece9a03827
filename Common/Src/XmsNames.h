#pragma once
// What the intermediate driver and the agents of the suite know of each other: the driver's keys and values, and those
// that it reads from the instance keys of adapters, teams and VLANs. docs/registry.md says what they mean.

// The driver's service.
inline constexpr wchar_t XMS_SERVICE[] = L"oXMSProtocol";

#define RAV_XMS_PARAMETERS L"SYSTEM\\CurrentControlSet\\Services\\oXMSProtocol\\Parameters"

inline constexpr wchar_t XMS_PARAMETERS_KEY[] = RAV_XMS_PARAMETERS;
inline constexpr wchar_t XMS_ADAPTERS_KEY[] = RAV_XMS_PARAMETERS L"\\Adapters";           // an entry for each adapter
inline constexpr wchar_t XMS_CONFIGURATION_KEY[] = RAV_XMS_PARAMETERS L"\\Configuration"; // what adapters had before

#undef RAV_XMS_PARAMETERS

// The request by which a new VLAN is announced.
inline constexpr unsigned long OID_NEW_VLAN = 0xFF010109;

namespace XmsValue
{
inline constexpr wchar_t AdapterName[] = L"AdapterName";
inline constexpr wchar_t BindingList[] = L"MiniportBindingList";
inline constexpr wchar_t BindingListCount[] = L"MiniportBindingListCount";
inline constexpr wchar_t LogicalGroupId[] = L"LogicalGroupID";
inline constexpr wchar_t PhysicalAdapterId[] = L"PhysicalAdapterID";
inline constexpr wchar_t SupportedFeatures[] = L"SupportedFeatures";
inline constexpr wchar_t TaggingMode[] = L"TaggingMode";
inline constexpr wchar_t TeamMode[] = L"TeamMode";
inline constexpr wchar_t TotalPhysicalAdapters[] = L"TotalPhysicalAdapters";
inline constexpr wchar_t VlanDisplayName[] = L"VLANDisplayName";
inline constexpr wchar_t VlanFiltering[] = L"VlanFiltering";
inline constexpr wchar_t VlanId[] = L"VLANID";
inline constexpr wchar_t VlanMode[] = L"VlanMode";
inline constexpr wchar_t VlanName[] = L"VLANName";
inline constexpr wchar_t VlanParentKey[] = L"RavVlanParentKey";
inline constexpr wchar_t VlanType[] = L"RavVlanType";
inline constexpr wchar_t XmsLoaded[] = L"XMSLoaded";
inline constexpr wchar_t XmsMiniportKey[] = L"RavXmsMiniportKey";
} // namespace XmsValue

// Bits of "SupportedFeatures", which only miniports of the driver have.
inline constexpr unsigned long FEATURE_OVER_TEAM = 0x1; // a team, or a VLAN over one
inline constexpr unsigned long FEATURE_OTHER = 0x4;     // of some VLANs; it makes no difference to the agents
inline constexpr unsigned long FEATURE_VLAN = 0x8;

constexpr bool RavIsVlan(unsigned long features)
{
    return (features & ~(FEATURE_OVER_TEAM | FEATURE_OTHER)) == FEATURE_VLAN;
}

constexpr bool RavIsTeam(unsigned long features)
{
    return (features & FEATURE_OVER_TEAM) != 0 && (features & FEATURE_VLAN) == 0;
}
