// A failed COM call raised as a C++ exception.
#pragma once

#include <windows.h>

namespace Zv::Tessel::Server::Shared::WMI
{

// Raised where memory for a BSTR runs out (E_OUTOFMEMORY) and where a VARIANT cannot be converted. Like Microsoft's
// _com_error it is no std::exception, so that handlers of standard exceptions let it pass.
class ComError
{
public:
    explicit ComError(HRESULT result) noexcept : m_result{result} {}
    [[nodiscard]] HRESULT Result() const noexcept { return m_result; }

private:
    HRESULT m_result;
};

} // namespace Zv::Tessel::Server::Shared::WMI
