// Owner of a BSTR.
#pragma once

#include "Platform/Com/ComError.h"

#include <windows.h>

#include <oleauto.h>

#include <atomic>
#include <cstdint>
#include <new>
#include <utility>

namespace Zv::Tessel::Server::Shared::WMI
{

// A reference-counted BSTR: copies share one text, which the last of them frees. Safe to copy on several threads.
class Bstr
{
public:
    // Copies the text. Raises ComError(E_OUTOFMEMORY) when the holder or the BSTR cannot be allocated.
    explicit Bstr(const wchar_t* text) : Bstr{} { Adopt(SysAllocString(text)); }
    // Converts the text from the ANSI code page. Raises ComError also when the conversion fails.
    explicit Bstr(const char* text) : Bstr{}
    {
        const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0); // with the terminator
        CheckConversion(size);
        Adopt(SysAllocStringLen(nullptr, static_cast<UINT>(size - 1)));
        CheckConversion(MultiByteToWideChar(CP_ACP, 0, text, -1, m_holder->text, size));
    }
    Bstr(const Bstr& other) noexcept : m_holder{other.m_holder}
    {
        if (m_holder != nullptr)
        {
            m_holder->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
    Bstr(Bstr&& other) noexcept : m_holder{std::exchange(other.m_holder, nullptr)} {}
    Bstr& operator=(const Bstr&) = delete;
    Bstr& operator=(Bstr&&) = delete;
    ~Bstr() { Reset(); }

    [[nodiscard]] BSTR Get() const noexcept { return m_holder->text; }

private:
    struct Holder
    {
        BSTR text = nullptr;
        char* narrowText = nullptr; // spare, never made here
        std::atomic<std::uint32_t> references = 1;
    };

    Bstr() : m_holder{new(std::nothrow) Holder}
    {
        if (m_holder == nullptr)
        {
            throw ComError{E_OUTOFMEMORY};
        }
    }

    void Adopt(BSTR text) const
    {
        if (text == nullptr)
        {
            throw ComError{E_OUTOFMEMORY};
        }
        m_holder->text = text;
    }

    static void CheckConversion(int size)
    {
        if (size == 0)
        {
            throw ComError{HRESULT_FROM_WIN32(GetLastError())};
        }
    }

    void Reset() noexcept
    {
        Holder* const holder = std::exchange(m_holder, nullptr);
        if (holder != nullptr && holder->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            SysFreeString(holder->text); // ignores null
            delete holder;
        }
    }

    Holder* m_holder;
};

// A BSTR that a call handed out.
class ReceivedBstr
{
public:
    ReceivedBstr() noexcept = default;
    ReceivedBstr(const ReceivedBstr&) = delete;
    ReceivedBstr& operator=(const ReceivedBstr&) = delete;
    ~ReceivedBstr() { SysFreeString(m_text); } // ignores null

    [[nodiscard]] BSTR* Receive() noexcept { return &m_text; }
    [[nodiscard]] BSTR Get() const noexcept { return m_text; }

private:
    BSTR m_text = nullptr;
};

} // namespace Zv::Tessel::Server::Shared::WMI
