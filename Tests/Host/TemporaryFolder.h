// A folder for the files of one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Zv::Testing
{

// Removed with everything in it.
class TemporaryFolder
{
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

    // Makes a file and returns its path in UTF-8.
    [[nodiscard]] std::string Write(const std::filesystem::path& name, std::string_view bytes) const;

    [[nodiscard]] static std::string Read(const std::filesystem::path& path);

private:
    std::filesystem::path m_path;
};

} // namespace Zv::Testing
