#include "Host/Text/OutputFormat.h"

namespace Zv::Host
{

const char* NameOf(OutputFormat format) noexcept
{
    switch (format)
    {
    case OutputFormat::Text:
        return "text";
    case OutputFormat::Json:
        return "--json";
    case OutputFormat::JsonLines:
        return "--ndjson";
    case OutputFormat::Csv:
        break;
    }
    return "--csv";
}

std::string ListOf(const std::vector<OutputFormat>& formats)
{
    std::string list;
    for (const OutputFormat& format : formats)
    {
        const bool isLast = &format == &formats.back();
        list += (list.empty() ? "" : isLast ? " or " : ", ") + std::string{NameOf(format)};
    }
    return list;
}

} // namespace Zv::Host
