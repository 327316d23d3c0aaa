// What the module did, in order: platform calls, calls of scripted COM objects, and log lines.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Tests/FakeLogging/FakeLogging.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Zv::Testing
{

using FakeLogging::Level;
using FakeLogging::Overload;

struct LogLine
{
    Level level = Level::Info;
    Overload overload = Overload::Text;
    std::optional<std::wstring> context; // nothing for a null context and for the text overload
    std::wstring format;
    std::wstring text;
    std::uint64_t reserved = 0; // the third field of LoggingData

    bool operator==(const LogLine&) const = default;
};

// "Warning(context) text", or "Warning text" for the text overload: how a log line appears in a transcript.
[[nodiscard]] std::wstring Describe(const LogLine& line);

void PrintTo(const LogLine& line, std::ostream* stream);

// Records from its construction on. Any thread may add to it.
class Transcript
{
public:
    Transcript();
    Transcript(const Transcript&) = delete;
    Transcript& operator=(const Transcript&) = delete;
    ~Transcript();

    // A call, as "Name(arguments) = result".
    void Add(std::wstring call);

    // Everything in its order; log lines as Describe gives them.
    [[nodiscard]] std::vector<std::wstring> All() const;
    // Calls only, or log lines only.
    [[nodiscard]] std::vector<std::wstring> Calls() const;
    [[nodiscard]] std::vector<LogLine> Log() const;
    // Calls and log lines whose text begins with one of the names, in their order.
    [[nodiscard]] std::vector<std::wstring> Of(std::vector<std::wstring> beginnings) const;

    void Clear();

private:
    struct Entry
    {
        std::wstring call; // empty for a log line
        LogLine line;
    };

    static void Listen(void* state, const FakeLogging::Record& record);

    mutable Tessel::Server::Shared::Lock m_lock;
    std::vector<Entry> m_entries; // guarded by m_lock
};

} // namespace Zv::Testing
