#include "Host/Recording/ClassReading.h"

#include <utility>

namespace Zv::Host
{

ClassReading::ClassReading(Simulator::Machine* machine, std::wstring nameSpace, std::wstring name,
                           RecordingOptions options)
{
    options.onInstance = [state = m_state.get()] { ++state->count; };
    m_worker.emplace([state = m_state, machine, nameSpace = std::move(nameSpace), name = std::move(name), options] {
        try
        {
            ClassRecorder recorder{machine, nameSpace, options};
            state->result.found = recorder.Record(name);
            state->result.nameSpace = recorder.NameSpace();
            state->result.server = recorder.Server();
            state->result.classes = recorder.Take();
            state->result.losses = recorder.Losses();
        }
        catch (...)
        {
            state->failure = std::current_exception();
        }
    });
}

ClassReadingResult ClassReading::Take()
{
    if (m_state->failure != nullptr)
    {
        std::rethrow_exception(m_state->failure);
    }
    return std::move(m_state->result);
}

} // namespace Zv::Host
