#pragma once

#include <QStringList>
#include <Qt>

#include <optional>

// The keys a global shortcut may use: a–z, 0–9 and the eleven punctuation keys of the US layout
// (- = [ ] ; ' \ , . / `). Anything else (function keys, arrows, space) cannot be registered.
namespace ShortcutKeys {

// The platform-neutral key for a key character; case is ignored. Nothing for keys outside the table.
std::optional<Qt::Key> keyFor(const QString &key);

// Every key of the table, lower case, letters first, then digits, then punctuation.
QStringList all();

} // namespace ShortcutKeys
