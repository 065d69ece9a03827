#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"
#include "Src/RavVlanTypes.h"

#include <memory>
#include <vector>

struct RAV_SETTING;
struct RAV_SETTING_VAL;

#if defined(RAV_VLAN_AGENT_EXPORTS)
#define RAV_VLAN_AGENT_API __declspec(dllexport)
#elif defined(RAV_VLAN_AGENT_IMPORTS)
#define RAV_VLAN_AGENT_API __declspec(dllimport)
#else
#define RAV_VLAN_AGENT_API
#endif

// Public face of every network agent of the suite.
//
// Conventions of all public operations: the result starts as failure (code 0xFFFFFFFF) and code 0 is success; outputs
// are meaningful only on success. VLANs, adapters and teams are named by instance GUID text in braces, upper case.
// Operations are synchronous and may be called on any thread that may use COM; none throws. The operations that change
// something take the suite-wide lock for the client of the lock record and give it back before they return.
//
// Conventions of those that change one VLAN (settings, type, name, id): a lock that is not granted gives the code of
// the request (33: another client has it), a client that the core agent does not know, or a VLAN or parent that is not
// there, 0xFFFFFFFF. What is refused for a stop message has the code of the first one, and nothing is changed; the
// Validate operations tell them all. A value that is there already is success, and nothing is written. "Reloaded" means
// that the VLAN's miniport is stopped and started when the lock is given back for the last time, once for all changes
// under it: its connections break. Code 0 does not promise that it has started again, which comes behind the result:
// GetVlanStatus tells. A failure behind the first write leaves what was written; the same call, repeated, goes on from
// there.
class CRavNetworkAgentIntf
{
  public:
    // The VLAN's advanced settings, in registry order. The caller deletes the records.
    virtual void EnumerateSettings(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                                   std::vector<RAV_SETTING*>& settings) = 0;
    // One advanced setting by its keyword. The caller deletes the record.
    virtual void GetSetting(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                            const CRavString& strName, RAV_SETTING** ppSetting) = 0;
    // Sets an advanced setting of the VLAN, by its keyword in any case of letters, and reloads the VLAN. pValue (it
    // stays the caller's) is a RAV_SETTING_VAL_INT, for choices and ranges alike: its number counts, or, where that is
    // the present one, a display text that is another one; an empty text says nothing. "*JumboPacket" is in bytes, and
    // no larger than the parent carries at present. Refused with the codes of the family about settings.
    virtual void SetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                            const RAV_SETTING_VAL* pValue, const RAV_LOCK_RECORD& lock) = 0;
    // The same with the default that the setting's description names.
    virtual void SetSettingToDefault(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                     const RAV_LOCK_RECORD& lock) = 0;
    // Succeeds and leaves the text as it is: VLANs have no driver of their own to describe.
    virtual void GetDriverInfo(CResult& result, const CRavString& strVlanKey, CRavString& strInfo) = 0;

  protected:
    ~CRavNetworkAgentIntf() = default;
};

// Public face of the VLAN agent.
class CRavVlanAgentIntf : public CRavNetworkAgentIntf
{
  public:
    RAV_VLAN_AGENT_API CRavVlanAgentIntf();
    RAV_VLAN_AGENT_API CRavVlanAgentIntf(const CRavVlanAgentIntf& other);
    RAV_VLAN_AGENT_API virtual ~CRavVlanAgentIntf();

    // Kept for older clients; succeeds without doing anything.
    virtual void Reserved(CResult& result) = 0;

    // The keys of all VLANs, or with a parent key those of that parent (compared exactly), in enumeration order.
    virtual void EnumerateVlans(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) = 0;
    // The teams, then the adapters, over which VLANs can be created.
    virtual void EnumerateVlanSupportingParents(CResult& result, std::vector<CRavString>& parents,
                                                const RAV_CLIENT_ID& client) = 0;
    // Whether VLANs can be created over the parent.
    virtual void DoesParentSupportVlans(CResult& result, const CRavString& strParentKey, bool& bSupports,
                                        const RAV_CLIENT_ID& client) = 0;

