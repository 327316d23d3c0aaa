// The progress callback of ZVService::ExecuteCommand, in the object layout of Microsoft's std::function whatever
// compiler is used. Hosts include ZVService.h, which includes this.
#pragma once

#include <cstddef>
#include <functional>

#if !defined(_MSC_VER)
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#endif

namespace Zv::Tessel::Server::Services
{

#if defined(_MSC_VER)

// A callable that takes one mutable, zero-terminated UTF-16 string, valid only for the duration of the call.
using ProgressCallback = std::function<void(wchar_t*)>;

// What ExecuteCommand declares as its parameter: with Microsoft's compiler the callee destroys it as it is.
using ProgressCallbackArgument = ProgressCallback;

// For the callee: nothing is left to do here, the compiler destroys the argument.
class ProgressCallbackGuard
{
public:
    // Keeps nothing of it.
    explicit ProgressCallbackGuard(ProgressCallbackArgument&) noexcept {}
    ProgressCallbackGuard(const ProgressCallbackGuard&) = delete;
    ProgressCallbackGuard& operator=(const ProgressCallbackGuard&) = delete;
    ~ProgressCallbackGuard() = default;
};

#else

template <class Target>
inline constexpr bool IsStandardFunction = false;
template <class Signature>
inline constexpr bool IsStandardFunction<std::function<Signature>> = true;

// Other compilers have another std::function and let the caller destroy an argument. The two classes below stand in:
// ProgressCallback owns a callable as std::function does, ProgressCallbackArgument is what travels through a call.
//
// Layout (Microsoft's STL, _Func_class): 64 bytes, the last eight of which point to the callable's implementation
// object (null: empty); that object lies in the first 56 bytes or on the heap, and starts with the address of a table
// of six functions. The calling convention is that of member functions: the object first, then the arguments.
class ProgressCallbackStorage
{
public:
    struct Implementation;

    struct Table
    {
        Implementation* (*copy)(const Implementation*, void* room); // room: 56 bytes that the copy may use
        Implementation* (*move)(Implementation*, void* room);       // only for implementations inside the storage
        void (*call)(Implementation*, wchar_t** text);
        const void* (*targetType)(const Implementation*); // a std::type_info of the compiler that made the callable
        void (*destroy)(Implementation*, bool freeMemory);
        const void* (*targetAddress)(const Implementation*);
    };

    struct Implementation
    {
        const Table* table;
    };

    ProgressCallbackStorage(const ProgressCallbackStorage&) = delete;
    ProgressCallbackStorage& operator=(const ProgressCallbackStorage&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return m_implementation != nullptr; }

protected:
    static constexpr std::size_t RoomSize = 56;

    ProgressCallbackStorage() noexcept = default;
    // Trivial on purpose: whether the content is destroyed is decided by the derived classes.
    ~ProgressCallbackStorage() = default;

    [[nodiscard]] bool IsInPlace() const noexcept
    {
        return static_cast<const void*>(m_implementation) >= m_room &&
               static_cast<const void*>(m_implementation) < m_room + RoomSize;
    }

    void CopyFrom(const ProgressCallbackStorage& other)
    {
        if (other)
        {
            m_implementation = other.m_implementation->table->copy(other.m_implementation, m_room);
        }
    }

    void MoveFrom(ProgressCallbackStorage& other)
    {
        if (!other)
        {
            return;
        }
        if (other.IsInPlace())
        {
            m_implementation = other.m_implementation->table->move(other.m_implementation, m_room);
            other.Destroy();
        }
        else
        {
            m_implementation = std::exchange(other.m_implementation, nullptr);
        }
    }

    template <class Callable>
    void Store(Callable&& callable)
    {
        using Target = std::decay_t<Callable>;
        if constexpr (std::is_pointer_v<Target> || IsStandardFunction<Target>)
        {
            if (callable == nullptr)
            {
                return; // as with std::function: nothing to call makes an empty one
            }
        }
        m_implementation = Holder<Target>::Make(m_room, std::forward<Callable>(callable));
    }

    void Destroy() noexcept
    {
        if (m_implementation != nullptr)
        {
            const bool inPlace = IsInPlace();
            Implementation* const implementation = std::exchange(m_implementation, nullptr);
            implementation->table->destroy(implementation, !inPlace);
        }
    }

    void Call(wchar_t* text) const { m_implementation->table->call(m_implementation, &text); }

private:
    template <class Target>
    struct Holder : Implementation
    {
        Target target;

        template <class Callable>
        Holder(std::in_place_t, Callable&& callable)
            : Implementation{&Functions},
              target(std::forward<Callable>(callable))
        {
        }

        static constexpr bool FitsInPlace()
        {
            return sizeof(Holder) <= RoomSize && alignof(Holder) <= alignof(void*) &&
                   std::is_nothrow_move_constructible_v<Target>;
        }

        template <class Callable>
        static Implementation* Make(void* room, Callable&& callable)
        {
            if constexpr (FitsInPlace())
            {
                return ::new (room) Holder(std::in_place, std::forward<Callable>(callable));
            }
            else
            {
                return std::make_unique<Holder>(std::in_place, std::forward<Callable>(callable)).release();
            }
        }

