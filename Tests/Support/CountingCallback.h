// A progress callback built by hand in Microsoft's layout, which counts what is done with it.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Testing
{

// What happened to a callback and its copies. Outlives them all.
struct CallbackCounts
{
    std::atomic<int> copies = 0;
    std::atomic<int> moves = 0;
    std::atomic<int> calls = 0;
    std::atomic<int> destroyed = 0;       // implementations destroyed, the first one and each copy
    std::atomic<int> wronglyFreed = 0;    // told to free memory that is not on the heap, or not told when it is
    std::atomic<int> usedAfterDeath = 0;  // anything done with an implementation that was destroyed before
    std::atomic<int> queried = 0;         // calls of the type and target slots
    std::function<void(wchar_t*)> onCall; // runs in each call when set; may throw
    std::vector<std::wstring> texts;      // of the calls; written by the thread that calls
    // Implementations that live on the heap. They are kept after their destruction, so that a later use is counted
    // instead of reading memory that is gone. Written by the thread that copies.
    std::vector<std::shared_ptr<void>> onHeap;

    // Implementations that live now: 1 while the host's own is the only one.
    [[nodiscard]] int Alive() const { return 1 + copies + moves - destroyed; }
};

// The 64 bytes that a host passes to ExecuteCommand by address. `Make` gives them their content; the callee destroys
// it. The object itself only holds bytes.
class CountingCallback
{
public:
    enum class Place
    {
        InRoom, // the implementation lies inside the object
        OnHeap
    };

    static constexpr std::size_t Size = 64;
    static constexpr std::size_t RoomSize = 56;

    CountingCallback(Place place, CallbackCounts& counts);
    CountingCallback(const CountingCallback&) = delete;
    CountingCallback& operator=(const CountingCallback&) = delete;
    ~CountingCallback() = default;

    // The address to pass as the callback argument of slot 3.
    [[nodiscard]] void* Address() noexcept { return m_bytes.data(); }

    // An empty function: a null implementation.
    [[nodiscard]] static std::array<std::byte, Size> Empty() noexcept { return {}; }

private:
    alignas(16) std::array<std::byte, Size> m_bytes{};
};

// Slot 3 with the callback's address passed plainly, independent of any class in the host header.
int ExecuteRaw(void* service, void* session, unsigned int function, wchar_t* request, wchar_t** response,
               void* callback);

} // namespace Zv::Testing
