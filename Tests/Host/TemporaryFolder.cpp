#include "TemporaryFolder.h"

#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <system_error>

namespace Zv::Testing
{

TemporaryFolder::TemporaryFolder()
{
    static std::atomic<int> number = 0;
    m_path = std::filesystem::temp_directory_path() /
             ("zvhost-" + std::to_string(GetCurrentProcessId()) + '-' + std::to_string(++number));
    std::filesystem::create_directories(m_path);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::Write(const std::filesystem::path& name, std::string_view bytes) const
{
    std::ofstream{m_path / name, std::ios::binary}.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return Zv::ToUtf8((m_path / name).wstring());
}

std::string TemporaryFolder::Read(const std::filesystem::path& path)
{
    std::ifstream stream{path, std::ios::binary};
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

} // namespace Zv::Testing
