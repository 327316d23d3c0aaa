#include "Tests/Fuzz/Corpus.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace Zv::Fuzz
{

namespace
{

Bytes Read(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    const Bytes bytes{std::istreambuf_iterator<char>{stream}, {}};
    if (!stream)
    {
        throw std::runtime_error{"cannot read " + file.string()};
    }
    return bytes;
}

} // namespace

std::vector<Input> Load(const std::filesystem::path& place)
{
    std::vector<Bytes> contents;
    if (!std::filesystem::is_directory(place))
    {
        contents.push_back(Read(place));
    }
    else
    {
        for (const auto& file : std::filesystem::directory_iterator{place})
        {
            if (file.is_regular_file() && file.path().extension() != ".md")
            {
                contents.push_back(Read(file.path()));
            }
        }
    }
    std::ranges::sort(
        contents, [](const Bytes& a, const Bytes& b) { return a.size() != b.size() ? a.size() < b.size() : a < b; });
    std::vector<Input> inputs;
    std::ranges::transform(contents, std::back_inserter(inputs), &FromBytes);
    return inputs;
}

void Save(const std::filesystem::path& folder, const Input& input)
{
    const Bytes bytes = ToBytes(input);
    const std::size_t hash = std::hash<std::string_view>{}({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    char name[20];
    std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
    std::ofstream{folder / name, std::ios::binary}.write(reinterpret_cast<const char*>(bytes.data()),
                                                         static_cast<std::streamsize>(bytes.size()));
}

} // namespace Zv::Fuzz
