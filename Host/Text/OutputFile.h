// Writing to files and pipes.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace Zv::Host
{

// All of them; false, with GetLastError(), when that fails.
[[nodiscard]] bool WriteBytes(HANDLE file, std::string_view bytes) noexcept;

// Makes the file, or replaces what it held. The path is UTF-8. Throws Failure(InputOutput).
void WriteAll(const std::string& path, std::string_view bytes);

} // namespace Zv::Host
