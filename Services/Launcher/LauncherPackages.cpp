// The package queries of Launcher.
#include "Platform/Windows/WindowsDeclarations.h"
#include "Services/Launcher/BufferText.h"
#include "Services/Launcher/Impersonation.h"
#include "Services/Launcher/Launcher.h"
#include "Services/Launcher/PackageInfo.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <stdexcept>

// NOLINTBEGIN(performance-unnecessary-value-param): the exported operations take strings and tokens by value

namespace Zv::Tessel::Server::Services
{

namespace
{

constexpr UINT32 FamilyFilter =
    PACKAGE_FILTER_HEAD | PACKAGE_FILTER_DIRECT | PACKAGE_FILTER_RESOURCE | PACKAGE_FILTER_BUNDLE;
constexpr UINT32 InfoFilter = PACKAGE_FILTER_HEAD | PACKAGE_FILTER_DIRECT | PACKAGE_FILTER_BUNDLE;

constexpr unsigned int VersionPart(std::uint64_t version, unsigned int shift) noexcept
{
    return static_cast<unsigned int>(version >> shift) & 0xFFFFU;
}

} // namespace

std::wstring Launcher::GetPackageFullNameByFamilyName(std::wstring familyName) const
{
    if (familyName.empty())
    {
        return {};
    }

    // Held to the end, log lines included.
    const Shared::LockGuard lock{rLock};
    UINT32 count = 0;
    UINT32 bufferLength = 0;
    FindPackagesByPackageFamily(familyName.c_str(), FamilyFilter, &count, nullptr, &bufferLength, nullptr, nullptr);
    if (bufferLength == 0)
    {
        LogWarning(L"Problem while finding out the size of the buffer. Returned length is 0.");
        return {};
    }

    const std::unique_ptr<PWSTR[]> names{new (std::nothrow) PWSTR[count]{}};
    if (names == nullptr)
    {
        LogWarning(L"Problem while allocating buffer.");
        return {};
    }
    std::vector<wchar_t> buffer(bufferLength);
    std::vector<UINT32> properties(count);
    if (FindPackagesByPackageFamily(familyName.c_str(), FamilyFilter, &count, names.get(), &bufferLength, buffer.data(),
                                    properties.data()) != ERROR_SUCCESS)
    {
        LogWarning(L"Problem while finding package's resources.");
        return {};
    }

    std::wstring result;
    const auto returned = properties.begin() + std::min<std::ptrdiff_t>(count, std::ssize(properties));
    const auto mainPackage = std::find(properties.begin(), returned, 0U);
    const auto index = static_cast<std::size_t>(mainPackage - properties.begin());
    if (mainPackage != returned && names[index] != nullptr)
    {
        result = names[index];
        LogInfo(L"Found package's full name for %ls: %ls", familyName.c_str(), result.c_str());
    }
    return result;
}

std::wstring Launcher::GetPackageFullNameByFamilyName(std::wstring familyName, std::shared_ptr<void> token) const
{
    const Impersonation impersonation{token.get(), m_logger};
    return impersonation ? GetPackageFullNameByFamilyName(std::move(familyName)) : std::wstring{};
}

std::wstring Launcher::GetPackageInstalledPathByFullName(std::wstring fullName) const
{
    if (fullName.empty())
    {
        return {};
    }
    UINT32 length = 0;
    GetPackagePathByFullName(fullName.c_str(), &length, nullptr);
    if (length == 0)
    {
        LogWarning(L"Problem while finding out the size of the buffer.");
        return {};
    }
    std::vector<wchar_t> buffer(length);
    if (GetPackagePathByFullName(fullName.c_str(), &length, buffer.data()) != ERROR_SUCCESS)
    {
        LogWarning(L"Problem while finding the full path for the package.");
        return {};
    }
    return TextOf(buffer);
}

std::wstring Launcher::GetPackageInstalledPathByFullName(std::wstring fullName, std::shared_ptr<void> token) const
{
    const Impersonation impersonation{token.get(), m_logger};
    return impersonation ? GetPackageInstalledPathByFullName(std::move(fullName)) : std::wstring{};
}

Launcher::OriginAndVersion Launcher::GetOriginAndVersionByFullName(std::wstring fullName) const
{
    PackageOrigin origin = PackageOrigin_Unknown;
    if (GetStagedPackageOrigin(fullName.c_str(), &origin) != ERROR_SUCCESS)
    {
        throw std::runtime_error{"Problem while retrieving the origin of the package."};
    }

    std::uint64_t version = 0;
    {
        const PackageInfo info{fullName.c_str()};
        if (!info)
        {
            throw std::runtime_error{"Problem while opening the package info."};
        }
        UINT32 length = 0;
        UINT32 count = 0;
        const LONG asked = GetPackageInfo(info.Get(), InfoFilter, &length, nullptr, &count);
        if (asked == ERROR_SUCCESS && count == 0)
        {
            throw std::runtime_error{"Problem while getting the count for the package info."};
        }
        if (asked != ERROR_INSUFFICIENT_BUFFER)
        {
            throw std::runtime_error{"Problem while getting the count for the package info. Insufficient buffer."};
        }
        // Never smaller than one entry, so that an answer without entries reads as version 0.
        std::vector<BYTE> buffer(std::max<std::size_t>(length, sizeof(PACKAGE_INFO)));
        if (GetPackageInfo(info.Get(), InfoFilter, &length, buffer.data(), &count) != ERROR_SUCCESS)
        {
            throw std::runtime_error{"Problem while getting the package info."};
        }
        version = reinterpret_cast<const PACKAGE_INFO*>(buffer.data())->packageId.version.Version;
    }
    LogInfo(L"Origin: %d. Version: %d %d %d %d", static_cast<int>(origin), VersionPart(version, 48),
            VersionPart(version, 32), VersionPart(version, 16), VersionPart(version, 0));
    return {static_cast<std::int32_t>(origin), version};
}

Launcher::OriginAndVersion Launcher::GetOriginAndVersionByFamilyName(std::wstring familyName) const
{
    const std::shared_ptr<void> token = GetUserTokenForCurrentUser(TokenImpersonation);
    std::wstring fullName = GetPackageFullNameByFamilyName(std::move(familyName), token);
    const Impersonation impersonation{token.get(), m_logger};
    if (!impersonation)
    {
        throw std::runtime_error{"Problem while impersonating the user of the package."};
    }
    return GetOriginAndVersionByFullName(std::move(fullName));
}

} // namespace Zv::Tessel::Server::Services

// NOLINTEND(performance-unnecessary-value-param)
