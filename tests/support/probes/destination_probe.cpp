// Answers the installer's destination questions for the user it runs as:
//   destination_probe canWriteToPath PATH | applicationsDirectory | canWriteToFileOrDirectory PATH
// Prints the answer on standard output, the installer's log lines on standard error.

#include "InstallerWinController.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 2)
        return 2;
    InstallerWinController controller({ args.at(0) });
    const QString op = args.at(1);
    const QString path = args.value(2);
    QString answer;
    if (op == QStringLiteral("canWriteToPath"))
        answer = controller.canWriteToPath(path) ? QStringLiteral("YES") : QStringLiteral("NO");
    else if (op == QStringLiteral("canWriteToFileOrDirectory"))
        answer = controller.canWriteToFileOrDirectory(path) ? QStringLiteral("YES")
                                                            : QStringLiteral("NO");
    else if (op == QStringLiteral("applicationsDirectory"))
        answer = controller.applicationsDirectory();
    else
        return 2;
    std::printf("%s\n", answer.toUtf8().constData());
    return 0;
}
