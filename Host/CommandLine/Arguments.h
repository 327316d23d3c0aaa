// What a command line takes.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zv::Host
{

// Where the texts go that are given for an argument. A function `from` makes a value of a text, and throws
// std::invalid_argument, saying why, for one that it cannot use. What is referred to must outlive the target.
class Target
{
public:
    template <class Value>
    using From = std::type_identity_t<Value> (*)(const std::string& text);

    explicit Target(std::function<void(const std::string& text)> take) : m_take{std::move(take)} {}
    Target(std::string& value) : m_take{[&value](const std::string& text) { value = text; }} {}
    // An empty text is none.
    Target(std::optional<std::string>& value)
        : m_take{[&value](const std::string& text) { value = text.empty() ? std::nullopt : std::optional{text}; }}
    {
    }
    Target(std::vector<std::string>& values)
        : m_take{[&values](const std::string& text) { values.push_back(text); }},
          m_isList{true}
    {
    }
    template <class Value>
    Target(Value& value, From<Value> from) : m_take{[&value, from](const std::string& text) { value = from(text); }}
    {
    }
    template <class Value>
    Target(std::optional<Value>& value, From<Value> from)
        : m_take{[&value, from](const std::string& text) { value = from(text); }}
    {
    }
    template <class Value>
    Target(std::vector<Value>& values, From<Value> from)
        : m_take{[&values, from](const std::string& text) { values.push_back(from(text)); }},
          m_isList{true}
    {
    }

    void Take(const std::string& text) const { m_take(text); }
    [[nodiscard]] bool IsList() const noexcept { return m_isList; }

private:
    std::function<void(const std::string&)> m_take;
    bool m_isList = false;
};

// An argument that is told by its place, an option with a value, or a flag.
struct Argument
{
    std::string name; // "CLASS"; "--where"; "--json,--ndjson"
    std::string description;
    std::optional<Target> target = {}; // nothing: a flag
    bool* flag = nullptr;
    std::string type = {};                  // of the value, in --help and for Tab: "FILE", "on|off"; or empty
    std::vector<std::string> excluded = {}; // options and flags that do not go with it
    std::function<std::vector<std::string>()> tabs = {}; // what Tab offers besides what its type says; may be empty
    bool isRequired = false;
    bool takesOneEach = false; // an option with a list: each time it is given it takes one value
    bool isHidden = false;     // --help and Tab leave it out

    [[nodiscard]] bool IsPositional() const noexcept { return !name.starts_with('-'); }

    Argument& Required()
    {
        isRequired = true;
        return *this;
    }
    Argument& Type(std::string text)
    {
        type = std::move(text);
        return *this;
    }
    Argument& OneEach()
    {
        takesOneEach = true;
        return *this;
    }
    Argument& Excludes(std::vector<std::string> names)
    {
        excluded = std::move(names);
        return *this;
    }
    Argument& Tab(std::function<std::vector<std::string>()> offers)
    {
        tabs = std::move(offers);
        return *this;
    }
};

// In the order of --help. A reference holds until the next one is added.
class Arguments
{
public:
    Argument& Positional(std::string name, Target target, std::string description)
    {
        return Add({.name = std::move(name), .description = std::move(description), .target = std::move(target)});
    }
    Argument& Option(std::string name, Target target, std::string description)
    {
        return Add({.name = std::move(name), .description = std::move(description), .target = std::move(target)});
    }
    Argument& Flag(std::string name, bool& value, std::string description)
    {
        return Add({.name = std::move(name), .description = std::move(description), .flag = &value});
    }
    // From the first word on that is none of these all words are kept, whatever they look like.
    void Rest(std::vector<std::string>& words) noexcept { m_rest = &words; }
    // Words that are none of these are not mistakes.
    void Anything() noexcept { m_takesAnything = true; }

    // From now on the option is a mistake, and why; --help and Tab leave it out.
    void Refuse(const std::string& option, const std::string& why);

    [[nodiscard]] const std::vector<Argument>& All() const noexcept { return m_all; }
    [[nodiscard]] std::vector<std::string>* WhereRestGoes() const noexcept { return m_rest; } // null: nowhere
    [[nodiscard]] bool TakesAnything() const noexcept { return m_takesAnything; }

private:
    Argument& Add(Argument argument)
    {
        m_all.push_back(std::move(argument));
        return m_all.back();
    }

    std::vector<Argument> m_all;
    std::vector<std::string>* m_rest = nullptr;
    bool m_takesAnything = false;
};

// One of several words, by its name. Throws std::invalid_argument: must be auto, always or never, not "x".
template <class Value>
[[nodiscard]] Value ChoiceFrom(const std::string& text,
                               const std::vector<std::pair<std::string, std::type_identity_t<Value>>>& choices)
{
    std::string names;
    for (const auto& [name, value] : choices)
    {
        if (name == text)
        {
            return value;
        }
        names += (names.empty() ? "" : &name == &choices.back().first ? " or " : ", ") + name;
    }
    throw std::invalid_argument{"must be " + names + ", not \"" + text + '"'};
}

} // namespace Zv::Host
