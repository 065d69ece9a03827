#include "Common/Settings/RavAdvancedSettingNames.h"

#include "Common/Src/OsVersion.h"

#include <iterator>

namespace
{
struct RAV_KEYWORDS
{
    const wchar_t* pStandardized;
    const wchar_t* pOther;
};

// Indexed by RAV_SETTING_ID.
constexpr RAV_KEYWORDS KEYWORDS[] = {
    {L"*SpeedDuplex", L"SpeedDuplex"},          {L"*FlowControl", L"FlowControl"},
    {JUMBO_PACKET, OLD_JUMBO_PACKET},           {L"*RSS", L"RssMode"},
    {L"*TransmitBuffers", L"NumTxDescriptors"}, {L"*ReceiveBuffers", L"NumRxDescriptors"},
    {L"*LsoV1IPv4", L"TcpSegmentation"},        {L"*LsoV2IPv4", L"SettingNameUnknown"},
    {L"*LsoV2IPv6", L"SettingNameUnknown"},     {L"*IPsecOffloadV2", L"IPSecEnabled"},
};
static_assert(std::size(KEYWORDS) == RAV_SETTING_ID_IPSEC_OFFLOAD + 1);
} // namespace

CAdvancedSettingNames::CAdvancedSettingNames(bool bStandardized) : m_bStandardized(bStandardized) {}

CRavString CAdvancedSettingNames::GetName(int iSettingId) const
{
    if (iSettingId < 0 || iSettingId >= static_cast<int>(std::size(KEYWORDS)))
        return L"None";
    // Drivers for older systems know large send offload by its first name only.
    const bool hasStandardName = iSettingId != RAV_SETTING_ID_LSO_V1_IPV4 || COSType::IsNt6OrLater();
    const RAV_KEYWORDS& keywords = KEYWORDS[iSettingId];
    return m_bStandardized && hasStandardName ? keywords.pStandardized : keywords.pOther;
}
