// What the query tests share: one class in one namespace, and requests for it.
#pragma once

#include "Tests/Support/ModuleTest.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace Zv::Testing
{

class QueryTest : public ModuleTest
{
protected:
    // The instances of class C, each with the given value of property P.
    void Holds(std::initializer_list<Value> values)
    {
        Results& results = wmi->script[L"ns"].instances[L"C"];
        for (const Value& value : values)
        {
            results.instances.push_back(Instance(L"C", {{L"P", value}}));
        }
    }

    Reply Get(unsigned int function = 16)
    {
        return Run(function, LR"({"property":"P","wmiClass":"C","filter":"","wmiNamespace":"ns"})");
    }
    Reply GetAll() { return Get(32); }
    Reply GetText() { return Run(256, LR"({"wmiClass":"C","filter":"","wmiNamespace":"ns"})"); }

    static LogLine Failed(const char* method, const wchar_t* call, HRESULT hr)
    {
        return CallFailed(PublicWmiClass, method, call, hr);
    }
    static LogLine Failed(const char* method, const wchar_t* call, WBEMSTATUS status)
    {
        return Failed(method, call, static_cast<HRESULT>(status));
    }
};

} // namespace Zv::Testing
