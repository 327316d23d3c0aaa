#include "Logging/StreamSink.h"

#include "Logging/LineBuffer.h"

#include <process.h>

#include <algorithm>
#include <cwchar>
#include <new>
#include <string_view>
#include <utility>

namespace Logging
{

namespace
{

using Zv::Tessel::Server::Shared::Handle;
using Zv::Tessel::Server::Shared::LockGuard;
using Zv::Tessel::Server::Shared::UniqueLock;

constexpr std::wstring_view LineEnd = L"\r\n";
constexpr std::size_t MaxContext = 128;
constexpr std::size_t MaxLossText = 64;

std::size_t PrintTime(wchar_t (&text)[32]) noexcept
{
    SYSTEMTIME now{};
    GetSystemTime(&now);
    const int length = std::swprintf(text, std::size(text), L"%04u-%02u-%02uT%02u:%02u:%02u.%03uZ ", now.wYear,
                                     now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return length < 0 ? 0 : static_cast<std::size_t>(length);
}

} // namespace

StreamSink::StreamSink(HANDLE stream, Handle owned) noexcept : m_stream{stream}, m_owned{std::move(owned)} {}

StreamSink::~StreamSink()
{
    if (m_thread)
    {
        {
            const LockGuard held{m_lock};
            m_closing = true;
        }
        m_changed.NotifyOne();
        WaitForSingleObject(m_thread.Get(), INFINITE);
    }
    if (m_library != nullptr)
    {
        FreeLibrary(m_library); // the caller of the library holds another reference
    }
}

std::unique_ptr<StreamSink> StreamSink::Open(HANDLE stream, Handle owned) noexcept
{
    std::unique_ptr<StreamSink> sink{new (std::nothrow) StreamSink{stream, std::move(owned)}};
    if (!sink || GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(&Run),
                                    &sink->m_library) == FALSE)
    {
        return nullptr;
    }
    sink->m_thread = Handle{reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &Run, sink.get(), 0, nullptr))};
    if (!sink->m_thread)
    {
        return nullptr;
    }
    return sink;
}

void StreamSink::Write(const LogLine& line, void* user) noexcept
{
    static_cast<StreamSink*>(user)->Put(line);
}

void StreamSink::Release(void* user) noexcept
{
    const std::unique_ptr<StreamSink> owner{static_cast<StreamSink*>(user)};
}

void StreamSink::Put(const LogLine& line) noexcept
{
    wchar_t time[32];
    const std::wstring_view level = LevelName(line.level);
    const std::wstring_view context{line.context != nullptr ? line.context : L"",
                                    line.context != nullptr ? wcsnlen(line.context, MaxContext) : 0};
    const std::wstring_view pieces[] = {
        {time, PrintTime(time)},  level,   context.empty() ? L" " : L" [", context, context.empty() ? L"" : L"] ",
        {line.text, line.length}, LineEnd,
    };
    std::size_t length = 0;
    for (const std::wstring_view piece : pieces)
    {
        length += piece.size();
    }

    {
        const LockGuard held{m_lock};
        if (m_waiting + MaxLossText + length > m_ring.size())
        {
            ++m_lost;
            return;
        }
        AppendLoss();
        for (const std::wstring_view piece : pieces)
        {
            Append(piece.data(), piece.size());
        }
    }
    m_changed.NotifyOne();
}

void StreamSink::Append(const wchar_t* text, std::size_t length) noexcept
{
    for (std::size_t i = 0; i < length; ++i)
    {
        m_ring[(m_first + m_waiting++) % m_ring.size()] = text[i];
    }
}

void StreamSink::AppendLoss() noexcept
{
    if (m_lost != 0)
    {
        wchar_t text[MaxLossText];
        const int length = std::swprintf(text, std::size(text), L"... %llu lines lost\r\n",
                                         static_cast<unsigned long long>(std::exchange(m_lost, 0)));
        Append(text, length < 0 ? 0 : static_cast<std::size_t>(length));
    }
}

std::size_t StreamSink::Take() noexcept
{
    UniqueLock held{m_lock};
    m_changed.Wait(held, [this] { return m_waiting != 0 || m_closing; });
    if (m_waiting == 0)
    {
        AppendLoss();
    }
    const std::size_t length = std::min(m_waiting, m_portion.size());
    for (std::size_t i = 0; i < length; ++i)
    {
        m_portion[i] = m_ring[(m_first + i) % m_ring.size()];
    }
    // The halves of a character outside the basic plane are converted together.
    const std::size_t taken = length == m_portion.size() && IS_HIGH_SURROGATE(m_portion.back()) ? length - 1 : length;
    m_first = (m_first + taken) % m_ring.size();
    m_waiting -= taken;
    return taken;
}

void StreamSink::WritePortion(std::size_t length) noexcept
{
    char bytes[3 * PortionSize];
    const int converted = WideCharToMultiByte(CP_UTF8, 0, m_portion.data(), static_cast<int>(length), bytes,
                                              static_cast<int>(std::size(bytes)), nullptr, nullptr);
    const char* next = bytes;
    DWORD left = converted > 0 ? static_cast<DWORD>(converted) : 0;
    while (left > 0)
    {
        DWORD written = 0;
        if (WriteFile(m_stream, next, left, &written, nullptr) == FALSE || written == 0)
        {
            return; // a full disk or a closed pipe: there is nowhere to report it
        }
        next += written;
        left -= written;
    }
}

unsigned __stdcall StreamSink::Run(void* sink) noexcept
{
    auto& self = *static_cast<StreamSink*>(sink);
    while (const std::size_t length = self.Take())
    {
        self.WritePortion(length);
    }
    return 0;
}

} // namespace Logging
