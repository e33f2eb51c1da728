#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// The selection protocol's byte-level rules, apart from the X connection: what a TARGETS answer
// offers, the size an INCR header announces, and how property pieces add up to one value under a size
// limit. Everything here reads bytes another program chose.
class X11SelectionData final
{
public:
    // The targets a TARGETS answer offers: the history's types in the owner's order (every text
    // target as text/plain, no duplicates, none of the protocol's own), and each offered target's atom
    // by name. `names` holds one name per atom; an empty name is an atom the server could not name.
    struct Offer
    {
        QStringList types;
        QHash<QString, quint32> atoms;
    };
    static Offer offer(const QList<quint32> &atoms, const QStringList &names);

    // The atoms of a TARGETS answer; a trailing partial atom is ignored.
    static QList<quint32> targetAtoms(const QByteArray &reply);
    // The size an INCR header announces; 0 when it holds no whole 32-bit value.
    static quint32 announcedSize(const char *value, int length);
    static bool isTextTarget(const QString &name);

    enum class Append
    {
        more,
        complete,
        tooLarge
    };
    explicit X11SelectionData(qint64 limit) : m_limit(limit) {}
    // One piece of a property value and how many bytes the server still holds after it. Nothing is
    // kept once the value would pass the limit; `seen` then says how far the owner got.
    Append append(const char *piece, qsizetype length, qint64 bytesAfter);
    QByteArray &bytes() { return m_bytes; }
    qint64 seen() const { return m_seen; }

private:
    qint64 m_limit;
    qint64 m_seen = 0;
    QByteArray m_bytes;
};
