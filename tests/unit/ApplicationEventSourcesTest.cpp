// The pieces behind the Linux application events and accessibility observers that need no
// running desktop: the process-table comparison (over a folder laid out like /proc), the filter
// of active-window changes, and the mapping of notification names to AT-SPI event types.

#include "Platform/Linux/ActiveWindowWatcher.h"
#include "Platform/Linux/AtspiNotificationNames.h"
#include "Platform/Linux/ProcessTable.h"

#include "TestSupport.h"

#include <QDir>

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {
constexpr unsigned long kKernelThread = 0x00200000;

class ProcessTableTest : public ::testing::Test {
protected:
    void addProcess(pid_t pid, char state = 'S', unsigned long flags = 0x400100)
    {
        // The command name may hold spaces and parentheses; the fields follow the last ')'.
        writeFile(dir.filePath(QString::number(pid) + QStringLiteral("/stat")),
            QStringLiteral("%1 (odd) name) %2 1 %1 %1 0 -1 %3 0 0 0\n")
                .arg(pid)
                .arg(QChar::fromLatin1(state))
                .arg(flags)
                .toUtf8());
    }
    void removeProcess(pid_t pid) { QDir(dir.filePath(QString::number(pid))).removeRecursively(); }

    QTemporaryDir dir;
    ProcessTable table { dir.path() };
};
} // namespace

TEST_F(ProcessTableTest, FirstLookOnlyRecordsWhatRuns)
{
    addProcess(100);
    addProcess(101);
    EXPECT_TRUE(table.update().isEmpty());
    EXPECT_THAT(table.userProcesses(), ElementsAre(100, 101));
}

TEST_F(ProcessTableTest, ReportsLaunchesAndEndsOfTheUsersApplicationsOnly)
{
    addProcess(100);
    addProcess(7, 'S', kKernelThread);
    table.update();
    addProcess(205);
    addProcess(206, 'Z'); // already ended when first seen
    addProcess(207, 'S', kKernelThread);
    writeFile(dir.filePath(QStringLiteral("208/stat")), "garbage");
    writeFile(dir.filePath(QStringLiteral("self/stat")), "not a pid folder");
    removeProcess(100);
    removeProcess(7);
    const ProcessTableChanges changes = table.update();
    EXPECT_THAT(changes.launched, ElementsAre(205));
    EXPECT_THAT(changes.terminated, ElementsAre(100));
    EXPECT_THAT(table.userProcesses(), ElementsAre(205));
}

TEST_F(ProcessTableTest, ReadsOnlyTheStatFilesOfNewPids)
{
    for (pid_t pid = 100; pid < 150; ++pid)
        addProcess(pid);
    table.update();
    EXPECT_EQ(table.statFilesReadLastUpdate(), 50);
    table.update();
    EXPECT_EQ(table.statFilesReadLastUpdate(), 0);
    addProcess(300);
    removeProcess(120);
    const ProcessTableChanges changes = table.update();
    EXPECT_EQ(table.statFilesReadLastUpdate(), 1);
    EXPECT_THAT(changes.launched, ElementsAre(300));
    EXPECT_THAT(changes.terminated, ElementsAre(120));
}

TEST_F(ProcessTableTest, IgnoresOtherUsersProcesses)
{
    ProcessTable other(dir.path(), ::getuid() + 1);
    other.update();
    addProcess(400);
    EXPECT_TRUE(other.update().isEmpty());
}

TEST(ProcessTable, MissingFolderReportsNothing)
{
    ProcessTable table(QStringLiteral("/nonexistent/proc"));
    EXPECT_TRUE(table.update().isEmpty());
    EXPECT_TRUE(table.update().isEmpty());
}

TEST(FrontSwitchFilter, OneEventPerChangeOfTheFrontApplication)
{
    const struct {
        uint32_t window;
        pid_t pid;
        bool isSwitch;
        const char* why;
    } steps[] = {
        { 0x200001, 10, true, "first active window" },
        { 0x200001, 10, false, "the same change reported again" },
        { 0, 0, false, "no active window for a moment" },
        { 0x200001, 10, false, "back to the same application" },
        { 0x200002, 10, false, "another window of the same application" },
        { 0x300001, 20, true, "another application" },
        { 0x400001, 0, true, "a window without a pid" },
        { 0x400001, 0, false, "that window reported again" },
        { 0x400002, 0, true, "another window without a pid" },
        { 0x200001, 10, true, "the first application again" },
    };
    FrontSwitchFilter filter;
    for (const auto& s : steps)
        EXPECT_EQ(filter.accept(s.window, s.pid), s.isSwitch) << s.why;
}

TEST(AtspiNotificationNames, NotificationsMapToAtspiEventsAndBack)
{
    const struct {
        const char* event;
        int detail1;
        const char* notification;
        bool matches;
    } cases[] = {
        { "window:activate", 0, "AXFocusedWindowChanged", true },
        { "window:activate", 0, "AXMainWindowChanged", true },
        { "window:create", 0, "AXWindowCreated", true },
        { "window:create", 0, "AXFocusedWindowChanged", false },
        { "object:property-change:accessible-name", 0, "AXTitleChanged", true },
        { "object:property-change:accessible-value", 0, "AXValueChanged", true },
        { "object:text-changed:insert", 0, "AXValueChanged", true },
        { "object:text-changed-extra", 0, "AXValueChanged", false },
        { "object:property-change:accessible-name", 0, "AXValueChanged", false },
        { "window:destroy", 0, "AXUIElementDestroyed", true },
        { "object:state-changed:defunct", 1, "AXUIElementDestroyed", true },
        { "object:state-changed:focused", 1, "AXFocusedUIElementChanged", true },
        { "object:state-changed:focused", 0, "AXFocusedUIElementChanged", false },
        { "window:activate", 0, "AXNoSuchNotification", false },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(atspiEventMatchesNotification(
                      QString::fromUtf8(c.event), c.detail1, QString::fromUtf8(c.notification)),
            c.matches)
            << c.event << " for " << c.notification;
    }
    EXPECT_THAT(atspiEventTypesForNotification(QStringLiteral("AXTitleChanged")),
        ElementsAre("object:property-change:accessible-name"));
    EXPECT_THAT(atspiEventTypesForNotification(QStringLiteral("AXNoSuchNotification")), IsEmpty());
}
