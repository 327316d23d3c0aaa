// Classes, objects and values of a simulated machine, as data.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Zv::Simulator
{

struct Object;
using ObjectPtr = std::shared_ptr<const Object>;

// A property's value; which alternative is right follows from the property's CIM type. Integers of every width are
// kept as 64 bits, uint64 as the same bits. monostate is NULL.
struct Value;
using Bytes = std::vector<std::uint8_t>; // uint8 arrays, by far the longest ones
using List = std::vector<Value>;         // every other array
struct Value : std::variant<std::monostate, bool, std::int64_t, double, std::wstring, ObjectPtr, Bytes, List>
{
    using variant::variant;

    [[nodiscard]] bool IsNull() const noexcept { return index() == 0; }
    template <class T>
    [[nodiscard]] const T* As() const noexcept
    {
        return std::get_if<T>(this);
    }
};

struct Property
{
    std::wstring name;
    std::wstring description;  // may be empty, here and below
    CIMTYPE type = CIM_STRING; // CIM_FLAG_ARRAY included
    std::wstring objectClass;  // of a CIM_OBJECT that holds one class only; else empty
    bool key = false;
    Value initial;                           // of a fresh instance
    std::optional<std::size_t> size;         // bytes given shorter than this are filled up with zeros
    const wchar_t* direction = nullptr;      // "in" or "out" of a method's parameter
    std::optional<std::int64_t> parameterId; // its place in the call; the returned value has none

    [[nodiscard]] bool IsArray() const noexcept { return (type & CIM_FLAG_ARRAY) != 0; }
    [[nodiscard]] CIMTYPE ElementType() const noexcept { return type & ~CIM_FLAG_ARRAY; }
};

struct Class;
using ClassPtr = std::shared_ptr<const Class>;

struct Method;

struct Class
{
    std::wstring name;
    std::wstring description;
    std::wstring server;
    std::wstring nameSpace; // as the description spells it, for example root\wmi
    bool event = false;
    bool singleton = false; // without key properties: the path of its only instance ends in =@
    std::vector<Property> properties;
    std::vector<Method> methods;
    std::vector<std::wstring_view> hidden; // system properties that a SELECT with a list left out: they are NULL

    // Null when there is none; names compare without case.
    [[nodiscard]] std::optional<std::size_t> FindProperty(std::wstring_view property) const noexcept;
    [[nodiscard]] const Method* FindMethod(std::wstring_view method) const noexcept;
    [[nodiscard]] bool HasKey() const noexcept;
};

// A class (all values its initial ones) or an instance.
struct Object
{
    ClassPtr definition;
    std::vector<Value> values; // one per property of the class
    bool isInstance = false;
};

// A dotted name, "InData.Command", split.
using PropertyPath = std::vector<std::wstring>;

// One thing that a call must bring to fit a rule.
struct Condition
{
    PropertyPath path; // into the in-parameters
    Value value;
    bool startsWith = false; // bytes: the first ones only
};

// What a method call is answered with.
struct Answer
{
    HRESULT status = S_OK;
    DWORD delay = 0; // milliseconds
    bool hang = false;
    ObjectPtr out; // null when the method has no out-parameters
    struct Echo
    {
        PropertyPath from; // in-parameters
        PropertyPath to;   // out-parameters
    };
    std::vector<Echo> echoes;
};

struct Rule
{
    std::size_t id = 0; // rules that answer several methods share their counter
    std::vector<Condition> when;
    Answer answer;
};

struct Method
{
    enum class Act
    {
        Scripted,
        SetSetting,
        RestoreDefaults
    };

    std::wstring name;
    std::wstring description;
    bool isStatic = false; // called on the class, not on an instance
    ClassPtr in;           // null without in-parameters
    ClassPtr out;          // null without out-parameters
    Act act = Act::Scripted;
    std::vector<Rule> rules;
    Answer otherwise; // when no rule fits
};

// Without case, as WMI compares names and strings.
[[nodiscard]] bool EqualNoCase(std::wstring_view a, std::wstring_view b) noexcept;
[[nodiscard]] int CompareNoCase(std::wstring_view a, std::wstring_view b) noexcept;

[[nodiscard]] ObjectPtr MakeClassObject(const ClassPtr& definition);
[[nodiscard]] std::shared_ptr<Object> MakeInstance(const ClassPtr& definition);

// The value at a dotted path; null when a name on the way does not exist or holds no object.
[[nodiscard]] const Value* FindValue(const Object& object, const PropertyPath& path) noexcept;
// Sets the value at a dotted path; embedded objects on the way are copied, not changed. False when there is no such
// property.
[[nodiscard]] bool SetValue(Object& object, const PropertyPath& path, Value value, std::size_t depth = 0);

[[nodiscard]] PropertyPath SplitPath(std::wstring_view path);

} // namespace Zv::Simulator
