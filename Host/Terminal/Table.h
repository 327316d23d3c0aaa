// A list of things with the same members.
#pragma once

#include "Host/Terminal/Console.h"
#include "Host/Terminal/Style.h"
#include "Host/Text/Json.h"
#include "Host/Text/OutputFormat.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Host
{

class Table
{
public:
    // What a column holds in a row, for people and as JSON.
    struct Cell
    {
        Cell(std::string value, Style look = Style::Plain) : text{std::move(value)}, json{JsonString(text)}, style{look}
        {
        }
        Cell(const char* value, Style look = Style::Plain) : Cell{std::string{value}, look} {}
        Cell(const JsonValue& value) : text{PlainText(value)}, json{JsonText(value)} {}

        std::string text;
        std::string json;
        Style style = Style::Plain; // in a terminal
    };
    using Row = std::vector<Cell>;

    explicit Table(std::vector<std::string> columns) : m_columns{std::move(columns)} {}

    // A cell for each column.
    void Add(Row row) { m_rows.push_back(std::move(row)); }

    // Columns side by side under their names. In a terminal, whose columns `width` says, the widest ones are cut until
    // a line fits into it. Characters that would break the line, or drive the terminal, are shown as blanks.
    [[nodiscard]] std::string Aligned(std::optional<std::size_t> width, bool hasColors) const;
    // A line of names, then one per row, with the line ends of RFC 4180.
    [[nodiscard]] std::string Csv() const;
    [[nodiscard]] std::string Json() const;      // an array of objects
    [[nodiscard]] std::string JsonLines() const; // an object per line

    // To standard output; as JSON it is {"result":[{...}, ...]}.
    void Print(Console& output, OutputFormat format) const;

private:
    [[nodiscard]] std::vector<std::size_t> Widths(std::optional<std::size_t> width) const;
    [[nodiscard]] std::string Objects(const char* separator) const;

    std::vector<std::string> m_columns;
    std::vector<Row> m_rows;
};

} // namespace Zv::Host
