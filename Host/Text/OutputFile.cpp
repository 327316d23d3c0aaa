#include "Host/Text/OutputFile.h"

#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Windows/Handle.h"

#include <algorithm>
#include <cstddef>

namespace Zv::Host
{

bool WriteBytes(HANDLE file, std::string_view bytes) noexcept
{
    while (!bytes.empty())
    {
        DWORD written = 0;
        const auto portion = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 20));
        if (WriteFile(file, bytes.data(), portion, &written, nullptr) == FALSE || written == 0)
        {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

void WriteAll(const std::string& path, std::string_view bytes)
{
    const Tessel::Server::Shared::Handle file{
        CreateFileW(ToUtf16(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (!file || !WriteBytes(file.Get(), bytes))
    {
        throw Failure{ExitCode::InputOutput, "cannot write " + path + ": " + SystemErrorText(GetLastError())};
    }
}

} // namespace Zv::Host
