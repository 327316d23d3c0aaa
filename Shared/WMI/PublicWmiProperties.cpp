// From WMI property values to JSON, for PublicWmi.

#include "Shared/WMI/PublicWmi.h"

#include "Shared/WMI/WmiCall.h"

namespace Zv::Tessel::Server::Shared::WMI
{

using Services::JsonAllocator;
using Services::JsonValue;

namespace
{

// A string is copied whole, characters of value 0 included. A null BSTR is an empty string.
JsonValue ToJson(BSTR text, JsonAllocator& allocator)
{
    if (text == nullptr)
    {
        return JsonValue{L"", 0};
    }
    return JsonValue{text, SysStringLen(text), allocator};
}

bool IsConvertibleArray(VARTYPE type) noexcept
{
    return type == (VT_ARRAY | VT_I4) || type == (VT_ARRAY | VT_BSTR) || type == (VT_ARRAY | VT_BOOL);
}

// One element of an array of VT_I4, VT_BSTR or VT_BOOL.
HRESULT ElementToJson(SAFEARRAY& array, VARTYPE elementType, LONG index, JsonValue& element, JsonAllocator& allocator)
{
    Variant value;
    const HRESULT hr = SafeArrayGetElement(&array, &index, &V_UI8(value.Address()));
    if (FAILED(hr))
    {
        return hr;
    }
    V_VT(value.Address()) = elementType; // from here on the VARIANT owns what was fetched
    switch (elementType)
    {
    case VT_BSTR:
        element = ToJson(V_BSTR(&value.Value()), allocator);
        break;
    case VT_BOOL:
        element.SetBool(V_BOOL(&value.Value()) != VARIANT_FALSE);
        break;
    default:
        element.SetInt(V_I4(&value.Value()));
        break;
    }
    return S_OK;
}

// Access to an array's data, which keeps the array from being resized or destroyed.
class ArrayAccess
{
public:
    // Refuses an array of several dimensions, whose elements have no single index, and one that does not hold what its
    // VARIANT says: numbers would be taken for strings.
    ArrayAccess(SAFEARRAY* array, VARTYPE elementType) noexcept : m_array{array}
    {
        void* data = nullptr;
        const bool readable = array == nullptr || IsVectorOf(elementType, *array);
        m_status = readable ? SafeArrayAccessData(array, &data) : E_INVALIDARG;
        m_open = SUCCEEDED(m_status);
    }
    ArrayAccess(const ArrayAccess&) = delete;
    ArrayAccess& operator=(const ArrayAccess&) = delete;
    ~ArrayAccess()
    {
        if (m_open)
        {
            SafeArrayUnaccessData(m_array);
        }
    }

    [[nodiscard]] HRESULT Status() const noexcept { return m_status; }
    [[nodiscard]] SAFEARRAY& Array() const noexcept { return *m_array; }
    [[nodiscard]] LONG Count() const noexcept { return static_cast<LONG>(m_array->rgsabound[0].cElements); }

    HRESULT End() noexcept
    {
        m_open = false;
        return SafeArrayUnaccessData(m_array);
    }

private:
    static bool IsVectorOf(VARTYPE elementType, const SAFEARRAY& array) noexcept
    {
        constexpr unsigned int kinds = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
        const unsigned int kind = elementType == VT_BSTR ? FADF_BSTR : 0;
        return array.cDims == 1 && array.cbElements == SizeOf(elementType) && (array.fFeatures & kinds) == kind;
    }

    static std::size_t SizeOf(VARTYPE elementType) noexcept
    {
        switch (elementType)
        {
        case VT_BSTR:
            return sizeof(BSTR);
        case VT_BOOL:
            return sizeof(VARIANT_BOOL);
        default:
            return sizeof(LONG);
        }
    }

    SAFEARRAY* m_array;
    HRESULT m_status;
    bool m_open;
};

} // namespace

bool PublicWmi::ConvertValue(const Variant& value, bool asArray, JsonValue& result, Services::JsonDocument& response,
                             const wchar_t* logContext) const
{
    JsonAllocator& allocator = response.GetAllocator();
    JsonValue scalar;
    switch (value.Type())
    {
    case VT_BSTR:
        scalar = ToJson(V_BSTR(&value.Value()), allocator);
        break;
    case VT_BOOL:
        scalar.SetBool(V_BOOL(&value.Value()) != VARIANT_FALSE);
        break;
    case VT_I4:
        scalar.SetInt(V_I4(&value.Value()));
        break;
    default:
        if (!IsConvertibleArray(value.Type()))
        {
            return false;
        }
        if (!asArray)
        {
            result.SetArray();
        }
        return GetSafeArrayData(value, asArray, result, response, logContext);
    }

    if (asArray)
    {
        result.PushBack(scalar, allocator);
    }
    else
    {
        result = scalar;
    }
    return true;
}

bool PublicWmi::GetSafeArrayData(const Variant& value, bool asArray, JsonValue& jsonArray,
                                 Services::JsonDocument& response, const wchar_t* logContext) const
{
    if (!IsConvertibleArray(value.Type()))
    {
        return false;
    }
    constexpr const char* method = "GetSafeArrayData";
    const ClassLog log = Log(logContext);
    JsonAllocator& allocator = response.GetAllocator();

    const auto elementType = static_cast<VARTYPE>(value.Type() & VT_TYPEMASK);
    ArrayAccess access{V_ARRAY(&value.Value()), elementType};
    // The text names bytes whatever the elements are.
    if (FAILED(Checked(access.Status(), log, method, L"SafeArrayAccessData(VT_ARRAY | VT_UI1)")))
    {
        return false;
    }

    JsonValue innerArray{rapidjson::kArrayType};
    JsonValue& target = asArray ? innerArray : jsonArray;
    bool complete = true;
    for (LONG index = 0; complete && index < access.Count(); ++index)
    {
        JsonValue element;
        complete = SUCCEEDED(Checked(ElementToJson(access.Array(), elementType, index, element, allocator), log, method,
                                     L"SafeArrayGetElement"));
        if (complete)
        {
            target.PushBack(element, allocator);
        }
    }
    if (asArray)
    {
        jsonArray.PushBack(innerArray, allocator);
    }
    static_cast<void>(Checked(access.End(), log, method, L"SafeArrayUnaccessData"));
    return complete;
}

} // namespace Zv::Tessel::Server::Shared::WMI
