// How soon the installer notices that a running copy has ended: a copy that ignores the polite
// request ends by itself after 300 ms; quitRunningApplicationWithTimeout polls for its end. The
// figure is the time from the copy's own exit to quit returning, median of 11.
//   quit_notice BUILD_DIR

#include "RZProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc < 2)
        return 64;
    const QString fakeapp
        = QString::fromLocal8Bit(argv[1]) + QStringLiteral("/test-programs/fakeapp");
    std::vector<double> late;
    for (int i = 0; i < 11; ++i) {
        QProcess child;
        child.start(fakeapp,
            { QStringLiteral("--ignore-term"), QStringLiteral("--exit-after"),
                QStringLiteral("300") });
        child.waitForReadyRead(5000);
        QElapsedTimer timer;
        timer.start();
        const RZProcessRef p = RZProcess::processWithPID(pid_t(child.processId()));
        if (!p)
            continue;
        p->quitRunningApplicationWithTimeout(4.0f); // the polite phase sees it end
        late.push_back(double(timer.nsecsElapsed()) / 1e6 - 300.0);
        child.waitForFinished(3000);
    }
    std::sort(late.begin(), late.end());
    std::printf("bench: from a running copy's exit to the installer noticing it, median of %zu| "
                "%.1f ms | - | -\n",
        late.size(), late.empty() ? -1.0 : late[late.size() / 2]);
    return 0;
}
