#include "Host/CommandParts/FirmwareReply.h"

#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Failure.h"

#include <algorithm>
#include <array>

namespace Zv::Host
{

namespace
{

constexpr std::string_view NoNamespace = "IWbemLocator->ConnectServer(WmiNamespace) gave 0x8004100e";

// A class that is missing is not found, or invalid, depending on the call and the system; one without an instance
// gives none (0x1).
constexpr std::array CommandSigns = {
    NoNamespace,
    std::string_view{"IWbemServices->GetObject(InputDataBlock) gave 0x80041002"},
    std::string_view{"IWbemServices->GetObject(InputDataBlock) gave 0x80041010"},
    std::string_view{"IWbemServices->CreateInstanceEnum(BiosWmiMethod) gave 0x80041010"},
    std::string_view{"IEnumWbemClassObject->Next() gave 0x80041010"},
    std::string_view{"IEnumWbemClassObject->Next() gave 0x1"},
};
constexpr std::array SettingSigns = {
    NoNamespace,
    std::string_view{"IWbemServices->CreateInstanceEnum gave 0x80041002"},
    std::string_view{"IWbemServices->CreateInstanceEnum gave 0x80041010"},
    std::string_view{"IEnumWbemClassObject->Next gave 0x80041010"},
    std::string_view{"IEnumWbemClassObject->Next gave 0x1"},
    std::string_view{"IWbemService->GetObject gave 0x80041002"},
    std::string_view{"IWbemService->GetObject gave 0x80041010"},
};

constexpr FirmwareInterface Commands{
    "this machine's firmware takes no raw commands: WMI has no class zvqBIntM with an instance, or no class "
    "zvqBDataIn, in root\\wmi",
    CommandSigns};
constexpr FirmwareInterface Settings{
    "this machine's firmware does not offer its settings: WMI has no class ZVBIOS_BIOSSettingInterface with an "
    "instance in ROOT\\ZV\\InstrumentedBIOS",
    SettingSigns};

bool IsAbsent(const FirmwareInterface& firmware, const std::string& problem)
{
    const std::string_view call = std::string_view{problem}.substr(0, problem.find(" (", problem.find(" gave ")));
    return std::ranges::find(firmware.signs, call) != firmware.signs.end();
}

} // namespace

const FirmwareInterface& FirmwareCommands() noexcept
{
    return Commands;
}

const FirmwareInterface& FirmwareSettings() noexcept
{
    return Settings;
}

JsonDocument ParseFirmwareReply(const Reply& reply, const FirmwareInterface& firmware, const std::string& subject)
{
    if (reply.code != 0)
    {
        throw CommandFailure{reply.code, IsAbsent(firmware, reply.problem)
                                             ? HexCode(reply.code) + ": " + firmware.absence
                                             : ErrorLine(reply.code, subject, reply.problem)};
    }
    const std::string response = reply.response.value_or("");
    JsonDocument document;
    document.Parse(response.data(), response.size());
    if (document.HasParseError() || !document.IsObject() || !document.HasMember("result"))
    {
        throw Failure{ExitCode::InternalError, "the module's response has no result: " + response};
    }
    return document;
}

ExitCode ChangeFirmware(Environment& environment, Zv::Tessel::Server::Services::FunctionNumber function,
                        const JsonObject& request, const FirmwareChange& change)
{
    const Reply reply = environment.OpenSession().Execute(function, request.Text());
    const JsonDocument document = ParseFirmwareReply(reply, FirmwareSettings(), change.subject);
    const JsonValue& verdict = document.FindMember("result")->value;
    const bool done = verdict.IsUint() && verdict.GetUint() == 0;

    Console& output = environment.Output();
    if (environment.Options().PrintsJson())
    {
        output.WriteLine(reply.response.value_or("{}"));
    }
    else if (done)
    {
        output.WriteLine(change.done);
    }
    if (!done)
    {
        output.WriteErrorLine("the firmware refused to change " + change.subject + ": it returned " +
                              JsonText(verdict));
    }
    return done ? ExitCode::Success : ExitCode::FirmwareRefused;
}

} // namespace Zv::Host
