// Microsoft's std::function<void(wchar_t*)> by hand, with the numbers that a test wants to know: how often its target
// was copied, called, destroyed and freed.
#pragma once

#include <stddef.h>

inline void* operator new(size_t, void* room) noexcept
{
    return room;
}

namespace Abi
{

// The implementation object of a callable. The compiler lays out its table as Microsoft's does; the names follow the
// contract of the module's host interface.
class Implementation
{
public:
    virtual Implementation* Copy(void* room) const = 0;     // slot 0
    virtual Implementation* Move(void* room) noexcept = 0;  // slot 1
    virtual void Call(wchar_t*&& text) = 0;                 // slot 2
    virtual const void* TargetType() const noexcept = 0;    // slot 3
    virtual void Destroy(bool freeMemory) noexcept = 0;     // slot 4
    virtual const void* TargetAddress() const noexcept = 0; // slot 5

protected:
    ~Implementation() = default;
};

inline constexpr size_t RoomSize = 56;

// The function object: as a parameter it is passed by address and destroyed by the function called.
class ProgressCallback
{
public:
    ProgressCallback() = default;

    // Makes the implementation object by make(room), in the room or on the heap.
    template <class Make>
    explicit ProgressCallback(const Make& make)
    {
        m_implementation = make(m_room);
    }

    ProgressCallback(const ProgressCallback& other)
    {
        if (other.m_implementation != nullptr)
        {
            m_implementation = other.m_implementation->Copy(m_room);
        }
    }

    ProgressCallback& operator=(const ProgressCallback&) = delete;

    ~ProgressCallback()
    {
        if (m_implementation != nullptr)
        {
            m_implementation->Destroy(!IsInPlace());
        }
    }

    bool IsInPlace() const { return static_cast<const void*>(m_implementation) == m_room; }

private:
    friend struct Layout;
    alignas(8) unsigned char m_room[RoomSize];
    Implementation* m_implementation = nullptr;
};

struct Layout
{
    static_assert(sizeof(ProgressCallback) == 64);
    static_assert(alignof(ProgressCallback) == 8);
    static_assert(offsetof(ProgressCallback, m_room) == 0);
    static_assert(offsetof(ProgressCallback, m_implementation) == 56);
    static_assert(sizeof(Implementation) == 8);
};

// What happened to a callback and its copies.
struct Counts
{
    int copies = 0;
    int moves = 0;
    int calls = 0;
    int destroyed = 0;
    int freed = 0;
    int alive = 0;      // targets that were made and not destroyed yet
    int wrongFlags = 0; // destroyed with the wrong answer to "does it lie on the heap?"
    wchar_t lastText[2048] = {};
};

void Remember(Counts& counts, const wchar_t* text);

// A target of `Size` bytes more than its two pointers. Behaviour: `void operator()(wchar_t*)`, copied with the target.
template <class Behaviour, size_t Size>
class Target final : public Implementation
{
public:
    Target(Counts& counts, Behaviour behaviour) : m_counts{&counts}, m_behaviour{behaviour} { ++counts.alive; }

    static constexpr bool FitsInPlace() { return sizeof(Target) <= RoomSize; }

    static Implementation* Make(void* room, Counts& counts, const Behaviour& behaviour)
    {
        if constexpr (FitsInPlace())
        {
            return ::new (room) Target{counts, behaviour};
        }
        else
        {
            return new Target{counts, behaviour};
        }
    }

    Implementation* Copy(void* room) const override
    {
        ++m_counts->copies;
        m_behaviour.OnCopy();
        return Make(room, *m_counts, m_behaviour);
    }

    Implementation* Move(void* room) noexcept override
    {
        ++m_counts->moves;
        return Make(room, *m_counts, m_behaviour);
    }

    void Call(wchar_t*&& text) override
    {
        ++m_counts->calls;
        Remember(*m_counts, text);
        m_behaviour.OnCall(text);
    }

    const void* TargetType() const noexcept override { return nullptr; }

    void Destroy(bool freeMemory) noexcept override
    {
        ++m_counts->destroyed;
        --m_counts->alive;
        if (freeMemory == FitsInPlace())
        {
            ++m_counts->wrongFlags;
        }
        if (freeMemory)
        {
            ++m_counts->freed;
            delete this;
        }
        else
        {
            this->~Target();
        }
    }

    const void* TargetAddress() const noexcept override { return &m_behaviour; }

private:
    Counts* m_counts;
    Behaviour m_behaviour;
    unsigned char m_more[Size] = {};
};

struct JustCount
{
    void OnCopy() const {}
    void OnCall(wchar_t*) const {}
};

inline constexpr size_t SmallSize = 8;
inline constexpr size_t LargeSize = 200;

template <size_t Size, class Behaviour = JustCount>
ProgressCallback MakeCallback(Counts& counts, Behaviour behaviour = {})
{
    return ProgressCallback{[&](void* room) { return Target<Behaviour, Size>::Make(room, counts, behaviour); }};
}

static_assert(Target<JustCount, SmallSize>::FitsInPlace() && !Target<JustCount, LargeSize>::FitsInPlace());

} // namespace Abi
