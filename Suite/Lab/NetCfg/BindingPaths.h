#pragma once

#include "Suite/Lab/NetCfg/ComponentBindings.h"

#include <netcfgx.h>

#include <vector>

inline constexpr wchar_t bindingInterfaceName[] = L"ndis5";

/// Makes the object of a component. Paths lead to components and know none: whoever lists paths tells them how.
using ComponentMaker = HRESULT (*)(const CSessionPtr& session, const LAB_COMPONENT& component, INetCfgComponent** item);

/// The paths of the bindings, each of one binding: a transport, service or client and an adapter below it.
HRESULT EnumeratePaths(const CSessionPtr& session, ComponentMaker maker, std::vector<LAB_BINDING_ENDS> bindings,
                       IEnumNetCfgBindingPath** paths);
