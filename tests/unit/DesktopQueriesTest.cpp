// The desktop queries against a described desktop: the menu-bar flag, the dark theme, idle time,
// the tint image, and the readings behind them (control tint, mount table, tracer).

#include "Platform/Linux/DesktopQueries.h"
#include "FakeDesktopEnvironment.h"
#include "FakeSystemVersion.h"
#include "Platform/Foundation/Bundle.h"
#include "RZUtilities.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sys/sysmacros.h>

namespace {
class DesktopQueriesTest : public ::testing::Test {
protected:
    void SetUp() override { RZUtilities::resetMenuBarMonitorForTesting(); }
    void TearDown() override
    {
        RZUtilities::resetMenuBarMonitorForTesting();
        Bundle::setMainBundlePathForTesting(QString());
    }
    FakeDesktopEnvironment desktop;
    FakeSystemVersion system; // toolkit 1561: a current release
};
} // namespace

TEST_F(DesktopQueriesTest, MenuBarFlagFollowsHideAndShowEventsOnly)
{
    constexpr OSType other = 0x6170706C; // 'appl'
    const struct {
        const char* name;
        std::vector<std::pair<OSType, uint32_t>> events;
        bool fullScreen;
    } cases[] = {
        { "no event yet", {}, false },
        { "hidden", { { kEventClassMenu, kEventMenuBarHidden } }, true },
        { "hidden then shown",
            { { kEventClassMenu, kEventMenuBarHidden }, { kEventClassMenu, kEventMenuBarShown } },
            false },
        { "another class leaves it hidden",
            { { kEventClassMenu, kEventMenuBarHidden }, { other, kEventMenuBarShown } }, true },
        { "another class cannot hide it", { { other, kEventMenuBarHidden } }, false },
        { "another kind changes nothing",
            { { kEventClassMenu, kEventMenuBarHidden }, { kEventClassMenu, 2002 } }, true },
    };
    for (const auto& c : cases) {
        RZUtilities::resetMenuBarMonitorForTesting();
        EXPECT_FALSE(RZUtilities::fullScreenMode()) << c.name; // installs the handler
        ASSERT_EQ(desktop.handler, &MonitorMenuBarEventHandler);
        for (const auto& [eventClass, kind] : c.events)
            EXPECT_EQ(desktop.send(eventClass, kind), eventNotHandledErr) << c.name;
        EXPECT_EQ(RZUtilities::fullScreenMode(), c.fullScreen) << c.name;
    }
    ASSERT_EQ(desktop.handlerTypes.size(), 2u);
    EXPECT_EQ(desktop.handlerTypes[0].eventKind, kEventMenuBarShown);
    EXPECT_EQ(desktop.handlerTypes[1].eventKind, kEventMenuBarHidden);
}

TEST_F(DesktopQueriesTest, HandlerIsInstalledOnceAndAFailureIsLoggedOnce)
{
    LogRecorder log;
    desktop.installStatus = eventInternalErr;
    EXPECT_FALSE(RZUtilities::fullScreenMode());
    EXPECT_FALSE(RZUtilities::fullScreenMode());
    EXPECT_EQ(desktop.installCalls, 1);
    EXPECT_EQ(log.count(QStringLiteral("could not install menu bar visibility event handl)")), 1);
}

TEST_F(DesktopQueriesTest, DarkThemeNeedsTheDarkStyleOnACurrentSystem)
{
    const struct {
        std::optional<QString> style;
        double toolkit;
        bool dark;
    } cases[] = {
        { QStringLiteral("Dark"), 1561.0, true }, { std::nullopt, 1561.0, false },
        { QStringLiteral("Light"), 1561.0, false }, { QStringLiteral("dark"), 1561.0, false },
        { QStringLiteral("Dark"), 1265.0, false }, // before the dark theme existed
    };
    for (const auto& c : cases) {
        desktop.style = c.style;
        system.toolkit = c.toolkit;
        EXPECT_EQ(RZUtilities::darkMenuTheme(), c.dark)
            << c.style.value_or(QStringLiteral("none")).toStdString() << " " << c.toolkit;
    }
}

