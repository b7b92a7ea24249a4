// The demo product: one small window that says which copy of Demo is running and from where.

#include <QApplication>
#include <QCoreApplication>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Demo"));
    auto* layout = new QVBoxLayout(&window);
    auto* label = new QLabel(QStringLiteral("<h2>Demo is running</h2><p>from %1</p>")
                                 .arg(QCoreApplication::applicationDirPath().toHtmlEscaped()));
    label->setAccessibleName(QStringLiteral("Demo status"));
    layout->addWidget(label);
    window.resize(360, 160);
    window.show();
    return QApplication::exec();
}
