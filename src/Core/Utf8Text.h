#pragma once

#include <QByteArrayView>
#include <QChar>
#include <QString>

// Copied text is kept as the UTF-8 it arrived in, so a copy of many megabytes is never held twice over
// as UTF-16. These look at only as much of it as they need.
namespace Utf8Text {

// `utf8` as UTF-16. Unlike QString::fromUtf8(), a byte order mark at the start is kept, so a slice
// decodes to the same characters wherever it begins.
QString decoded(QByteArrayView utf8);

// Where the character that `index` falls in begins; `index` itself at the end or at a character start.
qsizetype characterStart(QByteArrayView utf8, qsizetype index);

// `utf8` without the white space (QChar::isSpace()) at its ends, found by decoding from each end a
// slice at a time.
QByteArrayView trimmed(QByteArrayView utf8);

// Whether any UTF-16 unit of `utf8` passes `test`, decoding a slice at a time and stopping at the
// first that does.
bool containsAny(QByteArrayView utf8, bool (*test)(QChar));

} // namespace Utf8Text
