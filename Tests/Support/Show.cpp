#include "Tests/Support/Show.h"

#include <objbase.h>
#include <wbemidl.h>

namespace Zv::Testing
{

std::wstring ShowGuid(const GUID& guid)
{
    static const struct
    {
        GUID guid;
        const wchar_t* name;
    } Names[] = {
        {CLSID_WbemLocator, L"CLSID_WbemLocator"},
        {IID_IWbemLocator, L"IID_IWbemLocator"},
        {CLSID_UnsecuredApartment, L"CLSID_UnsecuredApartment"},
        {IID_IUnsecuredApartment, L"IID_IUnsecuredApartment"},
    };
    for (const auto& known : Names)
    {
        if (IsEqualGUID(known.guid, guid))
        {
            return known.name;
        }
    }
    wchar_t text[39];
    StringFromGUID2(guid, text, 39);
    return text;
}

std::wstring ShowResult(HRESULT hr)
{
    wchar_t text[11];
    swprintf_s(text, L"0x%08lx", static_cast<unsigned long>(hr));
    return text;
}

} // namespace Zv::Testing
