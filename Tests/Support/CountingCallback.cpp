#include "Tests/Support/CountingCallback.h"

#include "Tests/Support/Module.h"

#include <cstring>
#include <memory>
#include <new>

namespace Zv::Testing
{

namespace
{

struct Implementation;

// The six slots, in their order. Microsoft's member functions take the object first.
struct Table
{
    Implementation* (*copy)(const Implementation*, void*);
    Implementation* (*move)(Implementation*, void*);
    void (*call)(Implementation*, wchar_t**);
    const void* (*targetType)(const Implementation*);
    void (*destroy)(Implementation*, bool);
    const void* (*targetAddress)(const Implementation*);
};

constexpr unsigned int Living = 0x4c697665;
constexpr unsigned int Dead = 0x44656164;

struct Implementation
{
    const Table* table;
    CallbackCounts* counts;
    unsigned int state;
    CountingCallback::Place place;
};
static_assert(sizeof(Implementation) <= CountingCallback::RoomSize);

void Use(const Implementation* self)
{
    if (self->state != Living)
    {
        ++self->counts->usedAfterDeath;
    }
}

Implementation* Put(const Implementation& content, void* room)
{
    if (content.place == CountingCallback::Place::InRoom)
    {
        return ::new (room) Implementation{content};
    }
    const auto block = std::make_shared<Implementation>(content);
    content.counts->onHeap.push_back(block);
    return block.get();
}

Implementation* Copy(const Implementation* self, void* room)
{
    Use(self);
    ++self->counts->copies;
    return Put(*self, room);
}

Implementation* Move(Implementation* self, void* room)
{
    Use(self);
    ++self->counts->moves;
    return Put(*self, room);
}

void Call(Implementation* self, wchar_t** text)
{
    Use(self);
    ++self->counts->calls;
    self->counts->texts.emplace_back(*text);
    if (self->counts->onCall)
    {
        self->counts->onCall(*text);
    }
}

const void* Query(const Implementation* self)
{
    Use(self);
    ++self->counts->queried;
    return nullptr;
}

void Destroy(Implementation* self, bool freeMemory)
{
    Use(self);
    ++self->counts->destroyed;
    self->state = Dead;
    if (freeMemory != (self->place == CountingCallback::Place::OnHeap))
    {
        ++self->counts->wronglyFreed;
    }
}

constexpr Table Functions{&Copy, &Move, &Call, &Query, &Destroy, &Query};

} // namespace

CountingCallback::CountingCallback(Place place, CallbackCounts& counts)
{
    const Implementation* const implementation =
        Put(Implementation{&Functions, &counts, Living, place}, m_bytes.data());
    std::memcpy(m_bytes.data() + RoomSize, &implementation, sizeof implementation);
}

int ExecuteRaw(void* service, void* session, unsigned int function, wchar_t* request, wchar_t** response,
               void* callback)
{
    return CallSlot<int>(service, 3, session, function, request, response, callback, static_cast<void*>(nullptr));
}

} // namespace Zv::Testing
