// A heap of the module's own.
#pragma once

#include "Tests/Support/PlatformCalls.h"

namespace Zv::Testing
{

// While it lives the module's allocations come from a heap apart, so that those of its blocks that the program frees
// (strings that a call returned, exceptions that left it) can be told from the program's own. Such a block is struck
// from the ledger as well. What the module still holds when this goes is taken back with the heap.
class ModuleHeap
{
public:
    ModuleHeap(PlatformCalls& calls, Ledgers& ledgers);
    ModuleHeap(const ModuleHeap&) = delete;
    ModuleHeap& operator=(const ModuleHeap&) = delete;
    ~ModuleHeap();

private:
    HANDLE m_heap;
};

} // namespace Zv::Testing
