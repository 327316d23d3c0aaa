#include "Tests/Fuzz/Input.h"

#include <algorithm>
#include <cstring>

namespace Zv::Fuzz
{

namespace
{

void Append(Bytes& bytes, const void* data, std::size_t size)
{
    const auto* const first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

void Append(Bytes& bytes, std::size_t number)
{
    const auto small = static_cast<std::uint32_t>(number);
    Append(bytes, &small, sizeof small);
}

class Reader
{
public:
    explicit Reader(const Bytes& bytes) : m_bytes{bytes} {}

    [[nodiscard]] std::size_t Left() const noexcept { return m_bytes.size() - m_next; }

    // As much as there is; the rest of `data` stays as it is.
    void Take(void* data, std::size_t size)
    {
        const std::size_t taken = std::min(size, Left());
        if (taken != 0)
        {
            std::memcpy(data, m_bytes.data() + m_next, taken);
            m_next += taken;
        }
    }

    std::uint32_t Number()
    {
        std::uint32_t number = 0;
        Take(&number, sizeof number);
        return number;
    }

private:
    const Bytes& m_bytes;
    std::size_t m_next = 0;
};

} // namespace

Bytes ToBytes(const Input& input)
{
    Bytes bytes;
    bytes.push_back(static_cast<std::uint8_t>(input.commands.size()));
    for (const Command& command : input.commands)
    {
        Append(bytes, command.function);
        Append(bytes, command.request.size());
        Append(bytes, command.request.data(), command.request.size() * sizeof(wchar_t));
    }
    Append(bytes, input.machine.data(), input.machine.size());
    return bytes;
}

std::size_t SizeOf(const Input& input) noexcept
{
    std::size_t size = input.machine.size();
    for (const Command& command : input.commands)
    {
        size += 8 + command.request.size() * sizeof(wchar_t);
    }
    return size;
}

Input FromBytes(const Bytes& bytes)
{
    Reader reader{bytes};
    std::uint8_t count = 0;
    reader.Take(&count, sizeof count);

    Input input;
    input.commands.resize(std::min<std::size_t>(count, MaxCommands));
    for (Command& command : input.commands)
    {
        command.function = reader.Number();
        const std::size_t length = reader.Number();
        command.request.resize(std::min({length, MaxRequest, reader.Left() / sizeof(wchar_t)}));
        reader.Take(command.request.data(), command.request.size() * sizeof(wchar_t));
    }
    input.machine.resize(reader.Left());
    reader.Take(input.machine.data(), input.machine.size());
    return input;
}

} // namespace Zv::Fuzz
