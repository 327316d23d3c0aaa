// The line that shows people that something long goes on.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace Zv::Host
{

// "reading Win32_Process: 12 objects, 3 s". What is over within a second shows none. For one thread at a time.
class ProgressLine
{
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;
    using Show = std::function<void(std::string_view)>; // takes the line's new text; an empty one removes it

    ProgressLine(std::string what, Now now, Show show);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine() = default;

    void SetWhat(std::string what) { m_what = std::move(what); }
    void Count() noexcept { ++m_count; } // one more object has come
    void SetCount(std::size_t count) noexcept { m_count = count; }

    // Shows the line when its time has come. To be called several times a second.
    void Refresh();
    void Remove();

private:
    std::string m_what;
    std::size_t m_count = 0;
    const Now m_now;
    const Show m_show;
    const Clock::time_point m_begin;
    bool m_isShown = false;
};

} // namespace Zv::Host
