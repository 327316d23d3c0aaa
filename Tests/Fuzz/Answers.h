// The choices of a simulated machine, taken one after the other from bytes.
#pragma once

#include "Tests/Fuzz/Input.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Zv::Fuzz
{

// Zero always stands for what a machine in good order does, and so does the end of the bytes: an input without any
// describes one that answers everything.
class Answers
{
public:
    explicit Answers(const Bytes& bytes) : m_bytes{bytes} {}

    std::uint8_t Byte() noexcept { return m_next < m_bytes.size() ? m_bytes[m_next++] : std::uint8_t{0}; }

    // Below `count`.
    std::size_t Choice(std::size_t count) noexcept { return Byte() % count; }

    std::int32_t Number() noexcept;

    // Success, or one of the failures that WMI and its providers report.
    HRESULT Status() noexcept;

    // Any UTF-16 units; now and then very many.
    std::wstring Text();

private:
    const Bytes& m_bytes;
    std::size_t m_next = 0;
};

} // namespace Zv::Fuzz
