#pragma once
// The platform's accessibility notification names and the AT-SPI event types that mean the same.

#include <QString>
#include <QStringList>

/// The AT-SPI event types to listen to for a notification name ("AXTitleChanged" gives
/// "object:property-change:accessible-name"); empty for a name without an equivalent.
QStringList atspiEventTypesForNotification(const QString& notification);

/// Whether an AT-SPI event (its full type, such as "object:text-changed:insert", and its first
/// detail) is one that the notification name stands for. State changes count only when the state
/// is gained.
bool atspiEventMatchesNotification(
    const QString& eventType, int detail1, const QString& notification);
