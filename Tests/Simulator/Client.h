// A client of a simulated machine, with what tests need to speak COM in one line.
#pragma once

#include "Platform/Com/Bstr.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/Variant.h"
#include "Simulator/Machine.h"

#include <windows.h>

#include <wbemidl.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

using Tessel::Server::Shared::WMI::Bstr;
using Tessel::Server::Shared::WMI::ComPtr;
using Tessel::Server::Shared::WMI::Variant;

// A thread in COM, for those objects that are the system's own.
class ComMember
{
public:
    ComMember() { static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); }
    ComMember(const ComMember&) = delete;
    ComMember& operator=(const ComMember&) = delete;
    ~ComMember() { CoUninitialize(); }
};

// A machine from Simulator/machines.
[[nodiscard]] Simulator::Machine LoadMachine(std::string_view file);

// Each call returns what COM returned; the result goes into an empty owner.
[[nodiscard]] ComPtr<IWbemLocator> Locate(Simulator::Machine& machine);
[[nodiscard]] HRESULT Connect(Simulator::Machine& machine, const wchar_t* path, ComPtr<IWbemServices>& services);
// Fails the test when it cannot connect.
[[nodiscard]] ComPtr<IWbemServices> Connected(Simulator::Machine& machine, const wchar_t* path);

inline constexpr LONG SemiSynchronous = 0x30; // return at once, forward only
[[nodiscard]] HRESULT Query(IWbemServices& services, const wchar_t* query, LONG flags,
                            ComPtr<IEnumWbemClassObject>& enumerator);
[[nodiscard]] HRESULT Next(IEnumWbemClassObject& enumerator, ComPtr<IWbemClassObject>& object);

// A property as text: "VT_I4 5", "VT_NULL"; the status when Get fails.
[[nodiscard]] std::wstring Show(IWbemClassObject& object, const wchar_t* property);

// One column of a semi-synchronous query, as Show gives it; instead, the status of the call that failed.
[[nodiscard]] std::vector<std::wstring> Column(IWbemServices& services, const wchar_t* query, const wchar_t* property);

[[nodiscard]] std::wstring StatusText(HRESULT status);

} // namespace Zv::Testing
