#include "Simulator/AutomationWatch.h"

#include "Interception/ImportTable.h"
#include "Simulator/Com/Core.h"
#include "Simulator/Machine.h"

#include <oleauto.h>

#include <atomic>
#include <stdexcept>

namespace Zv::Simulator
{

namespace
{

// Set before the imports are redirected and cleared after they were put back.
std::atomic<AutomationLedger*> activeLedger = nullptr;

// What the imports led to: not the functions themselves, which may be somebody else's replacements, and which are
// imports of this very program when that is the module that is watched.
struct Originals
{
    decltype(&SysFreeString) freeString = nullptr;
    decltype(&SafeArrayDestroy) destroyArray = nullptr;
    decltype(&VariantClear) clearVariant = nullptr;
    decltype(&VariantChangeType) changeType = nullptr;
    decltype(&VariantCopy) copyVariant = nullptr;
};
Originals originals;

void STDAPICALLTYPE FreeString(BSTR text)
{
    activeLedger.load()->FreedString(text);
    originals.freeString(text);
}

HRESULT STDAPICALLTYPE DestroyArray(SAFEARRAY* array)
{
    activeLedger.load()->FreedArray(array);
    return originals.destroyArray(array);
}

HRESULT STDAPICALLTYPE ClearVariant(VARIANTARG* value)
{
    activeLedger.load()->Cleared(*value);
    return originals.clearVariant(value);
}

// Functions that replace what the target holds, but only when they succeed.
template <class Call>
HRESULT Replace(const VARIANTARG& target, Call call)
{
    const VARIANTARG before = target;
    const bool known = activeLedger.load()->Cleared(before);
    const HRESULT hr = call();
    if (FAILED(hr) && known)
    {
        activeLedger.load()->HandedOut(before);
    }
    return hr;
}

HRESULT STDAPICALLTYPE ChangeType(VARIANTARG* target, VARIANTARG* source, USHORT flags, VARTYPE type)
{
    return Replace(*target, [&] { return originals.changeType(target, source, flags, type); });
}

HRESULT STDAPICALLTYPE CopyVariant(VARIANTARG* target, VARIANTARG* source)
{
    return Replace(*target, [&] { return originals.copyVariant(target, source); });
}

template <class Function>
void RedirectIfImported(const Interception::ImportTable& imports, const char* name, Function* replacement,
                        Function*& original, std::vector<Interception::Redirection>& redirections)
{
    original = imports.Current<Function*>("*", name);
    if (original != nullptr)
    {
        redirections.push_back(imports.Redirect("*", name, replacement));
    }
}

} // namespace

AutomationWatch::AutomationWatch(const Machine& machine, HMODULE module) : m_core{machine.m_core}
{
    AutomationLedger* none = nullptr;
    if (!activeLedger.compare_exchange_strong(none, &m_core->ledger))
    {
        throw std::logic_error{"an AutomationWatch lives already"};
    }
    const Interception::ImportTable imports{module};
    m_redirections.reserve(5);
    RedirectIfImported(imports, "SysFreeString", &FreeString, originals.freeString, m_redirections);
    RedirectIfImported(imports, "SafeArrayDestroy", &DestroyArray, originals.destroyArray, m_redirections);
    RedirectIfImported(imports, "VariantClear", &ClearVariant, originals.clearVariant, m_redirections);
    RedirectIfImported(imports, "VariantChangeType", &ChangeType, originals.changeType, m_redirections);
    RedirectIfImported(imports, "VariantCopy", &CopyVariant, originals.copyVariant, m_redirections);
    m_core->ledger.Open();
}

AutomationWatch::~AutomationWatch()
{
    m_core->ledger.Close();
    while (!m_redirections.empty())
    {
        m_redirections.pop_back();
    }
    activeLedger = nullptr;
}

} // namespace Zv::Simulator
