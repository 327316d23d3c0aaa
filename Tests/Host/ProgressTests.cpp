// What a terminal shows while something long goes on.
#include "Host/Terminal/ProgressLine.h"
#include "Host/Terminal/StatusLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using std::chrono::milliseconds;

// A progress line with a clock that stands still, and everything that it shows.
class HostProgressLine : public ::testing::Test
{
protected:
    using Lines = std::vector<std::string>;

    void RefreshAt(milliseconds time)
    {
        m_now = Host::ProgressLine::Clock::time_point{time};
        m_line.Refresh();
    }

    Host::ProgressLine::Clock::time_point m_now;
    Lines m_shown;
    Host::ProgressLine m_line{"reading Win32_Process", [this] { return m_now; },
                              [this](std::string_view text) { m_shown.emplace_back(text); }};
};

TEST_F(HostProgressLine, ComesAfterASecond)
{
    RefreshAt(milliseconds{0});
    RefreshAt(milliseconds{999});
    EXPECT_EQ(m_shown, Lines{});
    RefreshAt(milliseconds{1000});
    EXPECT_EQ(m_shown, Lines{"reading Win32_Process: 1 s"});
}

TEST_F(HostProgressLine, SaysWhatGoesOnHowMuchHasComeAndForHowLong)
{
    m_line.Count();
    RefreshAt(milliseconds{2900});
    m_line.Count();
    m_line.SetWhat("reading Win32_Service");
    RefreshAt(milliseconds{61000});
    EXPECT_EQ(m_shown, (Lines{"reading Win32_Process: 1 object, 2 s", "reading Win32_Service: 2 objects, 61 s"}));
}

TEST_F(HostProgressLine, IsRemovedOnce)
{
    RefreshAt(milliseconds{1000});
    m_line.Remove();
    m_line.Remove();
    EXPECT_EQ(m_shown, (Lines{"reading Win32_Process: 1 s", ""}));
}

TEST_F(HostProgressLine, ThatHasNotComeIsNotRemoved)
{
    RefreshAt(milliseconds{500});
    m_line.Remove();
    EXPECT_EQ(m_shown, Lines{});
}

// What a terminal would show of the bytes in its line, and where the next byte would go.
struct Screen
{
    std::string line;
    std::size_t place = 0;

    void Write(std::string_view bytes)
    {
        for (const char byte : bytes)
        {
            if (byte == '\r')
            {
                place = 0;
            }
            else if (byte == '\b')
            {
                --place;
            }
            else
            {
                line.resize(std::max(line.size(), place + 1), ' ');
                line[place++] = byte;
            }
        }
    }
};

TEST(HostStatusLine, IsRewrittenInItsPlace)
{
    Screen screen;
    Host::StatusLine status{[&](std::string_view bytes) { screen.Write(bytes); }};
    status.Show("a longer one", 80);
    EXPECT_EQ(screen.line, "a longer one");
    status.Show("short", 80);
    EXPECT_EQ(screen.line, "short       ");
    EXPECT_EQ(screen.place, 5U);
    status.Clear();
    EXPECT_EQ(screen.line, "            ");
    EXPECT_EQ(screen.place, 0U);
}

TEST(HostStatusLine, LeavesTheLastColumnFree)
{
    Screen screen;
    Host::StatusLine status{[&](std::string_view bytes) { screen.Write(bytes); }};
    status.Show("0123456789", 10);
    EXPECT_EQ(screen.line, "01234567\xE2\x80\xA6");
}

TEST(HostStatusLine, ThatIsNotShownWritesNothing)
{
    std::string written;
    Host::StatusLine status{[&](std::string_view bytes) { written += bytes; }};
    status.Clear();
    EXPECT_EQ(written, "");
}

} // namespace
} // namespace Zv::Testing
