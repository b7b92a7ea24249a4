// The cost of one look at the process table, as the launch/quit watcher takes it four times a
// second: ours (list the pid folders, read only new pids) against reading every process's stat
// file, the way a watcher that compares whole snapshots would. Prints one "bench:" line.

#include "Platform/Linux/ProcessTable.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
double medianMicroseconds(int runs, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        work();
        times.push_back(double(t.nsecsElapsed()) / 1000.0);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}
} // namespace

int main(int argc, char* argv[])
{
    const int runs = argc > 2 && QByteArray(argv[2]) == "--quick" ? 50 : 500;
    ProcessTable table;
    table.update();
    const double ours = medianMicroseconds(runs, [&] { table.update(); });
    const QStringList pids = QDir(QStringLiteral("/proc"))
                                 .entryList(QDir::Dirs)
                                 .filter(QRegularExpression(QStringLiteral("^[0-9]+$")));
    const double full = medianMicroseconds(runs, [&] {
        for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            QFile f(QStringLiteral("/proc/") + pid + QStringLiteral("/stat"));
            if (f.open(QIODevice::ReadOnly))
                f.readAll();
        }
    });
    std::printf("bench: process-table look, nothing changed (%lld processes, median of %d)|%.0f us|"
                "%.0f us reading every stat file|%.2f\n",
        static_cast<long long>(pids.size()), runs, ours, full, ours / full);
    return 0;
}
