// Where what a command handler throws becomes its result code.
#pragma once

#include "Shared/Contract/ResultCode.h"

namespace Zv::Tessel::Server::Services::WMI
{

// Runs a handler's body and returns its result code. Records throw their result code as an int; anything else that is
// thrown (out of memory, a COM error, whatever a host's callback raised) is a general failure.
template <class Body>
[[nodiscard]] int AtHandlerEdge(Body body) noexcept
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
