#include "Services/WMI/Records/RecordReader.h"

#include "Services/JsonUtils.h"
#include "Services/UtilHelper.h"

namespace Zv::Tessel::Server::Services::WMI
{

RecordReader::RecordReader(JsonDocument* document, const char* recordType, const char* recordName,
                           const wchar_t* clientId)
    : m_document{document},
      m_recordName{recordName},
      m_clientId{clientId},
      m_log{Logging::LogManager::GetLogger(), recordType, clientId}
{
    if (UtilHelper::NullChecker({{document, "document"}}, clientId))
    {
        throw static_cast<int>(GeneralFailure);
    }
}

std::uint32_t RecordReader::Number(const wchar_t* key, const char* logName, ResultCode missing) const
{
    std::uint32_t number = 0;
    if (!JsonUtils::ParseJsonValue(m_document, key, &number, 0, m_clientId))
    {
        Fail(logName, missing);
    }
    return number;
}

wchar_t* RecordReader::RequiredText(const wchar_t* key, const char* logName, ResultCode missing) const
{
    wchar_t* const text = FindText(key);
    if (text == nullptr || *text == L'\0')
    {
        Fail(logName, missing);
    }
    return text;
}

wchar_t* RecordReader::Text(const wchar_t* key, const char* logName, ResultCode missing) const
{
    wchar_t* const text = FindText(key);
    if (text == nullptr)
    {
        Fail(logName, missing);
    }
    return text;
}

wchar_t* RecordReader::Filter() const
{
    wchar_t* const filter = FindText(L"filter");
    return filter == nullptr || *filter == L'\0' ? nullptr : filter;
}

wchar_t* RecordReader::Password() const
{
    wchar_t* const password = FindText(L"password");
    if (password == nullptr)
    {
        m_log.IsNull(m_recordName, "password");
    }
    return password;
}

void RecordReader::Fail(const char* logName, ResultCode code) const
{
    m_log.IsNull(m_recordName, logName);
    throw static_cast<int>(code);
}

wchar_t* RecordReader::FindText(const wchar_t* key) const
{
    wchar_t* text = nullptr;
    return JsonUtils::ParseJsonValue(m_document, key, &text, 0, m_clientId) ? text : nullptr;
}

} // namespace Zv::Tessel::Server::Services::WMI
