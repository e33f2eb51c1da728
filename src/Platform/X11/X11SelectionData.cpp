#include "Platform/X11/X11SelectionData.h"

#include <cstring>

namespace {

// Targets that belong to the selection protocol itself rather than to the content.
bool isProtocolTarget(const QString &name)
{
    return name == QLatin1String("TARGETS") || name == QLatin1String("TIMESTAMP") ||
           name == QLatin1String("MULTIPLE") || name == QLatin1String("SAVE_TARGETS") ||
           name == QLatin1String("DELETE");
}

} // namespace

bool X11SelectionData::isTextTarget(const QString &name)
{
    return name == QLatin1String("UTF8_STRING") || name == QLatin1String("STRING") ||
           name == QLatin1String("TEXT") || name == QLatin1String("COMPOUND_TEXT") ||
           name == QLatin1String("text/plain;charset=utf-8");
}

X11SelectionData::Offer X11SelectionData::offer(const QList<quint32> &atoms, const QStringList &names)
{
    Offer offer;
    for (qsizetype i = 0; i < atoms.size() && i < names.size(); ++i) {
        const QString &name = names.at(i);
        if (name.isEmpty() || isProtocolTarget(name))
            continue;
        offer.atoms.insert(name, atoms.at(i));
        const QString type = isTextTarget(name) ? QStringLiteral("text/plain") : name;
        if (!offer.types.contains(type))
            offer.types.append(type);
    }
    return offer;
}

QList<quint32> X11SelectionData::targetAtoms(const QByteArray &reply)
{
    QList<quint32> atoms(reply.size() / qsizetype(sizeof(quint32)));
    if (!atoms.isEmpty())
        std::memcpy(atoms.data(), reply.constData(), size_t(atoms.size()) * sizeof(quint32));
    return atoms;
}

quint32 X11SelectionData::announcedSize(const char *value, int length)
{
    quint32 announced = 0;
    if (value && length >= int(sizeof announced))
        std::memcpy(&announced, value, sizeof announced);
    return announced;
}

X11SelectionData::Append X11SelectionData::append(const char *piece, qsizetype length, qint64 bytesAfter)
{
    m_seen = m_bytes.size() + qint64(length) + bytesAfter;
    if (length < 0 || bytesAfter < 0 || m_seen > m_limit)
        return Append::tooLarge;
    m_bytes.append(piece, length);
    return bytesAfter == 0 ? Append::complete : Append::more;
}
