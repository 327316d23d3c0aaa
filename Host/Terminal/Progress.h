// Shows on a terminal that something long goes on.
#pragma once

#include "Host/Terminal/Console.h"
#include "Host/Terminal/ProgressLine.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Zv::Host
{

// While it lives a line of standard error says what goes on and for how long; nothing where that is no terminal. May be
// used by several threads.
class Progress
{
public:
    Progress(Console& console, std::string what);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void SetWhat(std::string what);
    void Count(); // one more object has come
    void SetCount(std::size_t count);

private:
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_over;
    bool m_isOver = false; // guarded by m_mutex
    ProgressLine m_line;   // guarded by m_mutex
    std::thread m_thread;  // last: works with all of the above
};

} // namespace Zv::Host
