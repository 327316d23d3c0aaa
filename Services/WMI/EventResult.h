// Member "result" of the responses of functions 4 and 8. Clients compare the numbers.
#pragma once

#include "Shared/Json/JsonDocument.h"

namespace Zv::Tessel::Server::Services::WMI
{

// Function 4
enum class RegisterResult : int
{
    Ended = 0,            // the registration waited and has ended
    Added = 1,            // the id was added to a registration that waits
    EveryEvent = 2,       // the filters of a registration that waits were cleared: every event passes
    AlreadyListening = 3, // the id was in the filter of a registration that waits
};

// Function 8
enum class UnregisterResult : int
{
    Stopping = 0,       // the waiting registration was told to end
    Removed = 1,        // the id was removed; others are still listened for
    NothingWaits = 2,   // there is no registration to end
    NotListenedFor = 3, // the id was not in the filter
};

template <class Result>
void SetResult(JsonDocument& response, Result result)
{
    response.AddMember(L"result", static_cast<int>(result), response.GetAllocator());
}

} // namespace Zv::Tessel::Server::Services::WMI
