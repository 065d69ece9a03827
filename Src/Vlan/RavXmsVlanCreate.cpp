// Creating a VLAN over an adapter: the two sequences and the steps that are not plain registry writes.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Library/RavAdvSvcNetCfgComponent.h"
#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavNameTable.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"
#include "Src/RavShielded.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanCreate";
constexpr wchar_t MEDIA_TYPE_ETHERNET[] = L"0";
constexpr size_t OID_NAME_SIZE = 256;

// What the driver is told: the device name of the new miniport, in single-byte characters, not terminated.
#pragma pack(push, 1)
struct NEW_VLAN_ANNOUNCEMENT
{
    USHORT usLength;
    char name[OID_NAME_SIZE];
};
#pragma pack(pop)
static_assert(sizeof(NEW_VLAN_ANNOUNCEMENT) == 258, "the driver refuses any other size");

} // namespace

// Takes away again the miniport that a sequence has installed, unless the sequence is finished.
class CRavXmsVlan::InstalledMiniport
{
  public:
    explicit InstalledMiniport(CRavXmsVlan& vlan) : m_vlan(vlan), m_before(vlan.m_strVlanKey) {}
    ~InstalledMiniport()
    {
        if (m_undo)
            RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::RemoveVirtualMiniport", [this] { Undo(); });
    }
    InstalledMiniport(const InstalledMiniport&) = delete;
    InstalledMiniport& operator=(const InstalledMiniport&) = delete;
    void Keep() { m_undo = false; }

  private:
    void Undo()
    {
        if (m_vlan.m_strVlanKey == m_before) // the installation failed before it gave the VLAN a miniport
            return;
        if (!m_vlan.m_pNetCfgComponent) // PrepareMiniport failed before it made the component
            m_vlan.m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>(m_vlan.m_strVlanKey);
        m_vlan.RemoveVirtualMiniport();
    }

    CRavXmsVlan& m_vlan;
    const CRavString m_before;
    bool m_undo = true;
};

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
        RavTrace().Error(SOURCE_FILE, __LINE__, L"%s", step.failure);
    return status == 0;
}

// At the exits from 9 down there was a miniport, and it has been removed again.
void CRavXmsVlan::CreatFirstVlanOnAdapter(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFirstVlanOnAdapter", &status);
    RunSequence(L"CreatFirstVlanOnAdapter", status,
                {{&CRavXmsVlan::SetupVlanParentRegistry, 11, L"ERROR: SetupVlanParentRegistry failed."},
                 {&CRavXmsVlan::ReloadParent, 11, L"ERROR: DoReload failed."},
                 {&CRavXmsVlan::InstallMiniport, 10, L"ERROR: InstallVirtualComponent failed."},
                 {&CRavXmsVlan::PrepareMiniport, 9, nullptr},
                 {&CRavXmsVlan::NameMiniport, 9, nullptr},
                 {&CRavXmsVlan::GenNewLogicalGroupId, 8, nullptr},
                 {&CRavXmsVlan::SaveParentAdptrToReg, 7, nullptr},
                 {&CRavXmsVlan::SaveVlanParamsToReg, 6, nullptr},
                 {&CRavXmsVlan::BindParent, 5, nullptr},
                 {&CRavXmsVlan::SetParentAdapterNA, 4, nullptr}});
}

// The two saves are in the opposite order to the first VLAN's, on purpose: the driver relies on it.
void CRavXmsVlan::CreatFurtherVlanOnAdapter(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::CreatFurtherVlanOnAdapter", &status);
    RunSequence(L"CreatFurtherVlanOnAdapter", status,
                {{&CRavXmsVlan::TakeParentLogicalGroupId, 11, L"ERROR: the parent's LogicalGroupID cannot be read."},
                 {&CRavXmsVlan::TraceTaggedVlans, 10, L"ERROR: IsParentWithTaggedVlan failed."},
                 {&CRavXmsVlan::ReloadParent, 9, L"ERROR: DoReload failed."},
                 {&CRavXmsVlan::InstallMiniport, 8, L"ERROR: InstallVirtualComponent failed."},
                 {&CRavXmsVlan::PrepareMiniport, 7, nullptr},
                 {&CRavXmsVlan::NameMiniport, 6, nullptr},
                 {&CRavXmsVlan::SaveVlanParamsToReg, 5, nullptr},
                 {&CRavXmsVlan::SaveParentAdptrToReg, 4, nullptr},
                 {&CRavXmsVlan::SetParentAdapterNA, 3, nullptr}});
}

// Each exit of a sequence has its number, which counts down as the sequence advances.
void CRavXmsVlan::RunSequence(const wchar_t* sequence, int& status, std::initializer_list<Step> steps)
{
    const int exit = RunUnderLock(steps);
    if (exit == 0)
    {
        status = 0;
        RavTrace().Print(L"Exiting CRavXmsVlan::%s.", sequence);
    }
    else
        RavTrace().Print(L"Exiting CRavXmsVlan::%s-%d", sequence, exit);
}

