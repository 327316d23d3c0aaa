// What the query commands ask about.
#pragma once

#include "Host/CommandLine/Arguments.h"
#include "Host/Text/Json.h"

#include <string>

namespace Zv::Host
{

// A class in a namespace, with a filter. The module reads up to 1,024 characters of class and filter; Declare makes
// longer ones an error of the command line rather than a shortened query.
struct QueryTarget
{
    std::string wmiClass;
    std::string filter;
    std::string nameSpace = "ROOT\\CIMV2";

    void DeclareClass(Arguments& arguments);
    void DeclareOptions(Arguments& arguments);

    // The members that are common to the requests of all query commands.
    [[nodiscard]] JsonObject Request() const;

    // What a result code other than 0 was about; `property` may be empty.
    [[nodiscard]] std::string Subject(int code, const std::string& property) const;
};

} // namespace Zv::Host