        static Implementation* Copy(const Implementation* self, void* room)
        {
            return Make(room, static_cast<const Holder*>(self)->target);
        }
        static Implementation* Move(Implementation* self, void* room)
        {
            return Make(room, std::move(static_cast<Holder*>(self)->target));
        }
        static void Invoke(Implementation* self, wchar_t** text) { static_cast<Holder*>(self)->target(*text); }
        static const void* TargetType(const Implementation*) noexcept { return nullptr; }
        static void Destroy(Implementation* self, bool freeMemory) noexcept
        {
            auto* const holder = static_cast<Holder*>(self);
            if (freeMemory)
            {
                std::unique_ptr<Holder>{holder}.reset();
            }
            else
            {
                holder->~Holder();
            }
        }
        static const void* TargetAddress(const Implementation* self) noexcept
        {
            return std::addressof(static_cast<const Holder*>(self)->target);
        }

        static constexpr Table Functions{&Copy, &Move, &Invoke, &TargetType, &Destroy, &TargetAddress};
    };

    alignas(void*) unsigned char m_room[RoomSize];
    Implementation* m_implementation = nullptr;
};

// Raised by calling an empty ProgressCallback, with the text that Microsoft's run time gives.
class EmptyCallbackCalled : public std::bad_function_call
{
public:
    [[nodiscard]] const char* what() const noexcept override { return "bad function call"; }
};

// A callable that takes one mutable, zero-terminated UTF-16 string, valid only for the duration of the call.
// Copyable and movable as std::function is; not safe for use by several threads at once unless its target is.
class ProgressCallback : public ProgressCallbackStorage
{
public:
    ProgressCallback() noexcept = default;
    ProgressCallback(std::nullptr_t) noexcept {}
    ProgressCallback(const ProgressCallback& other) : ProgressCallbackStorage() { CopyFrom(other); }
    ProgressCallback(ProgressCallback&& other) noexcept : ProgressCallbackStorage() { MoveFrom(other); }
    explicit ProgressCallback(const ProgressCallbackStorage& other) : ProgressCallbackStorage() { CopyFrom(other); }

    template <class Callable>
        requires(!std::is_base_of_v<ProgressCallbackStorage, std::decay_t<Callable>> &&
                 std::is_invocable_v<std::decay_t<Callable>&, wchar_t*>)
    ProgressCallback(Callable&& callable)
    {
        Store(std::forward<Callable>(callable));
    }

    ProgressCallback& operator=(const ProgressCallback& other) { return *this = ProgressCallback{other}; }
    ProgressCallback& operator=(ProgressCallback&& other) noexcept
    {
        if (this != &other)
        {
            Destroy();
            MoveFrom(other);
        }
        return *this;
    }

    ~ProgressCallback() { Destroy(); }

    // Throws EmptyCallbackCalled when there is no target.
    void operator()(wchar_t* text) const
    {
        if (!*this)
        {
            throw EmptyCallbackCalled{};
        }
        Call(text);
    }
};

// A callback on its way into ExecuteCommand. Make it only as the argument of that call (the conversions do so): the
// call destroys its content, on every path, exactly once; the destructor here does nothing.
class ProgressCallbackArgument : public ProgressCallbackStorage
{
public:
    ProgressCallbackArgument() noexcept = default;
    ProgressCallbackArgument(std::nullptr_t) noexcept {}
    // Not trivial, and here for that reason: a class whose move and copy are trivial or deleted may travel as a copy of
    // its bytes (GCC 12 does so), and that copy's last eight bytes would point into the object it was made from.
    ProgressCallbackArgument(ProgressCallbackArgument&& other) noexcept : ProgressCallbackStorage() { MoveFrom(other); }
    ProgressCallbackArgument(const ProgressCallback& callback) : ProgressCallbackStorage() { CopyFrom(callback); }
    ProgressCallbackArgument(ProgressCallback&& callback) noexcept : ProgressCallbackStorage() { MoveFrom(callback); }

    template <class Callable>
        requires(!std::is_base_of_v<ProgressCallbackStorage, std::decay_t<Callable>> &&
                 std::is_invocable_v<std::decay_t<Callable>&, wchar_t*>)
    ProgressCallbackArgument(Callable&& callable)
    {
        Store(std::forward<Callable>(callable));
    }

private:
    friend class ProgressCallbackGuard;
};

// For the callee: destroys the content of the argument on every way out, as Microsoft's compiler does.
class ProgressCallbackGuard
{
public:
    explicit ProgressCallbackGuard(ProgressCallbackArgument& callback) noexcept : m_callback{callback} {}
    ProgressCallbackGuard(const ProgressCallbackGuard&) = delete;
    ProgressCallbackGuard& operator=(const ProgressCallbackGuard&) = delete;
    ~ProgressCallbackGuard() { m_callback.Destroy(); }

private:
    ProgressCallbackArgument& m_callback;
};

static_assert(sizeof(ProgressCallback) == 64 && sizeof(ProgressCallbackArgument) == 64);
static_assert(std::is_trivially_destructible_v<ProgressCallbackArgument>);

#endif

} // namespace Zv::Tessel::Server::Services
