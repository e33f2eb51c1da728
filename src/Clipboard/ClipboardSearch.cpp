#include "Clipboard/ClipboardSearch.h"

#include <QStringView>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace {

bool isAsciiSpace(char16_t c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool isMark(QChar::Category category)
{
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

// Conjoining jamo compose with their neighbours, so they cannot be folded one at a time.
bool isConjoiningJamo(char32_t c)
{
    return (c >= 0x1100 && c <= 0x11FF) || (c >= 0xA960 && c <= 0xA97F) || (c >= 0xD7B0 && c <= 0xD7FF);
}

// Compatibility decomposition splits accents from their letters (and ligatures, full-width forms,
// "㎒" into plain letters); the accents are dropped, the rest case-folded, and what is left
// recomposed so that scripts built from combining parts (Hangul) still compare as whole characters.
QString foldText(const QString &text)
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
    return folded.normalized(QString::NormalizationForm_C);
}

// The fold of one BMP character on its own. Without combining marks and conjoining jamo in a text,
// nothing composes or reorders across characters, so folding such a text is folding each character:
// a table lookup instead of three normalisation passes.
struct FoldedUnit
{
    std::array<char16_t, 4> text{};
    qint8 size = -1; // -1: only the whole text can be folded
};
using FoldBlock = std::array<FoldedUnit, 256>;

FoldBlock makeFoldBlock(unsigned high)
{
    FoldBlock block;
    for (unsigned low = 0; low < 256; ++low) {
        const char16_t c = char16_t(high << 8 | low);
        const QChar character(c);
        // A non-spacing mark that never reorders or decomposes (a variation selector) blocks nothing,
        // and folding drops it.
        if (character.category() == QChar::Mark_NonSpacing && character.combiningClass() == 0 &&
            character.decompositionTag() == QChar::NoDecomposition) {
            block[low].size = 0;
            continue;
        }
        if (character.isSurrogate() || isMark(character.category()) || isConjoiningJamo(c))
            continue;
        const QString folded = foldText(QString(character));
        if (folded.size() > qsizetype(block[low].text.size()))
            continue;
        const bool composable = std::any_of(folded.begin(), folded.end(), [](QChar f) {
            return f.isSurrogate() || isMark(f.category()) || isConjoiningJamo(f.unicode());
        });
        if (composable)
            continue;
        std::copy(folded.utf16(), folded.utf16() + folded.size(), block[low].text.begin());
        block[low].size = qint8(folded.size());
    }
    return block;
}

// Blocks of 256 characters are built on first use; a thread that loses the race drops its copy.
const FoldedUnit &foldedUnit(char16_t c)
{
    static std::array<std::atomic<const FoldBlock *>, 256> blocks{};
    std::atomic<const FoldBlock *> &slot = blocks[c >> 8];
    const FoldBlock *block = slot.load(std::memory_order_acquire);
    if (!block) {
        auto fresh = std::make_unique<const FoldBlock>(makeFoldBlock(c >> 8));
        if (slot.compare_exchange_strong(block, fresh.get(), std::memory_order_acq_rel))
            block = fresh.release();
    }
    return (*block)[c & 0xFF];
}

// Folds texts for matching into one reused buffer, so ranking thousands of entries allocates only
// for the rare text that needs whole-text normalisation. The returned view lives until the next call.
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
        if (!ascii)
            return foldUnicode(text);

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
        for (qsizetype i = begin; i < end; ++i)
            *out++ = asciiLower(data[i]);
        return m_buffer;
    }

private:
    static char16_t asciiLower(char16_t c)
    {
        return (c >= u'A' && c <= u'Z') ? char16_t(c + (u'a' - u'A')) : c;
    }

    QStringView foldUnicode(const QString &text)
    {
        const auto *data = reinterpret_cast<const char16_t *>(text.utf16());
        const qsizetype size = text.size();
        m_buffer.resize(size * 4);
        char16_t *const start = reinterpret_cast<char16_t *>(m_buffer.data());
        char16_t *out = start;
        for (qsizetype i = 0; i < size; ++i) {
            const char16_t c = data[i];
            if (c < 0x80) {
                *out++ = asciiLower(c);
                continue;
            }
            if (QChar::isHighSurrogate(c) && i + 1 < size && QChar::isLowSurrogate(data[i + 1]) &&
                isInertAstral(QChar::surrogateToUcs4(c, data[i + 1]))) {
                *out++ = c;
                *out++ = data[++i];
                continue;
            }
            const FoldedUnit &unit = foldedUnit(c);
            if (unit.size < 0) {
                m_buffer = foldText(text);
                return trimmed(m_buffer);
            }
            out = std::copy_n(unit.text.begin(), unit.size, out);
        }
        m_buffer.resize(out - start);
        return trimmed(m_buffer);
    }

    // Emoji and most other characters outside the BMP have no case, no decomposition and no marks.
    static bool isInertAstral(char32_t c)
    {
        return !isMark(QChar::category(c)) && QChar::decompositionTag(c) == QChar::NoDecomposition &&
               QChar::toCaseFolded(c) == c;
    }

    static QStringView trimmed(QStringView text)
    {
        qsizetype begin = 0;
        qsizetype end = text.size();
        while (begin < end && text[begin].isSpace())
            ++begin;
        while (end > begin && text[end - 1].isSpace())
            --end;
        return text.mid(begin, end - begin);
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
    explicit JoinedCodePoints(const std::array<QStringView, 4> &parts) : m_parts(parts), m_current(parts[0])
    {
    }

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
        qsizetype index;
    };
    std::vector<Match> matches;
    matches.reserve(std::size_t(entries.size()));
    Scorer scorer;
    bool newestFirst = true;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const auto score = scorer.score(entries.at(i), needle);
        if (!score)
            continue;
        if (newestFirst && !matches.empty() &&
            entries.at(matches.back().index).timestamp < entries.at(i).timestamp)
            newestFirst = false;
        matches.push_back({*score, i});
    }

    if (newestFirst) {
        // The store's order: a stable sort by score alone already puts newer entries first on ties.
        std::stable_sort(matches.begin(), matches.end(),
                         [](const Match &a, const Match &b) { return a.score > b.score; });
    } else {
        // Converting local times to instants is slow (a time-zone lookup each), so it is done once each.
        std::vector<qint64> times(matches.size());
        for (std::size_t m = 0; m < matches.size(); ++m)
            times[m] = entries.at(matches[m].index).timestamp.toMSecsSinceEpoch();
        std::vector<std::size_t> order(matches.size());
        for (std::size_t m = 0; m < order.size(); ++m)
            order[m] = m;
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            if (matches[a].score != matches[b].score)
                return matches[a].score > matches[b].score;
            return times[a] > times[b];
        });
        std::vector<Match> sorted;
        sorted.reserve(matches.size());
        for (const std::size_t m : order)
            sorted.push_back(matches[m]);
        matches.swap(sorted);
    }

    ClipboardHistoryEntries ranked;
    ranked.reserve(qsizetype(matches.size()));
    for (const Match &match : matches)
        ranked.append(entries.at(match.index));
    return ranked;
}
