#include "Core/Utf8Text.h"

#include <QStringDecoder>

#include <algorithm>

namespace {

constexpr qsizetype sliceBytes = 64 * 1024;

bool isContinuationByte(char byte)
{
    return (uchar(byte) & 0xC0) == 0x80;
}

} // namespace

QString Utf8Text::decoded(QByteArrayView utf8)
{
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder(utf8);
}

qsizetype Utf8Text::characterStart(QByteArrayView utf8, qsizetype index)
{
    index = std::clamp<qsizetype>(index, 0, utf8.size());
    // A UTF-8 character has at most three continuation bytes; more is broken text, cut anywhere.
    for (int back = 0; back < 3 && index > 0 && index < utf8.size() && isContinuationByte(utf8.at(index));
         ++back)
        --index;
    return index;
}

QByteArrayView Utf8Text::trimmed(QByteArrayView utf8)
{
    // Slices small enough that blanks around a long text cost little to decode.
    constexpr qsizetype blankSliceBytes = 4 * 1024;
    // Byte length of the first `units` UTF-16 units of `text`, which came from valid UTF-8.
    const auto bytesOf = [](const QString &text, qsizetype units) {
        return QStringView(text).left(units).toUtf8().size();
    };

    qsizetype begin = 0;
    for (;;) {
        if (begin >= utf8.size())
            return utf8.first(0);
        const qsizetype end = std::max(begin + 1, characterStart(utf8, begin + blankSliceBytes));
        const QString slice = decoded(utf8.sliced(begin, end - begin));
        const auto text = std::find_if(slice.cbegin(), slice.cend(), [](QChar c) { return !c.isSpace(); });
        if (text != slice.cend()) {
            begin = std::min(end, begin + bytesOf(slice, text - slice.cbegin()));
            break;
        }
        begin = end;
    }

    qsizetype end = utf8.size();
    while (end > begin) {
        const qsizetype start = std::clamp(characterStart(utf8, end - blankSliceBytes), begin, end - 1);
        const QString slice = decoded(utf8.sliced(start, end - start));
        qsizetype kept = slice.size();
        while (kept > 0 && slice.at(kept - 1).isSpace())
            --kept;
        if (kept > 0) {
            end = std::min(end, start + bytesOf(slice, kept));
            break;
        }
        end = start;
    }
    return utf8.sliced(begin, end - begin);
}

bool Utf8Text::containsAny(QByteArrayView utf8, bool (*test)(QChar))
{
    for (qsizetype start = 0; start < utf8.size();) {
        const qsizetype end = std::max(start + 1, characterStart(utf8, start + sliceBytes));
        const QString slice = decoded(utf8.sliced(start, end - start));
        if (std::any_of(slice.cbegin(), slice.cend(), test))
            return true;
        start = end;
    }
    return false;
}
