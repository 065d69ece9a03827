#pragma once

#include "Common/Library/RavMiniportDrv.h"
#include "Common/Library/RavMiniportReg.h"
#include "Common/Library/RavNetCfgComponent.h"
#include "Common/Intf/RavParameter.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <memory>

// Load states of a miniport.
enum RAV_LOAD_STATUS : DWORD
{
    RAV_LOAD_STATUS_UNKNOWN = 0,    // no such device, or its state cannot be read
    RAV_LOAD_STATUS_LOADED = 1,     // started
    RAV_LOAD_STATUS_NOT_LOADED = 2, // present, not started
    RAV_LOAD_STATUS_DISABLED = 3    // disabled by an administrator
};

// The load state of a component of the network configuration, and the device's problem code behind it.
RAV_LOAD_STATUS RavLoadStatusOf(INetCfgComponent& component, ULONG* pProblem = nullptr);
inline constexpr ULONG RAV_PROBLEM_STOPPED = 31; // CM_PROB_FAILED_ADD: of a device that was stopped, and not started

// One network adapter or miniport, named by its instance GUID. Used by one thread at a time.
class CRavAdapter
{
  public:
    explicit CRavAdapter(const CRavString& strInstance);
    virtual ~CRavAdapter();
    CRavAdapter(const CRavAdapter&) = delete;
    CRavAdapter& operator=(const CRavAdapter&) = delete;

    // Finds the adapter, by its connection and else in the network configuration, and prepares its component, its
    // driver and its settings object. Code 0 when it was found; otherwise the object is empty, also when it was not
    // before. The session is used during the call only.
    CResult Initialize(CRavNetCfgInterface& netCfg);

    // Gives the object another adapter; component, driver and settings are dropped.
    void SetMiniportInstance(const CRavString& strInstance);
    // Creates the component object of the present instance and finds its driver key. True on success.
    bool CreateNetCfgComponentObj(CRavNetCfgInterface& netCfg);

    // One value of the adapter's driver key; see RAV_PARAMETER. Fails before Initialize.
    CResult GetParameter(RAV_PARAMETER& parameter);
    CResult SetParameter(const RAV_PARAMETER& parameter);

    // Whether the device is started.
    bool IsDriverLoaded(CRavNetCfgInterface& netCfg);
    DWORD GetLoadStatus(CRavNetCfgInterface& netCfg);
    // Whether the Hyper-V switch protocol is bound to the device.
    CResult IsHyperV_EnabledOnDevice(CRavNetCfgInterface& netCfg, bool& bEnabled);
    // Starts (bLoad) or stops the device. bReboot is set, never cleared, when only a restart of the system can do it.
    CResult ReloadDevice(bool bLoad, bool& bReboot);

    // Null before Initialize (or CreateNetCfgComponentObj).
    CRavNetCfgComponent* GetComponent() const { return m_pNetCfgComponent.get(); }
    CRavMiniportReg* GetMiniportReg() const { return m_pMiniportReg.get(); }
    CRavMiniportDrv* GetMiniportDrv() const { return m_pMiniportDrv.get(); }
    // Path of the instance key under HKEY_LOCAL_MACHINE; empty before Initialize.
    const CRavString& GetInstancePath() const { return m_strInstancePath; }

  protected:
    std::unique_ptr<CRavNetCfgComponent> m_pNetCfgComponent;

  private:
    CResult Unopened(const wchar_t* operation, const CRavRegKey& key) const;

    CRavString m_strInstance;
    CRavString m_strInstancePath;
    CRavString m_strDevice; // device instance id
    std::unique_ptr<CRavMiniportReg> m_pMiniportReg;
    std::unique_ptr<CRavMiniportDrv> m_pMiniportDrv;
};
