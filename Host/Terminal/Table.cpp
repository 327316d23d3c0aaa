#include "Host/Terminal/Table.h"

#include "Host/Terminal/DisplayWidth.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace Zv::Host
{

namespace
{

constexpr std::string_view Gap = "  ";
constexpr std::size_t LeastWidth = 4; // of a column that is cut

bool IsControl(char byte) noexcept
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

std::string OneLine(std::string text)
{
    std::ranges::replace_if(text, IsControl, ' ');
    return text;
}

std::string CsvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
    {
        return text;
    }
    std::string field = "\"";
    for (const char c : text)
    {
        field += c == '"' ? "\"\"" : std::string{c};
    }
    return field + '"';
}

std::string CsvLine(const std::vector<std::string>& texts)
{
    std::string line;
    for (const std::string& text : texts)
    {
        line += (&text == &texts.front() ? "" : ",") + CsvField(text);
    }
    return line + "\r\n";
}

} // namespace

std::string Table::Aligned(std::optional<std::size_t> width, bool hasColors) const
{
    const std::vector<std::size_t> widths = Widths(width);
    std::string text;
    const auto addCell = [&](std::size_t column, const std::string& content, Style style) {
        const std::string shown = CutToWidth(OneLine(content), widths[column]);
        text += hasColors ? Styled(style, shown) : shown;
        const bool isLast = column + 1 == m_columns.size();
        text += isLast ? "\n" : std::string(widths[column] - DisplayWidth(shown), ' ').append(Gap);
    };
    for (std::size_t column = 0; column < m_columns.size(); ++column)
    {
        addCell(column, m_columns[column], Style::Heading);
    }
    for (const Row& row : m_rows)
    {
        for (std::size_t column = 0; column < m_columns.size(); ++column)
        {
            addCell(column, row.at(column).text, row.at(column).style);
        }
    }
    return text;
}

std::vector<std::size_t> Table::Widths(std::optional<std::size_t> width) const
{
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < m_columns.size(); ++column)
    {
        std::size_t widest = DisplayWidth(m_columns[column]);
        for (const Row& row : m_rows)
        {
            widest = std::max(widest, DisplayWidth(OneLine(row.at(column).text)));
        }
        widths.push_back(widest);
    }
    if (width && !widths.empty())
    {
        // A terminal may begin a new line behind its last column.
        const std::size_t most = *width - 1;
        std::size_t total = std::accumulate(widths.begin(), widths.end(), Gap.size() * (widths.size() - 1));
        for (auto widest = std::ranges::max_element(widths); total > most && *widest > LeastWidth;
             widest = std::ranges::max_element(widths))
        {
            --*widest;
            --total;
        }
    }
    return widths;
}

std::string Table::Csv() const
{
    std::string text = CsvLine(m_columns);
    for (const Row& row : m_rows)
    {
        std::vector<std::string> texts;
        std::ranges::transform(row, std::back_inserter(texts), &Cell::text);
        text += CsvLine(texts);
    }
    return text;
}

std::string Table::Json() const
{
    return '[' + Objects(",") + ']';
}

std::string Table::JsonLines() const
{
    return m_rows.empty() ? std::string{} : Objects("\n") + '\n';
}

std::string Table::Objects(const char* separator) const
{
    std::string objects;
    for (const Row& row : m_rows)
    {
        JsonObject object;
        for (std::size_t column = 0; column < m_columns.size(); ++column)
        {
            object.AddJson(m_columns[column], row.at(column).json);
        }
        objects += (objects.empty() ? "" : separator) + object.Text();
    }
    return objects;
}

void Table::Print(Console& output, OutputFormat format) const
{
    switch (format)
    {
    case OutputFormat::Text:
        output.Write(Aligned(output.OutputWidth(), output.OutputHasColors()));
        break;
    case OutputFormat::Json:
        output.WriteLine(JsonObject{}.AddJson("result", Json()).Text());
        break;
    case OutputFormat::JsonLines:
        output.Write(JsonLines());
        break;
    case OutputFormat::Csv:
        output.Write(Csv());
        break;
    }
}

} // namespace Zv::Host
