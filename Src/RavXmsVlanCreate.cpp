// Creating a VLAN over an adapter: the two sequences and the steps that are not plain registry writes.

#include "Src/RavXmsVlan.h"

#include "Common/Intf/RavAdvSvcNetCfgComponent.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"
#include "Src/RavNetCfgWriteLock.h"
#include "Src/RavShielded.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanCreate";
constexpr wchar_t MEDIA_TYPE_ETHERNET[] = L"0";
constexpr DWORD OID_NEW_VLAN = 0xFF010109;
constexpr size_t OID_NAME_SIZE = 256;
constexpr int FURTHER = 1; // the one failure exit of the further sequence, which has no numbers

// What the driver is told: the device name of the new miniport, in single-byte characters, not terminated.
#pragma pack(push, 1)
struct NEW_VLAN_ANNOUNCEMENT
{
    USHORT usLength;
    char name[OID_NAME_SIZE];
};
#pragma pack(pop)
static_assert(sizeof(NEW_VLAN_ANNOUNCEMENT) == 258, "the driver refuses any other size");

// Takes the VLAN's miniport away again unless the sequence is finished.
class InstalledMiniport
{
  public:
    explicit InstalledMiniport(CRavXmsVlan& vlan) : m_vlan(vlan) {}
    ~InstalledMiniport()
    {
        try
        {
            if (m_undo)
                m_vlan.UndoCreation();
        }
        catch (...)
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"CRavXmsVlan::UndoCreation - Exception caught");
        }
    }
    InstalledMiniport(const InstalledMiniport&) = delete;
    InstalledMiniport& operator=(const InstalledMiniport&) = delete;
    void Keep() { m_undo = false; }

  private:
    CRavXmsVlan& m_vlan;
    bool m_undo = true;
};
} // namespace

void CRavXmsVlan::CreatVlanOnAdapter(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatVlanOnAdapter", &status);
    int count = 0;
    if (!GetTotNoOfVlansOnThisParent(count))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetTotNoOfVlansOnThisParent failed.");
        return;
    }
    m_bFirstVlan = count == 0;
    if (m_bFirstVlan)
        CreatFirstVlanOnAdapter(status);
    else
        CreatFurtherVlanOnAdapter(status);
    UnloadMiniportDuringApplyDone();
}

int CRavXmsVlan::RunSteps(std::initializer_list<Step> steps)
{
    for (const Step& step : steps)
    {
        if (!RunStep(step))
            return step.exit;
    }
    return 0;
}

bool CRavXmsVlan::RunStep(const Step& step)
{
    int status = -1;
    try
    {
        (this->*step.run)(status);
    }
    catch (...)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"CRavXmsVlan, creation, exit %d - Exception caught", step.exit);
        status = -1;
    }
    if (status != 0 && step.failure != nullptr)
        RavTrace().Error(SOURCE_FILE, __LINE__, step.failure);
    return status == 0;
}

void CRavXmsVlan::CreatFirstVlanOnAdapter(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFirstVlanOnAdapter", &status);
    const int exit = RunFirstVlanSequence();
    if (exit == 0)
    {
        status = 0;
        RavTrace().Print(L"Exiting CRavXmsVlan::CreatFirstVlanOnAdapter.");
    }
    else
        RavTrace().Print(L"Exiting CRavXmsVlan::CreatFirstVlanOnAdapter-%d", exit);
}

// The number of the exit that was taken, which counts down as the sequence advances; 0 for success.
int CRavXmsVlan::RunFirstVlanSequence()
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
        return 13;
    CRavNetCfgWriteLock lock(*netCfg);
    if (!lock.IsHeld())
        return 12;
    int exit = RunSteps({{&CRavXmsVlan::SetupVlanParentRegistry, 11, L"ERROR: SetupVlanParentRegistry failed."},
                         {&CRavXmsVlan::ReloadParent, 10, L"ERROR: DoReload failed."}});
    if (exit != 0)
        return exit;
    if (!InstallMiniport())
        return 9;
    InstalledMiniport installed(*this);
    exit = RunSteps({{&CRavXmsVlan::PrepareMiniport, 9, nullptr},
                     {&CRavXmsVlan::NameMiniport, 9, nullptr},
                     {&CRavXmsVlan::GenNewLogicalGroupId, 8, nullptr},
                     {&CRavXmsVlan::SaveParentAdptrToReg, 7, nullptr},
                     {&CRavXmsVlan::SaveVlanParamsToReg, 6, nullptr},
                     {&CRavXmsVlan::BindParent, 5, nullptr},
                     {&CRavXmsVlan::SetParentAdapterNA, 4, nullptr}});
    if (exit != 0)
        return exit;
    installed.Keep();
    return FinishCreation(lock) ? 0 : 2;
}

