// Requests for the machine of Subject.h.
#pragma once

#include <cstddef>
#include <string>

namespace Zv::Benchmarks
{

// So many bytes for the firmware, as text.
[[nodiscard]] std::wstring FirmwareInput(std::size_t size);

// Function 2 with so many bytes in and back.
[[nodiscard]] std::wstring FirmwareRequest(std::size_t inputSize, std::size_t returnSize);

// Functions 16 and 32: the number of every item.
inline constexpr wchar_t ItemRequest[] =
    LR"({"property":"Number","wmiClass":"Bench_Item","wmiNamespace":"ROOT\\CIMV2"})";
// The same of their text.
inline constexpr wchar_t ItemTextRequest[] =
    LR"({"property":"Text","wmiClass":"Bench_Item","wmiNamespace":"ROOT\\CIMV2"})";
// Function 256: every item.
inline constexpr wchar_t TextRequest[] = LR"({"wmiClass":"Bench_Item","wmiNamespace":"ROOT\\CIMV2"})";
// Function 64
inline constexpr wchar_t SettingRequest[] = LR"({"name":"Fan","value":"Off"})";

} // namespace Zv::Benchmarks
