// How a command handler begins, and where what it throws becomes its result code.
#pragma once

#include "Services/UtilHelper.h"
#include "Shared/Contract/ResultCode.h"

#include <initializer_list>

namespace Zv::Tessel::Server::Services::WMI
{

// A handler: checks that nothing it needs is null, then runs its body. Throws what the body does.
template <class Body>
[[nodiscard]] int Handle(std::initializer_list<UtilHelper::NamedPointer> needed, const wchar_t* logContext,
                         const Body& body)
{
    return UtilHelper::NullChecker(needed, logContext) ? GeneralFailure : body();
}

// Runs a handler, with the copy of the callback that it takes, and returns its result code. Records throw their result
// code as an int; anything else that is thrown (out of memory, a COM error, whatever a host's callback raised) is a
// general failure.
template <class Body>
[[nodiscard]] int AtHandlerEdge(const Body& body) noexcept
{
    try
    {
        return body();
    }
    catch (int resultCode)
    {
        return resultCode;
    }
    catch (...)
    {
        return GeneralFailure;
    }
}

} // namespace Zv::Tessel::Server::Services::WMI
