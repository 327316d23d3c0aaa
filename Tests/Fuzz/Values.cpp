#include "Tests/Fuzz/Values.h"

#include <oleauto.h>

#include <array>
#include <cwchar>

namespace Zv::Fuzz
{

namespace
{

using SharedMachine = std::shared_ptr<Machine::State>;

BSTR NewText(const std::wstring& text)
{
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

// VariantClear takes it all back.
HRESULT Hold(VARIANT* value, VARTYPE type, void* content)
{
    if (content == nullptr)
    {
        return E_OUTOFMEMORY;
    }
    value->vt = type;
    value->byref = content;
    return S_OK;
}

void PutElement(Answers& answers, SAFEARRAY* array, VARTYPE type, LONG* index)
{
    switch (type)
    {
    case VT_BSTR: {
        const BSTR text = NewText(answers.Text());
        SafeArrayPutElement(array, index, text); // copies
        SysFreeString(text);
        break;
    }
    case VT_UI1: {
        BYTE byte = answers.Byte();
        SafeArrayPutElement(array, index, &byte);
        break;
    }
    case VT_BOOL: {
        VARIANT_BOOL truth = answers.Choice(2) == 0 ? VARIANT_TRUE : VARIANT_FALSE;
        SafeArrayPutElement(array, index, &truth);
        break;
    }
    default: {
        std::array<std::int32_t, 6> number{answers.Number()}; // as large as the largest element
        SafeArrayPutElement(array, index, number.data());
        break;
    }
    }
}

// One that WMI gives: a vector from 0. Or another one.
HRESULT FillArray(Answers& answers, VARIANT* value, VARTYPE type)
{
    SAFEARRAYBOUND bounds[2] = {{static_cast<ULONG>(answers.Choice(8)), 0}, {1, 0}};
    UINT dimensions = 1;
    switch (answers.Choice(8))
    {
    case 1:
        value->vt = static_cast<VARTYPE>(VT_ARRAY | type);
        value->parray = nullptr;
        return S_OK;
    case 2:
        bounds[0].lLbound = static_cast<std::int8_t>(answers.Byte());
        break;
    case 3:
        dimensions = 2;
        bounds[1].cElements = static_cast<ULONG>(answers.Choice(4));
        break;
    case 4:
        bounds[0].cElements = static_cast<ULONG>(answers.Choice(64)) * 1024;
        break;
    default:
        break;
    }
    SAFEARRAY* const array = SafeArrayCreate(type, dimensions, bounds);
    const HRESULT hr = Hold(value, static_cast<VARTYPE>(VT_ARRAY | type), array);
    if (SUCCEEDED(hr) && dimensions == 1)
    {
        for (ULONG i = 0; i < bounds[0].cElements && i < 16; ++i)
        {
            LONG index = bounds[0].lLbound + static_cast<LONG>(i);
            PutElement(answers, array, type, &index);
        }
    }
    return hr;
}

HRESULT FillBytes(VARIANT* value, std::uint32_t count)
{
    return Hold(value, VT_ARRAY | VT_UI1, SafeArrayCreateVector(VT_UI1, 0, count));
}

// What a firmware and a system in good order say.
HRESULT FillUsual(const SharedMachine& state, const std::wstring& property, VARIANT* value)
{
    if (property == L"OutData")
    {
        return Hold(value, VT_UNKNOWN, NewObject(state));
    }
    if (property == L"Data")
    {
        return FillBytes(value, state->returnSize);
    }
    if (property == L"rwReturnCode" || property == L"Return" || property == L"EventID" || property == L"EventData")
    {
        value->vt = VT_I4;
        value->lVal = state->answers->Number();
        return S_OK;
    }
    return Hold(value, VT_BSTR, NewText(state->answers->Text()));
}

HRESULT FillUnusual(const SharedMachine& state, VARIANT* value)
{
    static constexpr VARTYPE Elements[] = {VT_I4, VT_BSTR, VT_BOOL, VT_UI1, VT_I2, VT_R8, VT_VARIANT};
    static constexpr VARTYPE Numbers[] = {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4,   VT_UI4,  VT_I8,    VT_UI8,
                                          VT_R4, VT_R8,  VT_CY, VT_INT, VT_UINT, VT_DATE, VT_ERROR, VT_DECIMAL};
    Answers& answers = *state->answers;
    switch (answers.Choice(10))
    {
    case 0:
        value->vt = VT_NULL;
        return S_OK;
    case 1:
        value->vt = VT_EMPTY;
        return S_OK;
    case 2:
        value->vt = VT_BOOL;
        value->boolVal = answers.Choice(2) == 0 ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    case 3:
        value->vt = Numbers[answers.Choice(std::size(Numbers))];
        value->lVal = answers.Number(); // DECIMAL included: these are bits of its middle
        return S_OK;
    case 4:
        value->vt = VT_BSTR;
        value->bstrVal = nullptr;
        return S_OK;
    case 5:
        return Hold(value, VT_BSTR, NewText(answers.Text()));
    case 6:
        value->vt = answers.Choice(2) == 0 ? VARTYPE{VT_UNKNOWN} : VARTYPE{VT_DISPATCH};
        value->punkVal = nullptr;
        return S_OK;
    case 7:
        return Hold(value, VT_UNKNOWN, NewObject(state));
    case 8:
        return FillBytes(value, static_cast<std::uint32_t>(answers.Choice(256)) * 32);
    default:
        return FillArray(answers, value, Elements[answers.Choice(std::size(Elements))]);
    }
}

} // namespace

HRESULT FillValue(const std::shared_ptr<Machine::State>& state, const std::wstring& property, VARIANT* value,
                  CIMTYPE* type)
{
    Answers& answers = *state->answers;
    if (const HRESULT hr = answers.Status(); FAILED(hr))
    {
        return hr;
    }
    if (type != nullptr)
    {
        static constexpr CIMTYPE Types[] = {CIM_SINT32, CIM_UINT32, CIM_STRING, CIM_BOOLEAN, CIM_EMPTY, CIM_OBJECT};
        *type = Types[answers.Choice(std::size(Types))];
    }
    return answers.Choice(4) == 0 ? FillUsual(state, property, value) : FillUnusual(state, value);
}

} // namespace Zv::Fuzz
