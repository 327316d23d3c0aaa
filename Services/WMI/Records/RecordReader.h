// The one way in which requests are read into typed records.
#pragma once

#include "Shared/Contract/ResultCode.h"
#include "Shared/Json/JsonDocument.h"
#include "Shared/Log/ClassLog.h"

#include <cstdint>

namespace Zv::Tessel::Server::Services::WMI
{

// Reads the members of one request document for one record and logs under the record's name. A member that does not
// satisfy its requirement is logged and its result code thrown, as an int: the command returns it.
class RecordReader
{
public:
    // recordType: the record's type name; recordName: its name as method of the log lines. All texts must outlive the
    // reader. Throws GeneralFailure when document is null.
    RecordReader(JsonDocument* document, const char* recordType, const char* recordName, const wchar_t* clientId);

    // A number; throws `missing` when it is absent, null or of another type.
    [[nodiscard]] std::uint32_t Number(const wchar_t* key, const char* logName, ResultCode missing) const;

    // A string that is not empty, in the document's memory; throws `missing` otherwise.
    [[nodiscard]] wchar_t* RequiredText(const wchar_t* key, const char* logName, ResultCode missing) const;

    // A string, empty or not, in the document's memory; throws `missing` otherwise.
    [[nodiscard]] wchar_t* Text(const wchar_t* key, const char* logName, ResultCode missing) const;

    // A "filter": null when it is absent, null, no string or empty.
    [[nodiscard]] wchar_t* Filter() const;

    // A "password": null, and logged, when it is absent, null or no string; an empty one stays empty.
    [[nodiscard]] wchar_t* Password() const;

    // Logs that a member is null (or not usable, which older clients know by the same words) and throws the code.
    [[noreturn]] void Fail(const char* logName, ResultCode code) const;

    [[nodiscard]] const Shared::ClassLog& Log() const noexcept { return m_log; }
    [[nodiscard]] const char* RecordName() const noexcept { return m_recordName; }

private:
    [[nodiscard]] wchar_t* FindText(const wchar_t* key) const;

    JsonDocument* m_document;
    const char* m_recordName;
    const wchar_t* m_clientId;
    Shared::ClassLog m_log;
};

} // namespace Zv::Tessel::Server::Services::WMI
