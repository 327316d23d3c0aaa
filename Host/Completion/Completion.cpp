#include "Host/Completion/Completion.h"

#include "Host/CommandParts/QueryTarget.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>

namespace Zv::Host
{

namespace
{

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1)
    {
        end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end == std::string::npos ? end : end - begin));
    }
    return parts;
}

// CLASS or FILE, say, where on and 128 are words to type.
bool IsPlaceholder(const std::string& word)
{
    return std::ranges::none_of(word, [](unsigned char c) { return std::islower(c) != 0 || std::isdigit(c) != 0; });
}

bool BeginsWith(const std::string& word, const std::string& begin)
{
    return word.size() >= begin.size() &&
           std::equal(begin.begin(), begin.end(), word.begin(), [](unsigned char a, unsigned char b) {
               return std::tolower(a) == std::tolower(b); // as WMI's names
           });
}

// Walks along the words as the parser would, though nothing need be complete or right.
class Place
{
public:
    Place(const CommandLine& line, const std::vector<std::string>& words) : m_line{line}
    {
        for (const std::string& word : words)
        {
            Take(word);
        }
    }

    // What may stand here, unless there is no such subcommand.
    [[nodiscard]] bool IsLost() const noexcept { return m_lost; }
    [[nodiscard]] bool TakesOptions() const noexcept { return m_open == nullptr && !m_optionsEnded; }
    [[nodiscard]] bool TakesCommand() const noexcept { return m_open == nullptr && m_command == nullptr; }

    // The option whose value comes next, or else the argument; null when nothing more is taken.
    [[nodiscard]] const Argument* Next() const
    {
        if (m_open != nullptr || m_command == nullptr)
        {
            return m_open;
        }
        std::size_t before = 0;
        for (const Argument& argument : m_command->Takes().All())
        {
            if (argument.IsPositional() && (argument.target->IsList() || m_arguments < ++before))
            {
                return &argument;
            }
        }
        return nullptr;
    }

    // The subcommand's, then those of the program.
    [[nodiscard]] std::vector<const Argument*> Options() const
    {
        std::vector<const Argument*> options;
        for (const Arguments* const arguments : {m_command == nullptr ? nullptr : &m_command->Takes(), &m_line.Takes()})
        {
            if (arguments != nullptr)
            {
                for (const Argument& argument : arguments->All())
                {
                    if (!argument.IsPositional() && !argument.isHidden)
                    {
                        options.push_back(&argument);
                    }
                }
            }
        }
        return options;
    }

    // Null when there is none of that name that takes a value.
    [[nodiscard]] const Argument* FindOption(const std::string& name) const
    {
        const auto options = Options();
        const auto found = std::ranges::find_if(
            options, [&](const Argument* option) { return option->target && option->name == name; });
        return found == options.end() ? nullptr : *found;
    }

    // Of the last option or argument of that name.
    [[nodiscard]] std::string Value(const std::string& name, const std::string& otherwise = {}) const
    {
        const auto found = m_values.find(name);
        return found == m_values.end() ? otherwise : found->second;
    }

private:
    void Take(const std::string& word)
    {
        if (m_open != nullptr)
        {
            m_values[m_open->name] = word;
            m_open = nullptr;
        }
        else if (!m_optionsEnded && word == "--")
        {
            m_optionsEnded = true;
        }
        else if (!m_optionsEnded && word.size() > 1 && word.starts_with('-'))
        {
            TakeOption(word);
        }
        else if (m_command != nullptr)
        {
            const Argument* const argument = Next();
            m_values[argument == nullptr ? "" : argument->name] = word;
            ++m_arguments;
        }
        else
        {
            m_command = m_line.FindCommand(word);
            m_lost = m_lost || m_command == nullptr;
        }
    }

    void TakeOption(const std::string& word)
    {
        const std::size_t equals = word.find('=');
        const Argument* const option = FindOption(word.substr(0, equals));
        if (option == nullptr)
        {
            return;
        }
        if (equals == std::string::npos)
        {
            m_open = option;
        }
        else
        {
            m_values[option->name] = word.substr(equals + 1);
        }
    }

    const CommandLine& m_line;
    const Command* m_command = nullptr;
    const Argument* m_open = nullptr; // its value has not come yet
    bool m_optionsEnded = false;
    bool m_lost = false;
    std::size_t m_arguments = 0;
    std::map<std::string, std::string> m_values;
};

// What the value of an option or argument may be.
Completion ValuesOf(const Argument& argument, const Place& place, const NameSource& names)
{
    Completion values;
    std::vector<std::string> kinds = Split(argument.type, '|');
    if (argument.IsPositional() && std::ranges::all_of(kinds, IsPlaceholder))
    {
        kinds = {argument.name};
    }
    const std::string nameSpace = place.Value("--namespace", QueryTarget{}.nameSpace);
    for (const std::string& kind : kinds)
    {
        if (!IsPlaceholder(kind))
        {
            values.words.push_back(kind);
        }
        else if (kind == "CLASS")
        {
            values.words = names.classes(nameSpace);
        }
        else if (kind == "PROPERTY")
        {
            values.words = names.properties(nameSpace, place.Value("CLASS"));
        }
        else if (kind == "PATH" || kind == "FILE" || kind.ends_with("-FILE"))
        {
            values.files = true;
        }
    }
    if (values.words.empty() && argument.tabs)
    {
        values.words = argument.tabs();
    }
    return values;
}

void KeepThoseThatBegin(std::vector<std::string>& words, const std::string& begin)
{
    std::erase_if(words, [&](const std::string& word) { return !BeginsWith(word, begin); });
}

} // namespace

Completion Complete(const CommandLine& line, const std::vector<std::string>& words, const std::string& begin,
                    const NameSource& names)
{
    const Place place{line, words};
    Completion completion;
    if (place.IsLost())
    {
        return completion;
    }
    const std::size_t equals = begin.find('=');
    if (place.TakesOptions() && begin.starts_with("--") && equals != std::string::npos)
    {
        const std::string name = begin.substr(0, equals);
        if (const Argument* const option = place.FindOption(name))
        {
            completion = ValuesOf(*option, place, names);
            completion.files = false; // shells complete a file's name where a word begins
            for (std::string& word : completion.words)
            {
                word.insert(0, name + '=');
            }
        }
    }
    else if (place.TakesOptions() && begin.starts_with('-'))
    {
        completion.words = {"--help"};
        for (const Argument* const option : place.Options())
        {
            const std::string name = option->name.substr(0, option->name.find(',')); // of several the first
            if (std::ranges::find(completion.words, name) == completion.words.end())
            {
                completion.words.push_back(name);
            }
        }
    }
    else if (place.TakesCommand())
    {
        completion.words = line.CommandNames();
    }
    else if (const Argument* const next = place.Next())
    {
        completion = ValuesOf(*next, place, names);
    }
    KeepThoseThatBegin(completion.words, begin);
    return completion;
}

std::string GivenValue(const CommandLine& line, const std::vector<std::string>& words, const std::string& option)
{
    return Place{line, words}.Value(option);
}

} // namespace Zv::Host
