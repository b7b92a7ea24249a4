#pragma once
// Property lists (XML and binary) read into Qt values: strings, numbers, booleans, dates
// (QDateTime, UTC), data (QByteArray), arrays (QVariantList) and dictionaries (QVariantMap).
// Anything missing, empty, truncated, malformed, too deep or over kMaxPropertyListSize is absent,
// never a partial value.

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <optional>

constexpr qint64 kMaxPropertyListSize = 8 * 1024 * 1024;
constexpr int kMaxPropertyListDepth = 128;

std::optional<QVariant> propertyListFromData(const QByteArray& data);
std::optional<QVariant> propertyListFromFile(const QString& path);

/// The file's top-level dictionary; absent when the file is not a property list or its top level
/// is not a dictionary.
std::optional<QVariantMap> dictionaryFromPropertyListFile(const QString& path);

/// An XML property list of a value (used to write Info.plist files of bundles we make).
QByteArray xmlPropertyList(const QVariant& value);
