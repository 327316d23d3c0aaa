#include "Simulator/Com/VariantConversion.h"

#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Com/ClassObject.h"

#include <algorithm>
#include <memory>
#include <new>

namespace Zv::Simulator
{

namespace
{

struct ArrayDeleter
{
    void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};
using ArrayOwner = std::unique_ptr<SAFEARRAY, ArrayDeleter>;

struct VariantOwner
{
    VariantOwner() noexcept { VariantInit(&value); }
    VariantOwner(const VariantOwner&) = delete;
    VariantOwner& operator=(const VariantOwner&) = delete;
    ~VariantOwner() { VariantClear(&value); }

    VARIANT value;
};

BSTR AllocateString(std::wstring_view text)
{
    const BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (result == nullptr)
    {
        throw std::bad_alloc{};
    }
    return result;
}

ArrayOwner CreateArray(VARTYPE element, std::size_t count)
{
    ArrayOwner array{SafeArrayCreateVector(element, 0, static_cast<ULONG>(count))};
    if (array == nullptr)
    {
        throw std::bad_alloc{};
    }
    return array;
}

// Fills a VARIANT of the type's VARIANT type with one value that is not NULL.
void ScalarToVariant(const CorePtr& core, const Value& value, CIMTYPE type, VARIANT& result)
{
    const VARTYPE variant = DescribeCimType(type).variant;
    const std::int64_t* const number = value.As<std::int64_t>();
    switch (variant)
    {
    case VT_UI1:
        V_UI1(&result) = static_cast<BYTE>(*number);
        break;
    case VT_I2:
        V_I2(&result) = static_cast<SHORT>(*number);
        break;
    case VT_I4:
        V_I4(&result) = static_cast<LONG>(*number);
        break;
    case VT_R4:
        V_R4(&result) = static_cast<FLOAT>(*value.As<double>());
        break;
    case VT_R8:
        V_R8(&result) = *value.As<double>();
        break;
    case VT_BOOL:
        V_BOOL(&result) = *value.As<bool>() ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    case VT_UNKNOWN:
        V_UNKNOWN(&result) = Present(core, *value.As<ObjectPtr>()).Detach();
        break;
    default: // VT_BSTR: texts, and 64-bit integers as texts
        V_BSTR(&result) =
            number == nullptr ? AllocateString(*value.As<std::wstring>()) : AllocateString(IntegerText(type, *number));
        break;
    }
    V_VT(&result) = variant; // last: until here the VARIANT holds nothing to clear
}

SAFEARRAY* ListToArray(const CorePtr& core, const List& list, CIMTYPE type)
{
    ArrayOwner array = CreateArray(DescribeCimType(type).variant, list.size());
    for (LONG i = 0; static_cast<std::size_t>(i) < list.size(); ++i)
    {
        VariantOwner element;
        ScalarToVariant(core, list[static_cast<std::size_t>(i)], type, element.value);
        const VARTYPE variant = V_VT(&element.value);
        const bool byPointer = variant == VT_BSTR || variant == VT_UNKNOWN;
        void* const data = byPointer ? static_cast<void*>(V_BSTR(&element.value)) : &V_I1(&element.value);
        if (FAILED(SafeArrayPutElement(array.get(), &i, data)))
        {
            throw std::bad_alloc{};
        }
    }
    return array.release();
}

SAFEARRAY* BytesToArray(const Bytes& bytes)
{
    ArrayOwner array = CreateArray(VT_UI1, bytes.size());
    std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(array->pvData));
    return array.release();
}

// The source is only read; not every platform header says so.
HRESULT Convert(const VARIANT& source, VARTYPE type, VARIANT& result) noexcept
{
    return VariantChangeType(&result, const_cast<VARIANT*>(&source), VARIANT_NOUSEROVERRIDE, type);
}

HRESULT NumberFromVariant(const VARIANT& given, CIMTYPE type, Value& result)
{
    VariantOwner text;
    // A number that came as text or as a wider type is taken by what it says; a VT_I4 is also the carrier of uint32.
    if (V_VT(&given) == VT_I4 && (type & ~CIM_FLAG_ARRAY) == CIM_UINT32)
    {
        result = std::int64_t{static_cast<std::uint32_t>(V_I4(&given))};
        return S_OK;
    }
    if (V_VT(&given) == VT_I2 && (type & ~CIM_FLAG_ARRAY) == CIM_CHAR16) // likewise
    {
        result = std::int64_t{static_cast<std::uint16_t>(V_I2(&given))};
        return S_OK;
    }
    if (FAILED(Convert(given, VT_BSTR, text.value)))
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    const BSTR digits = V_BSTR(&text.value);
    const auto number = ParseInteger(type, {digits, SysStringLen(digits)});
    if (!number)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    result = *number;
    return S_OK;
}

HRESULT ObjectFromVariant(const VARIANT& given, const Property& property, Value& result)
{
    if ((V_VT(&given) != VT_UNKNOWN && V_VT(&given) != VT_DISPATCH) || V_UNKNOWN(&given) == nullptr)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    ObjectPtr object = Snapshot(*V_UNKNOWN(&given));
    if (object == nullptr ||
        (!property.objectClass.empty() && !EqualNoCase(object->definition->name, property.objectClass)))
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    result = std::move(object);
    return S_OK;
}

HRESULT ScalarFromVariant(const VARIANT& given, const Property& property, Value& result)
{
    if (property.ElementType() == CIM_OBJECT)
    {
        return ObjectFromVariant(given, property, result);
    }
    if ((V_VT(&given) & (VT_ARRAY | VT_BYREF)) != 0 || V_VT(&given) == VT_UNKNOWN || V_VT(&given) == VT_DISPATCH ||
        V_VT(&given) == VT_EMPTY)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    if (IsIntegerType(property.type))
    {
        return NumberFromVariant(given, property.type, result);
    }
    VariantOwner converted;
    const VARTYPE wanted = IsRealType(property.type) ? VARTYPE{VT_R8} : DescribeCimType(property.type).variant;
    if (FAILED(Convert(given, wanted, converted.value)))
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    if (wanted == VT_R8)
    {
        result = V_R8(&converted.value);
    }
    else if (wanted == VT_BOOL)
    {
        result = V_BOOL(&converted.value) != VARIANT_FALSE;
    }
    else
    {
        const BSTR text = V_BSTR(&converted.value);
        result = std::wstring{text == nullptr ? L"" : text, SysStringLen(text)}; // a null BSTR is an empty text
    }
    return S_OK;
}

HRESULT ArrayFromVariant(const VARIANT& given, const Property& property, Value& result)
{
    if ((V_VT(&given) & (VT_ARRAY | VT_BYREF)) != VT_ARRAY)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    SAFEARRAY* const array = V_ARRAY(&given);
    const VARTYPE element = V_VT(&given) & VT_TYPEMASK;
    if (array == nullptr)
    {
        result = {};
        return S_OK;
    }
    if (SafeArrayGetDim(array) != 1)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    const LONG lower = array->rgsabound[0].lLbound;
    const auto count = static_cast<LONG>(array->rgsabound[0].cElements);
    if (property.ElementType() == CIM_UINT8 && element == VT_UI1)
    {
        const auto* const data = static_cast<const BYTE*>(array->pvData);
        result = Bytes{data, data + count};
        return S_OK;
    }
    List list;
    Bytes bytes;
    for (LONG index = lower; index < lower + count; ++index)
    {
        VariantOwner item;
        V_VT(&item.value) = element;
        const HRESULT fetched = SafeArrayGetElement(
            array, &index, element == VT_VARIANT ? static_cast<void*>(&item.value) : &V_I1(&item.value));
        if (FAILED(fetched))
        {
            V_VT(&item.value) = VT_EMPTY; // nothing was stored that VariantClear could free
            return fetched;
        }
        Value value;
        const HRESULT hr = ScalarFromVariant(item.value, property, value);
        if (FAILED(hr))
        {
            return hr;
        }
        if (property.ElementType() == CIM_UINT8)
        {
            bytes.push_back(static_cast<std::uint8_t>(*value.As<std::int64_t>()));
        }
        else
        {
            list.push_back(std::move(value));
        }
    }
    result = property.ElementType() == CIM_UINT8 ? Value{std::move(bytes)} : Value{std::move(list)};
    return S_OK;
}

} // namespace

