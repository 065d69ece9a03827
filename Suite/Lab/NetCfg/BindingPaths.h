#pragma once

#include "Suite/Lab/NetCfg/NetComponents.h"
#include "Suite/Lab/NetCfg/Session.h"

#include <netcfgx.h>

#include <optional>

inline constexpr wchar_t bindingInterfaceName[] = L"ndis5";

/// The two components of a binding: what binds, and the adapter it binds to.
struct LAB_BINDING_ENDS
{
    LAB_COMPONENT upper;
    LAB_COMPONENT lower;
    std::wstring strService;

    std::wstring Device() const { return DeviceName(lower.GuidText()); }
};

/// The ends of a binding between two components, whichever is the upper one; nothing when they can't bind.
std::optional<LAB_BINDING_ENDS> BindingEnds(const LAB_COMPONENT& component, INetCfgComponent* other);

/// The binding as the session sees it, its pending changes included.
BindingState BindingStateOf(const CSession& session, const LAB_BINDING_ENDS& ends);
void SetBindingState(CSession& session, const LAB_BINDING_ENDS& ends, bool enabled);

/// The paths, enabled or disabled, that end at the component from above, or start at it downwards.
HRESULT EnumeratePaths(const CSessionPtr& session, const LAB_COMPONENT& component, bool above,
                       IEnumNetCfgBindingPath** paths);
