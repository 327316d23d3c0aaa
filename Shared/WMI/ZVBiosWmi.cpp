#include "Shared/WMI/ZVBiosWmi.h"

#include "Platform/Com/Bstr.h"
#include "Shared/Log/TypeName.h"
#include "Shared/WMI/FirmwareNames.h"
#include "Shared/WMI/WmiCall.h"
#include "Shared/WMI/WmiConnection.h"

namespace Zv::Tessel::Server::Shared::WMI
{

ZVBiosWmi::ZVBiosWmi() : m_logger{Logging::LogManager::GetLogger()}, m_className{ClassName<ZVBiosWmi>()} {}

ZVBiosWmi::~ZVBiosWmi()
{
    Disconnect();
}

bool ZVBiosWmi::GetReady(const wchar_t* logContext)
{
    if (m_connected != 0)
    {
        return true;
    }

    constexpr const char* method = "GetReady";
    const ClassLog log = Log(logContext);
    m_services.Reset();
    JoinMultithreadedApartment(log, method);
    SetProcessSecurity(log, method);

    ComPtr<IWbemLocator> locator;
    if (FAILED(CreateLocator(log, method, locator)))
    {
        return false; // COM stays initialised here: only what follows is balanced
    }
    HRESULT hr = S_OK;
    try
    {
        hr = ConnectServer(*locator.Get(), Bstr{FirmwareNamespace}, m_services);
    }
    catch (...) // no memory for the path
    {
        locator.Reset(); // the library it lives in may go with COM
        CoUninitialize();
        throw;
    }
    locator.Reset();
    hr = Checked(hr, m_services.Get(), log, method, ConnectServerCall);
    if (SUCCEEDED(hr))
    {
        hr = SetServicesBlanket(log, method, *m_services.Get());
    }
    if (FAILED(hr))
    {
        m_services.Reset();
        CoUninitialize();
        return false;
    }
    m_connected = 1;
    return true;
}

void ZVBiosWmi::Disconnect() noexcept
{
    if (m_connected != 0)
    {
        m_services.Reset();
        CoUninitialize();
        m_connected = 0;
    }
}

} // namespace Zv::Tessel::Server::Shared::WMI
