#include "Simulator/Cim/MofText.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"

#include <cstdio>

namespace Zv::Simulator
{

namespace
{

std::wstring InstanceText(const Object& object);

std::wstring Quoted(std::wstring_view text)
{
    std::wstring quoted = L"\"";
    for (const wchar_t c : text)
    {
        switch (c)
        {
        case L'"':
            quoted += L"\\\"";
            break;
        case L'\\':
            quoted += L"\\\\";
            break;
        case L'\n':
            quoted += L"\\n";
            break;
        case L'\r':
            quoted += L"\\r";
            break;
        case L'\t':
            quoted += L"\\t";
            break;
        default:
            quoted += c;
        }
    }
    return quoted + L'"';
}

std::wstring RealText(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", value);
    return ToUtf16(text);
}

std::wstring ScalarText(const Value& value, CIMTYPE type)
{
    if (const bool* const flag = value.As<bool>())
    {
        return *flag ? L"TRUE" : L"FALSE";
    }
    if (const std::int64_t* const number = value.As<std::int64_t>())
    {
        // 64-bit integers are texts to WMI, here as everywhere.
        const CIMTYPE element = type & ~CIM_FLAG_ARRAY;
        const std::wstring text = IntegerText(type, *number);
        return element == CIM_SINT64 || element == CIM_UINT64 ? Quoted(text) : text;
    }
    if (const double* const real = value.As<double>())
    {
        return RealText(*real);
    }
    if (const ObjectPtr* const object = value.As<ObjectPtr>())
    {
        return L"\n" + InstanceText(**object);
    }
    return Quoted(*value.As<std::wstring>());
}

std::wstring ValueText(const Value& value, CIMTYPE type)
{
    std::wstring items;
    const auto append = [&](const std::wstring& text) { items += (items.empty() ? L"" : L", ") + text; };
    if (const Bytes* const bytes = value.As<Bytes>())
    {
        for (const std::uint8_t byte : *bytes)
        {
            append(std::to_wstring(byte));
        }
        return L"{" + items + L"}";
    }
    if (const List* const list = value.As<List>())
    {
        for (const Value& item : *list)
        {
            append(ScalarText(item, type));
        }
        return L"{" + items + L"}";
    }
    return ScalarText(value, type);
}

// "instance of X\n{\n...\n}" without what ends it.
std::wstring InstanceText(const Object& object)
{
    std::wstring text = L"instance of " + object.definition->name + L"\n{\n";
    for (std::size_t i = 0; i < object.values.size(); ++i)
    {
        if (!object.values[i].IsNull())
        {
            const Property& property = object.definition->properties[i];
            text += L"\t" + property.name + L" = " + ValueText(object.values[i], property.type) + L";\n";
        }
    }
    return text + L"}";
}

std::wstring Declaration(const Property& property)
{
    const std::wstring type =
        property.objectClass.empty() ? ToUtf16(DescribeCimType(property.type).name) : property.objectClass;
    return type + L" " + property.name + (property.IsArray() ? L"[]" : L"");
}

std::wstring MethodText(const Method& method)
{
    std::wstring result = L"void";
    std::wstring parameters;
    const auto append = [&](const wchar_t* direction, const ClassPtr& signature) {
        for (std::size_t i = 0; signature != nullptr && i < signature->properties.size(); ++i)
        {
            const Property& property = signature->properties[i];
            if (property.name == L"ReturnValue")
            {
                result = ToUtf16(DescribeCimType(property.type).name);
                continue;
            }
            parameters += (parameters.empty() ? L"" : L", ") + std::wstring{direction} + Declaration(property);
        }
    };
    append(L"[in] ", method.in);
    append(L"[out] ", method.out);
    return L"\t" + result + L" " + method.name + L"(" + parameters + L");\n";
}

std::wstring ClassText(const Class& definition)
{
    std::wstring text = L"class " + definition.name + L"\n{\n";
    for (const Property& property : definition.properties)
    {
        text += std::wstring{L"\t"} + (property.key ? L"[key] " : L"") + Declaration(property);
        text += property.initial.IsNull() ? L"" : L" = " + ValueText(property.initial, property.type);
        text += L";\n";
    }
    for (const Method& method : definition.methods)
    {
        text += MethodText(method);
    }
    return text + L"}";
}

} // namespace

std::wstring MofText(const Object& object)
{
    return L"\n" + (object.isInstance ? InstanceText(object) : ClassText(*object.definition)) + L";\n";
}

} // namespace Zv::Simulator
