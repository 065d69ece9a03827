#pragma once

#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Src/RavString.h"

#include <windows.h>

#include <map>
#include <vector>

// What an adapter of the network class is, by its "SupportedFeatures".
enum class RAV_ADAPTER_KIND
{
    Adapter, // none of ours: a port, or another driver's
    Team,
    VlanOnAdapter,
    VlanOnTeam
};

// One adapter of the network class, as the walk has found it.
struct RAV_HOST_ADAPTER
{
    DWORD features = 0; // 0 also for an adapter without the value
    RAV_ADAPTER_KIND kind = RAV_ADAPTER_KIND::Adapter;
    // Of a VLAN alone, as far as they have been read.
    CRavString parentKey;
    DWORD vlanId = 0; // 0 untagged
    CRavString vlanName;

    bool IsVlan() const { return kind == RAV_ADAPTER_KIND::VlanOnAdapter || kind == RAV_ADAPTER_KIND::VlanOnTeam; }
};

// The adapters of the host, read once: the first question walks the network class, later ones are answered from what it
// has found. Which adapters there are holds until the session takes its write lock, before which other programs may
// change it. What was read of a VLAN holds until Forget: the suite alone writes it, and whoever of the suite changes
// VLANs holds its lock. Used by one thread, for one operation.
class CRavHostView
{
  public:
    enum class DEPTH
    {
        Kinds,   // what each adapter is
        Parents, // and of a VLAN, whose it is
        Names    // and its id and name
    };

    explicit CRavHostView(CRavNetCfgInterface& netCfg) : m_netCfg(netCfg) {}

    // From now on this much is read of each VLAN at once, for an operation that will ask for it.
    void Deepen(DEPTH depth) { m_depth = depth; }

    // The keys of the VLANs whose parent is exactly the given one, of all with an empty one, in the order of the class.
    // Adapters that cannot be read are left out. Negative when the class cannot be walked.
    HRESULT EnumerateVlans(const CRavString& strParentKey, std::vector<CRavString>& vlanKeys);
    // One adapter by its GUID; null when it cannot be read. Good until the next call.
    const RAV_HOST_ADAPTER* Find(const CRavString& strGuid, DEPTH depth = DEPTH::Parents);
    // For whoever has written values of the adapter: what was read of it is dropped.
    void Forget(const CRavString& strGuid);
    void ForgetAll() { m_adapters.clear(); }

  private:
    struct KNOWN
    {
        RAV_HOST_ADAPTER adapter;
        DEPTH depth = DEPTH::Kinds;
    };
    const RAV_HOST_ADAPTER* Known(const CRavString& strGuid, DEPTH depth);
    bool Read(const CRavString& strGuid, DEPTH depth, KNOWN& known);

    CRavNetCfgInterface& m_netCfg;
    DEPTH m_depth = DEPTH::Kinds;
    std::map<CRavString, KNOWN> m_adapters; // by canonical GUID
};

// A thread's session with what its operation has read of the host.
class CRavHostSession : public CRavNetCfgInterface
{
  public:
    CRavHostView& View() { return m_view; }

  private:
    CRavHostView m_view{*this};
};
