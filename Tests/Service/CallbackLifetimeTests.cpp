// The progress callback is the command's: destroyed exactly once on every way out, and so is each copy.

#include "Tests/Support/ModuleTest.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace
{

using namespace Zv::Testing;
using Zv::Tessel::Server::Services::ProgressCallbackArgument;
using Zv::Tessel::Server::Services::ProgressCallbackGuard;

struct Path
{
    const char* name;
    unsigned int function;
    const wchar_t* request; // null: none is passed
    bool withSession = true;
    bool withResponse = true;
    int copies = 0; // that the command makes at most
};

constexpr wchar_t TextOfThree[] = LR"({"wmiClass":"Three","wmiNamespace":"ns"})";

constexpr Path Paths[] = {
    {"NullSession", 16, L"{}", false},
    {"NullRequest", 16, nullptr},
    {"NullResponse", 16, L"{}", true, false},
    {"MalformedText", 16, L"{"},
    {"Unsupported", 3, L"{}"},
    {"FirmwareCommandRefused", 2, L"{}"},
    {"RegistrationRefused", 4, LR"({"filterEvent":"x"})", true, true, 1},
    {"RegistrationWithoutFirmware", 4, L"{}", true, true, 1},
    {"Unregistration", 8, L"{}"},
    {"PropertyRefused", 16, L"{}"},
    {"PropertyRead", 16, LR"({"property":"P","wmiClass":"Three","wmiNamespace":"ns"})"},
    {"PropertiesRead", 32, LR"({"property":"P","wmiClass":"Three","wmiNamespace":"ns"})"},
    {"SettingRefused", 64, L"{}"},
    {"DefaultsWithoutFirmware", 128, L"{}"},
    {"TextRefused", 256, L"{}", true, true, 1},
    {"TextWithoutNamespace", 256, LR"({"wmiClass":"Three","wmiNamespace":"no"})", true, true, 1},
    {"TextDelivered", 256, TextOfThree, true, true, 1},
};

void PrintTo(const Path& path, std::ostream* stream)
{
    *stream << path.name;
}

class Callback : public ModuleTest
{
protected:
    Callback()
    {
        const auto instance = [](const wchar_t* text) { return Instance(L"Three", {{L"P", Value::Int(1)}}, text); };
        wmi->script[L"ns"].instances[L"Three"] = {{instance(L"one"), instance(L"two"), instance(L"three")}};
    }

    int Execute(const Path& path, void* callback)
    {
        std::wstring request{path.request != nullptr ? path.request : L""};
        wchar_t* response = nullptr;
        const int code = ExecuteRaw(service->Get(), path.withSession ? session->Get() : nullptr, path.function,
                                    path.request != nullptr ? request.data() : nullptr,
                                    path.withResponse ? &response : nullptr, callback);
        service->Get()->FreeBuffer(response);
        return code;
    }

    void ExpectAllGone() const
    {
        EXPECT_EQ(counts.Alive(), 0);
        EXPECT_EQ(counts.usedAfterDeath, 0);
        EXPECT_EQ(counts.wronglyFreed, 0);
        EXPECT_EQ(counts.queried, 0);
    }

    CallbackCounts counts;
};

class CallbackOnPath : public Callback, public ::testing::WithParamInterface<std::tuple<Path, CountingCallback::Place>>
{
};

TEST_P(CallbackOnPath, IsDestroyedExactlyOnce)
{
    const auto& [path, place] = GetParam();
    CountingCallback callback{place, counts};

    Execute(path, callback.Address());

    ExpectAllGone();
    EXPECT_LE(counts.copies, path.copies) << "only the functions that pass it on copy it";
}

INSTANTIATE_TEST_SUITE_P(EveryWayOut, CallbackOnPath,
                         ::testing::Combine(::testing::ValuesIn(Paths),
                                            ::testing::Values(CountingCallback::Place::InRoom,
                                                              CountingCallback::Place::OnHeap)),
                         [](const auto& parameter) {
                             return std::string{std::get<0>(parameter.param).name} +
                                    (std::get<1>(parameter.param) == CountingCallback::Place::InRoom ? "InRoom"
                                                                                                     : "OnHeap");
                         });

// Takes the callback as the module does, and tells whether its implementation lies inside of it.
bool LiesInTheArgument(ProgressCallbackArgument callback)
{
    const ProgressCallbackGuard guard{callback};
    std::uintptr_t implementation = 0;
    std::memcpy(&implementation, reinterpret_cast<const char*>(&callback) + CountingCallback::RoomSize,
                sizeof implementation);
    return implementation - reinterpret_cast<std::uintptr_t>(&callback) < CountingCallback::RoomSize;
}

TEST(CallbackOfASmallTarget, LiesInsideTheObjectThatTheModuleIsGiven)
{
    bool (*volatile const call)(ProgressCallbackArgument) = &LiesInTheArgument;
    int calls = 0;
    const auto target = [&calls](wchar_t*) { ++calls; };
    ProgressCallback callback{target};

    EXPECT_TRUE(call(target));
    EXPECT_TRUE(call(callback));
    EXPECT_TRUE(call(std::move(callback)));
}

TEST_F(Callback, MayBeEmptyOnEveryPath)
{
    for (const Path& path : Paths)
    {
        SCOPED_TRACE(path.name);
        Execute(path, CountingCallback::Empty().data());
    }
}

TEST_F(Callback, IsCopiedOnceByFunction256AndCalledOncePerInstance)
{
    CountingCallback callback{CountingCallback::Place::InRoom, counts};

    EXPECT_EQ(Execute({"", 256, TextOfThree}, callback.Address()), 0);

    EXPECT_EQ(counts.copies, 1);
    EXPECT_EQ(counts.texts, (std::vector<std::wstring>{L"one", L"two", L"three"}));
    ExpectAllGone();
}

TEST_F(Callback, ThatThrowsEndsFunction256WithAGeneralFailure)
{
    counts.onCall = [](wchar_t*) { throw std::runtime_error{"the host's trouble"}; };
    CountingCallback callback{CountingCallback::Place::OnHeap, counts};

    EXPECT_EQ(Execute({"", 256, TextOfThree}, callback.Address()), 0x20000002);

    EXPECT_EQ(counts.calls, 1);
    ExpectAllGone();
}

TEST_F(Callback, ThatThrowsAnIntegerMakesFunction256AGeneralFailureAllTheSame)
{
    counts.onCall = [](wchar_t*) { throw 0x1234; };
    CountingCallback callback{CountingCallback::Place::OnHeap, counts};

    EXPECT_EQ(Execute({"", 256, TextOfThree}, callback.Address()), 0x20000002);

    ExpectAllGone();
}

TEST_F(Callback, MayRunAnotherCommand)
{
    Reply inner;
    counts.onCall = [&](wchar_t*) { inner = Run(16, LR"({"property":"P","wmiClass":"Three","wmiNamespace":"ns"})"); };
    CountingCallback callback{CountingCallback::Place::InRoom, counts};

    EXPECT_EQ(Execute({"", 256, TextOfThree}, callback.Address()), 0);

    EXPECT_EQ(inner.text, LR"({"result":1})");
    ExpectAllGone();
}

} // namespace
