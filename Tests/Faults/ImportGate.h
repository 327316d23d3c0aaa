// Every import of a loaded module led through one gate, whatever its signature: what the module gains tomorrow is in it
// by itself.
#pragma once

#include "Interception/ImportTable.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Testing
{

// The integer arguments that a call passes in registers. Later ones and floating point numbers pass unseen.
struct CallArguments
{
    std::uint64_t fourth;
    std::uint64_t third;
    std::uint64_t second;
    std::uint64_t first;
};

// An import on its way through the gate.
struct GatedImport
{
    std::string dll;
    std::string name;
    void* original = nullptr; // what the slot led to

    // Makes the call now; for functions of four integer arguments at most.
    [[nodiscard]] std::uint64_t Make(const CallArguments& arguments) const;
};

// Says for each call whether it goes on to its function. Called on any thread, within the module's call; must not
// throw and must not call the module.
class GateKeeper
{
public:
    virtual ~GateKeeper() = default;
    // True: the caller gets `result` and the function is not called any more.
    [[nodiscard]] virtual bool Answers(const GatedImport& import, const CallArguments& arguments,
                                       std::uint64_t& result) noexcept = 0;
};

// While it lives the module's calls pass the keeper. It stands in front of redirections that were there before; calls
// that go on leave no trace on the stack, so that exceptions, long jumps and any number of arguments pass.
class ImportGate
{
public:
    ImportGate(HMODULE module, GateKeeper& keeper);
    ImportGate(const ImportGate&) = delete;
    ImportGate& operator=(const ImportGate&) = delete;
    ~ImportGate();

private:
    struct Passage;

    std::vector<std::unique_ptr<Passage>> m_passages;
    std::byte* m_code = nullptr;
    std::vector<Interception::Redirection> m_redirections;
};

} // namespace Zv::Testing