void CRavXmsVlan::CreatFurtherVlanOnAdapter(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFurtherVlanOnAdapter", &status);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: no network configuration.");
        return;
    }
    CRavNetCfgWriteLock lock(*netCfg);
    if (!lock.IsHeld())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: AcquireLockForWrite failed. hr= %X", lock.Status());
        return;
    }
    if (RunSteps(
            {{&CRavXmsVlan::TakeParentLogicalGroupId, FURTHER, L"ERROR: the parent's LogicalGroupID cannot be read."},
             {&CRavXmsVlan::TraceTaggedVlans, FURTHER, L"ERROR: IsParentWithTaggedVlan failed."},
             {&CRavXmsVlan::ReloadParent, FURTHER, L"ERROR: DoReload failed."}}) != 0)
        return;
    if (!InstallMiniport())
        return;
    InstalledMiniport installed(*this);
    // The two saves stand the other way round than for the first VLAN; the driver relies on it.
    if (RunSteps({{&CRavXmsVlan::PrepareMiniport, FURTHER, nullptr},
                  {&CRavXmsVlan::NameMiniport, FURTHER, nullptr},
                  {&CRavXmsVlan::SaveVlanParamsToReg, FURTHER, nullptr},
                  {&CRavXmsVlan::SaveParentAdptrToReg, FURTHER, nullptr},
                  {&CRavXmsVlan::SetParentAdapterNA, FURTHER, nullptr}}) != 0)
        return;
    installed.Keep();
    if (FinishCreation(lock))
        status = 0;
}

bool CRavXmsVlan::FinishCreation(CRavNetCfgWriteLock& lock)
{
    if (SUCCEEDED(lock.Release()))
        return true;
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: ReleaseLockForWrite failed.");
    CRavNetCfgWriteLock again(*GetNetCfgInterface());
    UndoCreation(); // without the lock as far as that goes: the DHCP flag comes back
    if (!again.IsHeld() || FAILED(again.Release()))
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the miniport %s could not be taken back.",
                         m_strMiniportInst.c_str());
    return false;
}

void CRavXmsVlan::UndoCreation()
{
    RemoveVirtualMiniport();
    // Without its VLAN the parent would be cut off: no protocols but the driver's, and no address for them.
    CRavNetCfgInterface& netCfg = *GetNetCfgInterface();
    const bool bound = !m_bParentBound || CRavAdvSvcNetCfgComponent().UnbindAdapterFromXms(netCfg, m_strParentKey) == 0;
    const bool cleaned = !m_bDriverEntryMade || netCfg.DeleteDriverEntries(m_strParentKey) == 0;
    if (!bound || !cleaned)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the adapter %s could not be given back.",
                         m_strParentKey.c_str());
    m_bDriverEntryMade = false;
    m_bParentBound = false;
}

// --- steps ----------------------------------------------------------------------------------------------------------

void CRavXmsVlan::ReloadParent(int& status)
{
    status = DoReload().Succeeded() ? 0 : -1;
}

CResult CRavXmsVlan::DoReload()
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::DoReload", &result);
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: no core agent.");
        return result;
    }
    const bool team = m_iParentType == RAV_PARENT_TEAM;
    bool alsoMembers = team;
    // An adapter that the core agent does not know, one that was taken out, is in no team.
    const auto asked = [&] { return core->IsBoundToTeam(m_strParentKey, alsoMembers); };
    if (!team && !RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DoReload", asked).Succeeded())
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsBoundToTeam failed.");
    RavTrace().Print(L"is_also_members_: %s", alsoMembers ? L"true" : L"false");
    std::vector<CRavString> adapters;
    if (!team)
        adapters.push_back(m_strParentKey);
    if (alsoMembers && !AddTeamMembers(adapters))
        return result;
    result = CResult::Success();
    for (const CRavString& adapter : adapters)
    {
        // Queued, not done now: the loaded driver is still to be told of the VLAN.
        const CResult unloaded = RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DoReload",
                                           [&] { return core->UnloadMiniportDuringApplyDone(adapter); });
        if (!unloaded.Succeeded())
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: UnloadMiniport failed.");
            result = unloaded;
        }
    }
    return result;
}

// Adds the members of the team that is the parent, or that the parent is a member of.
bool CRavXmsVlan::AddTeamMembers(std::vector<CRavString>& adapters)
{
    RavTrace().Print(L"reloading all member adapters.");
    const CRavString team = m_iParentType == RAV_PARENT_TEAM ? m_strParentKey : TeamOfParent();
    if (team.IsEmpty())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: invalid program state.");
        return false;
    }
    std::vector<CRavString> members;
    if (!GetTeamMembers_v(team, members))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: EnumerateMemberAdapters failed.");
        return false;
    }
    std::copy_if(members.begin(), members.end(), std::back_inserter(adapters),
                 [&](const CRavString& member) { return !member.CompareI(m_strParentKey); });
    return true;
}

