#include "Host/CommandParts/FirmwareEvent.h"

#include "Host/Text/Numbers.h"

#include <cstddef>
#include <stdexcept>

namespace Zv::Host
{

std::optional<FirmwareEvent> ParseEvent(std::string_view text) noexcept
{
    const std::size_t colon = text.find(':');
    const std::optional<int> id = ParseSigned(text.substr(0, colon));
    const std::optional<int> data = colon == std::string_view::npos ? 0 : ParseSigned(text.substr(colon + 1));
    return id && data ? std::optional{FirmwareEvent{*id, *data}} : std::nullopt;
}

FirmwareEvent EventFrom(const std::string& text)
{
    const std::optional<FirmwareEvent> event = ParseEvent(text);
    if (!event)
    {
        throw std::invalid_argument{'"' + text + "\" is neither ID nor ID:DATA, each " + SignedRange};
    }
    return *event;
}

} // namespace Zv::Host
