// Log lines of plain text, without class, method and context.
#pragma once

#include "Logging/Logging.h"

namespace Zv::Tessel::Server::Shared
{

// Copyable, owns nothing. Writes nothing when the logger is null. The texts are formats without conversions.
class TextLog
{
public:
    explicit TextLog(Logging::TraceLogger* logger) noexcept : m_logger{logger} {}

    void Info(const wchar_t* text) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogInfo(text);
        }
    }
    void Warning(const wchar_t* text) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogWarning(text);
        }
    }
    void Error(const wchar_t* text) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogError(text);
        }
    }

private:
    Logging::TraceLogger* m_logger;
};

} // namespace Zv::Tessel::Server::Shared
