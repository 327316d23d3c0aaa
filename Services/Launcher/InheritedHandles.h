// The list of handles that a new process inherits.
#pragma once

#include <windows.h>

#include <vector>

namespace Zv::Tessel::Server::Services
{

// A process attribute list with one attribute, the handles; no other handle is inherited. False when it could not be
// made. The handles themselves must be inheritable and stay alive, in the vector given, as long as the list is used.
class InheritedHandles
{
public:
    explicit InheritedHandles(std::vector<HANDLE>& handles) noexcept
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size); // asks for the size, and so reports failure
        if (size == 0)
        {
            return;
        }
        m_list = static_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(HeapAlloc(GetProcessHeap(), 0, size));
        m_initialized = m_list != nullptr && InitializeProcThreadAttributeList(m_list, 1, 0, &size) != FALSE;
        m_complete =
            m_initialized && UpdateProcThreadAttribute(m_list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                                       handles.size() * sizeof(HANDLE), nullptr, nullptr) != FALSE;
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;
    ~InheritedHandles()
    {
        if (m_initialized)
        {
            DeleteProcThreadAttributeList(m_list);
        }
        if (m_list != nullptr)
        {
            HeapFree(GetProcessHeap(), 0, m_list);
        }
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_complete; }
    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST Get() const noexcept { return m_list; }

private:
    LPPROC_THREAD_ATTRIBUTE_LIST m_list = nullptr;
    bool m_initialized = false;
    bool m_complete = false;
};

} // namespace Zv::Tessel::Server::Services
