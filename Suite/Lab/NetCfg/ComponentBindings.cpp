#include "Suite/Lab/NetCfg/ComponentBindings.h"

#include <devguid.h>

namespace
{

// The intermediate driver binds to what is below it, never to the miniports it exposes itself.
bool canBind(const LAB_COMPONENT& upper, const LAB_COMPONENT& lower)
{
    return !SameName(ComponentId(upper), intermediateProtocolId) || !SameName(ComponentId(lower), virtualMiniportId);
}

LAB_LINKAGE linkageOf(const CSession& session, const std::wstring& service)
{
    LAB_LINKAGE linkage = session.Linkage(service);
    linkage.Change(session.m_pending.Bindings(service));
    return linkage;
}

} // namespace

std::optional<LAB_BINDING_ENDS> BindingEnds(const LAB_COMPONENT& one, const LAB_COMPONENT& other)
{
    if (one.IsAdapter() == other.IsAdapter())
        return std::nullopt;
    LAB_BINDING_ENDS ends = one.IsAdapter() ? LAB_BINDING_ENDS{other, one, {}} : LAB_BINDING_ENDS{one, other, {}};
    ends.strService = ServiceName(ends.upper);
    if (ends.strService.empty() || !canBind(ends.upper, ends.lower))
        return std::nullopt;
    return ends;
}

BindingState BindingStateOf(const CSession& session, const LAB_BINDING_ENDS& ends)
{
    if (const std::optional<BindingState> pending = session.m_pending.Binding(ends.strService, ends.Device()))
        return *pending;
    return session.Linkage(ends.strService).State(ends.Device());
}

void SetBindingState(CSession& session, const LAB_BINDING_ENDS& ends, bool enabled)
{
    session.m_pending.SetBinding(ends.strService, ends.Device(),
                                 enabled ? BindingState::Enabled : BindingState::Disabled);
}

std::vector<LAB_BINDING_ENDS> BindingsOver(const CSession& session, const LAB_COMPONENT& adapter)
{
    std::vector<LAB_BINDING_ENDS> bindings;
    const std::wstring device = DeviceName(adapter.GuidText());
    for (LAB_UPPER_COMPONENT& upper : ReadUpperComponents())
    {
        if (linkageOf(session, upper.strService).State(device) != BindingState::Absent)
            bindings.push_back({std::move(upper.component), adapter, std::move(upper.strService)});
    }
    return bindings;
}

std::vector<LAB_BINDING_ENDS> BindingsOf(const CSession& session, const LAB_COMPONENT& upper)
{
    const std::wstring service = ServiceName(upper);
    if (service.empty())
        return {};
    const LAB_LINKAGE linkage = linkageOf(session, service);
    std::map<std::wstring, LAB_COMPONENT> adapters;
    for (LAB_COMPONENT& adapter : ReadComponents(GUID_DEVCLASS_NET))
        adapters.emplace(DeviceName(adapter.GuidText()), std::move(adapter));
    std::vector<LAB_BINDING_ENDS> bindings;
    for (const std::vector<std::wstring>* list : {&linkage.aEnabled, &linkage.aDisabled})
    {
        for (const std::wstring& device : *list)
        {
            if (const auto found = adapters.find(device); found != adapters.end())
                bindings.push_back({upper, found->second, service});
        }
    }
    return bindings;
}
