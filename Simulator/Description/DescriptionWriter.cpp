#include "Simulator/Description/DescriptionWriter.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/ValueCompare.h"
#include "Simulator/Description/NodeReader.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace Zv::Simulator
{

namespace
{

std::string TypeText(const Property& property)
{
    std::string text{DescribeCimType(property.type).name};
    text += property.objectClass.empty() ? "" : ':' + ToUtf8(property.objectClass);
    return text + (property.IsArray() ? "[]" : "");
}

std::string HexText(const Bytes& bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        text += text.empty() ? "" : " ";
        text += digits[byte >> 4U];
        text += digits[byte & 0xfU];
    }
    return text;
}

class Writer
{
public:
    Writer() { m_json.SetIndent(' ', 2); }

    void Write(const Description& description, std::string_view note)
    {
        m_json.StartObject();
        Key("version");
        m_json.Int(1);
        Key("note");
        Text(note);
        Key("name");
        Text(ToUtf8(description.name));
        Key("server");
        Text(ToUtf8(description.server));
        Key("namespaces");
        m_json.StartArray();
        for (const Namespace& nameSpace : description.namespaces)
        {
            Write(nameSpace);
        }
        m_json.EndArray();
        m_json.EndObject();
    }

    [[nodiscard]] std::string Take() const { return std::string{m_buffer.GetString(), m_buffer.GetSize()} + '\n'; }

private:
    void Write(const Namespace& nameSpace)
    {
        m_json.StartObject();
        Key("path");
        Text(ToUtf8(nameSpace.path));
        Key("classes");
        m_json.StartArray();
        for (const ClassEntry& entry : nameSpace.classes)
        {
            Write(entry);
        }
        m_json.EndArray();
        m_json.EndObject();
    }

    void Write(const ClassEntry& entry)
    {
        const Class& definition = *entry.definition;
        m_json.StartObject();
        Key("name");
        Text(ToUtf8(definition.name));
        WriteDescriptionText(definition.description);
        WriteFlag("event", definition.event);
        WriteFlag("singleton", definition.singleton && entry.instances.size() != 1); // which would say it
        Key("properties");
        WriteProperties(definition);
        if (!definition.methods.empty())
        {
            Key("methods");
            m_json.StartObject();
            for (const Method& method : definition.methods)
            {
                Write(method);
            }
            m_json.EndObject();
        }
        if (!entry.instances.empty())
        {
            Key("instances");
            m_json.StartArray();
            for (const ObjectPtr& instance : entry.instances)
            {
                m_json.StartObject();
                WriteValues(*instance);
                m_json.EndObject();
            }
            m_json.EndArray();
        }
        m_json.EndObject();
    }

    void Write(const Method& method)
    {
        Name(method.name);
        m_json.StartObject();
        WriteDescriptionText(method.description);
        WriteFlag("static", method.isStatic);
        if (method.in != nullptr)
        {
            Key("in");
            WriteProperties(*method.in);
        }
        if (method.out != nullptr)
        {
            Key("out");
            WriteProperties(*method.out);
        }
        m_json.EndObject();
    }

    void WriteProperties(const Class& definition)
    {
        m_json.StartObject();
        for (const Property& property : definition.properties)
        {
            Name(property.name);
            const bool hasValue = HasInitialValue(property);
            if (!property.key && !property.size && !hasValue && property.description.empty())
            {
                Text(TypeText(property));
                continue;
            }
            m_json.StartObject();
            Key("type");
            Text(TypeText(property));
            WriteDescriptionText(property.description);
            WriteFlag("key", property.key);
            if (property.size)
            {
                Key("size");
                m_json.Uint64(*property.size);
            }
            if (hasValue)
            {
                Key("value");
                Write(property.initial, property);
            }
            m_json.EndObject();
        }
        m_json.EndObject();
    }

    // An object cannot be one, and zeros come with a size by themselves.
    static bool HasInitialValue(const Property& property)
    {
        return property.size ? !SameValue(property.initial, Bytes(*property.size))
                             : !property.initial.IsNull() && property.ElementType() != CIM_OBJECT;
    }

    void WriteDescriptionText(const std::wstring& text)
    {
        if (!text.empty())
        {
            Key("description");
            Text(ToUtf8(text));
        }
    }

    void WriteFlag(std::string_view key, bool flag)
    {
        if (flag)
        {
            Key(key);
            m_json.Bool(true);
        }
    }

    // What an instance does not mention has the initial value, so that a NULL needs to be said only in its place.
    void WriteValues(const Object& object)
    {
        for (std::size_t i = 0; i < object.values.size(); ++i)
        {
            const Property& property = object.definition->properties[i];
            if (!object.values[i].IsNull() || !property.initial.IsNull())
            {
                Name(property.name);
                Write(object.values[i], property);
            }
        }
    }

    void Write(const Value& value, const Property& property)
    {
        if (const Bytes* const bytes = value.As<Bytes>())
        {
            const bool otherSize = property.size && *property.size != bytes->size(); // which is then said
            if (otherSize)
            {
                m_json.StartObject();
                Key("bytes");
            }
            Text(HexText(*bytes));
            if (otherSize)
            {
                Key("length");
                m_json.Uint64(bytes->size());
                m_json.EndObject();
            }
        }
        else if (const List* const list = value.As<List>())
        {
            const bool onOneLine = property.ElementType() != CIM_OBJECT;
            m_json.SetFormatOptions(onOneLine ? rapidjson::kFormatSingleLineArray : rapidjson::kFormatDefault);
            m_json.StartArray();
            for (const Value& item : *list)
            {
                WriteScalar(item, property);
            }
            m_json.EndArray();
            m_json.SetFormatOptions(rapidjson::kFormatDefault);
        }
        else
        {
            WriteScalar(value, property);
        }
    }

    void WriteScalar(const Value& value, const Property& property)
    {
        if (const bool* const flag = value.As<bool>())
        {
            m_json.Bool(*flag);
        }
        else if (const std::int64_t* const number = value.As<std::int64_t>())
        {
            property.ElementType() == CIM_UINT64 ? m_json.Uint64(static_cast<std::uint64_t>(*number))
                                                 : m_json.Int64(*number);
        }
        else if (const double* const real = value.As<double>())
        {
            m_json.Double(*real);
        }
        else if (const std::wstring* const text = value.As<std::wstring>())
        {
            Text(ToUtf8(*text));
        }
        else if (const ObjectPtr* const object = value.As<ObjectPtr>())
        {
            m_json.StartObject();
            if (property.objectClass.empty())
            {
                Key("__CLASS");
                Text(ToUtf8((*object)->definition->name));
            }
            WriteValues(**object);
            m_json.EndObject();
        }
        else
        {
            m_json.Null();
        }
    }

    void Key(std::string_view key) { m_json.Key(key.data(), static_cast<rapidjson::SizeType>(key.size())); }
    void Text(std::string_view text) { m_json.String(text.data(), static_cast<rapidjson::SizeType>(text.size())); }

    // The name of a property or method. "note" itself would be a comment, and WMI's names have no case.
    void Name(const std::wstring& name) { Key(name == L"note" ? "Note" : ToUtf8(name)); }

    rapidjson::StringBuffer m_buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> m_json{m_buffer};
};

} // namespace

std::string WriteDescription(const Description& description, std::string_view note)
{
    Writer writer;
    writer.Write(description, note);
    return writer.Take();
}

} // namespace Zv::Simulator
