#include "Host/Shell/BackgroundEvents.h"

#include "Host/CommandParts/EventOutput.h"

namespace Zv::Host
{

BackgroundEvents::BackgroundEvents(Environment& environment, const std::vector<int>& ids, const std::string& channel,
                                   Notices& notices)
    : m_feed{environment.OpenSession(), ids,
             [&notices, json = environment.Options().PrintsJson()](std::string_view text) {
                 notices.Show(EventLine(text, json));
             }}
{
    const HANDLE waited[] = {environment.GetInterruption().Event(), m_feed.Changed()};
    while (!m_feed.IsListening())
    {
        environment.GetInterruption().Check();
        ThrowIfFailed(m_feed);
        static_cast<void>(WaitForMultipleObjects(2, waited, FALSE, INFINITE));
    }
    m_channel = OpenChannel(environment, channel);
}

void BackgroundEvents::Check() const
{
    ThrowIfFailed(m_feed);
}

} // namespace Zv::Host
