#include "Clipboard/ClipboardListSection.h"

#include <QDate>

namespace {

bool isDateSeparator(QChar c)
{
    return c.isSpace() || c == QLatin1Char(',') || c == QLatin1Char('-') ||
           c == QChar(0x060C) /* Arabic comma */ || c == QChar(0x3001) /* ideographic comma */;
}

// Spans of a date format that lie outside quoted literals ('de', 'г.').
template <typename Visit> void forEachUnquotedRun(const QString &format, Visit visit)
{
    bool quoted = false;
    for (qsizetype i = 0; i < format.size();) {
        const QChar c = format.at(i);
        if (c == QLatin1Char('\'')) {
            quoted = !quoted;
            ++i;
            continue;
        }
        qsizetype end = i + 1;
        while (end < format.size() && format.at(end) == c)
            ++end;
        if (!quoted)
            visit(c, i, end);
        i = end;
    }
}

// Index of the first date field letter (ASCII letters outside quotes) at or after `from`, which must
// lie outside quotes; the format's size when there is none.
qsizetype nextFieldLetter(const QString &format, qsizetype from)
{
    bool quoted = false;
    for (qsizetype i = from; i < format.size(); ++i) {
        const char16_t c = format.at(i).unicode();
        if (c == u'\'')
            quoted = !quoted;
        else if (!quoted && ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')))
            return i;
    }
    return format.size();
}

// Qt knows short and long date styles but not the medium one ("Mar 7, 2026", "7 mars 2026",
// "7. März 2026"). The locale's long format is the medium one plus the weekday and with the full month
// name, so the medium format is derived from it: the weekday field goes with the separators and words
// that tie it to the rest, and the month name is abbreviated. For en_US this gives exactly "MMM d, yyyy", and
// every other locale keeps its own order, words and literals. If a locale's long format is too unusual
// for that, its short format is used.
QString mediumDateFormat(const QLocale &locale)
{
    QString format = locale.dateFormat(QLocale::LongFormat);

    qsizetype weekdayBegin = -1;
    qsizetype weekdayEnd = -1;
    forEachUnquotedRun(format, [&](QChar c, qsizetype begin, qsizetype end) {
        if (weekdayBegin < 0 && c == QLatin1Char('d') && end - begin >= 3) {
            weekdayBegin = begin;
            weekdayEnd = end;
        }
    });
    if (weekdayBegin >= 0) {
        // Literal words that belong to the weekday ("Friday the", "… day") go with it, so the
        // weekday is cut back to the neighbouring field or the format's end.
        const qsizetype nextField = nextFieldLetter(format, weekdayEnd);
        const bool leading = nextFieldLetter(format, 0) == weekdayBegin;
        qsizetype removeBegin = weekdayBegin;
        qsizetype removeEnd = weekdayEnd;
        if (leading) {
            removeEnd = nextField;
        } else {
            while (removeBegin > 0 && isDateSeparator(format.at(removeBegin - 1)))
                --removeBegin;
            if (nextField == format.size())
                removeEnd = nextField;
        }
        format.remove(removeBegin, removeEnd - removeBegin);
    }

    bool hasDay = false;
    bool hasMonth = false;
    bool hasYear = false;
    qsizetype fullMonth = -1;
    forEachUnquotedRun(format, [&](QChar c, qsizetype begin, qsizetype end) {
        hasDay = hasDay || (c == QLatin1Char('d') && end - begin <= 2);
        hasMonth = hasMonth || c == QLatin1Char('M');
        hasYear = hasYear || c == QLatin1Char('y');
        if (c == QLatin1Char('M') && end - begin == 4)
            fullMonth = begin;
    });
    if (!hasDay || !hasMonth || !hasYear)
        return locale.dateFormat(QLocale::ShortFormat);
    if (fullMonth >= 0)
        format.remove(fullMonth, 1);
    return format.trimmed();
}

QString dayTitle(const QDate &day, const QDate &today, const QLocale &locale)
{
    if (day == today)
        return QStringLiteral("Today");
    if (day == today.addDays(-1))
        return QStringLiteral("Yesterday");
    // Whole calendar days, so that a weekday name never repeats today's or yesterday's name. A day in
    // the future (the clock was set back) gets its date: a bare weekday name would point to the past.
    const qint64 daysAgo = day.daysTo(today);
    if (daysAgo > 0 && daysAgo <= 6)
        return locale.toString(day, QStringLiteral("dddd"));
    return locale.toString(day, mediumDateFormat(locale));
}

QString dayID(const QDate &day)
{
    return QStringLiteral("%1-%2-%3").arg(day.year()).arg(day.month()).arg(day.day());
}

} // namespace

QList<ClipboardListSection> ClipboardListSection::group(const ClipboardHistoryEntries &entries,
                                                        const QDateTime &now, const QLocale &locale)
{
    QList<ClipboardListSection> sections;

    ClipboardListSection pinned{QStringLiteral("pinned"), QStringLiteral("Pinned"), {}};
    for (const ClipboardHistoryEntry &entry : entries) {
        if (entry.isPinned)
            pinned.entries.append(entry);
    }
    if (!pinned.entries.isEmpty())
        sections.append(pinned);
    const qsizetype firstDaySection = sections.size();

    const QDate today = now.toLocalTime().date();
    QList<QDate> days; // parallel to the day sections; a history holds a few dozen days at most
    for (const ClipboardHistoryEntry &entry : entries) {
        if (entry.isPinned)
            continue;
        const QDate day = entry.timestamp.toLocalTime().date();
        const qsizetype index = days.indexOf(day);
        if (index >= 0) {
            sections[firstDaySection + index].entries.append(entry);
            continue;
        }
        days.append(day);
        sections.append({dayID(day), dayTitle(day, today, locale), {entry}});
    }
    return sections;
}