int CRavXmsVlan::RunUnderLock(std::initializer_list<Step> steps)
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
        return 13;
    CRavNetCfgWriteLock lock(*netCfg);
    if (!lock.IsHeld())
        return 12;
    InstalledMiniport installed(*this);
    const int exit = RunSteps(steps);
    if (exit != 0)
        return exit;
    HRESULT released = E_FAIL;
    RavShielded(SOURCE_FILE, __LINE__, L"ReleaseLockForWrite", [&] { released = lock.Release(); });
    if (FAILED(released))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: ReleaseLockForWrite failed.");
        // Removing the miniport, as `installed` does on the way out, needs the lock.
        RavShielded(SOURCE_FILE, __LINE__, L"AcquireLockForWrite", [&] { lock.TakeAgain(); });
        return 2;
    }
    installed.Keep();
    return 0;
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
    // When the core agent does not know the adapter, because it was taken out of the machine, it counts as in no team.
    const auto asked = [&] { return core->IsBoundToTeam(m_strParentKey, alsoMembers); };
    if (!team && !RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DoReload", asked).Succeeded())
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: IsBoundToTeam failed.");
    RavTrace().Print(L"is_also_members_: %s", alsoMembers ? L"true" : L"false");
    result = CResult::Success();
    // Queued for the apply passes and not done now: SendNewVlanOid has yet to reach the loaded driver.
    const auto reload = [&](const CRavString& adapter) {
        const CResult queued = RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DoReload",
                                         [&] { return core->UnloadMiniportDuringApplyDone(adapter); });
        if (queued.Succeeded())
            return;
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: UnloadMiniport failed.");
        result = queued;
    };
    if (!team)
        reload(m_strParentKey);
    std::vector<CRavString> members;
    if (alsoMembers && !AddTeamMembers(members))
        result = CResult();
    std::for_each(members.begin(), members.end(), reload);
    return result;
}

// Adds the members of the team that is the parent, or that the parent is a member of.
bool CRavXmsVlan::AddTeamMembers(std::vector<CRavString>& adapters)
{
    RavTrace().Print(L"reloading all member adapters.");
    if (m_iParentType == RAV_PARENT_TEAM && !m_members.empty()) // they are known
    {
        adapters.insert(adapters.end(), m_members.begin(), m_members.end());
        return true;
    }
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

void CRavXmsVlan::InstallMiniport(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::InstallMiniport", &status);
    m_pNetCfgComponent = std::make_unique<CRavNetCfgComponent>();
    // From here on the key names the miniport that a failure has to remove.
    if (m_pNetCfgComponent->InstallVirtualComponent(*GetNetCfgInterface(), m_strVlanKey) != 0)
        return;
    m_strMiniportInst = m_strVlanKey;
    m_strVlanNetCfgInstanceId = m_strVlanKey;
    m_ravVlanInfo.vlanKey = m_strVlanKey;
    status = 0;
}

void CRavXmsVlan::PrepareMiniport(int& status)
{
    status = -1;
    SetMiniportInstance(m_strMiniportInst);
    if (!CreateNetCfgComponentObj(*GetNetCfgInterface()))
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: CreateNetCfgComponentObj failed.");
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
    status = BindParentAdapterToXms() ? 0 : -1;
}

bool CRavXmsVlan::BindParentAdapterToXms()
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::BindParentAdapterToXms", &done);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    CRavAdvSvcNetCfgComponent component;
    const CRavString& adapter = m_iParentType == RAV_PARENT_TEAM ? m_strParentAdapterId : m_strParentKey;
    done = netCfg != nullptr && component.BindAdapterToXms(*netCfg, adapter) == 0;
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: BindAdapterToXms failed.");
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
    const CRavTraceScope trace(L"CRavXmsVlan::UnloadMiniport");
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
    if (m_iParentType == RAV_PARENT_TEAM)
    {
        done = TellMembers();
        return done;
    }
    CRavAdapter* const parent = ParentAdapter();
    if (parent != nullptr && parent->IsDriverLoaded(*GetNetCfgInterface()))
        done = Tell(*parent);
    else
        RavTrace().Print(L"CRavXmsVlan::SendNewVlanOid, the driver of %s is not loaded.", m_strParentKey.c_str());
    return done;
}

// Announces the VLAN to the driver, which is loaded, through one adapter.
bool CRavXmsVlan::Tell(CRavAdapter& adapter)
{
    bool done = false;
    const CRavString device = RavName(RAV_NAME_DEVICE) + m_strVlanNetCfgInstanceId;
    NEW_VLAN_ANNOUNCEMENT announcement = {};
    // GUID text is ASCII: each character is one byte.
    const size_t length = std::min(device.Length(), OID_NAME_SIZE);
    std::transform(device.begin(), device.begin() + static_cast<ptrdiff_t>(length), announcement.name,
                   [](wchar_t character) { return static_cast<char>(character); });
    announcement.usLength = static_cast<USHORT>(length);
    CRavMiniportDrv& driver = *adapter.GetMiniportDrv();
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
    RavTrace().Print(L"SendNewVlanOid %s.", done ? L"succeeds" : L"fails");
    return done;
}
