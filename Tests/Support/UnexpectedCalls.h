// The methods of WMI's interfaces that no test expects the module to call: each one fails the test that calls it.
#pragma once

#include "Tests/Support/FakeCom.h"

namespace Zv::Testing
{

class UnexpectedServices : public FakeCom<IWbemServices>
{
public:
    using FakeCom::FakeCom;

    STDMETHODIMP OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override
    {
        return Unexpected("OpenNamespace");
    }
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink*) override { return Unexpected("CancelAsyncCall"); }
    STDMETHODIMP QueryObjectSink(LONG, IWbemObjectSink**) override { return Unexpected("QueryObjectSink"); }
    STDMETHODIMP GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("GetObjectAsync");
    }
    STDMETHODIMP PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return Unexpected("PutClass");
    }
    STDMETHODIMP PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("PutClassAsync");
    }
    STDMETHODIMP DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return Unexpected("DeleteClass");
    }
    STDMETHODIMP DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("DeleteClassAsync");
    }
    STDMETHODIMP CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return Unexpected("CreateClassEnum");
    }
    STDMETHODIMP CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("CreateClassEnumAsync");
    }
    STDMETHODIMP PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return Unexpected("PutInstance");
    }
    STDMETHODIMP PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("PutInstanceAsync");
    }
    STDMETHODIMP DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return Unexpected("DeleteInstance");
    }
    STDMETHODIMP DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("DeleteInstanceAsync");
    }
    STDMETHODIMP CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("CreateInstanceEnumAsync");
    }
    STDMETHODIMP ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("ExecQueryAsync");
    }
    STDMETHODIMP ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return Unexpected("ExecNotificationQuery");
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return Unexpected("ExecNotificationQueryAsync");
    }
    STDMETHODIMP ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                 IWbemObjectSink*) override
    {
        return Unexpected("ExecMethodAsync");
    }
};

class UnexpectedObject : public FakeCom<IWbemClassObject>
{
public:
    using FakeCom::FakeCom;

    STDMETHODIMP GetQualifierSet(IWbemQualifierSet**) override { return Unexpected("GetQualifierSet"); }
    STDMETHODIMP Delete(LPCWSTR) override { return Unexpected("Delete"); }
    STDMETHODIMP GetNames(LPCWSTR, LONG, VARIANT*, SAFEARRAY**) override { return Unexpected("GetNames"); }
    STDMETHODIMP BeginEnumeration(LONG) override { return Unexpected("BeginEnumeration"); }
    STDMETHODIMP Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return Unexpected("Next"); }
    STDMETHODIMP EndEnumeration() override { return Unexpected("EndEnumeration"); }
    STDMETHODIMP GetPropertyQualifierSet(LPCWSTR, IWbemQualifierSet**) override
    {
        return Unexpected("GetPropertyQualifierSet");
    }
    STDMETHODIMP Clone(IWbemClassObject**) override { return Unexpected("Clone"); }
    STDMETHODIMP SpawnDerivedClass(LONG, IWbemClassObject**) override { return Unexpected("SpawnDerivedClass"); }
    STDMETHODIMP CompareTo(LONG, IWbemClassObject*) override { return Unexpected("CompareTo"); }
    STDMETHODIMP GetPropertyOrigin(LPCWSTR, BSTR*) override { return Unexpected("GetPropertyOrigin"); }
    STDMETHODIMP InheritsFrom(LPCWSTR) override { return Unexpected("InheritsFrom"); }
    STDMETHODIMP PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override
    {
        return Unexpected("PutMethod");
    }
    STDMETHODIMP DeleteMethod(LPCWSTR) override { return Unexpected("DeleteMethod"); }
    STDMETHODIMP BeginMethodEnumeration(LONG) override { return Unexpected("BeginMethodEnumeration"); }
    STDMETHODIMP NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override
    {
        return Unexpected("NextMethod");
    }
    STDMETHODIMP EndMethodEnumeration() override { return Unexpected("EndMethodEnumeration"); }
    STDMETHODIMP GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override
    {
        return Unexpected("GetMethodQualifierSet");
    }
    STDMETHODIMP GetMethodOrigin(LPCWSTR, BSTR*) override { return Unexpected("GetMethodOrigin"); }
};

class UnexpectedEnumerator : public FakeCom<IEnumWbemClassObject>
{
public:
    using FakeCom::FakeCom;

    STDMETHODIMP Reset() override { return Unexpected("Reset"); }
    STDMETHODIMP NextAsync(ULONG, IWbemObjectSink*) override { return Unexpected("NextAsync"); }
    STDMETHODIMP Clone(IEnumWbemClassObject**) override { return Unexpected("Clone"); }
    STDMETHODIMP Skip(LONG, ULONG) override { return Unexpected("Skip"); }
};

} // namespace Zv::Testing
