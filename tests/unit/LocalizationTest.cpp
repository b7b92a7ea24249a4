// Message keys go through the bundle's string tables, then Cocoa formatting.

#include "Platform/Foundation/Localization.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"

#include <QCoreApplication>
#include <QTranslator>

#include <gtest/gtest.h>

namespace {
QString localizedIn(const QLocale& locale, const QString& key, const QString& product)
{
    QLocale::setDefault(locale);
    Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
    const auto before = QCoreApplication::instance()->findChildren<QTranslator*>();
    installStringTables(*QCoreApplication::instance());
    const QString text = stringWithFormat(NSLocalizedString(key), product);
    for (QTranslator* t : QCoreApplication::instance()->findChildren<QTranslator*>()) {
        if (!before.contains(t)) {
            QCoreApplication::removeTranslator(t);
            delete t;
        }
    }
    Bundle::setMainBundlePathForTesting(QString());
    QLocale::setDefault(QLocale::c());
    return text;
}
} // namespace

TEST(StringTables, EnglishGermanAndTheKeyItself)
{
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    const QLocale german(QLocale::German, QLocale::Germany);
    const QLocale french(QLocale::French, QLocale::France);
    const QString success = QStringLiteral("%@ was successfully installed.");
    EXPECT_EQ(localizedIn(english, success, QStringLiteral("Foo")),
        QStringLiteral("Foo was successfully installed."));
    EXPECT_EQ(localizedIn(german, success, QStringLiteral("Foo")),
        QStringLiteral("Foo wurde erfolgreich installiert."));
    EXPECT_EQ(localizedIn(french, success, QStringLiteral("Foo")),
        QStringLiteral("Foo was successfully installed."))
        << "a language without a table falls back to English";

    const QString tooOld = QStringLiteral("%1$@ %2$@ cannot be installed on this computer because "
                                          "it requires Mac OS X %3$@ or newer.");
    EXPECT_TRUE(localizedIn(english, tooOld, QStringLiteral("Foo"))
                    .contains(QStringLiteral("requires Linux (null) or newer")));
    EXPECT_EQ(localizedIn(english, QStringLiteral("no such key %@"), QStringLiteral("x")),
        QStringLiteral("no such key x"));
}
