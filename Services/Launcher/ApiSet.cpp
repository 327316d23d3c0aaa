#include "Services/Launcher/ApiSet.h"

#include "Platform/Windows/WindowsDeclarations.h"

#include <winternl.h>

#include <array>
#include <cstring>

namespace Zv::Tessel::Server::Services
{

namespace
{

// Microsoft's pages give both a BOOL as result; in every Windows it is a status, 0 for success.
using PresenceQuery = NTSTATUS(NTAPI*)(const UNICODE_STRING* contract, BOOLEAN* present);
using PresenceQueryEx = NTSTATUS(NTAPI*)(const UNICODE_STRING* contract, BOOLEAN* inSchema, BOOLEAN* present);

template <class Function>
Function FunctionOf(HMODULE module, const char* name) noexcept
{
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// What the module finds when it is loaded. Made while the loader's lock is held: nothing here loads a library, waits or
// allocates.
class Platform
{
public:
    Platform() noexcept
    {
        RTL_OSVERSIONINFOW version{};
        version.dwOSVersionInfoSize = sizeof version;
        RtlGetVersion(&version);
        m_hasApiSets = version.dwMajorVersion >= 10;
        if (!m_hasApiSets)
        {
            return;
        }
        if (const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll"); ntdll != nullptr)
        {
            m_query = FunctionOf<PresenceQuery>(ntdll, "ApiSetQueryApiSetPresence");
            m_queryEx = FunctionOf<PresenceQueryEx>(ntdll, "ApiSetQueryApiSetPresenceEx");
        }
    }

    [[nodiscard]] bool HasApiSets() const noexcept { return m_hasApiSets; }

    [[nodiscard]] bool Has(const UNICODE_STRING& contract) const noexcept
    {
        BOOLEAN present = FALSE;
        if (m_queryEx != nullptr)
        {
            BOOLEAN inSchema = FALSE;
            return NT_SUCCESS(m_queryEx(&contract, &inSchema, &present)) && present != FALSE;
        }
        return m_query != nullptr && NT_SUCCESS(m_query(&contract, &present)) && present != FALSE;
    }

private:
    bool m_hasApiSets = false;
    PresenceQuery m_query = nullptr;
    PresenceQueryEx m_queryEx = nullptr;
};

const Platform ThisPlatform;

} // namespace

bool ApiSet::IsPresent(const char* contract) noexcept
{
    if (!ThisPlatform.HasApiSets())
    {
        return true;
    }
    std::array<wchar_t, 128> text{};
    const int length = MultiByteToWideChar(CP_ACP, 0, contract, static_cast<int>(std::strlen(contract)), text.data(),
                                           static_cast<int>(text.size()));
    if (length == 0)
    {
        return false;
    }
    const auto bytes = static_cast<USHORT>(static_cast<std::size_t>(length) * sizeof(wchar_t));
    return ThisPlatform.Has(UNICODE_STRING{bytes, bytes, text.data()});
}

} // namespace Zv::Tessel::Server::Services