TEST_F(DesktopQueriesTest, IdleTimeIsTheCounterInSecondsOrMinusOne)
{
    const struct {
        std::optional<int64_t> counter;
        float seconds;
    } cases[] = {
        { std::nullopt, -1.0f },
        { 0, 0.0f },
        { 2500000000LL, 2.5f },
        { 86400LL * 1000000000LL, 86400.0f },
    };
    for (const auto& c : cases) {
        desktop.idleNanoseconds = c.counter;
        EXPECT_FLOAT_EQ(RZUtilities::idleTime(), c.seconds);
    }
}

TEST_F(DesktopQueriesTest, TintImageNameFromReleaseThemeAndTint)
{
    const struct {
        double toolkit;
        bool dark;
        int tint;
        const char* name;
    } cases[] = {
        { 1561.0, true, NSBlueControlTint, "tintYosDarkBlue" },
        { 1561.0, true, NSGraphiteControlTint, "tintYosDarkGraphite" },
        { 1561.0, false, NSBlueControlTint, "tintYosBlue" },
        { 1561.0, false, NSDefaultControlTint, "tintYosGraphite" },
        { 1265.0, true, NSBlueControlTint, "tintMavBlue" },
        { 1265.0, false, NSGraphiteControlTint, "tintMavGraphite" },
    };
    for (const auto& c : cases) {
        system.toolkit = c.toolkit;
        desktop.style = c.dark ? std::optional(QStringLiteral("Dark")) : std::nullopt;
        desktop.tint = c.tint;
        EXPECT_EQ(RZUtilities::systemTintImageName(), QString::fromLatin1(c.name));
        // Every name the query can give is an image the installer ships.
        Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
        const QImage image = RZUtilities::systemTintImage();
        EXPECT_FALSE(image.isNull()) << c.name;
        EXPECT_EQ(image.width(), 32) << c.name;
    }
    Bundle::setMainBundlePathForTesting(QStringLiteral(DEMO_APP));
    EXPECT_TRUE(RZUtilities::systemTintImage().isNull());
}

TEST(ControlTint, BlueHighlightsAreBlueEverythingElseGraphite)
{
    const struct {
        const char* color;
        int tint;
    } cases[] = {
        { "#308cc6", NSBlueControlTint }, // the default palette
        { "#3daee9", NSBlueControlTint }, // a common dark theme
        { "#5e2ca5", NSBlueControlTint }, // violet edge
        { "#808080", NSGraphiteControlTint },
        { "#9aa5b1", NSGraphiteControlTint }, // bluish grey, barely saturated
        { "#e95420", NSGraphiteControlTint }, // orange
        { "#4caf50", NSGraphiteControlTint }, // green
    };
    for (const auto& c : cases)
        EXPECT_EQ(controlTintForHighlight(QColor(QString::fromLatin1(c.color))), c.tint) << c.color;
}

TEST(MountTable, TypeOfTheMountWithTheDevice)
{
    const QByteArray table
        = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
          "30 22 0:26 / /dev/shm rw,nosuid shared:4 - tmpfs tmpfs rw\n"
          "31 22 0:27 / /home rw master:1 shared:9 - btrfs /dev/sda2 rw,subvol=/home\n"
          "32 22 0:28 / /mnt/my\\040disk rw - vfat /dev/sdb1 rw\n"
          "bad line\n";
    EXPECT_EQ(mountTypeOfDevice(makedev(8, 1), table), QStringLiteral("ext4"));
    EXPECT_EQ(mountTypeOfDevice(makedev(0, 26), table), QStringLiteral("tmpfs"));
    EXPECT_EQ(mountTypeOfDevice(makedev(0, 27), table), QStringLiteral("btrfs"));
    EXPECT_EQ(mountTypeOfDevice(makedev(0, 28), table), QStringLiteral("vfat"));
    EXPECT_EQ(mountTypeOfDevice(makedev(9, 9), table), QString());
    EXPECT_EQ(fileSystemTypeForMagic(0xEF53), QStringLiteral("ext4"));
    EXPECT_EQ(fileSystemTypeForMagic(0x1234), QString());
}

TEST(Tracer, TracerPidLine)
{
    EXPECT_EQ(tracerPidIn("Name:\tx\nTracerPid:\t0\nUid:\t0\n"), 0);
    EXPECT_EQ(tracerPidIn("Name:\tx\nTracerPid:\t4711\n"), 4711);
    EXPECT_EQ(tracerPidIn("Name:\tx\n"), 0);
}
