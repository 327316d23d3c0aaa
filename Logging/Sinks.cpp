#include "Logging/Sinks.h"

#include "Logging/LogWriter.h"
#include "Logging/StreamSink.h"
#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <memory>
#include <utility>

namespace Logging
{

namespace
{

using Zv::Tessel::Server::Shared::Handle;

SinkId AddStreamSink(Level least, std::unique_ptr<StreamSink> sink) noexcept
{
    if (!sink)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return NoSink;
    }
    const SinkId id = LogWriter::Instance().SinkList().Add(least, &StreamSink::Write, sink.get(), &StreamSink::Release);
    if (id == NoSink)
    {
        SetLastError(ERROR_TOO_MANY_OPEN_FILES);
        return NoSink;
    }
    static_cast<void>(sink.release()); // the list owns it now
    return id;
}

} // namespace

SinkId Sinks::Add(Level least, SinkFunction* function, void* user) noexcept
{
    return LogWriter::Instance().SinkList().Add(least, function, user, nullptr);
}

SinkId Sinks::AddFile(Level least, const wchar_t* path) noexcept
{
    if (path == nullptr)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return NoSink;
    }
    Handle file{CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (!file)
    {
        return NoSink;
    }
    const HANDLE stream = file.Get();
    return AddStreamSink(least, StreamSink::Open(stream, std::move(file)));
}

SinkId Sinks::AddStream(Level least, void* handle) noexcept
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return NoSink;
    }
    return AddStreamSink(least, StreamSink::Open(handle, Handle{}));
}

void Sinks::Remove(SinkId sink) noexcept
{
    LogWriter::Instance().SinkList().Remove(sink);
}

} // namespace Logging
