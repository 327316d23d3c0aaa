// A line of a terminal that is rewritten in place.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace Zv::Host
{

// Below everything else: whoever writes something else into the terminal clears it before. For one thread at a time.
class StatusLine
{
public:
    using Write = std::function<void(std::string_view)>;

    explicit StatusLine(Write write) : m_write{std::move(write)} {}

    // A longer one than the terminal is wide is cut: it could not be rewritten.
    void Show(std::string_view text, std::optional<std::size_t> terminalWidth);
    void Clear();

private:
    const Write m_write;
    std::size_t m_width = 0; // columns of what is shown
};

} // namespace Zv::Host
