// The core agent proxy, operation by operation: name traced, arguments and results unchanged, the same place in both
// tables. The tables are called by number, in the order of the declarations and with registers as this compiler lays
// them out; a typed list would be as long as the proxy.

#include "Src/RavCoreInterface.h"

#include "Common/Src/RavDebug.h"
#include "Tests/Harness/PrivateHive.h"
#include "Tests/Harness/TraceFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <sstream>

namespace
{
// Name, result (R: CResult, B: bool, D: DWORD) and arguments (p: by address, d: DWORD, b: bool).
const char* const OPERATIONS = R"(
    GetParameter Rpp, SetParameter Rpp, DeleteParameter Rpp, UnloadMiniport Rpp, UnloadMiniportDuringApplyDone Rp,
    RegisterAgent Rpp, GetPCISlotInfo Rpp, SetTeamMemberName Rpp, GetDisplayName Rpp, VerifyClientID Rp,
    WaitForApplyDone Bp, GetPermMacAddress Rpp, IsBoundToXMS Rpp, IsBoundToTeam Rpp, AdapterHasLink Rpp, SendOID Rpp,
    GetAdapterType Rpp, EnumerateAdapters Rp, GetAdapterHardware Rpp, GetAdapterAdvCapabilities Rpp, GetAdapter Rppb,
    GetAdapter Rpp, GetAdapterStatus Rppb, GetAdapterStatus Rpp, GetAdapterInternalCaps Rpp, GetAdaptersInTeam Rpp,
    GetSetting Rppp, SetSetting Rppp, IsTeamMemberAdapterPhantom Bp, UpdateERTSettting Rp, StartLock Rpp, DoneLock Rp,
    IsSNPInstalled B, IsEITEnabledAdapter Bp, GetNDISVersion Dp, GetNdisVersionFromCorvoOid Dp,
    CheckForAndUnBindFromMacSec Rp, IsiSCSIEnabled Rpp, IsiSCSIEnabled Bp, UsingStandardKeywords Bp,
    IsSystemiSCSISupported B, GetPCIDeviceInfo Rpp, IsLOM Bp, IsKalvane Bp, IsDeviceiSCSICapable Bp,
    CheckIf3rdPartySettingExists Bpp, IsDevicePCIExpress Bp, GetHX_AdapterNode Rpp, ReleaseHX_AdapterNode Rp,
    IsAdapterLoaded Rpp, DoesMAC_HaveTwoFunctions Bp, IsPemra Bp, IsDrosset Bp, IsRuleTrue Bpp, HasCapability Rpdp,
    HasCapability Bpd, IsHyperV_EnabledOnDevice Rpp, IsDeviceVmqCapable Rpp, IsDeviceVmqEnabled Rpp,
    GetDeviceGuidsOfOtherFunctions Rpp, GetReceiveScaleCapabilitiesFlagForAdapter Rpp,
    GetReceiveScaleCapabilitiesReceiveQueuesForAdapter Rpp, GetReceiveScaleParametersFlagForAdapter Rpp,
    GetReceiveScaleHashFlagForAdapter Rpp, IsDeviceDcbCapable Bp, IsDeviceCorvoDcbCapable Bp, IsDeviceDcbEnabled Bp,
    IsSystemAndDeviceDcbCapable Bp, IsDeviceFcoeCapable Bp, IsDeviceFcoeEnabled Bp, IsSystemFcoeCapable B,
    GetHbaTargets Rpp, GetJumboFramesSettingForAdapter Rpp, GetZentraWarnings Rpp,
    GetSettingFromPerformanceProfile Rppdp, IsDeviceCorvo Bp, IsServerDevice Bp, IsDriverSupportingVORN Bp,
    GetAdapterBootTypeCachedValue Dp, SetAdapterBootTypeCachedValue Rpd, GetIscsiBootInitiatorNameCachedValue Rpp,
    SetIscsiBootInitiatorNameCachedValue Rpp, GetIscsiBootConfigurationDataCachedValues Rpp,
    SetIscsiBootConfigurationDataCachedValues Rpp, GetFcoeBootConfigurationDataCachedValues Rpp,
    SetFcoeBootConfigurationDataCachedValues Rpp, IsDeviceConfiguredForFcoeBoot Bp, IsWmcEnabledOnDevice Bp,
    IsDeviceWmcCapable Bp, IsVirtualDevice Bp, IsVirtualDeviceWithReadOnlyMAC Bp, IsDriverLoadedCheck Bp,
    IsTeamingSupportedOnPort Bp, IsVlansSupportedOnPort Bp, IsDeviceOnlySupportingNativeDcb Bp, IsProfile Bp,
    GetAdapterWarnings Rpp, IsAdapterListCapableOfCommonSpeed Bp, GetListOfSupportedTeamModes Rpp,
    GetListOfAvailableTeamModes Rpp, WillProfileChangeToCustom Rppp, WillProfileChangeToCustom Bpp, IsNPAREnabled Bp,
    GetNParIdentifier Dp, QueryReserved Dd, IsDCBIncompatibleFW Bp)";
