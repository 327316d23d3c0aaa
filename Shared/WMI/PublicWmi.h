// WMI queries for clients, and the firmware's public settings interface.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/Variant.h"
#include "Shared/Contract/ProgressCallback.h"
#include "Shared/Json/JsonDocument.h"
#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <wbemcli.h>

namespace Zv::Tessel::Server::Shared::WMI
{

// Each operation connects afresh and keeps nothing. The entry operations join the calling thread to COM and leave it
// again; they return a result code, log every failing call once, and raise ComError or std::bad_alloc when memory runs
// out.
class PublicWmi
{
public:
    PublicWmi();

    // Adds the member "result" to the response: the property's value of the last instance that has one, or with
    // asArray the values of all instances. filter: the condition of the WHERE clause, null for none.
    [[nodiscard]] int GetPropertyValue(const wchar_t* propertyName, const wchar_t* className, const wchar_t* filter,
                                       const wchar_t* nameSpace, bool asArray, Services::JsonDocument& response,
                                       const wchar_t* logContext) const;

    // Calls the callback with the MOF text of each instance, unless it is empty. Whatever the callback
    // throws ends the command with GeneralFailure.
    [[nodiscard]] int GetClassObjectText(const wchar_t* className, const wchar_t* filter, const wchar_t* nameSpace,
                                         const Services::ProgressCallback& progressCallback,
                                         const wchar_t* logContext) const;

    // Restores the firmware's defaults, or changes the setting `name` to `value`. password: null for none. Adds the
    // firmware's verdict to the response as member "result"; it is not interpreted here.
    [[nodiscard]] int SetBiosPublicWmi(bool setDefaults, const wchar_t* name, const wchar_t* value,
                                       const wchar_t* password, Services::JsonDocument& response,
                                       const wchar_t* logContext) const;

private:
    // Null when the connection failed. resultCode is set where the failure has a code of its own.
    [[nodiscard]] ComPtr<IWbemServices> ConnectToWmi(const wchar_t* nameSpace, int& resultCode,
                                                     const wchar_t* logContext) const;
    [[nodiscard]] ComPtr<IEnumWbemClassObject> EnumClassObject(const wchar_t* className, const wchar_t* filter,
                                                               const wchar_t* nameSpace, int& resultCode,
                                                               const wchar_t* logContext) const;
    // Returns false when the value's type has no JSON form.
    [[nodiscard]] bool ConvertValue(const Variant& value, bool asArray, Services::JsonValue& result,
                                    Services::JsonDocument& response, const wchar_t* logContext) const;
    [[nodiscard]] bool GetSafeArrayData(const Variant& value, bool asArray, Services::JsonValue& jsonArray,
                                        Services::JsonDocument& response, const wchar_t* logContext) const;
    [[nodiscard]] HRESULT GetSettingInterfacePath(IWbemServices& services, Variant& path,
                                                  const wchar_t* logContext) const;
    [[nodiscard]] HRESULT SpawnMethodInput(IWbemServices& services, const wchar_t* methodName,
                                           ComPtr<IWbemClassObject>& inParams, const wchar_t* logContext) const;

    [[nodiscard]] ClassLog Log(const wchar_t* logContext) const noexcept { return {m_logger, m_className, logContext}; }

    Logging::TraceLogger* m_logger; // not owned, may be null
    const char* m_className;
};

} // namespace Zv::Tessel::Server::Shared::WMI
