// What a namespace answers to calls about single objects, whoever waits for the answer.
#pragma once

#include "Simulator/Com/Core.h"

#include <string_view>

namespace Zv::Simulator
{

// The class or instance of a path; an empty path is an empty class, to make a new one of.
[[nodiscard]] HRESULT FindObject(const Core& core, const Namespace& nameSpace, std::wstring_view path,
                                 ObjectPtr& object);

// In-parameters as they were when the call came. A stranger's object cannot be looked into.
struct Parameters
{
    explicit Parameters(IUnknown* given);

    ObjectPtr object; // null when there is none, or a stranger's
    bool given;
};

// Waits out the answer's delay. Nothing comes out of a call that fails.
[[nodiscard]] HRESULT InvokeMethod(Core& core, const Namespace& nameSpace, std::wstring_view path,
                                   std::wstring_view method, const Parameters& in, ObjectPtr& out);

} // namespace Zv::Simulator
