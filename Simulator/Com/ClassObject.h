// IWbemClassObject: a class, an instance, or the parameters of a method.
#pragma once

#include "Simulator/Cim/Qualifiers.h"
#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

// What the object holds is shared with the machine until it is changed. Safe on several threads.
class ClassObject final : public ComObject<IWbemClassObject, ObjectKind::ClassObject>
{
public:
    ClassObject(CorePtr core, ObjectPtr object);

    // The content as it is now.
    [[nodiscard]] ObjectPtr Content() const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR qualifier, LONG flags, VARIANT* value, SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE GetObjectText(LONG flags, BSTR* text) override;
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** derived) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;
    HRESULT STDMETHODCALLTYPE CompareTo(LONG flags, IWbemClassObject* other) override;
    HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR name, BSTR* className) override;
    HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR ancestor) override;
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in,
                                        IWbemClassObject** out) override;
    HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR name, LONG flags, IWbemClassObject* in, IWbemClassObject* out) override;
    HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE NextMethod(LONG flags, BSTR* name, IWbemClassObject** in,
                                         IWbemClassObject** out) override;
    HRESULT STDMETHODCALLTYPE EndMethodEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR method, IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR method, BSTR* className) override;

private:
    HRESULT PresentQualifiers(Site site, LPCWSTR name, IWbemQualifierSet** qualifiers,
                              const std::function<HRESULT(const Object&, QualifierList&)>& find);
    HRESULT StoreProperty(std::wstring_view name, const VARIANT* value, CIMTYPE type);
    HRESULT Rename(std::wstring_view name);
    HRESULT Fetch(std::wstring_view name, VARIANT* value, CIMTYPE* type, LONG* flavor) const;

    mutable Tessel::Server::Shared::Lock m_lock;
    // All guarded by m_lock.
    ObjectPtr m_object;
    std::optional<std::vector<std::wstring>> m_names; // still to come in an enumeration of properties
    std::size_t m_nextName = 0;
    std::optional<std::size_t> m_nextMethod; // position of an enumeration of methods
};

[[nodiscard]] ComPtr<IWbemClassObject> Present(const CorePtr& core, ObjectPtr object);

// The content of an object that some machine made; null for a stranger's.
[[nodiscard]] ObjectPtr Snapshot(IUnknown& object);

} // namespace Zv::Simulator
