// Typed access to the nodes of a description, with errors that say what was expected.
#pragma once

#include "Simulator/Description/JsonNode.h"

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

// The members of an object that has a fixed set of keys. "note" is a comment and allowed everywhere.
class Members
{
public:
    // Throws when the node is no object or has a key that is not in the list.
    Members(const JsonNode& node, std::initializer_list<std::string_view> keys);

    [[nodiscard]] const JsonNode* Find(std::string_view key) const noexcept;
    [[nodiscard]] const JsonNode& Require(std::string_view key) const;

private:
    const JsonNode& m_node;
};

[[noreturn]] void Expected(const JsonNode& node, const std::string& what);

[[nodiscard]] std::wstring ReadText(const JsonNode& node, const std::string& what);         // may be empty
[[nodiscard]] std::wstring ReadNonEmptyText(const JsonNode& node, const std::string& what); // may not
[[nodiscard]] bool ReadFlag(const JsonNode& node, const std::string& what);
[[nodiscard]] std::int64_t ReadInteger(const JsonNode& node, const std::string& what, std::int64_t minimum,
                                       std::int64_t maximum);
// 2147749889, "0x80041001" or "WBEM_E_FAILED".
[[nodiscard]] HRESULT ReadStatus(const JsonNode& node);
// "53 45 43 55" (blanks are free) as bytes.
[[nodiscard]] std::vector<std::uint8_t> ReadHexadecimal(const JsonNode& node);
[[nodiscard]] std::span<const JsonNode> ReadList(const JsonNode& node, const std::string& what);
// The members of an object whose keys are names; without its notes.
[[nodiscard]] std::vector<const JsonMember*> ReadMap(const JsonNode& node, const std::string& what);

} // namespace Zv::Simulator
