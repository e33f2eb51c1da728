// What a clipboard owner sends: a TARGETS answer, the value of each target asked for (whole or in INCR
// chunks) and the file lists in it. The input is read as a stream of small decisions and byte runs.
#include "Clipboard/ClipboardCapture.h"
#include "Platform/PasteboardContent.h"
#include "Platform/X11/X11SelectionData.h"

#include <QLoggingCategory>

#include <cstdlib>

namespace {

struct Input
{
    const uint8_t *data;
    size_t size;

    uint8_t byte() { return size ? (--size, *data++) : 0; }
    QByteArray bytes(size_t wanted)
    {
        wanted = std::min(wanted, size);
        const QByteArray taken(reinterpret_cast<const char *>(data), qsizetype(wanted));
        data += wanted;
        size -= wanted;
        return taken;
    }
};

const QStringList names{QString(),
                        QStringLiteral("TARGETS"),
                        QStringLiteral("UTF8_STRING"),
                        QStringLiteral("STRING"),
                        QStringLiteral("text/plain;charset=utf-8"),
                        QStringLiteral("text/uri-list"),
                        QStringLiteral("x-special/gnome-copied-files"),
                        QStringLiteral("image/png"),
                        QStringLiteral("image/bmp"),
                        QStringLiteral("x-kde-passwordManagerHint"),
                        QStringLiteral("text/html")};

// A value as X delivers it: one property, or INCR chunks, each read in pieces with what is left after.
PasteboardData transfer(Input &input, qsizetype limit)
{
    const uint8_t how = input.byte();
    if (how % 8 == 0)
        return PasteboardData::of(PasteboardData::Outcome(input.byte() % 5), input.byte());
    X11SelectionData value(how % 8 == 1 ? input.byte() : limit);
    const int chunks = how % 2 ? 1 : 1 + input.byte() % 4;
    for (int chunk = 0; chunk < chunks; ++chunk) {
        QByteArray bytes = input.bytes(input.byte());
        for (X11SelectionData::Append append = X11SelectionData::Append::more;
             append == X11SelectionData::Append::more;) {
            const QByteArray piece = bytes.left(1 + input.byte() % 64);
            bytes.remove(0, piece.size());
            append = value.append(piece.constData(), piece.size(), bytes.size());
            if (append == X11SelectionData::Append::tooLarge)
                return PasteboardData::of(PasteboardData::Outcome::tooLarge, value.seen());
        }
    }
    return PasteboardData::received(value.bytes());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("halcy.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input{data, size};
    const QList<quint32> atoms = X11SelectionData::targetAtoms(input.bytes(input.byte()));
    QStringList atomNames;
    for (quint32 atom : atoms)
        atomNames.append(names.at(atom % names.size()));
    const X11SelectionData::Offer offer = X11SelectionData::offer(atoms, atomNames);
    const auto excluded = [](const QStringList &types) {
        return types.contains(QStringLiteral("x-kde-passwordManagerHint"));
    };
    const PasteboardContent content = PasteboardContent::read(
        1, offer.types, excluded, [&input, &offer](const QString &type, qsizetype limit) {
            if (!offer.types.contains(type))
                std::abort();
            return transfer(input, limit);
        });
    if (!content.fileURLs.isEmpty() && !ClipboardCapture::fromFileURLs(content.fileURLs, {}))
        std::abort();
    if (content.imagePNG && content.imagePNG->size() > PasteboardLimits::maxImageBytes)
        std::abort();
    return 0;
}
