#include "Bench/BareChange.h"

#include "Bench/BareCalls.h"
#include "Bench/BareParent.h"
#include "Bench/BenchHost.h"
#include "Common/Src/XmsNames.h"

using Microsoft::WRL::ComPtr;

namespace
{
template <typename Work>
void UnderLock(CRavCoreAgentPvtIntf& core, const CRavString& vlan, const Work& work)
{
    RAV_LOCK_TOKEN token;
    ComPtr<INetCfgComponent> component;
    HKEY key = nullptr;
    core.StartLock(CBenchHost::Lock(), token);
    CBareParent parent([&](INetCfgComponent& other) {
        if (!component && GuidOf(other) == vlan.c_str())
            component = &other;
        return component != nullptr;
    });
    component->OpenParamKey(&key);
    work(parent, *component.Get(), key);
    RegCloseKey(key);
    component.Reset();
    parent.Close();
    core.DoneLock(token);
}
} // namespace

void BareRename(CRavCoreAgentPvtIntf& core, const CRavString& vlan, const wchar_t* name)
{
    UnderLock(core, vlan, [&](CBareParent&, INetCfgComponent& component, HKEY key) {
        CRavString parentName;
        core.GetDisplayName(CBenchHost::Parent(), parentName);
        const std::wstring shown = parentName + L" - VLAN : " + name;
        SetText(key, XmsValue::VlanName, name);
        SetText(key, XmsValue::VlanDisplayName, shown);
        component.SetDisplayName(shown.c_str());
    });
}

void BareSetId(CRavCoreAgentPvtIntf& core, const CRavString& vlan, DWORD from, DWORD to)
{
    UnderLock(core, vlan, [&](CBareParent& parent, INetCfgComponent&, HKEY key) {
        SetNumber(key, XmsValue::VlanId, to);
        parent.ids = ListOf(parent.key, XmsValue::VlanId);
        std::erase(parent.ids, std::to_wstring(from));
        parent.ids.push_back(std::to_wstring(to));
        SetList(parent.key, XmsValue::VlanId, parent.ids);
        core.UnloadMiniportDuringApplyDone(vlan);
    });
}

void BareSetSetting(CRavCoreAgentPvtIntf& core, const CRavString& vlan, const wchar_t* setting, int value)
{
    UnderLock(core, vlan, [&](CBareParent&, INetCfgComponent&, HKEY key) {
        SetText(key, setting, std::to_wstring(value));
        core.UnloadMiniportDuringApplyDone(vlan);
    });
}
