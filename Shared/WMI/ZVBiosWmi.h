// Raw firmware commands through the firmware's WMI method class.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/SafeArray.h"
#include "Platform/Com/Variant.h"
#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <wbemcli.h>

#include <cstdint>

namespace Zv::Tessel::Server::Shared::WMI
{

// One connection to the firmware's namespace, made by the first command. For one thread, and for as long as one
// command of a client takes; every failing call is logged once, by the operation that made it.
class ZVBiosWmi
{
public:
    ZVBiosWmi();
    ZVBiosWmi(const ZVBiosWmi&) = delete;
    ZVBiosWmi& operator=(const ZVBiosWmi&) = delete;
    ~ZVBiosWmi(); // disconnects

    // Connects, and joins the thread to COM, unless that is done. Raises ComError when memory runs out.
    [[nodiscard]] bool GetReady(const wchar_t* logContext);

    // Undoes GetReady; does nothing when not connected.
    void Disconnect() noexcept;

    // Runs a firmware command. Sizes are in bytes; inputData may be null when inputDataSize is 0, returnData (of
    // returnDataSize bytes) when that is 0. returnData stays as it was where the firmware gave no data of that size:
    // that is logged and no failure. returnCode receives the firmware's own verdict. Raises ComError when memory runs
    // out.
    [[nodiscard]] HRESULT ExecuteCommand(std::uint32_t command, std::uint32_t commandType, std::uint32_t inputDataSize,
                                         const unsigned char* inputData, std::uint32_t returnDataSize,
                                         unsigned char* returnData, std::uint32_t& returnCode,
                                         const wchar_t* logContext);

private:
    [[nodiscard]] HRESULT SetupInputDataBlock(std::uint32_t command, std::uint32_t commandType,
                                              std::uint32_t inputDataSize, const unsigned char* inputData,
                                              IWbemClassObject& methodInSignature, ComPtr<IWbemClassObject>& inParams,
                                              const wchar_t* logContext);
    [[nodiscard]] HRESULT GetBiosMethodObjectPath(Variant& path, const wchar_t* logContext);
    [[nodiscard]] HRESULT GetOutputData(IWbemClassObject& outParams, std::uint32_t returnDataSize,
                                        unsigned char* returnData, std::uint32_t& returnCode,
                                        const wchar_t* logContext) const;
    [[nodiscard]] HRESULT CreateSafeArray(SafeArray& array, const unsigned char* bytes, std::uint32_t count,
                                          const wchar_t* logContext) const;
    [[nodiscard]] HRESULT GetClassObject(const wchar_t* className, const char* method, ComPtr<IWbemClassObject>& object,
                                         const wchar_t* logContext);

    [[nodiscard]] ClassLog Log(const wchar_t* logContext) const noexcept { return {m_logger, m_className, logContext}; }

    Logging::TraceLogger* m_logger; // not owned, may be null
    const char* m_className;
    std::uint32_t m_connected = 0; // 0 or 1
    ComPtr<IWbemServices> m_services;
};

} // namespace Zv::Tessel::Server::Shared::WMI
