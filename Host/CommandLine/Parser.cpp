#include "Host/CommandLine/Parser.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace Zv::Host
{

namespace
{

CLI::Option* AddValue(CLI::App& parser, const Argument& argument)
{
    const auto take = [&argument](const std::string& text) {
        try
        {
            argument.target->Take(text);
        }
        catch (const std::invalid_argument& error)
        {
            throw CLI::ValidationError{argument.name, error.what()};
        }
    };
    using Texts = std::vector<std::string>;
    return argument.target->IsList()
               ? parser.add_option_function<Texts>(
                     argument.name,
                     [take](const Texts& texts) {
                         for (const std::string& text : texts)
                         {
                             take(text);
                         }
                     },
                     argument.description)
               : parser.add_option_function<std::string>(argument.name, take, argument.description);
}

void Add(CLI::App& parser, const Argument& argument)
{
    CLI::Option* const option = argument.flag != nullptr
                                    ? parser.add_flag(argument.name, *argument.flag, argument.description)
                                    : AddValue(parser, argument);
    option->required(argument.isRequired);
    if (!argument.type.empty())
    {
        option->type_name(argument.type);
    }
    if (argument.takesOneEach)
    {
        option->allow_extra_args(false);
    }
    if (argument.isHidden)
    {
        option->group("");
    }
}

void Add(CLI::App& parser, const Syntax& syntax)
{
    parser.footer(syntax.footer);
    for (const Argument& argument : syntax.arguments->All())
    {
        Add(parser, argument);
    }
    for (const Argument& argument : syntax.arguments->All())
    {
        for (const std::string& excluded : argument.excluded)
        {
            parser.get_option(argument.name)->excludes(parser.get_option(excluded));
        }
    }
    if (syntax.arguments->WhereRestGoes() != nullptr)
    {
        parser.prefix_command();
        parser.fallthrough(false);
    }
    if (syntax.arguments->TakesAnything())
    {
        parser.fallthrough(false)->allow_extras();
    }
}

Mistake::Kind KindOf(const CLI::ParseError& error)
{
    return dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr       ? Mistake::Kind::Unexpected
           : dynamic_cast<const CLI::ConversionError*>(&error) != nullptr ? Mistake::Kind::NotConvertible
                                                                          : Mistake::Kind::Other;
}

} // namespace

Reading ReadCommandLine(const Syntax& program, const std::vector<Syntax>& commands,
                        const std::vector<std::string>& words)
{
    CLI::App root{program.summary, program.name};
    root.require_subcommand(0, 1);           // whoever asks says better what is missing
    root.fallthrough();                      // the program's options may follow the subcommand
    root.allow_windows_style_options(false); // "/x" is text, not an option
    Add(root, program);
    for (const Syntax& command : commands)
    {
        CLI::App* const parser = root.add_subcommand(command.name, command.summary);
        Add(*parser, command);
        if (!command.alias.empty())
        {
            parser->alias(command.alias);
        }
        if (command.isHidden)
        {
            parser->group("");
        }
        if (std::vector<std::string>* const rest = command.arguments->WhereRestGoes())
        {
            parser->callback([rest, parser] { *rest = parser->remaining(); });
        }
    }
    Reading reading;
    try
    {
        root.parse(std::vector<std::string>{words.rbegin(), words.rend()}); // CLI11 takes the last one first
    }
    catch (const CLI::Success&)
    {
        reading.help = root.help();
    }
    catch (const CLI::ParseError& error)
    {
        const std::vector<std::string> left = root.remaining(true);
        reading.mistake =
            Mistake{KindOf(error), error.what(), left.empty() ? std::nullopt : std::optional{left.front()}};
    }
    const std::vector<CLI::App*> parsed = root.get_subcommands();
    reading.command = parsed.empty() ? "" : parsed.front()->get_name();
    return reading;
}

} // namespace Zv::Host
