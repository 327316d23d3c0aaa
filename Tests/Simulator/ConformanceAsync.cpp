// Calls of methods, and calls that go on after they have returned.
#include "Tests/Simulator/Conformance.h"

#include "Simulator/Cim/StatusNames.h"
#include "Tests/Simulator/Sink.h"

#include <gtest/gtest.h>

#include <functional>

namespace Zv::Testing
{

namespace
{

constexpr DWORD Limit = 30000;

// How many objects a sink got and what it was told, after a call that it was given to.
std::wstring Told(HRESULT called, Sink& sink)
{
    if (FAILED(called))
    {
        return StatusText(called);
    }
    EXPECT_TRUE(sink.WaitForStatuses(1, Limit));
    return StatusText(called) + L"; " + std::to_wstring(sink.Events().size()) + L" objects; status " +
           sink.Statuses().front();
}

std::wstring Asking(const std::function<HRESULT(Sink&)>& call)
{
    Sink sink;
    return Told(call(sink), sink);
}

// The same of a call that hangs, which is cancelled.
std::wstring Cancelling(Bench& bench, const std::function<HRESULT(Sink&)>& call)
{
    Sink sink;
    const HRESULT called = call(sink);
    const std::wstring cancelled = StatusText(bench.wmi->CancelAsyncCall(&sink));
    const std::wstring told = Told(called, sink);
    bench.machine.ReleaseHangs();
    return told + L"; cancelling " + cancelled;
}

std::wstring Calling(Bench& bench, const wchar_t* path, const wchar_t* method, bool withParameters = false)
{
    ComPtr<IWbemClassObject> in;
    if (withParameters)
    {
        in = bench.CheckParameters();
    }
    ComPtr<IWbemClassObject> out;
    const HRESULT hr =
        bench.wmi->ExecMethod(Bstr{path}.Get(), Bstr{method}.Get(), 0, nullptr, in.Get(), out.Receive(), nullptr);
    return FAILED(hr) ? StatusText(hr) : (out ? Show(*out.Get(), L"ReturnValue") : L"nothing out");
}

// A semisynchronous call's result: the status of the call, of what it did, and a property of what came of it.
std::wstring Fetching(HRESULT called, const ComPtr<IWbemCallResult>& result, const wchar_t* property)
{
    if (FAILED(called) || !result)
    {
        return StatusText(called) + L", no result";
    }
    LONG status = 0;
    EXPECT_EQ(S_OK, result->GetCallStatus(-1, &status));
    ComPtr<IWbemClassObject> object;
    const HRESULT hr = result->GetResultObject(-1, object.Receive());
    return StatusText(called) + L", " + StatusText(status) + L", " +
           (object ? Show(*object.Get(), property) : StatusText(hr));
}

std::wstring GettingLater(Bench& bench, const wchar_t* path)
{
    ComPtr<IWbemCallResult> result;
    const HRESULT called =
        bench.wmi->GetObject(Bstr{path}.Get(), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, nullptr, result.Receive());
    return Fetching(called, result, L"Id");
}

std::wstring Subscribing(Bench& bench, const wchar_t* query, LONG flags)
{
    ComPtr<IEnumWbemClassObject> events;
    const HRESULT hr =
        bench.wmi->ExecNotificationQuery(Bstr{L"WQL"}.Get(), Bstr{query}.Get(), flags, nullptr, events.Receive());
    if (FAILED(hr))
    {
        return StatusText(hr);
    }
    ComPtr<IWbemClassObject> object;
    ULONG count = 7;
    const HRESULT before = events->Next(0, 1, object.Receive(), &count);
    bench.machine.FireEvent(20, 1);
    const HRESULT after = events->Next(static_cast<LONG>(Limit), 1, object.Receive(), &count);
    return StatusText(before) + L"; " + StatusText(after) + L" " + Show(*object.Get(), L"EventID") + L", __PATH " +
           Show(*object.Get(), L"__PATH");
}

constexpr const char* Method = "IWbemServices::ExecMethod";
constexpr const char* GetLater = "IWbemServices::GetObject, semisynchronous";
constexpr const char* Async = "Asynchronous calls";
constexpr const char* Cancel = "IWbemServices::CancelAsyncCall";
constexpr const char* Notify = "IWbemServices::ExecNotificationQuery";
constexpr const char* Refused = "IWbemServices: not simulated";

constexpr const char* MethodPage = "api/iwbemservices-execmethod";
constexpr const char* CallResults = "ms-wmi/2ca72c4d-2cae-44ae-9bb4-d199656d94d3";
constexpr const char* CancelPage = "api/iwbemservices-cancelasynccall";
constexpr const char* NotifyPage = "api/iwbemservices-execnotificationquery";
constexpr const char* EventSelect = "wmisdk/select-statement-for-event-queries";
constexpr LONG Events = SemiSynchronous;

constexpr ConformanceCase Cases[] = {
    {Method, "of an instance", "VT_I4 2", MethodPage,
     [](Bench& b) { return Calling(b, L"Disk.Id=26", L"Check", true); }},
    {Method, "static, on the class", "VT_I4 2", "wine/query.c", [](Bench& b) { return Calling(b, L"Disk", L"Count"); }},
    {Method, "of an instance, on the class", "WBEM_E_INVALID_METHOD_PARAMETERS", "wmisdk/calling-a-method",
     [](Bench& b) { return Calling(b, L"Disk", L"Check", true); }},
    {Method, "that is not there", "WBEM_E_INVALID_METHOD", MethodPage,
     [](Bench& b) { return Calling(b, L"Disk.Id=26", L"Unknown"); }},
    {Method, "without the parameters that it wants", "WBEM_E_INVALID_METHOD_PARAMETERS", MethodPage,
     [](Bench& b) { return Calling(b, L"Disk.Id=26", L"Check"); }},
    {Method, "WBEM_FLAG_RETURN_IMMEDIATELY and a call result", "S_OK, S_OK, VT_I4 2", CallResults,
     [](Bench& b) {
         const ComPtr<IWbemClassObject> in = b.CheckParameters();
         ComPtr<IWbemCallResult> result;
         const HRESULT called =
             b.wmi->ExecMethod(Bstr{L"Disk.Id=26"}.Get(), Bstr{L"Check"}.Get(), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                               in.Get(), nullptr, result.Receive());
         return Fetching(called, result, L"ReturnValue");
     }},
    {Method, "a call result that is asked too early, by GetResultObject and GetCallStatus",
     "WBEM_S_TIMEDOUT, WBEM_S_TIMEDOUT", "api/iwbemcallresult-getresultobject",
     [](Bench& b) {
         ComPtr<IWbemCallResult> result;
         EXPECT_EQ(S_OK, b.wmi->ExecMethod(Bstr{L"Disk.Id=26"}.Get(), Bstr{L"Spin"}.Get(), WBEM_FLAG_RETURN_IMMEDIATELY,
                                           nullptr, nullptr, nullptr, result.Receive()));
         ComPtr<IWbemClassObject> object;
         LONG status = 0;
         const std::wstring text = StatusText(result->GetResultObject(0, object.Receive())) + L", " +
                                   StatusText(result->GetCallStatus(1, &status));
         b.machine.ReleaseHangs();
         EXPECT_EQ(S_OK, result->GetCallStatus(-1, &status));
         return text;
     }},
    {GetLater, "an object", "S_OK, S_OK, VT_I4 26", CallResults,
     [](Bench& b) { return GettingLater(b, L"Disk.Id=26"); }},
    {GetLater, "an object that is not there", "S_OK, WBEM_E_NOT_FOUND, WBEM_E_NOT_FOUND",
     "api/iwbemcallresult-getresultobject", [](Bench& b) { return GettingLater(b, L"Disk.Id=1"); }},

    {Async, "GetObjectAsync", "S_OK; 1 objects; status 0, S_OK", "api/iwbemservices-getobjectasync",
     [](Bench& b) {
         return Asking([&](Sink& s) { return b.wmi->GetObjectAsync(Bstr{L"Disk.Id=26"}.Get(), 0, nullptr, &s); });
     }},
    {Async, "GetObjectAsync of an object that is not there", "S_OK; 0 objects; status 0, WBEM_E_NOT_FOUND",
     "api/iwbemservices-getobjectasync",
     [](Bench& b) {
         return Asking([&](Sink& s) { return b.wmi->GetObjectAsync(Bstr{L"Disk.Id=1"}.Get(), 0, nullptr, &s); });
     }},
    {Async, "ExecQueryAsync", "S_OK; 2 objects; status 0, S_OK", "wine/query.c",
     [](Bench& b) {
         return Asking([&](Sink& s) {
             return b.wmi->ExecQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM Disk"}.Get(), 0, nullptr, &s);
         });
     }},
    {Async, "ExecQueryAsync with a wrong query", "S_OK; 0 objects; status 0, WBEM_E_INVALID_QUERY",
     "api/iwbemservices-execqueryasync",
     [](Bench& b) {
         return Asking([&](Sink& s) {
             return b.wmi->ExecQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT Disk"}.Get(), 0, nullptr, &s);
         });
     }},
    {Async, "ExecQueryAsync without a sink", "WBEM_E_INVALID_PARAMETER", "wine/query.c",
     [](Bench& b) {
         return StatusText(
             b.wmi->ExecQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM Disk"}.Get(), 0, nullptr, nullptr));
     }},
    {Async, "CreateInstanceEnumAsync", "S_OK; 2 objects; status 0, S_OK", "api/iwbemservices-createinstanceenumasync",
     [](Bench& b) {
         return Asking([&](Sink& s) { return b.wmi->CreateInstanceEnumAsync(Bstr{L"Disk"}.Get(), 0, nullptr, &s); });
     }},
    {Async, "CreateClassEnumAsync", "S_OK; 5 objects; status 0, S_OK", "api/iwbemservices-createclassenumasync",
     [](Bench& b) { return Asking([&](Sink& s) { return b.wmi->CreateClassEnumAsync(nullptr, 0, nullptr, &s); }); }},
    {Async, "ExecMethodAsync", "S_OK; 1 objects; status 0, S_OK", "api/iwbemservices-execmethodasync",
     [](Bench& b) {
         return Asking([&](Sink& s) {
             return b.wmi->ExecMethodAsync(Bstr{L"Disk"}.Get(), Bstr{L"Count"}.Get(), 0, nullptr, nullptr, &s);
         });
     }},
    {Async, "ExecMethodAsync of an unknown method", "S_OK; 0 objects; status 0, WBEM_E_INVALID_METHOD",
     "api/iwbemservices-execmethodasync",
     [](Bench& b) {
         return Asking([&](Sink& s) {
             return b.wmi->ExecMethodAsync(Bstr{L"Disk"}.Get(), Bstr{L"None"}.Get(), 0, nullptr, nullptr, &s);
         });
     }},
    {Async, "IEnumWbemClassObject::NextAsync for as many as there are, then for more",
     "S_OK; 2 objects; status 0, S_OK; S_OK; 0 objects; status 0, S_FALSE", "api/ienumwbemclassobject-nextasync",
     [](Bench& b) {
         ComPtr<IEnumWbemClassObject> enumerator;
         EXPECT_EQ(S_OK, Query(*b.wmi.Get(), L"SELECT * FROM Disk", 0, enumerator));
         const auto next = [&] { return Asking([&](Sink& s) { return enumerator->NextAsync(2, &s); }); };
         const std::wstring first = next();
         return first + L"; " + next();
     }},
    {Cancel, "without a sink", "WBEM_E_INVALID_PARAMETER", "wine/query.c",
     [](Bench& b) { return StatusText(b.wmi->CancelAsyncCall(nullptr)); }},
    {Cancel, "a method under way", "S_OK; 0 objects; status 0, WBEM_E_CALL_CANCELLED; cancelling S_OK", CancelPage,
     [](Bench& b) {
         return Cancelling(b, [&](Sink& s) {
             return b.wmi->ExecMethodAsync(Bstr{L"Disk.Id=26"}.Get(), Bstr{L"Spin"}.Get(), 0, nullptr, nullptr, &s);
         });
     }},
    {Cancel, "a subscription", "S_OK; 0 objects; status 0, WBEM_E_CALL_CANCELLED; cancelling S_OK", CancelPage,
     [](Bench& b) {
         return Cancelling(b, [&](Sink& s) {
             return b.wmi->ExecNotificationQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM Pressed"}.Get(), 0,
                                                      nullptr, &s);
         });
     }},

    {Notify, "nothing, then an event, which has no path", "WBEM_S_TIMEDOUT; S_OK VT_I4 20, __PATH VT_NULL", EventSelect,
     [](Bench& b) { return Subscribing(b, L"SELECT * FROM Pressed", Events); }},
    {Notify, "another flag than the two that it must have", "WBEM_E_INVALID_PARAMETER", NotifyPage,
     [](Bench& b) { return Subscribing(b, L"SELECT * FROM Pressed", WBEM_FLAG_FORWARD_ONLY); }},
    {Notify, "a class that is not of events", "WBEM_E_NOT_EVENT_CLASS", "wmisdk/wmi-error-constants",
     [](Bench& b) { return Subscribing(b, L"SELECT * FROM Disk", Events); }},
    {Notify, "no query at all", "WBEM_E_UNPARSABLE_QUERY", "wmisdk/wmi-error-constants",
     [](Bench& b) { return Subscribing(b, L"SELECT FROM", Events); }},
    {Notify, "intrinsic events", "the events", EventSelect,
     [](Bench& b) {
         return Subscribing(b, L"SELECT * FROM __InstanceCreationEvent WITHIN 2 WHERE TargetInstance ISA 'Disk'",
                            Events);
     },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Notify, "events in groups", "the events", "wmisdk/group-clause",
     [](Bench& b) { return Subscribing(b, L"SELECT * FROM Pressed GROUP WITHIN 5", Events); },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Refused, "QueryObjectSink", "a notification handler", "api/iwbemservices-queryobjectsink",
     [](Bench& b) { return StatusText(b.wmi->QueryObjectSink(0, nullptr)); }, "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Refused, "PutInstance", "updates it", "api/iwbemservices-putinstance",
     [](Bench& b) { return StatusText(b.wmi->PutInstance(nullptr, 0, nullptr, nullptr)); },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Refused, "DeleteInstance", "deletes it", "api/iwbemservices-deleteinstance",
     [](Bench& b) { return StatusText(b.wmi->DeleteInstance(nullptr, 0, nullptr, nullptr)); },
     "WBEM_E_PROVIDER_NOT_CAPABLE"},
    {Refused, "PutClass", "updates it", "api/iwbemservices-putclass",
     [](Bench& b) { return StatusText(b.wmi->PutClass(nullptr, 0, nullptr, nullptr)); }, "WBEM_E_ACCESS_DENIED"},
    {Refused, "DeleteClass", "deletes it", "api/iwbemservices-deleteclass",
     [](Bench& b) { return StatusText(b.wmi->DeleteClass(nullptr, 0, nullptr, nullptr)); }, "WBEM_E_ACCESS_DENIED"},
};

} // namespace

ConformanceCases AsyncCases()
{
    return Cases;
}

} // namespace Zv::Testing
