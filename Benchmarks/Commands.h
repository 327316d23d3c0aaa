// The module's commands, each with the limit's same COM calls, on the machine of Subject.h.
#pragma once

#include "Benchmarks/LimitClient.h"
#include "Benchmarks/Subject.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Zv::Benchmarks
{

struct Command
{
    std::string name;
    std::size_t size; // bytes each way, or instances
    std::function<void()> module;
    std::function<void()> limit;
};

// What these functions take must outlive what they return. The settings count as commands of size 0.
[[nodiscard]] std::vector<Command> FirmwareCommands(Subject& subject, const LimitClient& limit);

// The largest firmware command, against a limit that converts base64 as the module must.
[[nodiscard]] Command FirmwareCommandWithBase64(Subject& subject, const LimitClient& limit);

// items: as many as the machine has.
[[nodiscard]] std::vector<Command> QueryCommands(Subject& subject, const LimitClient& limit, std::size_t items);

} // namespace Zv::Benchmarks
