// A scripted class object.
#pragma once

#include "Tests/Support/UnexpectedCalls.h"

namespace Zv::Testing
{

class FakeObject final : public UnexpectedObject
{
public:
    FakeObject(std::shared_ptr<FakeWmiState> state, ObjectScriptPtr script);

    [[nodiscard]] const ObjectScriptPtr& Script() const noexcept { return m_script; }

    STDMETHODIMP Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    STDMETHODIMP Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    STDMETHODIMP GetObjectText(LONG flags, BSTR* text) override;
    STDMETHODIMP SpawnInstance(LONG flags, IWbemClassObject** instance) override;
    STDMETHODIMP GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** input, IWbemClassObject** output) override;

private:
    ~FakeObject() override = default;

    [[nodiscard]] std::wstring TracedAs() const override { return m_script->name; }
    [[nodiscard]] HRESULT Fill(const Value& value, VARIANT* variant) const;

    ObjectScriptPtr m_script;
};

// The data behind an object that the module passed to ExecMethod.
[[nodiscard]] inline const ObjectScript& ScriptOf(IWbemClassObject* object)
{
    return *static_cast<FakeObject*>(object)->Script();
}

} // namespace Zv::Testing
