// Type names as Microsoft's run-time type information spells them ("class Zv::Name", "struct Zv::Name"), the same in
// every build: log lines begin with them.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#if defined(_MSC_VER)
#include <typeinfo>
#endif

namespace Zv::Tessel::Server::Shared
{

#if defined(_MSC_VER)

template <class T>
[[nodiscard]] const char* ClassName() noexcept
{
    return typeid(T).name();
}

template <class T>
[[nodiscard]] const char* StructName() noexcept
{
    return typeid(T).name();
}

#else

namespace Detail
{

// GCC's run-time type information gives a mangled name without the class keyword; the text of the function's own
// signature holds the qualified name, between "T = " and the closing bracket.
template <class T>
constexpr std::string_view QualifiedName() noexcept
{
    constexpr std::string_view signature = __PRETTY_FUNCTION__;
    constexpr std::size_t begin = signature.find("T = ") + 4;
    constexpr std::size_t end = signature.find_first_of(";]", begin);
    return signature.substr(begin, end - begin);
}

template <class T, std::size_t KeywordSize>
constexpr auto KeywordAndName(const char (&keyword)[KeywordSize]) noexcept
{
    constexpr std::string_view name = QualifiedName<T>();
    std::array<char, KeywordSize + name.size()> text{}; // the keyword's terminator serves the whole
    std::size_t length = 0;
    for (const char c : std::string_view{keyword})
    {
        text[length++] = c;
    }
    for (const char c : name)
    {
        text[length++] = c;
    }
    return text;
}

template <class T>
inline constexpr auto ClassNameText = KeywordAndName<T>("class ");
template <class T>
inline constexpr auto StructNameText = KeywordAndName<T>("struct ");

} // namespace Detail

// For a type declared with the keyword class.
template <class T>
[[nodiscard]] constexpr const char* ClassName() noexcept
{
    return Detail::ClassNameText<T>.data();
}

// For a type declared with the keyword struct.
template <class T>
[[nodiscard]] constexpr const char* StructName() noexcept
{
    return Detail::StructNameText<T>.data();
}

#endif

} // namespace Zv::Tessel::Server::Shared
