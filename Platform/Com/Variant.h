// Owner of a VARIANT.
#pragma once

#include "Platform/Com/ComError.h"

#include <windows.h>

#include <oleauto.h>

namespace Zv::Tessel::Server::Shared::WMI
{

// VariantInit on creation, VariantClear on destruction.
class Variant
{
public:
    Variant() noexcept { VariantInit(&m_value); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&m_value); }

    [[nodiscard]] VARTYPE Type() const noexcept { return V_VT(&m_value); }
    [[nodiscard]] const VARIANT& Value() const noexcept { return m_value; }
    // For calls that read the VARIANT, or that fill it: it must be empty then.
    [[nodiscard]] VARIANT* Address() noexcept { return &m_value; }

    // The setters are for an empty VARIANT.
    void SetInt32(LONG value) noexcept
    {
        V_VT(&m_value) = VT_I4;
        V_I4(&m_value) = value;
    }
    // Copies the text; a null one becomes a VT_BSTR without string. Raises ComError(E_OUTOFMEMORY).
    void SetText(const wchar_t* text)
    {
        wchar_t* const copy = text == nullptr ? nullptr : SysAllocString(text);
        if (text != nullptr && copy == nullptr)
        {
            throw ComError{E_OUTOFMEMORY};
        }
        V_VT(&m_value) = VT_BSTR;
        V_BSTR(&m_value) = copy;
    }
    // Takes the array over; null makes a byte array VARIANT without array.
    void SetByteArray(SAFEARRAY* array) noexcept
    {
        V_VT(&m_value) = VT_ARRAY | VT_UI1;
        V_ARRAY(&m_value) = array;
    }
    // Takes the caller's reference over.
    void SetUnknown(IUnknown* reference) noexcept
    {
        V_VT(&m_value) = VT_UNKNOWN;
        V_UNKNOWN(&m_value) = reference;
    }

    // The string that the VARIANT holds; null when it holds none.
    [[nodiscard]] BSTR Text() const noexcept { return Type() == VT_BSTR ? V_BSTR(&m_value) : nullptr; }

    // The byte array that the VARIANT holds, when it has one dimension; null otherwise.
    [[nodiscard]] SAFEARRAY* ByteArray() const noexcept
    {
        SAFEARRAY* const array = Type() == (VT_ARRAY | VT_UI1) ? V_ARRAY(&m_value) : nullptr;
        return array != nullptr && array->cDims == 1 && array->cbElements == 1 ? array : nullptr;
    }

    // Changes the value's type in place unless it already has it. Raises ComError when it cannot be converted.
    void ConvertTo(VARTYPE type)
    {
        if (Type() != type)
        {
            const HRESULT hr = VariantChangeType(&m_value, &m_value, 0, type);
            if (FAILED(hr))
            {
                throw ComError{hr};
            }
        }
    }

private:
    VARIANT m_value{}; // zeroed whole: what a call does not write reads as 0
};

} // namespace Zv::Tessel::Server::Shared::WMI
