#pragma once
// Every text the user sees is an English key looked up in the application's string table (Qt
// translation files in the bundle's Resources/translations), then formatted Cocoa-style.

#include <QString>

class QCoreApplication;

/// The localized text of key; the key itself when the table has no entry.
QString NSLocalizedString(const QString& key);

/// Loads the string tables from the main bundle: English first, then the user's language (picked
/// by LANGUAGE, LC_ALL, LC_MESSAGES and LANG), which wins where it has an entry.
void installStringTables(QCoreApplication& app);
