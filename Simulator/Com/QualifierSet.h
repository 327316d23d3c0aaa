// IWbemQualifierSet: qualifiers that can be read.
#pragma once

#include "Simulator/Cim/Qualifiers.h"
#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

#include <optional>

namespace Zv::Simulator
{

// Safe on several threads.
class QualifierSet final : public ComObject<IWbemQualifierSet, ObjectKind::QualifierSet>
{
public:
    QualifierSet(CorePtr core, QualifierList qualifiers)
        : ComObject{std::move(core)},
          m_qualifiers{std::move(qualifiers)}
    {
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, VARIANT* value, LONG flavor) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetNames(LONG flags, SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;

private:
    void Show(const Qualifier& qualifier, VARIANT* value, LONG* flavor) const;

    const QualifierList m_qualifiers;
    Tessel::Server::Shared::Lock m_lock;
    std::optional<QualifierList> m_toCome; // of an enumeration, the next one last; guarded by m_lock
};

} // namespace Zv::Simulator
