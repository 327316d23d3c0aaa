#include "Shared/WMI/PublicWmi.h"

#include "Platform/Com/Bstr.h"
#include "Platform/GccRuntime/HostCall.h"
#include "Shared/Contract/ResultCode.h"
#include "Shared/Log/TypeName.h"
#include "Shared/WMI/ComApartment.h"
#include "Shared/WMI/WmiCall.h"
#include "Shared/WMI/WmiConnection.h"

#include <cwchar>
#include <string>

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

constexpr LONG SemiSynchronous = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;
constexpr std::size_t MaxQueryPieceLength = 1024;

void AppendPiece(std::wstring& query, const wchar_t* piece)
{
    query.append(piece, wcsnlen(piece, MaxQueryPieceLength));
}

// The result code of a failed enumeration; a status without a code of its own leaves the current one.
int EnumerationFailure(HRESULT hr, int current) noexcept
{
    switch (hr)
    {
    case Status(WBEM_E_INVALID_CLASS):
        return Services::ClassInvalid;
    case Status(WBEM_E_INVALID_QUERY):
        return Services::QueryInvalid;
    default:
        return current;
    }
}

// The next instance of an enumeration: S_OK with one, S_FALSE without when there are no more. A failure is logged, and
// so is a success that hands out nothing although it does not say that the end is reached.
HRESULT NextInstance(IEnumWbemClassObject& enumerator, ComPtr<IWbemClassObject>& instance, const ClassLog& log,
                     const char* method)
{
    ULONG returned = 0;
    const HRESULT hr = enumerator.Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &returned);
    if (hr == Status(WBEM_S_FALSE) && !instance)
    {
        return S_FALSE;
    }
    const HRESULT checked = Checked(hr, instance.Get(), log, method, L"IEnumWbemClassObject->Next");
    return SUCCEEDED(checked) ? S_OK : checked;
}

} // namespace

PublicWmi::PublicWmi() : m_logger{Logging::LogManager::GetLogger()}, m_className{ClassName<PublicWmi>()} {}

ComPtr<IWbemServices> PublicWmi::ConnectToWmi(const wchar_t* nameSpace, int& resultCode,
                                              const wchar_t* logContext) const
{
    constexpr const char* method = "ConnectToWmi";
    const ClassLog log = Log(logContext);
    SetProcessSecurity(log, method);

    ComPtr<IWbemLocator> locator;
    if (FAILED(CreateLocator(log, method, locator)))
    {
        return {};
    }
    const Bstr path{nameSpace};
    ComPtr<IWbemServices> services;
    const HRESULT hr = ConnectServer(*locator.Get(), path, services);
    locator.Reset();
    if (FAILED(Checked(hr, services.Get(), log, method, ConnectServerCall)))
    {
        if (hr == Status(WBEM_E_INVALID_NAMESPACE))
        {
            resultCode = Services::NamespaceInvalid;
        }
        return {};
    }
    if (FAILED(SetServicesBlanket(log, method, *services.Get())))
    {
        return {};
    }
    return services;
}

ComPtr<IEnumWbemClassObject> PublicWmi::EnumClassObject(const wchar_t* className, const wchar_t* filter,
                                                        const wchar_t* nameSpace, int& resultCode,
                                                        const wchar_t* logContext) const
{
    const ComPtr<IWbemServices> services = ConnectToWmi(nameSpace, resultCode, logContext);
    if (!services)
    {
        return {};
    }

    std::wstring query = L"SELECT * FROM ";
    AppendPiece(query, className);
    if (filter != nullptr)
    {
        query += L" WHERE ";
        AppendPiece(query, filter);
    }

    const Bstr language{L"WQL"};
    const Bstr queryText{query.c_str()};
    ComPtr<IEnumWbemClassObject> enumerator;
    const HRESULT hr =
        services->ExecQuery(language.Get(), queryText.Get(), SemiSynchronous, nullptr, enumerator.Receive());
    if (FAILED(Checked(hr, enumerator.Get(), Log(logContext), "EnumClassObject", L"IWbemServices->ExecQuery")))
    {
        return {};
    }
    return enumerator;
}

int PublicWmi::GetPropertyValue(const wchar_t* propertyName, const wchar_t* className, const wchar_t* filter,
                                const wchar_t* nameSpace, bool asArray, Services::JsonDocument& response,
                                const wchar_t* logContext) const
{
    constexpr const char* method = "GetPropertyValue";
    const ClassLog log = Log(logContext);
    const ComApartment apartment{log, method};

    int resultCode = Services::GeneralFailure;
    const ComPtr<IEnumWbemClassObject> enumerator =
        EnumClassObject(className, filter, nameSpace, resultCode, logContext);
    if (!enumerator)
    {
        return resultCode;
    }

    Services::JsonValue result{asArray ? rapidjson::kArrayType : rapidjson::kNullType};
    for (;;)
    {
        ComPtr<IWbemClassObject> instance;
        const HRESULT next = NextInstance(*enumerator.Get(), instance, log, method);
        if (FAILED(next))
        {
            return EnumerationFailure(next, resultCode);
        }
        if (next == S_FALSE)
        {
            break;
        }

        Variant value;
        const HRESULT got = Checked(instance->Get(propertyName, 0, value.Address(), nullptr, nullptr), log, method,
                                    L"IWbemClassObject->Get");
        if (FAILED(got))
        {
            return got == Status(WBEM_E_NOT_FOUND) ? static_cast<int>(Services::PropertyNotFound) : resultCode;
        }
        if (ConvertValue(value, asArray, result, response, logContext))
        {
            resultCode = Services::Success;
        }
    }

    if (resultCode == Services::Success)
    {
        response.AddMember(L"result", result, response.GetAllocator());
    }
    return resultCode;
}

int PublicWmi::GetClassObjectText(const wchar_t* className, const wchar_t* filter, const wchar_t* nameSpace,
                                  const Services::ProgressCallback& progressCallback, const wchar_t* logContext) const
{
    constexpr const char* method = "GetClassObjectText";
    const ClassLog log = Log(logContext);
    const ComApartment apartment{log, method};

    int resultCode = Services::GeneralFailure;
    const ComPtr<IEnumWbemClassObject> enumerator =
        EnumClassObject(className, filter, nameSpace, resultCode, logContext);
    if (!enumerator)
    {
        return resultCode;
    }

    for (;;)
    {
        ComPtr<IWbemClassObject> instance;
        const HRESULT next = NextInstance(*enumerator.Get(), instance, log, method);
        if (FAILED(next))
        {
            return EnumerationFailure(next, resultCode);
        }
        if (next == S_FALSE)
        {
            return resultCode;
        }

        ReceivedBstr text;
        const HRESULT got = instance->GetObjectText(0, text.Receive());
        if (FAILED(Checked(got, text.Get(), log, method, L"IWbemClassObject->GetObjectText")))
        {
            return resultCode;
        }
        if (progressCallback)
        {
            try
            {
                CallHost([&] { progressCallback(text.Get()); });
            }
            catch (...)
            {
                return Services::GeneralFailure; // whatever it was: an int of the host's is no result code of ours
            }
        }
        resultCode = Services::Success;
    }
}

} // namespace Zv::Tessel::Server::Shared::WMI
