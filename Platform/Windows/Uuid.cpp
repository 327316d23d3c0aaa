#include "Platform/Windows/Uuid.h"

#include <windows.h>

#include <rpc.h>

#include <new>

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

// Owner of a string that the RPC run time allocated.
class RpcString
{
public:
    RpcString() noexcept = default;
    RpcString(const RpcString&) = delete;
    RpcString& operator=(const RpcString&) = delete;
    ~RpcString()
    {
        if (m_text != nullptr)
        {
            RpcStringFreeW(&m_text);
        }
    }

    [[nodiscard]] RPC_WSTR* Receive() noexcept { return &m_text; }
    [[nodiscard]] const wchar_t* Get() const noexcept { return reinterpret_cast<const wchar_t*>(m_text); }

private:
    RPC_WSTR m_text = nullptr;
};

} // namespace

std::wstring NewUuidString()
{
    UUID uuid{};
    UuidCreate(&uuid); // a UUID that is only locally unique (RPC_S_UUID_LOCAL_ONLY) serves as well

    RpcString text;
    if (UuidToStringW(&uuid, text.Receive()) != RPC_S_OK)
    {
        throw std::bad_alloc{}; // its only documented failure is RPC_S_OUT_OF_MEMORY
    }
    return text.Get();
}

} // namespace Zv::Tessel::Server::Shared::WMI
