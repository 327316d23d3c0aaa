#include "Benchmarks/Commands.h"

#include "Benchmarks/Requests.h"

namespace Zv::Benchmarks
{

std::vector<Command> FirmwareCommands(Subject& subject, const LimitClient& limit)
{
    const auto run = [&subject](FunctionNumber function, std::wstring request) {
        return [&subject, function, request = std::move(request)] { subject.Run(function, request); };
    };

    std::vector<Command> commands;
    for (const std::size_t size : {0U, 4U, 128U, 1024U, 4096U})
    {
        commands.push_back({"2, firmware command, " + std::to_string(size) + " bytes", size,
                            run(FunctionNumber::ExecuteBiosWmiCommand, FirmwareRequest(size, size)),
                            [&limit, input = std::vector<unsigned char>(size, 0x5a), size] {
                                static_cast<void>(limit.FirmwareCommand(input, size));
                            }});
    }
    commands.push_back({"64, change a setting", 0, run(FunctionNumber::SetBiosSetting, SettingRequest),
                        [&limit] { limit.Set(L"Fan", L"Off"); }});
    commands.push_back({"128, restore defaults", 0, run(FunctionNumber::SetBiosSystemDefaults, L"{}"),
                        [&limit] { limit.Set(nullptr, nullptr); }});
    return commands;
}

Command FirmwareCommandWithBase64(Subject& subject, const LimitClient& limit)
{
    constexpr std::size_t size = 4096;
    return {"2, 4096 bytes, limit with base64", size,
            [&subject, request = FirmwareRequest(size, size)] {
                subject.Run(FunctionNumber::ExecuteBiosWmiCommand, request);
            },
            [&limit, input = FirmwareInput(size)] { static_cast<void>(limit.FirmwareCommand(input, size)); }};
}

std::vector<Command> QueryCommands(Subject& subject, const LimitClient& limit, std::size_t items)
{
    const std::string count = ", " + std::to_string(items) + (items == 1 ? " instance" : " instances");
    const auto readNumbers = [&limit] { limit.ReadProperty(L"Bench_Item", L"Number"); };
    return {
        {"16, property" + count, items, [&subject] { subject.Run(FunctionNumber::GetWmiPropertyValue, ItemRequest); },
         readNumbers},
        {"32, properties" + count, items,
         [&subject] { subject.Run(FunctionNumber::GetWmiPropertyValues, ItemRequest); }, readNumbers},
        {"256, texts" + count, items, [&subject] { subject.Run(FunctionNumber::GetWmiClassObjectText, TextRequest); },
         [&limit] { limit.ReadTexts(L"Bench_Item"); }},
    };
}

} // namespace Zv::Benchmarks
