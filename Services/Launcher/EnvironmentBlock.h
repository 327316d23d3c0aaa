// Owner of a user's environment block.
#pragma once

#include <windows.h>

#include <userenv.h>

namespace Zv::Tessel::Server::Services
{

// The variables of a token's user, those of the calling process not among them. False when they could not be had.
class EnvironmentBlock
{
public:
    explicit EnvironmentBlock(HANDLE token) noexcept
    {
        if (CreateEnvironmentBlock(&m_block, token, FALSE) == FALSE)
        {
            m_block = nullptr;
        }
    }
    EnvironmentBlock(const EnvironmentBlock&) = delete;
    EnvironmentBlock& operator=(const EnvironmentBlock&) = delete;
    ~EnvironmentBlock()
    {
        if (m_block != nullptr)
        {
            DestroyEnvironmentBlock(m_block);
        }
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_block != nullptr; }
    [[nodiscard]] void* Get() const noexcept { return m_block; }

private:
    void* m_block = nullptr;
};

} // namespace Zv::Tessel::Server::Services
