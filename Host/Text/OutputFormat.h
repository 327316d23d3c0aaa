// How standard output is written.
#pragma once

#include <string>
#include <vector>

namespace Zv::Host
{

enum class OutputFormat
{
    Text,      // for people
    Json,      // one JSON text, or one per line where a subcommand's answer comes bit by bit
    JsonLines, // one JSON object per line, each as it comes
    Csv,       // a list with a header line, as RFC 4180 has it
};

// "text", or the option that chooses it, such as "--csv".
[[nodiscard]] const char* NameOf(OutputFormat format) noexcept;

// "text, --json or --csv"
[[nodiscard]] std::string ListOf(const std::vector<OutputFormat>& formats);

} // namespace Zv::Host
