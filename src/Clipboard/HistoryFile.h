#pragma once

#include "Clipboard/HistorySchema.h"

#include <QFileDevice>
#include <QString>

// The history file on disk: private to its owner, and never changed unless it is a history this
// version can read.
namespace HistoryFile {

constexpr QFileDevice::Permissions ownerOnlyFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions ownerOnlyDirectory = ownerOnlyFile | QFileDevice::ExeOwner;

// Reads an existing file without any chance of changing it: the header is checked before SQLite sees
// the file, and SQLite then opens it read-only (immutable when no write-ahead log exists, so not even
// the shared-memory index is created beside it).
bool validateExisting(const QString &path, HistorySchema::SchemaState *state, QString *error);
// Takes away what group and others may do; what the owner may do is left as the owner set it.
void restrictPermissions(const QString &path);

} // namespace HistoryFile
