// Handlers of the commands that query WMI, talk to the firmware's method class and change its settings.

#include "Services/WMI/HandlerEdge.h"
#include "Services/WMI/Records/FirmwareResponse.h"
#include "Services/WMI/Records/Requests.h"
#include "Services/WMI/WMIService.h"

#include "Shared/WMI/PublicWmi.h"
#include "Shared/WMI/ZVBiosWmi.h"

#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

using Shared::WMI::PublicWmi;
using Shared::WMI::ZVBiosWmi;

int WMIService::ExecuteBiosWmiCommand(JsonDocument* request, JsonDocument* response, const wchar_t* logContext)
{
    return Handle({{request, "request"}, {response, "response"}}, logContext, [&]() -> int {
        const ReadBiosWmiCommandParamsJson params{request, logContext};
        ZVBiosWmi biosWmi; // disconnects after the return buffer has gone, before the decoded input goes
        std::unique_ptr<unsigned char[]> returnData;
        if (params.returnDataSize != 0)
        {
            returnData = std::make_unique<unsigned char[]>(params.returnDataSize); // zeroed
        }

        std::uint32_t returnCode = 0;
        const HRESULT hr =
            biosWmi.ExecuteCommand(params.command, params.commandType, params.inputDataSize, params.decodedInput.get(),
                                   params.returnDataSize, returnData.get(), returnCode, logContext);
        if (FAILED(hr))
        {
            return GeneralFailure;
        }
        WriteBiosWmiCommandReturnsJson{response, returnCode, params.returnDataSize, returnData.get(), logContext};
        return Success;
    });
}

int WMIService::GetWmiPropertyValue(JsonDocument* request, JsonDocument* response, bool asArray,
                                    const wchar_t* logContext)
{
    return Handle({{request, "request"}, {response, "response"}}, logContext, [&]() -> int {
        const ReadGetWmiPropertyValueParamsJason params{request, logContext};
        return PublicWmi{}.GetPropertyValue(params.property, params.wmiClass, params.filter, params.wmiNamespace,
                                            asArray, *response, logContext);
    });
}

int WMIService::SetBiosSetting(JsonDocument* request, JsonDocument* response, const wchar_t* logContext)
{
    return Handle({{request, "request"}, {response, "response"}}, logContext, [&]() -> int {
        const ReadSetBiosSettingParamsJason params{request, logContext};
        return PublicWmi{}.SetBiosPublicWmi(false, params.name, params.value, params.password, *response, logContext);
    });
}

int WMIService::SetBiosSystemDefaults(JsonDocument* request, JsonDocument* response, const wchar_t* logContext)
{
    return Handle({{request, "request"}, {response, "response"}}, logContext, [&]() -> int {
        const ReadSetBiosSystemDefaultsParamsJason params{request, logContext};
        return PublicWmi{}.SetBiosPublicWmi(true, nullptr, nullptr, params.password, *response, logContext);
    });
}

int WMIService::GetWmiClassObjectText(JsonDocument* request, JsonDocument* response, ProgressCallback progressCallback,
                                      const wchar_t* logContext)
{
    return Handle({{request, "request"}, {response, "response"}, {&progressCallback, "progressCallback"}}, logContext,
                  [&] {
                      const ReadGetWmiClassObjectTextParamsJason params{request, logContext};
                      return PublicWmi{}.GetClassObjectText(params.wmiClass, params.filter, params.wmiNamespace,
                                                            progressCallback, logContext);
                  });
}

} // namespace Zv::Tessel::Server::Services::WMI
