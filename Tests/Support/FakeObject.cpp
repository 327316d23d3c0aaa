#include "Tests/Support/FakeObject.h"

#include <oleauto.h>

namespace Zv::Testing
{

namespace
{

using SharedVariant = std::shared_ptr<VARIANT>;

SharedVariant CopyOf(VARIANT* value)
{
    SharedVariant copy{new VARIANT{}, [](VARIANT* variant) {
                           VariantClear(variant);
                           delete variant;
                       }};
    if ((value->vt & VT_ARRAY) != 0 && value->parray == nullptr)
    {
        copy->vt = value->vt; // VariantCopy does not take a missing array
    }
    else if (FAILED(VariantCopy(copy.get(), value)))
    {
        ADD_FAILURE() << "a VARIANT of type " << value->vt << " cannot be copied";
    }
    return copy;
}

} // namespace

FakeObject::FakeObject(std::shared_ptr<FakeWmiState> state, ObjectScriptPtr script)
    : UnexpectedObject{std::move(state), "IWbemClassObject"},
      m_script{std::move(script)}
{
}

HRESULT FakeObject::Fill(const Value& value, VARIANT* variant) const
{
    VariantInit(variant); // what it held is lost, as with the real one
    if (value.Embedded() == nullptr)
    {
        return value.Fill(variant);
    }
    variant->vt = VT_UNKNOWN;
    variant->punkVal = new FakeObject{SharedState(), value.Embedded()};
    return S_OK;
}

STDMETHODIMP FakeObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG*)
{
    return Perform("Get", ShowAll(name, flags), [&] {
        const auto found = m_script->properties.find(name);
        if (found == m_script->properties.end())
        {
            return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        }
        if (type != nullptr)
        {
            *type = found->second.Type();
        }
        return Fill(found->second, value);
    });
}

STDMETHODIMP FakeObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    const std::wstring arguments = ShowAll(name, flags) + L", " + ShowVariant(value) + L", " + std::to_wstring(type);
    return Perform("Put", arguments, [&] {
        const Value stored =
            Value::Other([copy = CopyOf(value)](VARIANT* variant) { return VariantCopy(variant, copy.get()); }, type);
        m_script->properties.insert_or_assign(name, stored);
        return S_OK;
    });
}

STDMETHODIMP FakeObject::GetObjectText(LONG flags, BSTR* text)
{
    return Perform("GetObjectText", ShowAll(flags), [&] {
        *text = SysAllocStringLen(m_script->text.data(), static_cast<UINT>(m_script->text.size()));
        return S_OK;
    });
}

STDMETHODIMP FakeObject::SpawnInstance(LONG flags, IWbemClassObject** instance)
{
    return Perform("SpawnInstance", ShowAll(flags), [&] {
        const auto spawned = std::make_shared<ObjectScript>(*m_script);
        spawned->name = L"new " + m_script->name;
        *instance = new FakeObject{SharedState(), spawned};
        return S_OK;
    });
}

STDMETHODIMP FakeObject::GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** input, IWbemClassObject** output)
{
    return Perform("GetMethod", ShowAll(name, flags), [&] {
        const auto found = m_script->signatures.find(name);
        if (found == m_script->signatures.end())
        {
            return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        }
        *input = new FakeObject{SharedState(), found->second};
        if (output != nullptr)
        {
            *output = new FakeObject{SharedState(), std::make_shared<ObjectScript>()};
        }
        return S_OK;
    });
}

} // namespace Zv::Testing
