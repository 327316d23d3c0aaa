#include "Host/Shell/FileNames.h"

#include "Platform/Windows/Utf8.h"

#include "Simulator/Cim/CimModel.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>

namespace Zv::Host
{

std::vector<std::string> FileNamesThatBegin(const std::string& begin)
{
    const std::size_t slash = begin.find_last_of("\\/");
    const std::string folder = slash == std::string::npos ? "" : begin.substr(0, slash + 1);
    const std::wstring name = ToUtf16(begin.substr(folder.size()));

    std::vector<std::string> found;
    std::error_code error;
    std::filesystem::directory_iterator entry{folder.empty() ? L"." : ToUtf16(folder), error};
    for (; !error && entry != std::filesystem::directory_iterator{}; entry.increment(error))
    {
        const std::wstring file = entry->path().filename().wstring();
        if (Simulator::EqualNoCase(file.substr(0, name.size()), name))
        {
            found.push_back(folder + ToUtf8(file) + (entry->is_directory(error) ? "\\" : ""));
        }
    }
    std::ranges::sort(found);
    return found;
}

} // namespace Zv::Host
