// What the module works with in WMI.
#pragma once

#include "Host/Client/Session.h"
#include "Host/Doctor/Finding.h"
#include "Host/Terminal/Interruption.h"
#include "Simulator/Machine.h"

#include <optional>
#include <string>

namespace Zv::Host
{

// Namespaces, firmware commands, settings, events and the board's id; and whether each companion app's hotkeys would be
// armed. Asks the module where it answers, and WMI itself, on this machine (null) or a simulated one, where it has no
// command for the question. Runs no method and subscribes to nothing. The thread must be in COM.
class WmiExamination
{
public:
    // Throws the interruption's failure when that comes meanwhile.
    WmiExamination(Session& session, Simulator::Machine* machine, const Interruption& interruption);

    [[nodiscard]] const Findings& Result() const noexcept { return m_findings; }

private:
    using State = Finding::State;

    // What the module says about a class's instances.
    struct Answer
    {
        State nameSpace = State::Unknown;
        State instances = State::Unknown;
        std::string detail; // of either
    };

    [[nodiscard]] Answer AskForInstances(const wchar_t* nameSpace, const wchar_t* className);
    // A class and the methods that it must have, in a namespace that is there or not.
    void FindClass(const Subject& subject, State namespaceState, const wchar_t* nameSpace, const wchar_t* className,
                   const std::vector<std::wstring>& methods = {});

    void ExamineCommands();
    void ExamineSettings();
    void ExamineEvents();
    void ExamineBoard();
    void ExamineHotkeys();

    void Add(Finding finding) { m_findings.push_back(std::move(finding)); }

    Session& m_session;
    Simulator::Machine* m_machine;
    const Interruption& m_interruption;
    std::optional<std::string> m_board;
    State m_firmwareNamespace = State::Unknown;
    std::string m_noEvents; // why none come; empty when they do
    Findings m_findings;
};

} // namespace Zv::Host
