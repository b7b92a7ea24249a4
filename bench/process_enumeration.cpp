// allProcesses with attributes, against `ps -eo pid,comm,lstart`, with many idle processes running.
//   process_enumeration [extra processes = 500] [runs = 11]
// Starts that many idle children (sleep), then times, alternating: RZProcess::allProcesses() with
// name, signature, path and version fetched for each process (a fresh cache every run), and a
// ps listing of every process. Prints the medians.

#include "RZProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int extra = argc > 1 ? std::atoi(argv[1]) : 500;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 11;
    std::vector<pid_t> children;
    char sleepPath[] = "/bin/sleep";
    char seconds[] = "600";
    char* args[] = { sleepPath, seconds, nullptr };
    for (int i = 0; i < extra; ++i) {
        pid_t pid = 0;
        if (::posix_spawn(&pid, sleepPath, nullptr, nullptr, args, environ) == 0)
            children.push_back(pid);
    }
    std::vector<double> ours, ps;
    int count = 0;
    for (int r = 0; r < runs; ++r) {
        RZProcess::resetForTesting();
        QElapsedTimer t;
        t.start();
        const auto all = RZProcess::allProcesses();
        for (const RZProcessRef& p : all) {
            (void)p->name();
            (void)p->signature();
            (void)p->path();
            (void)p->version();
        }
        ours.push_back(double(t.nsecsElapsed()) / 1e6);
        count = int(all.size());
        t.restart();
        QProcess listing;
        listing.start(
            QStringLiteral("ps"), { QStringLiteral("-eo"), QStringLiteral("pid,comm,lstart") });
        listing.waitForFinished(30000);
        (void)listing.readAllStandardOutput();
        ps.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    for (pid_t pid : children)
        ::kill(pid, SIGKILL);
    for (pid_t pid : children)
        ::waitpid(pid, nullptr, 0);
    const double a = median(ours), b = median(ps);
    std::printf("bench: allProcesses with attributes, %d processes (vs ps -eo pid,comm,lstart), "
                "median of %d| %.1f ms | %.1f ms | %.2f\n",
        count, runs, a, b, a / b);
    return 0;
}
