// What scripted WMI holds: data only, the COM objects are made from it on demand.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <cstdint>
#include <cwchar>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{

class EventSource;
struct ObjectScript;
using ObjectScriptPtr = std::shared_ptr<ObjectScript>;

// A property's value as WMI hands it out.
class Value
{
public:
    static Value Null(CIMTYPE type = CIM_STRING);
    static Value Int(std::int32_t number, CIMTYPE type = CIM_SINT32);
    static Value Bool(bool value);
    static Value Text(std::wstring text);
    static Value Ints(std::vector<std::int32_t> numbers);
    static Value Bools(std::vector<bool> values);
    static Value Texts(std::vector<std::wstring> texts);
    static Value Bytes(std::vector<std::uint8_t> bytes);
    static Value Object(ObjectScriptPtr object);
    // Any VARIANT: `fill` gets an empty one.
    static Value Other(std::function<HRESULT(VARIANT*)> fill, CIMTYPE type = CIM_EMPTY);

    [[nodiscard]] HRESULT Fill(VARIANT* variant) const { return m_fill(variant); }
    [[nodiscard]] CIMTYPE Type() const noexcept { return m_type; }
    [[nodiscard]] const ObjectScriptPtr& Embedded() const noexcept { return m_object; }

private:
    Value(std::function<HRESULT(VARIANT*)> fill, CIMTYPE type) : m_fill{std::move(fill)}, m_type{type} {}

    std::function<HRESULT(VARIANT*)> m_fill;
    CIMTYPE m_type;
    ObjectScriptPtr m_object; // set by Object only
};

// WMI compares the names of namespaces, classes, properties and methods without case.
struct NoCase
{
    bool operator()(const std::wstring& a, const std::wstring& b) const { return _wcsicmp(a.c_str(), b.c_str()) < 0; }
};
template <class T>
using ByName = std::map<std::wstring, T, NoCase>;

// A class or an instance.
struct ObjectScript
{
    std::wstring name; // in the transcript
    ByName<Value> properties{};
    std::wstring text{};                  // of GetObjectText
    ByName<ObjectScriptPtr> signatures{}; // per method its input signature
};

[[nodiscard]] inline ObjectScriptPtr Instance(std::wstring name, ByName<Value> properties, std::wstring text = {})
{
    return std::make_shared<ObjectScript>(ObjectScript{std::move(name), std::move(properties), std::move(text)});
}

// What an enumeration yields: the instances, then `end` from Next. A null instance is a Next that succeeds and hands
// out nothing.
struct Results
{
    std::vector<ObjectScriptPtr> instances{};
    HRESULT end = WBEM_S_FALSE;
};

struct MethodCall
{
    std::wstring path;
    std::wstring method;
    IWbemClassObject* input; // valid during the call
};

struct NamespaceScript
{
    ByName<ObjectScriptPtr> classes{}; // for GetObject
    ByName<Results> instances{};       // per class, for CreateInstanceEnum and for queries of a whole class
    ByName<Results> queries{};         // per query text; comes before `instances`
    // Answers ExecMethod; sets the output parameters when it succeeds.
    std::function<HRESULT(const MethodCall&, ObjectScriptPtr& output)> execute{};
    // Takes the event subscriptions; none is expected without it. Outlives the services that the module gets.
    EventSource* events = nullptr;
};

using WmiScript = ByName<NamespaceScript>;

} // namespace Zv::Testing
