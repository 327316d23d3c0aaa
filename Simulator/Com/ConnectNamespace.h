// Connecting to a namespace by name.
#pragma once

#include "Simulator/Com/Core.h"

#include <wbemcli.h>

#include <string_view>

namespace Zv::Simulator
{

// WBEM_E_INVALID_NAMESPACE when the machine has no such namespace, RPC_S_SERVER_UNAVAILABLE (as an HRESULT) when the
// name belongs to another machine.
[[nodiscard]] HRESULT ConnectNamespace(const CorePtr& core, std::wstring_view path, IWbemServices** services);

} // namespace Zv::Simulator
