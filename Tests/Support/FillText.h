// How Windows' package functions hand out a text.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>

namespace Zv::Testing
{

// Copies the text into the caller's buffer, if there is one and it is long enough; says how long it has to be.
inline LONG FillText(const std::wstring& text, UINT32* length, wchar_t* buffer)
{
    const auto needed = static_cast<UINT32>(text.size() + 1);
    const bool fits = buffer != nullptr && *length >= needed;
    *length = needed;
    if (!fits)
    {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::copy_n(text.c_str(), needed, buffer);
    return ERROR_SUCCESS;
}

} // namespace Zv::Testing
