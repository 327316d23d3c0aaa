// Null checks of arguments.
#pragma once

#include <initializer_list>

namespace Zv::Tessel::Server::Services
{

class UtilHelper
{
public:
    struct NamedPointer
    {
        const void* pointer;
        const char* name;
    };

    // Whether any of the pointers is null; each null one is logged with its name.
    static bool NullChecker(std::initializer_list<NamedPointer> pointers, const wchar_t* clientId);
};

} // namespace Zv::Tessel::Server::Services
