#pragma once
// The frame of the operations that change a VLAN; for the files of the agent that have them.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Src/RavKey.h"
#include "Common/Src/RavSuiteLock.h"
#include "Src/Vlan/RavXmsVlan.h"

#include <optional>

// What a client asks for.
struct CVlanAgentWin::Change
{
    const wchar_t* operation;
    const CRavString& vlanKey;
    const RAV_LOCK_RECORD& lock;
    bool concernsSiblings; // ids and names of the parent's other VLANs will be looked at
};

// Under the suite lock, in one session: what speaks against the change, the client check, and then the change. A
// refusal has the code of the first stop message. judge(messages, vlan) and change(vlan) give a result.
template <typename Judge, typename Work>
void CVlanAgentWin::ChangeVlan(CResult& result, const Change& change, Judge&& judge, Work&& work)
{
    result = CResult();
    const CRavString name = NameOfOperation(change.operation);
    const CRavTraceScope trace(name, &result);
    Shielded(L"Src\\RavVlanAgentChange", __LINE__, name, result, [&] {
        if (change.vlanKey.IsEmpty())
            return RavTrace().Print(L"%s - Vlan key is invalid", name.c_str());
        std::optional<CNetCfgSession> session; // one for all of it, the passes at the end of the lock included
        const CRavSuiteLock suiteLock(*this, change.lock, result);
        if (!suiteLock.IsHeld())
            return RavTrace().Print(L"%s - error unable to create the lock", name.c_str());
        result = CResult();
        session.emplace(*this);
        if (change.concernsSiblings)
            ReadNamesToo();
        const CacheCleaner cleaner(*this);
        const std::shared_ptr<CRavXmsVlan> vlan = TakeVlan(change.vlanKey);
        CRavVlanMessages messages;
        if (!vlan)
            return;
        result = judge(messages, *vlan);
        if (!result.Succeeded() || IsRefused(result, messages, change.operation) ||
            !IsKnownClient(result, change.lock.client, change.operation))
            return;
        result = work(*vlan);
    });
}

// What a sibling agent, which holds the lock, has to do, in one session; others are told of no VLAN half changed.
template <typename Work>
void CVlanAgentWin::RunForSibling(CResult& result, const wchar_t* operation, Work&& work)
{
    result = CResult();
    const CRavString name = NameOfOperation(operation);
    const CRavTraceScope trace(name, &result);
    Shielded(L"Src\\RavVlanAgentChange", __LINE__, name, result, [&] {
        const CNetCfgSession session(*this);
        const CacheCleaner cleaner(*this);
        work();
    });
}

// With one VLAN. work(vlan) gives the result.
template <typename Work>
void CVlanAgentWin::ForSibling(CResult& result, const wchar_t* operation, const CRavString& strVlanKey, Work&& work)
{
    RunForSibling(result, operation, [&] {
        if (const std::shared_ptr<CRavXmsVlan> vlan = TakeVlan(strVlanKey))
            result = work(*vlan);
    });
}

// The same for every VLAN of a parent, each in its turn: one that fails does not keep the others from it, and gives the
// result.
template <typename Work>
void CVlanAgentWin::ForEachVlanOf(CResult& result, const wchar_t* operation, const CRavString& strParentKey,
                                  Work&& work)
{
    RunForSibling(result, operation, [&] {
        std::vector<CRavString> vlanKeys;
        if (strParentKey.IsEmpty()) // which would stand for the VLANs of all parents
            return;
        result = EnumerateVlansOnParent(RavCanonicalKey(strParentKey), vlanKeys);
        for (const CRavString& key : vlanKeys)
        {
            const std::shared_ptr<CRavXmsVlan> vlan = TakeVlan(key);
            const CResult done = vlan ? work(*vlan) : CResult();
            if (result.Succeeded())
                result = done;
        }
    });
}
