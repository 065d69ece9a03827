#pragma once

#include "Common/Library/RavNetCfgInterface.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavString.h"

#include <windows.h>

// Work on one network adapter component, named by its instance GUID. The object keeps no INetCfg object between
// calls, so it stays valid over changes of the configuration. Results are 0 for success and -1 for failure, with the
// reason in the trace. Used by one thread at a time.
class CRavNetCfgComponent
{
  public:
    CRavNetCfgComponent() = default;
    // strDevice: the device instance id, when it is known; it spares a search of the network configuration.
    explicit CRavNetCfgComponent(const CRavString& strGuid, const CRavString& strDevice = {})
        : m_strGuid(strGuid), m_strDevice(strDevice)
    {
    }
    virtual ~CRavNetCfgComponent() = default;
    CRavNetCfgComponent(const CRavNetCfgComponent&) = delete;
    CRavNetCfgComponent& operator=(const CRavNetCfgComponent&) = delete;

    // Installs a virtual miniport of the intermediate driver and becomes its component. strInstance gets the
    // instance GUID text by which the network configuration knows it. Needs the write lock.
    int InstallVirtualComponent(CRavNetCfgInterface& netCfg, CRavString& strInstance);
    // Removes the virtual miniport with this instance GUID. Needs the write lock.
    int RemoveVirtualComponent(CRavNetCfgInterface& netCfg, const CRavString& strInstance);

    // The component's description as the network configuration shows it; for a component whose device is known without
    // the changes that this session has not applied yet.
    int GetDescription(CRavNetCfgInterface& netCfg, CRavString& strDescription);
    // Sets that description, which is also the device's friendly name. Needs the write lock.
    int SetDisplayName(CRavNetCfgInterface& netCfg, const CRavString& strName);

    // Writes a text value into the instance key of the component, which is searched below the class key path
    // strClassPath (under HKEY_LOCAL_MACHINE, ending in a backslash) without a network configuration session.
    int SetParameterValue(const CRavString& strClassPath, const CRavString& strName, const CRavString& strValue);

  protected:
    HRESULT Find(CRavNetCfgInterface& netCfg, Microsoft::WRL::ComPtr<INetCfgComponent>& component) const;

  private:
    int Failed(const wchar_t* operation, HRESULT hStatus) const;

    CRavString m_strGuid;
    CRavString m_strDevice;
    CRavRegKey m_paramKey;
};
