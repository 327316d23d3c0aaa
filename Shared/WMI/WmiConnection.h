// The steps of a WMI connection, with the security settings that every connection of the module uses.
#pragma once

#include "Platform/Com/Bstr.h"
#include "Platform/Com/ComPtr.h"
#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <wbemcli.h>

namespace Zv::Tessel::Server::Shared::WMI
{

inline constexpr const wchar_t* ConnectServerCall = L"IWbemLocator->ConnectServer(WmiNamespace)";

// Joins the calling thread to the multithreaded apartment. A failure (the thread is in a single-threaded one already)
// is logged and changes nothing: the connection is attempted all the same.
void JoinMultithreadedApartment(const ClassLog& log, const char* method);

// Sets the process's COM security. That the host has set its own is fine; another failure is logged and ignored.
void SetProcessSecurity(const ClassLog& log, const char* method);

// Both log a failure and return its status.
[[nodiscard]] HRESULT CreateLocator(const ClassLog& log, const char* method, ComPtr<IWbemLocator>& locator);
[[nodiscard]] HRESULT SetServicesBlanket(const ClassLog& log, const char* method, IWbemServices& services);

// Connects as the calling user and waits until that is done. Logs nothing, since callers give up their locator before
// they do; the call's name in their log is ConnectServerCall.
[[nodiscard]] HRESULT ConnectServer(IWbemLocator& locator, const Bstr& nameSpace, ComPtr<IWbemServices>& services);

} // namespace Zv::Tessel::Server::Shared::WMI
