// A small window that tests drive through standard input, one command per line:
//   title <text>   retitles the window        text <text>   replaces the line edit's text
//   activate       asks to become active      quit          ends the program
// Prints "ready <window id> <pid>" once the window is shown, then "ok <command>" after each
// command. The window title is the first argument (default "Accessible Window").

#include <QApplication>
#include <QLineEdit>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdio>
#include <unistd.h>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("Accessible Window"));
    auto* layout = new QVBoxLayout(&window);
    auto* edit = new QLineEdit(&window);
    edit->setAccessibleName(QStringLiteral("entry"));
    layout->addWidget(edit);
    window.resize(320, 120);
    window.show();

    auto say = [](const QString& line) {
        std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
        std::fflush(stdout);
    };
    QTimer::singleShot(
        300, [&] { say(QStringLiteral("ready %1 %2").arg(window.winId()).arg(::getpid())); });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char buffer[512];
        if (!std::fgets(buffer, sizeof buffer, stdin)) {
            app.quit();
            return;
        }
        const QString line = QString::fromLocal8Bit(buffer).trimmed();
        const QString command = line.section(QLatin1Char(' '), 0, 0);
        const QString argument = line.section(QLatin1Char(' '), 1);
        if (command == QLatin1String("title")) {
            // Qt tells assistive technology of a new window title only through the name.
            window.setWindowTitle(argument);
            window.setAccessibleName(argument);
        } else if (command == QLatin1String("text"))
            edit->setText(argument);
        else if (command == QLatin1String("activate")) {
            window.raise();
            window.activateWindow();
        } else if (command == QLatin1String("quit"))
            app.quit();
        say(QStringLiteral("ok ") + command);
    });
    return app.exec();
}
