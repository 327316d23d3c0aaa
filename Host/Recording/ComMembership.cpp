#include "Host/Recording/ComMembership.h"

#include "Host/Recording/WmiClient.h"
#include "Host/Text/Failure.h"

#include <objbase.h>

namespace Zv::Host
{

namespace
{

void Check(const char* what, HRESULT status)
{
    if (FAILED(status))
    {
        throw Failure{ExitCode::InternalError, std::string{"cannot "} + what + ": " + StatusText(status)};
    }
}

} // namespace

ComMembership::ComMembership()
{
    Check("use COM", CoInitializeEx(nullptr, COINIT_MULTITHREADED));
}

ComMembership::~ComMembership()
{
    CoUninitialize();
}

void ComMembership::SetProcessSecurity()
{
    const HRESULT secured = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                                 RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (secured != RPC_E_TOO_LATE) // the module has said the same before
    {
        Check("set COM's security", secured);
    }
}

} // namespace Zv::Host
