#include "Host/Trace/Values.h"

#include "Host/Trace/TraceLog.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <utility>

namespace Zv::Host::Tracing
{

namespace
{

constexpr std::size_t LongestText = 200;
constexpr std::size_t MostBytes = 64;

struct KnownGuid
{
    const GUID* guid;
    const char* name;
};

const KnownGuid KnownGuids[] = {
    {&CLSID_WbemLocator, "CLSID_WbemLocator"},
    {&CLSID_UnsecuredApartment, "CLSID_UnsecuredApartment"},
    {&IID_IUnknown, "IID_IUnknown"},
    {&IID_IWbemLocator, "IID_IWbemLocator"},
    {&IID_IWbemServices, "IID_IWbemServices"},
    {&IID_IWbemClassObject, "IID_IWbemClassObject"},
    {&IID_IEnumWbemClassObject, "IID_IEnumWbemClassObject"},
    {&IID_IWbemObjectSink, "IID_IWbemObjectSink"},
    {&IID_IUnsecuredApartment, "IID_IUnsecuredApartment"},
    {&IID_IClientSecurity, "IID_IClientSecurity"},
    {&IID_IMarshal, "IID_IMarshal"},
};

constexpr std::pair<VARENUM, const char*> TypeNames[] = {
    {VT_EMPTY, "empty"}, {VT_NULL, "null"},      {VT_I1, "int8"},         {VT_UI1, "uint8"}, {VT_I2, "int16"},
    {VT_UI2, "uint16"},  {VT_I4, "int32"},       {VT_UI4, "uint32"},      {VT_INT, "int"},   {VT_UINT, "uint"},
    {VT_I8, "int64"},    {VT_UI8, "uint64"},     {VT_R4, "float"},        {VT_R8, "double"}, {VT_BOOL, "bool"},
    {VT_BSTR, "text"},   {VT_UNKNOWN, "object"}, {VT_DISPATCH, "object"},
};

std::string TypeName(unsigned int type)
{
    const auto* const found = std::ranges::find_if(
        TypeNames, [type](const auto& entry) { return static_cast<unsigned>(entry.first) == type; });
    return found != std::end(TypeNames) ? found->second : "type " + std::to_string(type);
}

std::string ShowBytes(SAFEARRAY& array, ULONG count)
{
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(&array, &data)))
    {
        return {};
    }
    std::string text;
    for (ULONG i = 0; i < std::min<std::size_t>(count, MostBytes); ++i)
    {
        char byte[4];
        static_cast<void>(std::snprintf(byte, sizeof byte, " %02x", static_cast<const unsigned char*>(data)[i]));
        text += byte;
    }
    SafeArrayUnaccessData(&array);
    return text + (count > MostBytes ? " ..." : "");
}

std::string ShowArray(unsigned int type, SAFEARRAY* array)
{
    const ULONG count = array != nullptr && SafeArrayGetDim(array) == 1 ? array->rgsabound[0].cElements : 0;
    std::string text = TypeName(type) + '[' + std::to_string(count) + ']';
    const TraceLog* const log = TraceLog::Current();
    if (type == VT_UI1 && count != 0 && log != nullptr && log->Options().data)
    {
        text += ShowBytes(*array, count);
    }
    return text;
}

} // namespace

std::string ShowText(std::wstring_view text)
{
    TraceLog* const log = TraceLog::Current();
    std::wstring clean = log != nullptr ? log->GetSecrets().Clean(text) : std::wstring{};
    std::ranges::replace_if(clean, [](wchar_t c) { return c < L' '; }, L' ');
    const std::size_t length = clean.size();
    if (length > LongestText)
    {
        clean.resize(LongestText - (IS_HIGH_SURROGATE(clean[LongestText - 1]) ? 1 : 0));
    }
    return '"' + ToUtf8(clean) + '"' + (length > LongestText ? "... (" + std::to_string(length) + " characters)" : "");
}

std::string ShowText(const wchar_t* text)
{
    return text == nullptr ? "null" : ShowText(std::wstring_view{text});
}

std::string ShowGuid(const GUID& guid)
{
    const auto* const found =
        std::ranges::find_if(KnownGuids, [&guid](const KnownGuid& known) { return IsEqualGUID(*known.guid, guid); });
    if (found != std::end(KnownGuids))
    {
        return found->name;
    }
    wchar_t text[40] = L"";
    static_cast<void>(StringFromGUID2(guid, text, static_cast<int>(std::size(text))));
    return ToUtf8(text);
}

std::string ShowHandle(const void* handle)
{
    if (handle == nullptr)
    {
        return "null";
    }
    char text[24];
    static_cast<void>(std::snprintf(text, sizeof text, "0x%llx",
                                    static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(handle))));
    return handle == INVALID_HANDLE_VALUE ? "INVALID_HANDLE_VALUE" : text;
}

std::string ShowReceived(void* value)
{
    std::string label = LabelOf(static_cast<IUnknown*>(value)); // which looks at the address only
    return label == UntracedLabel ? ShowHandle(value) : label;
}

std::string ShowVariant(const VARIANT* value)
{
    if (value == nullptr)
    {
        return "null";
    }
    const unsigned int type = V_VT(value);
    if ((type & VT_ARRAY) != 0)
    {
        return (type & VT_BYREF) != 0 ? TypeName(type) : ShowArray(type & VT_TYPEMASK, V_ARRAY(value));
    }
    const std::string named = TypeName(type) + ' ';
    switch (type)
    {
    case VT_I1:
        return named + std::to_string(V_I1(value));
    case VT_UI1:
        return named + std::to_string(V_UI1(value));
    case VT_I2:
        return named + std::to_string(V_I2(value));
    case VT_UI2:
        return named + std::to_string(V_UI2(value));
    case VT_I4:
    case VT_INT:
        return named + std::to_string(V_I4(value));
    case VT_UI4:
    case VT_UINT:
        return named + std::to_string(V_UI4(value));
    case VT_R4:
        return named + std::to_string(V_R4(value));
    case VT_R8:
        return named + std::to_string(V_R8(value));
    case VT_BOOL:
        return V_BOOL(value) != VARIANT_FALSE ? "TRUE" : "FALSE";
    case VT_BSTR:
        return V_BSTR(value) == nullptr ? "\"\"" : ShowText(V_BSTR(value));
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return LabelOf(V_UNKNOWN(value));
    default:
        return TypeName(type);
    }
}

} // namespace Zv::Host::Tracing
