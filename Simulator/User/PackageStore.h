// The packages of a simulated machine, asked the way the platform's package functions are.
#pragma once

#include "Platform/Windows/WindowsDeclarations.h"
#include "Simulator/Description/Description.h"

#include <vector>

namespace Zv::Simulator
{

// Results are Windows error codes. All is read-only and safe on several threads.
class PackageStore
{
public:
    explicit PackageStore(const std::vector<Package>& packages) : m_packages{packages} {}

    // FindPackagesByPackageFamily for the user who has the packages.
    [[nodiscard]] LONG FindByFamily(PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names, UINT32* length,
                                    WCHAR* buffer, UINT32* properties) const;
    // GetPackagePathByFullName
    [[nodiscard]] LONG PathOf(PCWSTR fullName, UINT32* length, PWSTR path) const;
    // GetStagedPackageOrigin
    [[nodiscard]] LONG OriginOf(PCWSTR fullName, PackageOrigin* origin) const;

    struct Found
    {
        const Package* package = nullptr;
        const PackageName* name = nullptr;
    };
    // Null pointers when there is none.
    [[nodiscard]] Found Find(PCWSTR fullName) const;
    // GetPackageInfo of what Find gave
    [[nodiscard]] static LONG InfoOf(const Found& found, UINT32 filters, UINT32* length, BYTE* buffer, UINT32* count);

    // Null when no package has that execution alias (a file name).
    [[nodiscard]] const Package* FindAlias(std::wstring_view alias) const;

private:
    const std::vector<Package>& m_packages;
};

} // namespace Zv::Simulator
