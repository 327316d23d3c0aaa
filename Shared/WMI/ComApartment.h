// Membership of a thread in COM's multithreaded apartment.
#pragma once

#include "Shared/WMI/WmiConnection.h"

namespace Zv::Tessel::Server::Shared::WMI
{

// Joins on creation, calls CoUninitialize on destruction: on every path, a failed joining included, as the operations
// that use it have always done.
class ComApartment
{
public:
    ComApartment(const ClassLog& log, const char* method) { JoinMultithreadedApartment(log, method); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() { CoUninitialize(); }
};

} // namespace Zv::Tessel::Server::Shared::WMI
