// Watches RZProcessChangeNotification while it starts and kills one child ("sleep"), and prints
//   words: <the "change" words in the order posted>
//   cached: <for each, whether the child was in the process cache then (1/0)>
// Tests run it as a user of its own, so that no other process of that user starts or ends and
// merges its notifications with the child's.

#include "RZProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>

#include <cstdio>

namespace {
bool spinUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return condition();
}
} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QStringList words;
    QStringList cached;
    ProcessSerialNumber child {};
    NotificationCenter::defaultCenter().addObserver(
        RZProcessChangeNotification, RZProcess::classObject(), [&](const Notification& n) {
            words << n.userInfo.value(QStringLiteral("change")).toString();
            cached << (RZProcess::indexOfCachedProcessWithSerialNumber(child) != NSNotFound
                    ? QStringLiteral("1")
                    : QStringLiteral("0"));
        });
    RZProcess::currentProcess(); // the first object installs the handler
    QProcess process;
    process.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    if (!process.waitForStarted())
        return 2;
    const RZProcessRef object = RZProcess::processWithPID(pid_t(process.processId()));
    if (!object)
        return 3;
    child = object->serialNumber();
    spinUntil([&] { return !words.isEmpty(); }, 10000);
    process.kill();
    process.waitForFinished();
    spinUntil([&] { return words.size() >= 2; }, 10000);
    spinUntil([] { return false; }, 600); // anything further would arrive by now
    std::printf("words: %s\ncached: %s\n", qPrintable(words.join(QLatin1Char(' '))),
        qPrintable(cached.join(QLatin1Char(' '))));
    return 0;
}
