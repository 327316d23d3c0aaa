// The base of scripted COM objects.
#pragma once

#include "Tests/Support/FakeWmi.h"
#include "Tests/Support/Show.h"
#include "Tests/Support/Text.h"

#include <gtest/gtest.h>

#include <unknwn.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Zv::Testing
{

// Counts its references, starting with the one that its maker hands out, and deletes itself.
template <class Interface>
class FakeCom : public Interface
{
public:
    FakeCom(std::shared_ptr<FakeWmiState> state, const char* name) : m_state{std::move(state)}, m_name{name}
    {
        ++m_state->references;
    }
    FakeCom(const FakeCom&) = delete;
    FakeCom& operator=(const FakeCom&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = nullptr;
        // Counted and failed as the other calls, but not traced: how often the platform asks is its own affair.
        if (const std::optional<Fault> fault = State().plan.Enter(std::string{m_name} + "::QueryInterface"))
        {
            return static_cast<HRESULT>(fault->result);
        }
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, __uuidof(Interface)))
        {
            return QueryOther(iid, object);
        }
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() override
    {
        ++m_state->references;
        return ++m_references;
    }

    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        const std::shared_ptr<FakeWmiState> state = m_state;
        if (left == 0)
        {
            Gone();
            delete this;
        }
        --state->references; // last: whoever waits for 0 may then end the script
        return left;
    }

protected:
    virtual ~FakeCom() = default;

    // The last reference was given back.
    virtual void Gone() { State().transcript.Add(TracedAs() + L"::Release() = 0"); }

    // Interfaces beside the main one; *object is null already.
    virtual HRESULT QueryOther(REFIID, void**) { return E_NOINTERFACE; }

    // What stands before "::" in the transcript.
    [[nodiscard]] virtual std::wstring TracedAs() const { return Widen(m_name); }

    [[nodiscard]] FakeWmiState& State() const noexcept { return *m_state; }
    [[nodiscard]] const std::shared_ptr<FakeWmiState>& SharedState() const noexcept { return m_state; }

    // One scripted call: counts it, lets the fault plan have its say, runs `work` otherwise, and traces it.
    template <class Work>
    HRESULT Perform(const char* method, const std::wstring& arguments, Work work)
    {
        const std::optional<Fault> fault = State().plan.Enter(std::string{m_name} + "::" + method);
        const HRESULT hr = fault ? static_cast<HRESULT>(fault->result) : work();
        State().transcript.Add(TracedAs() + L"::" + Widen(method) + L"(" + arguments + L") = " + ShowResult(hr));
        return hr;
    }

    // A method that no test expects the module to call.
    HRESULT Unexpected(const char* method)
    {
        ADD_FAILURE() << "the module called " << m_name << "::" << method;
        return E_NOTIMPL;
    }

private:
    std::shared_ptr<FakeWmiState> m_state;
    const char* m_name;
    std::atomic<ULONG> m_references = 1;
};

} // namespace Zv::Testing
