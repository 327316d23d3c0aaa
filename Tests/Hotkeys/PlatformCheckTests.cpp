// On which boards which app's hotkeys are armed.

#include "Tests/Hotkeys/HotkeyTest.h"
#include "Tests/Support/CommandTap.h"

#include "Tests/Support/Text.h"

namespace Zv::Testing
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

constexpr wchar_t NoPlatformId[] = L"Error getPlatformId() Failed to get the platform ID string.";
constexpr std::size_t ChimeboxOnly = 4;
constexpr std::size_t Both = 5;

class SupportedBoard : public HotkeyTest, public ::testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(SupportedBoard, ArmsBothApps)
{
    SetBoard(Value::Text(GetParam()));

    StartAndWait(Both);

    EXPECT_THAT(Log(), Contains(LumashadeRuns));
    EXPECT_THAT(Log(), Contains(ChimeboxRuns));
    EXPECT_THAT(Log(), Not(Contains(LumashadeNotSupported)));
    EXPECT_EQ(Threads(), Both);
}

INSTANTIATE_TEST_SUITE_P(, SupportedBoard, ::testing::Values(L"7C21", L"7D3A", L"7D4F", L"7D52", L"7D60"));

class OtherBoard : public HotkeyTest, public ::testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(OtherBoard, ArmsChimeboxOnly)
{
    SetBoard(Value::Text(GetParam()));

    StartAndWait(ChimeboxOnly);

    EXPECT_THAT(Log(), Contains(LumashadeNotSupported));
    EXPECT_THAT(Log(), Contains(ChimeboxRuns));
    EXPECT_THAT(Log(), Not(Contains(LumashadeRuns)));
    EXPECT_EQ(Threads(), ChimeboxOnly);
}

INSTANTIATE_TEST_SUITE_P(, OtherBoard,
                         ::testing::Values(L"7c21", L"7d21", L"7C21 ", L" 7C21", L"7C2", L"7C211", L"7D3B", L"", L"0"));

using PlatformCheck = HotkeyTest;

TEST_F(PlatformCheck, ReadsTheBoardOnceThroughThePropertyCommand)
{
    StartAndWait(Both);

    EXPECT_THAT(
        transcript.Of({L"IWbemServices::ExecQuery("}),
        ElementsAre(L"IWbemServices::ExecQuery(\"WQL\", \"SELECT * FROM Win32_BaseBoard\", 48, null) = 0x00000000"));
    EXPECT_THAT(
        transcript.Of({L"IWbemLocator::ConnectServer(\"ROOT"}),
        ElementsAre(L"IWbemLocator::ConnectServer(\"ROOT\\CIMV2\", null, null, null, 0, null, null) = 0x00000000"));
}

TEST_F(PlatformCheck, AsksWithTheseMembersInThisOrder)
{
    CommandTap tap{service.get()};

    StartAndWait(Both);

    EXPECT_EQ(Narrow(tap.Commands().front().request),
              "{\"property\":\"Product\",\"wmiClass\":\"Win32_BaseBoard\",\"wmiNamespace\":\"ROOT\\\\CIMV2\"}");
    EXPECT_EQ(tap.Commands().front().function, 16u);
    EXPECT_FALSE(tap.Commands().front().callback);
    StopListeners();
}

TEST_F(PlatformCheck, UsesASessionOfItsOwn)
{
    Fail("CoInitializeSecurity", Fault::Nth(1, E_INVALIDARG));

    StartAndWait(Both);

    const std::vector<LogLine> log = transcript.Log();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front().context, L"APP_FETCH_Platform_ID_CONTEXT");
}

TEST_F(PlatformCheck, ABoardThatCannotBeReadIsNotSupported)
{
    wmi->script.erase(L"ROOT\\CIMV2");

    StartAndWait(ChimeboxOnly);

    const std::vector<std::wstring> own = transcript.Of({L"Error", L"Warning hot", L"Info hot"});
    EXPECT_THAT(own, ElementsAre(NoPlatformId, LumashadeNotSupported, ChimeboxRuns));
}

TEST_F(PlatformCheck, ABoardWithoutProductIsNotSupported)
{
    SetBoard(Value::Null());

    StartAndWait(ChimeboxOnly);

    EXPECT_THAT(transcript.Of({L"Error"}), ElementsAre(NoPlatformId));
    EXPECT_THAT(Log(), Contains(LumashadeNotSupported));
}

TEST_F(PlatformCheck, AProductThatIsNoTextCountsAsNone)
{
    SetBoard(Value::Int(0x7C21));

    StartAndWait(ChimeboxOnly);

    EXPECT_THAT(transcript.Of({L"Error"}), ElementsAre(NoPlatformId));
    EXPECT_THAT(Log(), Contains(LumashadeNotSupported));
}

// What the property command answers, and whether that is an id.
struct Answered
{
    const char* name;
    const wchar_t* response; // null: none
    bool supported;
    bool failed; // logged as such
};

class PropertyAnswer : public HotkeyTest, public ::testing::WithParamInterface<Answered>
{
};

TEST_P(PropertyAnswer, DecidesWhetherTheAppIsSupported)
{
    CommandTap tap{service.get(), [](const TappedCommand& command, wchar_t** response) {
                       if (command.function != 16)
                       {
                           return false;
                       }
                       *response = GetParam().response != nullptr ? NewResponse(GetParam().response) : nullptr;
                       return true;
                   }};

    StartAndWait(GetParam().supported ? Both : ChimeboxOnly);

    EXPECT_EQ(transcript.Of({NoPlatformId}).size(), GetParam().failed ? 1u : 0u);
    StopListeners();
}

INSTANTIATE_TEST_SUITE_P(
    , PropertyAnswer,
    ::testing::Values(Answered{"id", L"{\"result\":\"7C21\"}", true, false},
                      Answered{"more", L"{\"a\":1,\"result\":\"7D60\",\"b\":2}", true, false},
                      Answered{"zero", L"{\"result\":\"7C21\\u0000 and more\"}", true, false},
                      Answered{"otherId", L"{\"result\":\"7c21\"}", false, false},
                      Answered{"empty", L"{\"result\":\"\"}", false, false}, Answered{"none", nullptr, false, true},
                      Answered{"noText", L"", false, true}, Answered{"noJson", L"7C21", false, true},
                      Answered{"cut", L"{\"result\":\"7C21\"", false, true},
                      Answered{"array", L"[\"7C21\"]", false, true}, Answered{"string", L"\"7C21\"", false, true},
                      Answered{"noResult", L"{}", false, true}, Answered{"null", L"{\"result\":null}", false, true},
                      Answered{"number", L"{\"result\":7}", false, true},
                      Answered{"list", L"{\"result\":[\"7C21\"]}", false, true}),
    [](const auto& test) { return std::string{test.param.name}; });

} // namespace

} // namespace Zv::Testing
