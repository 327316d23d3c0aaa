// What a host's callback may throw: standard exceptions as Microsoft's library lays them out, and other things.
#pragma once

#include "Tests/Abi/Host/ProgressCallback.h"

namespace std
{

// The head of the hierarchy that every Microsoft-built host throws from: what() is virtual function 1.
class exception
{
public:
    explicit exception(const char* text) noexcept;
    exception(const exception& other) noexcept;
    exception& operator=(const exception&) = delete;
    virtual ~exception();
    [[nodiscard]] virtual const char* what() const noexcept;

private:
    const char* m_text;
    [[maybe_unused]] bool m_owned = false;
};

class runtime_error : public exception
{
public:
    using exception::exception;
};

} // namespace std

namespace Abi
{

// Exception objects of the types here that are alive, whatever their number of copies.
extern int g_exceptionsAlive;
// Exception objects that were destroyed while a local variable of the throwing function was still alive.
extern int g_destroyedTooEarly;

// Lives in the throwing function.
class Local
{
public:
    Local();
    Local(const Local&) = delete;
    Local& operator=(const Local&) = delete;
    ~Local();

    static int alive;
};

class Other
{
public:
    Other() { ++g_exceptionsAlive; }
    Other(const Other&) { ++g_exceptionsAlive; }
    virtual ~Other() { --g_exceptionsAlive; }

private:
    [[maybe_unused]] int m_more[5] = {};
};

// std::exception is its second base: at a displacement.
class Displaced : public Other, public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// std::exception is a virtual base: its place is in a table.
class Virtual : public Other, public virtual std::runtime_error
{
public:
    explicit Virtual(const char* text) : std::runtime_error{text} {}
};

inline constexpr int ThrownNumber = 5; // not a result code of the module's

[[noreturn]] void ThrowStandard();
[[noreturn]] void ThrowDisplaced();
[[noreturn]] void ThrowVirtual();
[[noreturn]] void ThrowOther();
[[noreturn]] void ThrowNumber();
[[noreturn]] void ThrowPointer();
[[noreturn]] void CatchAndThrowAgain();
// What `throw;` is in Microsoft's run time: an exception that names neither object nor type.
void RaiseUnnamed();

// A target that throws when it is called.
struct ThrowsInCall
{
    void (*raise)();
    void OnCopy() const {}
    void OnCall(wchar_t*) const { raise(); }
};

// A target that cannot be copied.
struct ThrowsInCopy
{
    void (*raise)();
    void OnCopy() const { raise(); }
    void OnCall(wchar_t*) const {}
};

} // namespace Abi
