#pragma once
// Classic resource files, as Linux keeps them beside a file: the hfsplus named fork
// (<path>/..namedfork/rsrc) or an AppleDouble file ("._<name>" in the same folder). The parser
// checks every offset and length against the data: a damaged fork has no resources.

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

/// The data of resource (type, id) in a resource file's bytes; none when absent or damaged.
std::optional<QByteArray> resourceFromResourceFile(
    const QByteArray& file, uint32_t type, int16_t id);

/// The resource fork of a file: the named fork, else the AppleDouble file's resource-fork entry.
std::optional<QByteArray> readResourceFork(const QString& path);

/// The version text of a 'vers' resource: "3.1.2b5", "10.1", ...; none when the data is too short.
std::optional<QString> versionFromVersResource(const QByteArray& data);
