// Owner of an open package description.
#pragma once

#include "Platform/Windows/WindowsDeclarations.h"

namespace Zv::Tessel::Server::Services
{

class PackageInfo
{
public:
    // False when the package could not be opened.
    explicit PackageInfo(const wchar_t* fullName) noexcept
        : m_open{OpenPackageInfoByFullName(fullName, 0, &m_reference) == ERROR_SUCCESS}
    {
    }
    PackageInfo(const PackageInfo&) = delete;
    PackageInfo& operator=(const PackageInfo&) = delete;
    ~PackageInfo()
    {
        if (m_open)
        {
            ClosePackageInfo(m_reference);
        }
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_open; }
    [[nodiscard]] PACKAGE_INFO_REFERENCE Get() const noexcept { return m_reference; }

private:
    PACKAGE_INFO_REFERENCE m_reference = nullptr;
    bool m_open;
};

} // namespace Zv::Tessel::Server::Services
