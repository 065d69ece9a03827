#pragma once

#include "Suite/Lab/NetCfg/NetComponents.h"
#include "Suite/Lab/NetCfg/Session.h"

#include <optional>
#include <string>
#include <vector>

/// The two components of a binding: what binds, and the adapter it binds to.
struct LAB_BINDING_ENDS
{
    LAB_COMPONENT upper;
    LAB_COMPONENT lower;
    std::wstring strService;

    std::wstring Device() const { return DeviceName(lower.GuidText()); }
};

/// The ends of a binding between two components, whichever is the upper one; nothing when they can't bind.
std::optional<LAB_BINDING_ENDS> BindingEnds(const LAB_COMPONENT& one, const LAB_COMPONENT& other);

/// The binding as the session sees it, its pending changes included.
BindingState BindingStateOf(const CSession& session, const LAB_BINDING_ENDS& ends);
void SetBindingState(CSession& session, const LAB_BINDING_ENDS& ends, bool enabled);

/// The bindings, enabled or disabled, that end at an adapter from above, and those of a transport, service or client.
std::vector<LAB_BINDING_ENDS> BindingsOver(const CSession& session, const LAB_COMPONENT& adapter);
std::vector<LAB_BINDING_ENDS> BindingsOf(const CSession& session, const LAB_COMPONENT& upper);
