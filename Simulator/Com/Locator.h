// IWbemLocator, the way into a machine's namespaces.
#pragma once

#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

namespace Zv::Simulator
{

class Locator final : public ComObject<IWbemLocator, ObjectKind::Locator>
{
public:
    explicit Locator(CorePtr core) : ComObject{std::move(core)} {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE ConnectServer(BSTR path, BSTR user, BSTR password, BSTR locale, LONG flags,
                                            BSTR authority, IWbemContext* context, IWbemServices** services) override;
};

} // namespace Zv::Simulator
