// The yardstick for start-up: a bare Qt window, built and linked like the installer.

#include <QApplication>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Bare"));
    window.resize(560, 400);
    window.show();
    return QApplication::exec();
}
