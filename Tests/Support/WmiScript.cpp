#include "Tests/Support/WmiScript.h"

#include <oleauto.h>

#include <utility>

namespace Zv::Testing
{

namespace
{

template <class Elements, class Put>
HRESULT FillArray(VARIANT* variant, VARTYPE type, const Elements& elements, Put put)
{
    SAFEARRAY* const array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(elements.size()));
    if (array == nullptr)
    {
        return E_OUTOFMEMORY;
    }
    for (LONG index = 0; index < static_cast<LONG>(elements.size()); ++index)
    {
        put(array, index, elements[static_cast<std::size_t>(index)]);
    }
    variant->vt = static_cast<VARTYPE>(VT_ARRAY | type);
    variant->parray = array;
    return S_OK;
}

} // namespace

Value Value::Null(CIMTYPE type)
{
    return {[](VARIANT* variant) {
                variant->vt = VT_NULL;
                return S_OK;
            },
            type};
}

Value Value::Int(std::int32_t number, CIMTYPE type)
{
    return {[number](VARIANT* variant) {
                variant->vt = VT_I4;
                variant->lVal = number;
                return S_OK;
            },
            type};
}

Value Value::Bool(bool value)
{
    return {[value](VARIANT* variant) {
                variant->vt = VT_BOOL;
                variant->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
                return S_OK;
            },
            CIM_BOOLEAN};
}

Value Value::Text(std::wstring text)
{
    return {[text = std::move(text)](VARIANT* variant) {
                variant->vt = VT_BSTR;
                variant->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
                return S_OK;
            },
            CIM_STRING};
}

Value Value::Ints(std::vector<std::int32_t> numbers)
{
    return {[numbers = std::move(numbers)](VARIANT* variant) {
                return FillArray(variant, VT_I4, numbers, [](SAFEARRAY* array, LONG index, std::int32_t number) {
                    SafeArrayPutElement(array, &index, &number);
                });
            },
            CIM_SINT32 | CIM_FLAG_ARRAY};
}

Value Value::Bools(std::vector<bool> values)
{
    return {[values = std::move(values)](VARIANT* variant) {
                return FillArray(variant, VT_BOOL, values, [](SAFEARRAY* array, LONG index, bool value) {
                    VARIANT_BOOL element = value ? VARIANT_TRUE : VARIANT_FALSE;
                    SafeArrayPutElement(array, &index, &element);
                });
            },
            CIM_BOOLEAN | CIM_FLAG_ARRAY};
}

Value Value::Texts(std::vector<std::wstring> texts)
{
    return {[texts = std::move(texts)](VARIANT* variant) {
                return FillArray(variant, VT_BSTR, texts, [](SAFEARRAY* array, LONG index, const std::wstring& text) {
                    const BSTR element = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
                    SafeArrayPutElement(array, &index, element); // copies
                    SysFreeString(element);
                });
            },
            CIM_STRING | CIM_FLAG_ARRAY};
}

Value Value::Bytes(std::vector<std::uint8_t> bytes)
{
    return {[bytes = std::move(bytes)](VARIANT* variant) {
                return FillArray(variant, VT_UI1, bytes, [](SAFEARRAY* array, LONG index, std::uint8_t byte) {
                    SafeArrayPutElement(array, &index, &byte);
                });
            },
            CIM_UINT8 | CIM_FLAG_ARRAY};
}

Value Value::Object(ObjectScriptPtr object)
{
    Value value{[](VARIANT*) { return E_UNEXPECTED; }, CIM_OBJECT}; // the scripted object fills it
    value.m_object = std::move(object);
    return value;
}

Value Value::Other(std::function<HRESULT(VARIANT*)> fill, CIMTYPE type)
{
    return {std::move(fill), type};
}

} // namespace Zv::Testing
