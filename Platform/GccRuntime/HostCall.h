// Calls from the module into code of its host.
#pragma once

#if !defined(_MSC_VER)
#include <memory>
#include <stdexcept>
#include <type_traits>
#endif

namespace Zv::Tessel::Server::Shared
{

#if defined(_MSC_VER)

// Runs body(), which calls the host's code.
template <class Body>
void CallHost(const Body& body)
{
    body();
}

#else

// An exception derived from std::exception that code built with Microsoft's compiler let go; what() gives its text.
class HostException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Anything else that such code threw.
class UnknownHostException
{
};

// Calls function(argument) and lets C++ exceptions of both compilers pass: see CallHost.
void CallGuarded(void (*function)(void* argument), void* argument);

// Runs body(), which calls the host's code and does nothing else that needs cleaning up: GCC's run time neither
// catches an exception of Microsoft's C++ nor runs destructors for it. Here it ends, and goes on as HostException, as
// the int that it was, or as UnknownHostException.
template <class Body>
void CallHost(const Body& body)
{
    CallGuarded([](void* argument) { (*static_cast<const Body*>(argument))(); },
                const_cast<Body*>(std::addressof(body)));
}

#endif

} // namespace Zv::Tessel::Server::Shared
