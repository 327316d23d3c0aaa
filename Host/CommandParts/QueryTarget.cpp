#include "Host/CommandParts/QueryTarget.h"

#include "Platform/Windows/Utf8.h"

#include "Shared/Contract/ResultCode.h"

#include <cstddef>

namespace Zv::Host
{

namespace
{

constexpr std::size_t MaxPiece = 1024;

std::string PieceFrom(const std::string& text)
{
    const std::size_t length = LengthInUtf16(text);
    if (length > MaxPiece)
    {
        throw std::invalid_argument{"has " + std::to_string(length) + " characters, may have " +
                                    std::to_string(MaxPiece)};
    }
    return text;
}

} // namespace

void QueryTarget::DeclareClass(Arguments& arguments)
{
    arguments.Positional("CLASS", {wmiClass, PieceFrom}, "WMI class, such as Win32_BIOS").Required();
}

void QueryTarget::DeclareOptions(Arguments& arguments)
{
    arguments
        .Option("--where", {filter, PieceFrom}, "Only instances that fulfil this WQL condition, such as \"Name = 'x'\"")
        .Type("FILTER");
    arguments.Option("--namespace", nameSpace, "WMI namespace (default: " + nameSpace + ")").Type("NS");
}

JsonObject QueryTarget::Request() const
{
    JsonObject request;
    request.Add("wmiClass", wmiClass).Add("wmiNamespace", nameSpace);
    if (!filter.empty())
    {
        request.Add("filter", filter);
    }
    return request;
}

std::string QueryTarget::Subject(int code, const std::string& property) const
{
    using namespace Zv::Tessel::Server::Services;
    const std::string where = filter.empty() ? "" : " where " + filter;
    switch (code)
    {
    case NamespaceInvalid:
        return nameSpace;
    case QueryInvalid:
        return "SELECT * FROM " + wmiClass + (filter.empty() ? "" : " WHERE " + filter);
    case ClassInvalid:
        return wmiClass + " in " + nameSpace;
    case ClassMissing:
    case NamespaceMissing:
    case PropertyMissing:
        return "";
    default:
        return wmiClass + (property.empty() ? "" : "." + property) + " in " + nameSpace + where;
    }
}

} // namespace Zv::Host
