#include "Host/CommandParts/FirmwareEvent.h"

#include "Host/Text/Numbers.h"

namespace Zv::Host
{

std::optional<FirmwareEvent> ParseEvent(std::string_view text) noexcept
{
    const std::size_t colon = text.find(':');
    const std::optional<int> id = ParseSigned(text.substr(0, colon));
    const std::optional<int> data = colon == std::string_view::npos ? 0 : ParseSigned(text.substr(colon + 1));
    return id && data ? std::optional{FirmwareEvent{*id, *data}} : std::nullopt;
}

std::string CheckEvent(const std::string& text)
{
    return ParseEvent(text) ? std::string{}
                            : '"' + text + "\" is neither ID nor ID:DATA, each " + std::string{SignedRange};
}

} // namespace Zv::Host