void ToVariant(const CorePtr& core, const Value& value, CIMTYPE type, VARIANT& result)
{
    VARIANT made;
    VariantInit(&made);
    if (value.IsNull())
    {
        V_VT(&made) = VT_NULL;
    }
    else if ((type & CIM_FLAG_ARRAY) == 0)
    {
        ScalarToVariant(core, value, type, made);
    }
    else
    {
        const Bytes* const bytes = value.As<Bytes>();
        V_ARRAY(&made) = bytes != nullptr ? BytesToArray(*bytes) : ListToArray(core, *value.As<List>(), type);
        V_VT(&made) = static_cast<VARTYPE>(VT_ARRAY | DescribeCimType(type).variant);
    }
    core->ledger.HandedOut(made);
    result = made;
}

void ToVariant(const CorePtr& core, std::wstring_view text, VARIANT& result)
{
    V_BSTR(&result) = MakeString(*core, text);
    V_VT(&result) = VT_BSTR;
}

BSTR MakeString(Core& core, std::wstring_view text)
{
    const BSTR result = AllocateString(text);
    core.ledger.HandedOutString(result);
    return result;
}

SAFEARRAY* MakeStringArray(Core& core, const std::vector<std::wstring>& texts)
{
    ArrayOwner array = CreateArray(VT_BSTR, texts.size());
    auto* const elements = static_cast<BSTR*>(array->pvData);
    for (std::size_t i = 0; i < texts.size(); ++i)
    {
        elements[i] = AllocateString(texts[i]); // the array frees what it holds
    }
    core.ledger.HandedOutArray(array.get());
    return array.release();
}

HRESULT FromVariant(const VARIANT& given, const Property& property, Value& result)
{
    if (V_VT(&given) == VT_NULL)
    {
        result = {};
        return S_OK;
    }
    return property.IsArray() ? ArrayFromVariant(given, property, result) : ScalarFromVariant(given, property, result);
}

} // namespace Zv::Simulator
