// Deferred window work: once, on the first event of its type or at its deadline, never after
// its widget is gone.

#include "UI/DeferredWork.h"

#include <QCoreApplication>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

TEST(DeferredWorkTest, RunsOnceOnItsEventOrDeadline)
{
    const struct {
        const char* name;
        QEvent::Type sent; // QEvent::None: nothing sent
        int deadlineMs;
        bool targetDeleted;
        int expectedRuns;
    } cases[] = {
        { "its event", QEvent::Paint, -1, false, 1 },
        { "its event, then the deadline", QEvent::Paint, 30, false, 1 },
        { "another event", QEvent::Enter, -1, false, 0 },
        { "the deadline alone", QEvent::None, 30, false, 1 },
        { "its event, but the widget went away", QEvent::Paint, 30, true, 0 },
    };
    for (const auto& c : cases) {
        auto* target = new QWidget;
        int runs = 0;
        new DeferredWork(
            target, QEvent::Paint, [&runs] { ++runs; }, c.deadlineMs);
        if (c.sent != QEvent::None) {
            QEvent event(c.sent);
            QCoreApplication::sendEvent(target, &event);
            QCoreApplication::sendEvent(target, &event); // a second one changes nothing
        }
        if (c.targetDeleted)
            delete target;
        if (c.expectedRuns > 0) {
            EXPECT_TRUE(QTest::qWaitFor([&runs] { return runs > 0; }, 5000)) << c.name;
        }
        // Then time for a second run, which must not come.
        QTest::qWait(c.deadlineMs >= 0 ? c.deadlineMs + 20 : 10);
        EXPECT_EQ(runs, c.expectedRuns) << c.name;
        if (!c.targetDeleted)
            delete target;
    }
}
