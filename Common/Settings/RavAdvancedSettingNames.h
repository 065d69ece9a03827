#pragma once

#include "Common/Src/RavString.h"

// Keywords of settings that VLANs have to do with: the standardized ones, and what an older driver calls the first.
inline constexpr wchar_t JUMBO_PACKET[] = L"*JumboPacket";
inline constexpr wchar_t VMQ[] = L"*VMQ";
inline constexpr wchar_t PRIORITY_VLAN_TAG[] = L"*PriorityVLANTag";
inline constexpr wchar_t OLD_JUMBO_PACKET[] = L"MaxFrameSize";

// The agent's own ids of advanced settings.
enum RAV_SETTING_ID : int
{
    RAV_SETTING_ID_SPEED_DUPLEX = 0,
    RAV_SETTING_ID_FLOW_CONTROL = 1,
    RAV_SETTING_ID_JUMBO_PACKET = 2,
    RAV_SETTING_ID_RSS = 3,
    RAV_SETTING_ID_TRANSMIT_BUFFERS = 4,
    RAV_SETTING_ID_RECEIVE_BUFFERS = 5,
    RAV_SETTING_ID_LSO_V1_IPV4 = 6,
    RAV_SETTING_ID_LSO_V2_IPV4 = 7,
    RAV_SETTING_ID_LSO_V2_IPV6 = 8,
    RAV_SETTING_ID_IPSEC_OFFLOAD = 9
};

// Gives the registry keyword under which an adapter's driver keeps a setting. Immutable; any thread may ask. It is
// there for the suite's setting operations, which name settings by id; nothing in this module does yet.
class CAdvancedSettingNames
{
  public:
    // bStandardized: the driver uses the standardized keywords, those with an asterisk.
    explicit CAdvancedSettingNames(bool bStandardized);

    // "SettingNameUnknown" when the driver has no keyword for the setting, "None" for an unknown id.
    CRavString GetName(int iSettingId) const;

  private:
    bool m_bStandardized;
};
