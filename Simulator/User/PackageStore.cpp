#include "Simulator/User/PackageStore.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace Zv::Simulator
{

namespace
{

// Property words of packages, from appmodel.h.
constexpr UINT32 Framework = 0x1;
constexpr UINT32 Resource = 0x2;
constexpr UINT32 Bundle = 0x4;

bool Passes(UINT32 properties, UINT32 filters)
{
    const UINT32 needed = (properties & Framework) != 0  ? PACKAGE_FILTER_DIRECT
                          : (properties & Resource) != 0 ? PACKAGE_FILTER_RESOURCE
                          : (properties & Bundle) != 0   ? PACKAGE_FILTER_BUNDLE
                                                         : PACKAGE_FILTER_HEAD;
    return (filters & needed) != 0;
}

UINT32 SizeOf(const std::wstring& text)
{
    return static_cast<UINT32>(text.size() + 1);
}

} // namespace

LONG PackageStore::FindByFamily(PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names, UINT32* length,
                                WCHAR* buffer, UINT32* properties) const
{
    if (family == nullptr || count == nullptr || length == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    std::vector<const PackageName*> found;
    UINT32 needed = 0;
    for (const Package& package : m_packages)
    {
        for (const PackageName& name : package.fullNames)
        {
            if (EqualNoCase(package.family, family) && Passes(name.properties, filters))
            {
                found.push_back(&name);
                needed += SizeOf(name.fullName);
            }
        }
    }
    const UINT32 lengthGiven = std::exchange(*length, needed);
    const UINT32 countGiven = std::exchange(*count, static_cast<UINT32>(found.size()));
    if (found.empty())
    {
        return ERROR_SUCCESS;
    }
    if (names == nullptr || buffer == nullptr || lengthGiven < needed || countGiven < found.size())
    {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    for (std::size_t i = 0; i < found.size(); ++i)
    {
        names[i] = buffer;
        buffer = std::copy_n(found[i]->fullName.c_str(), SizeOf(found[i]->fullName), buffer);
        if (properties != nullptr)
        {
            properties[i] = found[i]->properties;
        }
    }
    return ERROR_SUCCESS;
}

LONG PackageStore::PathOf(PCWSTR fullName, UINT32* length, PWSTR path) const
{
    if (fullName == nullptr || length == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    const Found found = Find(fullName);
    if (found.name == nullptr)
    {
        return ERROR_NOT_FOUND;
    }
    const UINT32 given = std::exchange(*length, SizeOf(found.name->folder));
    if (path == nullptr || given < *length)
    {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::copy_n(found.name->folder.c_str(), *length, path);
    return ERROR_SUCCESS;
}

LONG PackageStore::OriginOf(PCWSTR fullName, PackageOrigin* origin) const
{
    if (fullName == nullptr || origin == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    const Found found = Find(fullName);
    if (found.name == nullptr || !found.name->origin)
    {
        return ERROR_NOT_FOUND;
    }
    *origin = static_cast<PackageOrigin>(*found.name->origin);
    return ERROR_SUCCESS;
}

PackageStore::Found PackageStore::Find(PCWSTR fullName) const
{
    for (const Package& package : m_packages)
    {
        for (const PackageName& name : package.fullNames)
        {
            if (EqualNoCase(name.fullName, fullName))
            {
                return {&package, &name};
            }
        }
    }
    return {};
}

LONG PackageStore::InfoOf(const Found& found, UINT32 filters, UINT32* length, BYTE* buffer, UINT32* count)
{
    if (found.name == nullptr || length == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    const bool passes = Passes(found.name->properties, filters);
    if (count != nullptr)
    {
        *count = passes ? 1 : 0;
    }
    const std::wstring name = found.package->family.substr(0, found.package->family.find(L'_'));
    const std::wstring* const texts[] = {&found.name->folder, &found.name->fullName, &found.package->family, &name};
    std::size_t needed = passes ? sizeof(PACKAGE_INFO) : 0;
    for (const std::wstring* const text : texts)
    {
        needed += passes ? SizeOf(*text) * sizeof(wchar_t) : 0;
    }
    const UINT32 given = std::exchange(*length, static_cast<UINT32>(needed));
    if (!passes)
    {
        return ERROR_SUCCESS;
    }
    if (buffer == nullptr || given < needed)
    {
        return ERROR_INSUFFICIENT_BUFFER;
    }

    BYTE* end = buffer + sizeof(PACKAGE_INFO);
    const auto append = [&end](const std::wstring& text) {
        const std::size_t size = SizeOf(text) * sizeof(wchar_t);
        std::memcpy(end, text.c_str(), size);
        return reinterpret_cast<PWSTR>(std::exchange(end, end + size));
    };
    PACKAGE_INFO info{};
    info.path = append(*texts[0]);
    info.packageFullName = append(*texts[1]);
    info.packageFamilyName = append(*texts[2]);
    info.packageId.name = append(*texts[3]);
    info.packageId.version.Version = found.name->version;
    std::memcpy(buffer, &info, sizeof info);
    return ERROR_SUCCESS;
}

const Package* PackageStore::FindAlias(std::wstring_view alias) const
{
    const auto found = std::ranges::find_if(m_packages, [alias](const Package& package) {
        return !package.alias.empty() && EqualNoCase(package.alias, alias);
    });
    return found != m_packages.end() ? &*found : nullptr;
}

} // namespace Zv::Simulator
