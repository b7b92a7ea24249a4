// Prints what the utilities say about this process and its desktop, one "key=value" per line:
//   launch_context_probe [CREATOR]
// dark (the dark theme), tint (the tint image's name), debugging, loginItem and, with CREATOR,
// launchedBy (launched by a process with that creator code).

#include "RZUtilities.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    auto print = [](const char* key, const QString& value) {
        std::printf("%s=%s\n", key, value.toUtf8().constData());
    };
    auto yesNo = [](bool b) { return b ? QStringLiteral("1") : QStringLiteral("0"); };
    print("dark", yesNo(RZUtilities::darkMenuTheme()));
    print("tint", RZUtilities::systemTintImageName());
    print("debugging", yesNo(RZUtilities::debugging()));
    print("loginItem", yesNo(RZUtilities::wasLaunchedAsLoginItem()));
    if (args.size() > 1)
        print("launchedBy", yesNo(RZUtilities::wasLaunchedByProcess(args.at(1))));
    std::fflush(stdout);
    return 0;
}