constexpr size_t COUNT = 106;

using Slot = uint64_t (*)(const void* object, uint64_t, uint64_t, uint64_t, uint64_t);
using Words = std::vector<uint64_t>;

enum ROUND
{
    ANSWERS,
    THROWS,
    NO_CORE
};
ROUND s_round = ANSWERS;
uint64_t s_answer = 0;
Words s_received;

template <size_t I>
uint64_t Receive(const void* object, uint64_t a, uint64_t b, uint64_t c, uint64_t d)
{
    s_received = {I, reinterpret_cast<uint64_t>(object), a, b, c, d};
    if (s_round == THROWS)
        throw I;
    return s_answer;
}

// The bits of a register that count.
uint64_t Mask(char kind)
{
    return kind == ' ' ? 0 : tolower(kind) == 'b' ? 0xFF : tolower(kind) == 'd' ? 0xFFFFFFFF : ~uint64_t{0};
}

// Where an operation that is added to the interface would stand.
size_t OperationsOfInterface()
{
    struct Next : CRavCoreAgentPvtIntf
    {
        virtual void Added() = 0;
    };
    const auto added = &Next::Added;
    size_t place = 0;
    memcpy(&place, &added, sizeof(place));
    return place / sizeof(void*);
}

void CallOne(const CRavCoreInterface& proxy, const void* coreAgent, size_t slot, const std::string& kinds)
{
    Words expected = {slot, reinterpret_cast<uint64_t>(coreAgent)};
    for (size_t i = 1; i <= 4; ++i)
        expected.push_back(Mask(kinds[i]) & (kinds[i] == 'b' ? s_round == ANSWERS : 0x10000 * i + 0x10 * slot));
    // A bool has to be one; the other results are told apart by all their bits.
    s_answer = Mask(kinds[0]) & (kinds[0] == 'B' ? 1 : 0x2222222211111111);
    s_received.clear();
    const uint64_t failed = kinds[0] == 'R' ? ~uint64_t{0} : 0;
    uint64_t result = 0;
    try
    {
        const Slot call = (*reinterpret_cast<const Slot* const*>(&proxy))[slot];
        result = Mask(kinds[0]) & call(&proxy, expected[2], expected[3], expected[4], expected[5]);
    }
    catch (const size_t& by)
    {
        result = ~by;
    }
    for (size_t i = 2; i < s_received.size(); ++i)
        s_received[i] &= Mask(kinds[i - 1]);
    EXPECT_EQ(s_round == NO_CORE ? Words() : expected, s_received);
    EXPECT_EQ(s_round == ANSWERS ? s_answer : s_round == THROWS ? ~slot : failed, result);
}
} // namespace

TEST(CoreInterface, ForwardsEveryOperation)
{
    const CPrivateHive hive;
    const CTempFolder folder;
    const auto table = []<size_t... I>(std::index_sequence<I...>)
    {
        return std::array<Slot, COUNT>{&Receive<I>...};
    }
    (std::make_index_sequence<COUNT>());
    const Slot* coreAgent = table.data(); // an object that has nothing but its table
    ASSERT_EQ(COUNT, OperationsOfInterface());
    ASSERT_EQ(0, RavTrace().Configure(L"TEST", L"core.txt", 3, 0, 0, nullptr));
    std::string expected;
    for (const ROUND round : {ANSWERS, THROWS, NO_CORE})
    {
        s_round = round;
        CRavCoreInterface proxy(round == NO_CORE ? nullptr : reinterpret_cast<CRavCoreAgentPvtIntf*>(&coreAgent));
        expected += "0 CRavCoreInterface::CRavCoreInterface\n";
        std::istringstream text(OPERATIONS);
        size_t slot = 0;
        for (std::string name, kinds; text >> name >> kinds; ++slot)
        {
            SCOPED_TRACE(name);
            kinds.erase(kinds.find_last_not_of(',') + 1);
            const std::string code = round == ANSWERS ? "286331153" : "-1";
            if (name != "QueryReserved") // not traced, by design
                expected += "1 ENTRY:  CRavCoreInterface::" + name + "\n1 EXIT:  CRavCoreInterface::" + name +
                            (kinds[0] == 'R' ? ", res.ulErrCode=" + code : "") + "\n";
            kinds.resize(5, ' ');
            CallOne(proxy, &coreAgent, slot, kinds);
        }
        ASSERT_EQ(COUNT, slot);
    }
    EXPECT_EQ(expected, TraceText(folder.Path(L"core.txt")));
}
