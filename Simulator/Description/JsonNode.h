// A JSON text as a tree in which every value knows where it stood.
#pragma once

#include "Simulator/Description/DescriptionError.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

struct JsonMember;

struct JsonNode
{
    enum class Kind
    {
        Null,
        Boolean,
        Integer,  // fits std::int64_t
        Unsigned, // only fits std::uint64_t
        Real,
        String,
        Array,
        Object
    };

    Kind kind = Kind::Null;
    Position where;
    bool boolean = false;
    std::int64_t integer = 0;
    std::uint64_t unsignedInteger = 0; // also set for integers that are not negative
    double real = 0;                   // also set for integers
    std::string text;                  // UTF-8
    std::vector<JsonNode> items;
    std::vector<JsonMember> members; // in the order of the text

    // "the string \"abc\"", "a list": for error texts.
    [[nodiscard]] std::string Describe() const;
};

struct JsonMember
{
    std::string key;
    Position where; // of the key
    JsonNode value;
};

// Throws DescriptionError when the text is not JSON in UTF-8, nests too deep or repeats a key in one object.
[[nodiscard]] JsonNode ParseJson(std::string_view text);

} // namespace Zv::Simulator
