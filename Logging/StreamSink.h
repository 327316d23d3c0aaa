// A sink that writes lines to a file or a stream.
#pragma once

#include "Logging/Sinks.h"
#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <memory>

namespace Logging
{

// Lines wait in a ring of fixed size for a thread of the sink's own, so that those who log never wait for the stream.
// The destructor first writes what waits; it must not run on the sink's own thread.
class StreamSink
{
public:
    // Null when memory or the thread is not to be had. `stream` is written to and must stay open; `owned` is closed
    // with the sink and may be empty.
    [[nodiscard]] static std::unique_ptr<StreamSink> Open(HANDLE stream,
                                                          Zv::Tessel::Server::Shared::Handle owned) noexcept;

    // To be put into the list of sinks, with the StreamSink as their user.
    static void Write(const LogLine& line, void* user) noexcept;
    static void Release(void* user) noexcept;

    StreamSink(HANDLE stream, Zv::Tessel::Server::Shared::Handle owned) noexcept;
    StreamSink(const StreamSink&) = delete;
    StreamSink& operator=(const StreamSink&) = delete;
    ~StreamSink();

private:
    static constexpr std::size_t RingSize = 64UL * 1024;
    static constexpr std::size_t PortionSize = 4096;

    static unsigned __stdcall Run(void* sink) noexcept;

    void Put(const LogLine& line) noexcept;
    void Append(const wchar_t* text, std::size_t length) noexcept; // m_lock held, room checked
    void AppendLoss() noexcept;                                    // m_lock held, room checked
    [[nodiscard]] std::size_t Take() noexcept;                     // waits; 0: the end has come
    void WritePortion(std::size_t length) noexcept;

    const HANDLE m_stream;
    const Zv::Tessel::Server::Shared::Handle m_owned;

    Zv::Tessel::Server::Shared::Lock m_lock;
    Zv::Tessel::Server::Shared::Condition m_changed; // with m_lock: lines wait, or the end has come
    std::array<wchar_t, RingSize> m_ring{};          // guarded by m_lock
    std::size_t m_first = 0;                         // guarded by m_lock; where the oldest character lies
    std::size_t m_waiting = 0;                       // guarded by m_lock; characters in the ring
    std::size_t m_lost = 0;                          // guarded by m_lock; lines for which there was no room
    bool m_closing = false;                          // guarded by m_lock

    std::array<wchar_t, PortionSize> m_portion{}; // the sink's thread's own
    HMODULE m_library = nullptr;                  // keeps the thread's code loaded; set before the thread starts
    Zv::Tessel::Server::Shared::Handle m_thread;  // set by Open
};

} // namespace Logging