bool CRavXmsVlan::InstallMiniport()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::InstallMiniport", &done);
    m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>();
    CRavString instance;
    done = m_pNetCfgComponent->InstallVirtualComponent(*GetNetCfgInterface(), instance) == 0;
    if (!done)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: InstallVirtualComponent failed.");
        return false;
    }
    m_strMiniportInst = instance;
    m_strVlanNetCfgInstanceId = instance;
    m_strVlanKey = instance;
    m_ravVlanInfo.vlanKey = instance;
    return done;
}

void CRavXmsVlan::PrepareMiniport(int& status)
{
    status = -1;
    SetMiniportInstance(m_strMiniportInst);
    if (!CreateNetCfgComponentObj(*GetNetCfgInterface()))
    {
        m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>(m_strMiniportInst); // for the undo
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: CreateNetCfgComponentObj failed.");
    }
    else if (SetParameter(RAV_PARAMETER::Text(RavName(RAV_NAME_MEDIA_TYPE), MEDIA_TYPE_ETHERNET)).Succeeded())
        status = 0;
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetParameter failed.");
}

void CRavXmsVlan::NameMiniport(int& status)
{
    ConstructVlanDisplayName(status);
    if (status == 0)
        SetMiniportDisplayName(status);
}

void CRavXmsVlan::BindParent(int& status)
{
    m_bParentBound = BindParentAdapterToXms();
    status = m_bParentBound ? 0 : -1;
}

bool CRavXmsVlan::BindParentAdapterToXms()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::BindParentAdapterToXms", &done);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    CRavAdvSvcNetCfgComponent component;
    done = netCfg != nullptr && component.BindAdapterToXms(*netCfg, m_strParentKey) == 0;
    return done;
}

void CRavXmsVlan::TraceTaggedVlans(int& status)
{
    bool tagged = false;
    status = IsParentWithTaggedVlan(tagged) ? 0 : -1;
    if (status == 0)
        RavTrace().Print(L"IsUntagged: %s is_parent_with_tagged_vlans: %s", IsUntagged() ? L"true" : L"false",
                         tagged ? L"true" : L"false");
}

CRavAdapter* CRavXmsVlan::ParentAdapter()
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (!m_pParentAdapter && netCfg != nullptr)
    {
        auto adapter = std::make_unique<CRavAdapter>(m_strParentKey);
        if (adapter->Initialize(*netCfg).Succeeded())
            m_pParentAdapter = std::move(adapter);
    }
    return m_pParentAdapter.get();
}

void CRavXmsVlan::UnloadMiniport()
{
    m_services.QueueForUnload(m_strMiniportInst);
}

void CRavXmsVlan::UnloadMiniportDuringApplyDone()
{
    const CRavTraceScope trace(L"CRavXmsVlan::UnloadMiniportDuringApplyDone");
    UnloadMiniport();
}

bool CRavXmsVlan::SendNewVlanOid()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::SendNewVlanOid", &done);
    CRavAdapter* const parent = ParentAdapter();
    if (parent == nullptr || !parent->IsDriverLoaded(*GetNetCfgInterface()))
        return false;
    const CRavString device = RavName(RAV_NAME_DEVICE) + m_strVlanNetCfgInstanceId;
    NEW_VLAN_ANNOUNCEMENT announcement = {};
    // GUID text is ASCII: each character is one byte.
    const size_t length = std::min(device.Length(), OID_NAME_SIZE);
    std::transform(device.begin(), device.begin() + static_cast<ptrdiff_t>(length), announcement.name,
                   [](wchar_t character) { return static_cast<char>(character); });
    announcement.usLength = static_cast<USHORT>(length);
    CRavMiniportDrv& driver = *parent->GetMiniportDrv();
    try
    {
        if (driver.OpenDriver())
        {
            done = driver.SetOid(OID_NEW_VLAN, reinterpret_cast<const BYTE*>(&announcement), sizeof(announcement));
            driver.CloseDriver();
        }
        else
            RavTrace().Print(L"CRavXmsVlan::SendNewVlanOid, OpenDriver fails.");
    }
    catch (...)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"CRavXmsVlan::SendNewVlanOid - Exception caught");
        driver.CloseDriver();
        done = false;
    }
    RavTrace().Print(done ? L"SendNewVlanOid succeeds." : L"SendNewVlanOid fails.");
    return done;
}
