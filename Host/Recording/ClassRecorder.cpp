#include "Host/Recording/ClassRecorder.h"

#include "Host/Text/Failure.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Com/Bstr.h"
#include "Platform/Com/SafeArray.h"
#include "Platform/Com/Variant.h"
#include "Shared/WMI/WmiCall.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Com/VariantConversion.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace Zv::Host
{

using Simulator::Class;
using Simulator::Property;
using Simulator::Value;
using Tessel::Server::Shared::WMI::ComPtr;
using Tessel::Server::Shared::WMI::ReceivedBstr;
using Tessel::Server::Shared::WMI::Status;
using Tessel::Server::Shared::WMI::Variant;

namespace
{

// Where the system tells the qualifiers of something; some systems do not.
class Qualifiers
{
public:
    template <class Ask>
    explicit Qualifiers(Ask ask)
    {
        if (FAILED(ask(m_set.Receive())))
        {
            m_set.Reset();
        }
    }

    [[nodiscard]] std::wstring Text(const wchar_t* name) const
    {
        Variant value;
        return Get(name, value) && value.Text() != nullptr ? value.Text() : std::wstring{};
    }

    [[nodiscard]] bool Flag(const wchar_t* name) const
    {
        Variant value;
        return Get(name, value) && value.Type() == VT_BOOL && V_BOOL(value.Address()) != VARIANT_FALSE;
    }

    [[nodiscard]] std::optional<LONG> Number(const wchar_t* name) const
    {
        Variant value;
        return Get(name, value) && value.Type() == VT_I4 ? std::optional{V_I4(value.Address())} : std::nullopt;
    }

private:
    [[nodiscard]] bool Get(const wchar_t* name, Variant& value) const
    {
        return m_set && SUCCEEDED(m_set->Get(name, 0, value.Address(), nullptr));
    }

    ComPtr<IWbemQualifierSet> m_set;
};

Qualifiers QualifiersOf(IWbemClassObject& object)
{
    return Qualifiers{[&](IWbemQualifierSet** set) { return object.GetQualifierSet(set); }};
}

Qualifiers QualifiersOfProperty(IWbemClassObject& object, const std::wstring& property)
{
    return Qualifiers{[&](IWbemQualifierSet** set) { return object.GetPropertyQualifierSet(property.c_str(), set); }};
}

Qualifiers QualifiersOfMethod(IWbemClassObject& object, const wchar_t* method)
{
    return Qualifiers{[&](IWbemQualifierSet** set) { return object.GetMethodQualifierSet(method, set); }};
}

// From a CIMTYPE such as "object:Part"; empty where there is none.
std::wstring ObjectClassOf(const std::wstring& type)
{
    constexpr std::wstring_view prefix = L"object:";
    return type.starts_with(prefix) ? type.substr(prefix.size()) : std::wstring{};
}

// The names of the key properties: from the class, or, where the system cannot say, from an instance's path.
std::vector<std::wstring> KeysOf(IWbemClassObject& object)
{
    std::vector<std::wstring> keys = NamesOf(object, WBEM_FLAG_KEYS_ONLY);
    if (keys.empty())
    {
        if (const auto path = Simulator::ParseObjectPath(TextOf(object, L"__RELPATH")))
        {
            for (const auto& [key, value] : path->keys)
            {
                keys.push_back(key);
            }
        }
    }
    return keys;
}

bool Contains(const std::vector<std::wstring>& names, const std::wstring& name)
{
    return std::ranges::any_of(names, [&](const std::wstring& other) { return Simulator::EqualNoCase(other, name); });
}

bool IsEvent(IWbemClassObject& object)
{
    Variant ancestors;
    return SUCCEEDED(object.Get(L"__DERIVATION", 0, ancestors.Address(), nullptr, nullptr)) &&
           ancestors.Type() == (VT_ARRAY | VT_BSTR) && Contains(Texts(V_ARRAY(ancestors.Address())), L"__Event");
}

bool IsInstance(IWbemClassObject& object)
{
    Variant genus;
    return SUCCEEDED(object.Get(L"__GENUS", 0, genus.Address(), nullptr, nullptr)) && genus.Type() == VT_I4 &&
           V_I4(genus.Address()) == WBEM_GENUS_INSTANCE;
}

bool IsKnownType(CIMTYPE type)
{
    return Simulator::DescribeCimType(type).type == (type & ~CIM_FLAG_ARRAY);
}

// JSON has no other numbers.
bool IsFinite(const Value& value)
{
    if (const auto* const list = value.As<Simulator::List>())
    {
        return std::ranges::all_of(*list, IsFinite);
    }
    const auto* const real = value.As<double>();
    return real == nullptr || std::isfinite(*real);
}

} // namespace

bool ClassRecorder::Record(const std::wstring& name)
{
    std::shared_ptr<Entry> entry = Find(name);
    if (entry == nullptr)
    {
        const ComPtr<IWbemClassObject> object = m_wmi.FindClass(name);
        if (!object)
        {
            return false;
        }
        entry = Define(*object.Get());
    }
    if (!entry->hasInstances && !entry->definition->event && !m_options.schemaOnly)
    {
        entry->hasInstances = true;
        ReadInstances(*entry);
    }
    return true;
}

std::vector<Simulator::ClassEntry> ClassRecorder::Take()
{
    std::vector<Simulator::ClassEntry> classes;
    classes.reserve(m_entries.size());
    for (const std::shared_ptr<Entry>& entry : m_entries)
    {
        classes.push_back({entry->definition, {entry->instances.begin(), entry->instances.end()}});
    }
    m_entries.clear();
    return classes;
}

std::shared_ptr<ClassRecorder::Entry> ClassRecorder::Find(const std::wstring& name) const
{
    const auto found = std::ranges::find_if(
        m_entries, [&](const auto& entry) { return Simulator::EqualNoCase(entry->definition->name, name); });
    return found == m_entries.end() ? nullptr : *found;
}

std::shared_ptr<ClassRecorder::Entry> ClassRecorder::Define(IWbemClassObject& object)
{
    const auto entry = std::make_shared<Entry>();
    entry->definition = std::make_shared<Class>();
    entry->definition->name = TextOf(object, L"__CLASS");
    entry->definition->event = IsEvent(object);
    const Qualifiers qualifiers = QualifiersOf(object);
    entry->definition->description = qualifiers.Text(L"Description");
    entry->definition->singleton = qualifiers.Flag(L"singleton");
    m_entries.push_back(entry); // first, since its own objects may be embedded in it
    m_server = TextOf(object, L"__SERVER");
    if (std::wstring nameSpace = TextOf(object, L"__NAMESPACE"); Simulator::EqualNoCase(nameSpace, m_nameSpace))
    {
        m_nameSpace = std::move(nameSpace); // Wine calls every namespace ROOT\CIMV2
    }
    ReadProperties(object, *entry->definition);
    ReadMethods(object, *entry->definition);
    return entry;
}

std::shared_ptr<ClassRecorder::Entry> ClassRecorder::DefineEmbedded(const std::wstring& name)
{
    if (std::shared_ptr<Entry> entry = Find(name))
    {
        return entry;
    }
    const ComPtr<IWbemClassObject> object = m_wmi.FindClass(name);
    return object ? Define(*object.Get()) : nullptr;
}

void ClassRecorder::ReadInstances(Entry& entry)
{
    const std::wstring name = entry.definition->name;
    std::set<std::wstring> keys;
    const HRESULT hr = m_wmi.ForEachInstance(name, [&](IWbemClassObject& instance) {
        // Those of a derived class have more properties than this one.
        ReadProperties(instance, *entry.definition);
        std::shared_ptr<Simulator::Object> object = ReadObject(instance, entry.definition);
        if (IsDistinct(*object, keys))
        {
            entry.instances.push_back(std::move(object));
        }
        if (m_options.onInstance)
        {
            m_options.onInstance();
        }
        return m_options.limit == 0 || entry.instances.size() < m_options.limit;
    });
    if (FAILED(hr))
    {
        m_losses.push_back("the instances of " + ToUtf8(name) + ": " + StatusText(hr));
    }
    for (const std::shared_ptr<Simulator::Object>& instance : entry.instances)
    {
        instance->values.resize(entry.definition->properties.size());
    }
}

bool ClassRecorder::IsDistinct(const Simulator::Object& instance, std::set<std::wstring>& keys)
{
    const Class& definition = *instance.definition;
    for (std::size_t i = 0; i < instance.values.size(); ++i)
    {
        if (definition.properties[i].key && instance.values[i].IsNull())
        {
            Lose(definition.name, definition.properties[i].name, "an instance has no value for this key");
            return false;
        }
    }
    if (definition.HasKey() && !keys.insert(KeyOf(instance)).second)
    {
        Lose(definition.name, L"__PATH", "several instances have the same");
        return false;
    }
    return true;
}

// Adds those that the definition lacks.
void ClassRecorder::ReadProperties(IWbemClassObject& object, Class& definition)
{
    const bool isInstance = IsInstance(object);
    for (const std::wstring& name : NamesOf(object, WBEM_FLAG_NONSYSTEM_ONLY))
    {
        if (definition.FindProperty(name))
        {
            continue;
        }
        Variant value;
        Property property;
        property.name = name;
        const HRESULT hr = object.Get(name.c_str(), 0, value.Address(), &property.type, nullptr);
        if (FAILED(hr) || !IsKnownType(property.type))
        {
            Lose(definition.name, name, FAILED(hr) ? StatusText(hr) : "its type " + std::to_string(property.type));
            continue;
        }
        const Qualifiers qualifiers = QualifiersOfProperty(object, name);
        property.description = qualifiers.Text(L"Description");
        if (const auto size = qualifiers.Number(L"MAX"); size && property.type == (CIM_UINT8 | CIM_FLAG_ARRAY))
        {
            property.size = static_cast<std::size_t>(std::max(LONG{0}, *size));
        }
        if (property.ElementType() != CIM_OBJECT)
        {
            // What some systems give for a class is an instance of it, whose values are nobody's defaults.
            property.initial = isInstance ? Value{} : ReadValue(value.Value(), property, definition.name);
        }
        else if (const std::wstring embedded = ObjectClassOf(qualifiers.Text(L"CIMTYPE"));
                 !embedded.empty() && DefineEmbedded(embedded) != nullptr)
        {
            property.objectClass = embedded;
        }
        definition.properties.push_back(std::move(property));
    }
    if (!definition.HasKey())
    {
        const std::vector<std::wstring> keys = KeysOf(object);
        for (Property& property : definition.properties)
        {
            property.key = Contains(keys, property.name);
        }
    }
}

void ClassRecorder::ReadMethods(IWbemClassObject& object, Class& definition)
{
    if (FAILED(object.BeginMethodEnumeration(0)))
    {
        return; // an instance has none of its own
    }
    for (;;)
    {
        ReceivedBstr name;
        ComPtr<IWbemClassObject> in;
        ComPtr<IWbemClassObject> out;
        const HRESULT hr = object.NextMethod(0, name.Receive(), in.Receive(), out.Receive());
        if (FAILED(hr) || name.Get() == nullptr)
        {
            break;
        }
        Simulator::Method method;
        method.name = name.Get();
        const Qualifiers qualifiers = QualifiersOfMethod(object, name.Get());
        method.description = qualifiers.Text(L"Description");
        method.isStatic = qualifiers.Flag(L"static");
        method.in = ReadParameters(in.Get());
        method.out = ReadParameters(out.Get());
        definition.methods.push_back(std::move(method));
    }
    object.EndMethodEnumeration();
}

Simulator::ClassPtr ClassRecorder::ReadParameters(IWbemClassObject* object)
{
    if (object == nullptr)
    {
        return nullptr;
    }
    auto parameters = std::make_shared<Class>();
    parameters->name = TextOf(*object, L"__CLASS");
    ReadProperties(*object, *parameters);
    return parameters;
}

std::shared_ptr<Simulator::Object> ClassRecorder::ReadObject(IWbemClassObject& object,
                                                             const std::shared_ptr<Class>& definition)
{
    auto result = std::make_shared<Simulator::Object>();
    result->definition = definition;
    result->isInstance = true;
    result->values.resize(definition->properties.size());
    for (std::size_t i = 0; i < definition->properties.size(); ++i)
    {
        Variant value;
        Property& property = definition->properties[i];
        const HRESULT hr = object.Get(property.name.c_str(), 0, value.Address(), nullptr, nullptr);
        if (SUCCEEDED(hr))
        {
            // Reading an embedded object may define classes, this one never.
            result->values[i] = ReadValue(value.Value(), property, definition->name);
        }
        else if (hr != Status(WBEM_E_NOT_FOUND)) // one of a derived class, which this object lacks
        {
            Lose(definition->name, property.name, StatusText(hr));
        }
    }
    return result;
}

Value ClassRecorder::ReadValue(const VARIANT& value, Property& property, const std::wstring& className)
{
    if (V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL)
    {
        return {};
    }
    Value result;
    if (property.ElementType() != CIM_OBJECT)
    {
        if (FAILED(Simulator::FromVariant(value, property, result)) || !IsFinite(result))
        {
            Lose(className, property.name, "a value of type " + std::to_string(V_VT(&value)));
            return {};
        }
        return result;
    }
    if (V_VT(&value) == VT_UNKNOWN)
    {
        return ReadEmbedded(V_UNKNOWN(&value), property);
    }
    if (V_VT(&value) != (VT_ARRAY | VT_UNKNOWN) || V_ARRAY(&value) == nullptr)
    {
        Lose(className, property.name, "a value of type " + std::to_string(V_VT(&value)));
        return {};
    }
    Simulator::List list;
    const SAFEARRAYBOUND& bound = V_ARRAY(&value)->rgsabound[0];
    for (LONG index = bound.lLbound; index < bound.lLbound + static_cast<LONG>(bound.cElements); ++index)
    {
        ComPtr<IUnknown> element;
        static_cast<void>(SafeArrayGetElement(V_ARRAY(&value), &index, element.Receive()));
        if (Value embedded = ReadEmbedded(element.Get(), property); !embedded.IsNull())
        {
            list.push_back(std::move(embedded));
        }
    }
    return list;
}

Value ClassRecorder::ReadEmbedded(IUnknown* object, Property& property)
{
    ComPtr<IWbemClassObject> embedded;
    if (object == nullptr || FAILED(object->QueryInterface(IID_IWbemClassObject, embedded.ReceiveVoid())))
    {
        return {};
    }
    const std::wstring name = TextOf(*embedded.Get(), L"__CLASS");
    std::shared_ptr<Entry> entry = DefineEmbedded(name);
    if (entry == nullptr)
    {
        entry = Define(*embedded.Get());
    }
    if (!Simulator::EqualNoCase(name, property.objectClass))
    {
        property.objectClass.clear(); // one of a derived class: each object names its own
    }
    return Simulator::ObjectPtr{ReadObject(*embedded.Get(), entry->definition)};
}

void ClassRecorder::Lose(const std::wstring& className, const std::wstring& property, const std::string& why)
{
    const std::string loss = ToUtf8(className) + '.' + ToUtf8(property) + ": " + why;
    if (std::ranges::find(m_losses, loss) == m_losses.end())
    {
        m_losses.push_back(loss);
    }
}

} // namespace Zv::Host
