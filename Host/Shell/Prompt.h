// Where the lines of an interactive shell are typed.
#pragma once

#include "Host/Completion/Completion.h"
#include "Host/Shell/Notices.h"
#include "Host/Terminal/Console.h"
#include "Host/Terminal/Interruption.h"

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

// Editing and history are those of the system's console, which hands the line out when Tab is pressed and takes it back
// to go on with. What comes meanwhile is shown at once as long as nothing is typed, and otherwise behind the line.
class Prompt
{
public:
    using Completer = std::function<Completion(const std::vector<std::string>& words, const std::string& begin)>;

    Prompt(Console& console, Notices& notices, Completer complete);

    // The next line; nothing at the end of the input (Ctrl-Z). Throws Failure: the interruption's when Ctrl-C comes
    // first, InputOutput when the console cannot be read.
    [[nodiscard]] std::optional<std::string> Read(const Interruption& interruption);

private:
    void Show(const std::wstring& line);
    void WaitForKey(const Interruption& interruption);
    [[nodiscard]] std::wstring ReadOn(const std::wstring& line, const Interruption& interruption);
    [[nodiscard]] std::wstring CompleteAt(const std::wstring& line, std::size_t tab);
    void List(const std::vector<std::string>& words);

    Console& m_console;
    Notices& m_notices;
    const Completer m_complete;
    const HANDLE m_input;
};

} // namespace Zv::Host
