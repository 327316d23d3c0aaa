// The calling thread's membership in COM.
#pragma once

namespace Zv::Host
{

class ComMembership
{
public:
    // Throws Failure(InternalError).
    ComMembership();
    ComMembership(const ComMembership&) = delete;
    ComMembership& operator=(const ComMembership&) = delete;
    ~ComMembership();

    // WMI's providers act as the caller.
    static void SetProcessSecurity();
};

} // namespace Zv::Host
