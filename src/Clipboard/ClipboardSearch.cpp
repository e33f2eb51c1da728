#include "Clipboard/ClipboardSearch.h"

#include <QStringView>

#include <algorithm>
#include <array>
#include <vector>

namespace {

bool isAsciiSpace(char16_t c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

// Folds texts for matching, reusing one buffer, so ranking thousands of entries allocates only for
// the rare non-ASCII text. The returned view lives until the next call.
class Folder final
{
public:
    QStringView fold(const QString &text)
    {
        const auto *data = reinterpret_cast<const char16_t *>(text.utf16());
        const qsizetype size = text.size();
        bool ascii = true;
        bool upper = false;
        for (qsizetype i = 0; i < size; ++i) {
            const char16_t c = data[i];
            if (c >= 0x80) {
                ascii = false;
                break;
            }
            upper = upper || (c >= u'A' && c <= u'Z');
        }
        if (!ascii) {
            m_buffer = foldUnicode(text);
            return m_buffer;
        }

        qsizetype begin = 0;
        qsizetype end = size;
        while (begin < end && isAsciiSpace(data[begin]))
            ++begin;
        while (end > begin && isAsciiSpace(data[end - 1]))
            --end;
        if (!upper)
            return QStringView(text).mid(begin, end - begin);

        m_buffer.resize(end - begin);
        char16_t *out = reinterpret_cast<char16_t *>(m_buffer.data());
        for (qsizetype i = begin; i < end; ++i) {
            const char16_t c = data[i];
            *out++ = (c >= u'A' && c <= u'Z') ? char16_t(c + (u'a' - u'A')) : c;
        }
        return m_buffer;
    }

private:
    // Compatibility decomposition splits accents from their letters (and ligatures, full-width forms,
    // "㎒" into plain letters); the accents are dropped, the rest case-folded, and what is left
    // recomposed so that scripts built from combining parts (Hangul) still compare as whole characters.
    static QString foldUnicode(const QString &text)
    {
        const QString decomposed = text.normalized(QString::NormalizationForm_KD);
        QString stripped;
        stripped.reserve(decomposed.size());
        const qsizetype size = decomposed.size();
        for (qsizetype i = 0; i < size;) {
            const QChar c = decomposed.at(i);
            if (c.isHighSurrogate() && i + 1 < size && decomposed.at(i + 1).isLowSurrogate()) {
                const char32_t codePoint = QChar::surrogateToUcs4(c, decomposed.at(i + 1));
                if (QChar::category(codePoint) != QChar::Mark_NonSpacing)
                    stripped.append(decomposed.constData() + i, 2);
                i += 2;
                continue;
            }
            if (c.category() != QChar::Mark_NonSpacing)
                stripped.append(c);
            ++i;
        }
        // Qt folds one character to one; "ß" is the fold that users type as two letters.
        QString folded = stripped.toCaseFolded();
        folded.replace(QChar(0x00DF), QLatin1String("ss"));
        return folded.normalized(QString::NormalizationForm_C).trimmed();
    }

    QString m_buffer;
};

// Code points of a view, one at a time; a lone surrogate stands for itself.
class CodePoints final
{
public:
    explicit CodePoints(QStringView text) : m_text(text) {}

    bool next(char32_t &codePoint)
    {
        if (m_index >= m_text.size())
            return false;
        const QChar c = m_text[m_index++];
        if (c.isHighSurrogate() && m_index < m_text.size() && m_text[m_index].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(c, m_text[m_index++]);
            return true;
        }
        codePoint = c.unicode();
        return true;
    }

private:
    QStringView m_text;
    qsizetype m_index = 0;
};

// The searched fields joined by single spaces, read without building the joined text.
class JoinedCodePoints final
{
public:
    explicit JoinedCodePoints(const std::array<QStringView, 4> &parts) : m_parts(parts), m_current(parts[0]) {}

    bool next(char32_t &codePoint)
    {
        if (m_current.next(codePoint))
            return true;
        if (++m_part >= m_parts.size())
            return false;
        m_current = CodePoints(m_parts[m_part]);
        codePoint = U' ';
        return true;
    }

private:
    std::array<QStringView, 4> m_parts;
    std::size_t m_part = 0;
    CodePoints m_current;
};

// The haystack is only ever read forwards: each query character is sought from just after the
// previous match, and it is adjacent exactly when the very next haystack character matches.
template <typename Haystack> std::optional<int> fuzzy(QStringView query, Haystack &haystack)
{
    int score = 0;
    int streak = 0;
    CodePoints needle(query);
    char32_t wanted;
    while (needle.next(wanted)) {
        bool adjacent = true;
        char32_t candidate;
        for (;;) {
            if (!haystack.next(candidate))
                return std::nullopt;
            if (candidate == wanted)
                break;
            adjacent = false;
        }
        if (adjacent) {
            score += 7 + streak;
            ++streak;
        } else {
            score += 2;
            streak = 0;
        }
    }
    return score;
}

const QString &foldedTypeName(ClipboardContentType type)
{
    static const std::array<QString, enumCaseCount<ClipboardContentType>()> names = [] {
        std::array<QString, enumCaseCount<ClipboardContentType>()> result;
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = ClipboardSearch::normalized(displayName(static_cast<ClipboardContentType>(i)));
        return result;
    }();
    const auto index = static_cast<std::size_t>(type);
    return names[index < names.size() ? index : 0];
}

// Scores one entry; fields are folded only as far as the rules need them.
class Scorer final
{
public:
    std::optional<int> score(const ClipboardHistoryEntry &entry, QStringView query)
    {
        const QStringView title = m_title.fold(entry.title);
        if (title == query)
            return 100;
        if (title.startsWith(query))
            return 90;
        if (title.contains(query))
            return 75;
        const QStringView preview = m_preview.fold(entry.preview);
        if (preview.contains(query))
            return 55;
        const QStringView source = m_source.fold(entry.sourceAppName);
        if (source.contains(query))
            return 35;
        const QStringView type = foldedTypeName(entry.type);
        if (type.contains(query))
            return 25;
        JoinedCodePoints haystack({title, preview, source, type});
        return fuzzy(query, haystack);
    }

private:
    Folder m_title;
    Folder m_preview;
    Folder m_source;
};

} // namespace

QString ClipboardSearch::normalized(const QString &text)
{
    Folder folder;
    const QStringView folded = folder.fold(text);
    if (folded.data() == text.constData() && folded.size() == text.size())
        return text; // already folded: share the original
    return folded.toString();
}

std::optional<int> ClipboardSearch::score(const ClipboardHistoryEntry &entry, const QString &normalizedQuery)
{
    return Scorer().score(entry, normalizedQuery);
}

std::optional<int> ClipboardSearch::fuzzyScore(const QString &query, const QString &haystack)
{
    CodePoints characters(haystack);
    return fuzzy(query, characters);
}

ClipboardHistoryEntries ClipboardSearch::rank(const ClipboardHistoryEntries &entries, const QString &query)
{
    const QString needle = normalized(query);
    if (needle.isEmpty())
        return entries;

    struct Match
    {
        int score;
        qint64 time;
        qsizetype index;
    };
    std::vector<Match> matches;
    matches.reserve(std::size_t(entries.size()));
    Scorer scorer;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (const auto score = scorer.score(entries.at(i), needle))
            matches.push_back({*score, entries.at(i).timestamp.toMSecsSinceEpoch(), i});
    }
    std::stable_sort(matches.begin(), matches.end(), [](const Match &a, const Match &b) {
        if (a.score != b.score)
            return a.score > b.score;
        return a.time > b.time;
    });

    ClipboardHistoryEntries ranked;
    ranked.reserve(qsizetype(matches.size()));
    for (const Match &match : matches)
        ranked.append(entries.at(match.index));
    return ranked;
}
