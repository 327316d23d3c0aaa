#include "Tests/Fuzz/Mutator.h"

#include "Tests/Fuzz/Vocabulary.h"

#include <algorithm>
#include <iterator>

namespace Zv::Fuzz
{

namespace
{

// A part of a sequence.
struct Range
{
    std::size_t first;
    std::size_t count;
};

template <class Sequence>
Range PartOf(const Sequence& sequence, Random& random)
{
    const std::size_t first = random.Below(sequence.size() + 1);
    const std::size_t longest = sequence.size() - first;
    return {first, random.Below((random.OneIn(4) ? longest : std::min<std::size_t>(longest, 12)) + 1)};
}

template <class Sequence>
auto At(Sequence& sequence, std::size_t index)
{
    return sequence.begin() + static_cast<std::ptrdiff_t>(index);
}

template <class Sequence>
void Remove(Sequence& sequence, Random& random)
{
    const Range part = PartOf(sequence, random);
    sequence.erase(At(sequence, part.first), At(sequence, part.first + part.count));
}

// Puts a part of one sequence somewhere into the other, or over what is there.
template <class Sequence>
void Insert(Sequence& sequence, const Sequence& source, Random& random)
{
    const Range part = PartOf(source, random);
    const Sequence inserted{At(source, part.first), At(source, part.first + part.count)};
    const std::size_t place = random.Below(sequence.size() + 1);
    if (random.OneIn(2))
    {
        const std::size_t end = std::min(sequence.size(), place + inserted.size());
        sequence.erase(At(sequence, place), At(sequence, end));
    }
    sequence.insert(At(sequence, place), inserted.begin(), inserted.end());
}

void InsertWord(std::wstring& text, std::wstring_view word, Random& random)
{
    text.insert(random.Below(text.size() + 1), word);
}

// Many of the same: nesting and length.
void InsertMany(std::wstring& text, Random& random)
{
    const std::wstring_view word = random.Of(Words);
    const std::size_t count = std::size_t{1} << random.Below(random.OneIn(50) ? 19 : 11);
    std::wstring many;
    for (std::size_t i = 0; i < count && many.size() < MaxRequest / 2; ++i)
    {
        many += word;
    }
    InsertWord(text, many, random);
}

void ReplaceNumber(std::wstring& text, Random& random)
{
    static constexpr std::wstring_view Digits = L"0123456789";
    const std::size_t first = text.find_first_of(Digits, random.Below(text.size() + 1));
    if (first == text.npos)
    {
        InsertWord(text, random.Of(Numbers), random);
        return;
    }
    const std::size_t end = std::min(text.find_first_not_of(Digits, first), text.size());
    text.replace(first, end - first, random.Of(Numbers));
}

void ChangeCharacter(std::wstring& text, Random& random)
{
    if (!text.empty())
    {
        wchar_t& character = random.Of(text);
        character = static_cast<wchar_t>(random.OneIn(2) ? random.Below(0x80) : random.Below(0x10000));
    }
}

void MutateText(std::wstring& text, const std::wstring& other, Random& random)
{
    switch (random.Below(9))
    {
    case 0:
        InsertWord(text, random.Of(Words), random);
        break;
    case 1:
        InsertWord(text, random.Of(Numbers), random);
        break;
    case 2:
        ReplaceNumber(text, random);
        break;
    case 3:
        ChangeCharacter(text, random);
        break;
    case 4:
        Remove(text, random);
        break;
    case 5:
        Insert(text, std::wstring{text}, random);
        break;
    case 6:
        Insert(text, other, random);
        break;
    case 7:
        text = random.Of(Requests);
        break;
    default:
        InsertMany(text, random);
        break;
    }
    text.resize(std::min(text.size(), MaxRequest));
}

void MutateMachine(Bytes& machine, const Bytes& other, Random& random)
{
    static constexpr std::size_t Longest = 4096;
    const auto byte = [&random] { return static_cast<std::uint8_t>(random.Below(256)); };
    switch (random.Below(7))
    {
    case 0:
        Remove(machine, random);
        break;
    case 1:
        Insert(machine, Bytes{machine}, random);
        break;
    case 2:
        Insert(machine, other, random);
        break;
    case 3:
        std::generate_n(std::back_inserter(machine), 1 + random.Below(16), byte);
        break;
    case 4:
        machine.insert(At(machine, random.Below(machine.size() + 1)), random.OneIn(2) ? std::uint8_t{0} : byte());
        break;
    default:
        if (!machine.empty())
        {
            random.Of(machine) = random.OneIn(3) ? std::uint8_t{0} : byte();
        }
        break;
    }
    machine.resize(std::min(machine.size(), Longest));
}

void MutateCommands(std::vector<Command>& commands, const Input& other, Random& random)
{
    switch (random.Below(4))
    {
    case 0:
        if (!commands.empty())
        {
            random.Of(commands).function =
                random.OneIn(10) ? static_cast<std::uint32_t>(random.Below(300)) : random.Of(Functions);
        }
        break;
    case 1:
        Remove(commands, random);
        break;
    case 2:
        Insert(commands, other.commands, random);
        break;
    default:
        commands.push_back({random.Of(Functions), std::wstring{random.Of(Requests)}});
        break;
    }
    commands.resize(std::min(commands.size(), MaxCommands));
}

} // namespace

Input Mutate(Input input, const Input& other, Random& random)
{
    const std::size_t changes = std::size_t{1} << random.Below(5);
    for (std::size_t i = 0; i < changes; ++i)
    {
        const std::size_t part = random.Below(10);
        if (part == 0 || input.commands.empty())
        {
            MutateCommands(input.commands, other, random);
        }
        else if (part < 5)
        {
            const std::wstring lent = other.commands.empty() ? L"" : random.Of(other.commands).request;
            MutateText(random.Of(input.commands).request, lent, random);
        }
        else
        {
            MutateMachine(input.machine, other.machine, random);
        }
    }
    return input;
}

} // namespace Zv::Fuzz
