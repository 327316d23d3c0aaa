#include "Logging/ProviderId.h"

#include "Logging/Sha1.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Logging
{

namespace
{

// The UUID 482c2db2-c390-47c8-87f8-1a15bfc130fb, the namespace of provider names, in network byte order.
constexpr std::array<std::uint8_t, 16> NamespaceOfNames = {0x48, 0x2c, 0x2d, 0xb2, 0xc3, 0x90, 0x47, 0xc8,
                                                           0x87, 0xf8, 0x1a, 0x15, 0xbf, 0xc1, 0x30, 0xfb};

// Independent of the user's language, unlike CharUpperW.
wchar_t UpperCase(wchar_t c) noexcept
{
    wchar_t upper = c;
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, &c, 1, &upper, 1, nullptr, nullptr, 0);
    return upper;
}

} // namespace

GUID ProviderIdFromName(const wchar_t* name) noexcept
{
    Sha1 hash;
    for (const std::uint8_t byte : NamespaceOfNames)
    {
        hash.Append(byte);
    }
    for (; *name != L'\0'; ++name)
    {
        const wchar_t c = UpperCase(*name);
        hash.Append(static_cast<std::uint8_t>(c >> 8));
        hash.Append(static_cast<std::uint8_t>(c));
    }

    // The digest's beginning is taken as the bytes of the id in memory; unlike in a true UUID the version is the only
    // field set.
    const Sha1::Digest digest = hash.Finish();
    GUID id{};
    std::memcpy(&id, digest.data(), sizeof id);
    id.Data3 = static_cast<unsigned short>((id.Data3 & 0x0fffU) | 0x5000U);
    return id;
}

} // namespace Logging