    // Creates one VLAN. Id 0 is the untagged VLAN, 1 to 4094 are tagged. dwVlanType is 0, 1 or 2 (see RAV_VLAN_INFO).
    // What is refused for a stop error has the code of the first one: ValidateNewVlan tells them all.
    virtual void CreateVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                            const CRavString& strVlanName, DWORD dwVlanType, const RAV_LOCK_RECORD& lock) = 0;
    // Creates several VLANs: strVlanNumbers is "10", "10,20,30" or "5-9". With RAV_AUTO_VLAN_NAMES as the name each is
    // named after its id, or by pProgress; any other name is given to all of them. The first that fails ends the call
    // with its code; those created before it stay. pProgress may be null; it may also stop the call between two VLANs.
    virtual void CreateMultipleVLANs(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                                     const CRavString& strVlanName, DWORD dwVlanType, CRavVlanProgress* pProgress,
                                     const RAV_LOCK_RECORD& lock) = 0;
    // What would stand against creating these VLANs; changes nothing. Code 0 says that the validation could be made;
    // its findings are appended to the list.
    virtual void ValidateNewVlan(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                                 const CRavString& strVlanName, std::vector<RAV_VALIDATION_MESSAGE>& messages,
                                 const RAV_CLIENT_ID& client) = 0;
    // Removes one VLAN; with the last tagged VLAN of a parent goes its untagged one.
    virtual void RemoveVlan(CResult& result, const RAV_LOCK_RECORD& lock, const CRavString& strVlanKey) = 0;

    // Sets the type, 0 to 2 (see RAV_VLAN_INFO), and reloads the VLAN. Code 87 (RAV_CODE_NOT_VALID) for any other.
    virtual void SetVlanType(CResult& result, const CRavString& strVlanKey, DWORD dwVlanType,
                             const RAV_LOCK_RECORD& lock) = 0;
    // Sets name, display name and the name of the connection's device; the rules for names are those of a creation.
    // Nothing is reloaded, connections stay. Also takes the network configuration's write lock: 0xFFFFFFFF (or
    // RAV_CODE_REBOOT_PENDING) with class RAV_CLASS_REFUSED, and nothing changed, when it cannot be had.
    virtual void SetVLANName(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName,
                             const RAV_LOCK_RECORD& lock) = 0;
    // Gives a tagged VLAN another id, 1 to 4094, and reloads it. Refused for an id that another VLAN of the parent has
    // (143), above 4094 (142), and from or to 0 (141): a VLAN stays tagged, or untagged.
    virtual void SetVLANId(CResult& result, const CRavString& strVlanKey, DWORD dwVlanId,
                           const RAV_LOCK_RECORD& lock) = 0;

    virtual void GetVlanParent(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                               RAV_VLAN_PARENT& parent) = 0;
    virtual void GetVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info) = 0;
    // The load status of the VLAN's miniport: 0 unknown, 1 loaded, 2 not loaded, 3 disabled.
    virtual void GetVlanStatus(CResult& result, const CRavString& strVlanKey, DWORD& dwStatus) = 0;

    // What SetSetting would refuse; changes nothing and takes no lock. Code 0 says that the validation could be made;
    // its findings are appended to the list.
    virtual void ValidateSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                 const RAV_SETTING_VAL* pValue, std::vector<RAV_VALIDATION_MESSAGE>& messages) = 0;
    // The same for SetVLANName and SetVLANId. Both are given: the present value of one means that it stays.
    virtual void ValidateUpdate(CResult& result, const CRavString& strVlanKey, const CRavString& strVlanName,
                                DWORD dwVlanId, std::vector<RAV_VALIDATION_MESSAGE>& messages) = 0;
};

// The module's export for clients. Null when the agent could not be initialised; the next call tries again.
// The agent belongs to the module and lives until it is unloaded.
using RAV_GET_VLAN_AGENT = CRavVlanAgentIntf* (*)();
inline constexpr char RAV_GET_VLAN_AGENT_NAME[] = "GetVlanAgent";
