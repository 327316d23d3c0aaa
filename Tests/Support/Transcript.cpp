#include "Tests/Support/Transcript.h"

#include "Tests/Support/Text.h"

#include <algorithm>

namespace Zv::Testing
{

using Tessel::Server::Shared::LockGuard;

std::wstring Describe(const LogLine& line)
{
    static constexpr const wchar_t* Levels[] = {L"Info", L"Warning", L"Error"};
    std::wstring text = Levels[static_cast<int>(line.level)];
    if (line.overload == Overload::Data)
    {
        text += L"(" + line.context.value_or(L"null") + L")";
    }
    return text + L" " + line.text;
}

void PrintTo(const LogLine& line, std::ostream* stream)
{
    *stream << Narrow(Describe(line)) << " [format: " << Narrow(line.format) << "]";
}

Transcript::Transcript()
{
    FakeLoggingListen(&Transcript::Listen, this);
}

Transcript::~Transcript()
{
    FakeLoggingListen(nullptr, nullptr);
}

void Transcript::Add(std::wstring call)
{
    const LockGuard guard{m_lock};
    m_entries.push_back({std::move(call), {}});
}

void Transcript::Listen(void* state, const FakeLogging::Record& record)
{
    LogLine line{record.level, record.overload, std::nullopt, record.format, record.text, record.reserved};
    if (record.context != nullptr)
    {
        line.context = record.context;
    }
    auto* const self = static_cast<Transcript*>(state);
    const LockGuard guard{self->m_lock};
    self->m_entries.push_back({{}, std::move(line)});
}

std::vector<std::wstring> Transcript::All() const
{
    return Of({L""});
}

std::vector<std::wstring> Transcript::Calls() const
{
    std::vector<std::wstring> calls;
    const LockGuard guard{m_lock};
    for (const Entry& entry : m_entries)
    {
        if (!entry.call.empty())
        {
            calls.push_back(entry.call);
        }
    }
    return calls;
}

std::vector<LogLine> Transcript::Log() const
{
    std::vector<LogLine> lines;
    const LockGuard guard{m_lock};
    for (const Entry& entry : m_entries)
    {
        if (entry.call.empty())
        {
            lines.push_back(entry.line);
        }
    }
    return lines;
}

std::vector<std::wstring> Transcript::Of(std::vector<std::wstring> beginnings) const
{
    std::vector<std::wstring> found;
    const LockGuard guard{m_lock};
    for (const Entry& entry : m_entries)
    {
        std::wstring text = entry.call.empty() ? Describe(entry.line) : entry.call;
        const auto matches = [&text](const std::wstring& beginning) { return text.starts_with(beginning); };
        if (std::any_of(beginnings.begin(), beginnings.end(), matches))
        {
            found.push_back(std::move(text));
        }
    }
    return found;
}

void Transcript::Clear()
{
    const LockGuard guard{m_lock};
    m_entries.clear();
}

} // namespace Zv::Testing
