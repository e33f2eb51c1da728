#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// Content the tests copy, store and compare.

// Readable text of the given size, with a recognisable start and end.
QByteArray textOfSize(qsizetype size);

// A small picture with one odd pixel, so a decoded copy can be compared with it exactly.
QImage sampleImage();
QByteArray encodedImage(const QImage &image = sampleImage(), const char *format = "PNG");

// Writes `bytes` to `dir`/`name`; the path, or "" when it could not be written.
QString writeFile(const QString &dir, const QString &name, const QByteArray &bytes);
