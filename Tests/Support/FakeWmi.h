// Scripted WMI: in-process COM objects that the module reaches through its CoCreateInstance import.
#pragma once

#include "Tests/Support/FaultPlan.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/WmiScript.h"

#include <atomic>
#include <memory>

namespace Zv::Testing
{

// What all scripted COM objects share.
struct FakeWmiState
{
    Transcript& transcript;
    FaultPlan& plan;
    const WmiScript& script;
    std::atomic<int> references = 0; // held on all objects together
};

// While it lives, the module's CoCreateInstance gives a scripted locator and a scripted unsecured apartment. Change
// `script` only while no command runs. Each call of an object can be failed as Interface::Method through the fault plan
// and is traced as Interface::Method(arguments) = result, the last release of an object as Interface::Release() = 0; a
// class object is traced under its script's name.
class FakeWmi
{
public:
    FakeWmi(PlatformCalls& calls, Transcript& transcript, FaultPlan& plan);
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;
    ~FakeWmi();

    WmiScript script;

    // A class object, as the module gets them. The caller has its one reference.
    [[nodiscard]] IWbemClassObject* NewObject(ObjectScriptPtr object) const;

    // References that the module holds now.
    [[nodiscard]] int Outstanding() const { return m_state->references; }

private:
    PlatformCalls& m_calls;
    std::shared_ptr<FakeWmiState> m_state; // objects that a faulty module kept outlive this
};

// "VT_I4 5", "VT_BSTR \"text\"", "VT_ARRAY|VT_UI1 [53 45 43 55]": a VARIANT in the transcript.
[[nodiscard]] std::wstring ShowVariant(const VARIANT* variant);

} // namespace Zv::Testing
