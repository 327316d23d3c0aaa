// What WMI on Windows answers by its documents, case by case, and what a simulated machine does. docs/conformance.md is
// written from these cases.
#pragma once

#include "Tests/Simulator/Client.h"

#include <span>
#include <string>

namespace Zv::Testing
{

// A machine to ask, connected to.
struct Bench
{
    // The status, and what came with it.
    [[nodiscard]] HRESULT GetObject(const wchar_t* path, ComPtr<IWbemClassObject>& object) const;
    [[nodiscard]] ComPtr<IWbemClassObject> Object(const wchar_t* path) const; // fails the test when there is none
    // The first object of a query; the call that failed, otherwise.
    [[nodiscard]] HRESULT First(const wchar_t* query, ComPtr<IWbemClassObject>& object, LONG flags = 0) const;
    // The Ids of the disks that a condition chooses, blank-separated; or the status.
    [[nodiscard]] std::wstring Disks(const wchar_t* condition) const;
    // A property of the first object of a query.
    [[nodiscard]] std::wstring Selected(const wchar_t* query, const wchar_t* property, LONG flags = 0) const;
    // An instance of the in-parameters of Disk.Check.
    [[nodiscard]] ComPtr<IWbemClassObject> CheckParameters() const;

    Simulator::Machine machine;
    ComPtr<IWbemServices> wmi;
};

struct ConformanceCase
{
    const char* call;
    const char* when;
    const char* documented; // what Windows answers
    const char* source;     // the document, see SourceAddress
    std::wstring (*ask)(Bench& bench);
    const char* simulated = nullptr; // what the simulated machine answers instead
};

using ConformanceCases = std::span<const ConformanceCase>;
[[nodiscard]] ConformanceCases ConnectionCases();
[[nodiscard]] ConformanceCases QueryCases();
[[nodiscard]] ConformanceCases ObjectCases();
[[nodiscard]] ConformanceCases AsyncCases();

} // namespace Zv::Testing
