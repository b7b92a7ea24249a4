#include "Platform/Foundation/Localization.h"

#include "Platform/Foundation/Bundle.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

QString NSLocalizedString(const QString& key)
{
    const QByteArray utf8 = key.toUtf8();
    return QCoreApplication::translate("Localizable", utf8.constData());
}

void installStringTables(QCoreApplication& app)
{
    const QString folder = Bundle::mainBundle().resourcePath() + QStringLiteral("/translations");
    auto* english = new QTranslator(&app);
    if (english->load(QStringLiteral("Installer_en"), folder))
        QCoreApplication::installTranslator(english);
    auto* local = new QTranslator(&app);
    if (local->load(QLocale(), QStringLiteral("Installer"), QStringLiteral("_"), folder)
        && local->language() != QStringLiteral("en"))
        QCoreApplication::installTranslator(local);
    else
        delete local;
}
