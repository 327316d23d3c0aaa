// Standard output and standard error.
#pragma once

#include <windows.h>

#include <mutex>
#include <string_view>

namespace Zv::Host
{

// Takes UTF-8. A console shows it as text whatever its code page, a pipe or file receives the bytes as they are.
// May be used by several threads; lines stay whole.
class Console
{
public:
    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() = default;

    // Standard output. Throws Failure(InputOutput) when it cannot be written.
    void Write(std::string_view text);
    void WriteLine(std::string_view text);

    // Standard error. A line that cannot be written is lost.
    void WriteErrorLine(std::string_view text) noexcept;
    void Prompt(std::string_view text) noexcept; // stays in its line

private:
    class Stream
    {
    public:
        explicit Stream(DWORD standardHandle) noexcept;
        [[nodiscard]] bool Write(std::string_view text);

    private:
        [[nodiscard]] bool WriteToConsole(std::string_view text);

        HANDLE m_handle;
        bool m_isConsole = false;
    };

    std::mutex m_mutex; // held while a line is written
    Stream m_output;    // guarded by m_mutex
    Stream m_error;     // guarded by m_mutex
};

} // namespace Zv::Host
