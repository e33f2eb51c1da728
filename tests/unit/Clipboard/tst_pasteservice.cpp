#include "Clipboard/PasteService.h"
#include "FakeFrontmostApplication.h"
#include "FakeKeystrokePoster.h"
#include "FakePasteboard.h"
#include "SampleContent.h"

#include <QMimeData>
#include <QTest>

namespace {

const QString marker = QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste");

ClipboardHistoryEntry entryOf(ClipboardContentType type, const QString &text = {},
                              const QStringList &urls = {})
{
    ClipboardHistoryEntry entry;
    entry.type = type;
    if (!text.isEmpty())
        entry.textContent = text;
    entry.fileURLStrings = urls;
    return entry;
}

} // namespace

class TestPasteService final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m = std::make_unique<World>(); }

    // Every write carries the marker; an entry without content leaves nothing else.
    void writesTheEntryBesideTheMarker_data()
    {
        QTest::addColumn<ClipboardHistoryEntry>("entry");
        QTest::addColumn<PasteMode>("mode");
        QTest::addColumn<std::optional<QByteArray>>("imageBytes");
        QTest::addColumn<QStringList>("written"); // "type: content" besides the marker

        using Bytes = std::optional<QByteArray>;
        const auto row = [](const char *name, const ClipboardHistoryEntry &entry, const QStringList &written,
                            PasteMode mode = PasteMode::formatted, const Bytes &imageBytes = {}) {
            QTest::newRow(name) << entry << mode << imageBytes << written;
        };
        using T = ClipboardContentType;
        const QString padded = QStringLiteral("  \n\tline one\n  line two \n\n");
        const QString unicode = QStringLiteral("naïve — 日本語 🙂");
        row("plain text trims both ends", entryOf(T::text, padded), {"text/plain: line one\n  line two"},
            PasteMode::plainText);
        row("formatted keeps the blanks", entryOf(T::text, padded), {"text/plain: " + padded});
        row("unicode survives", entryOf(T::text, unicode), {"text/plain: " + unicode});
        row("two files in order", entryOf(T::file, {}, {"file:///home/u/b.txt", "file:///home/u/a%20b.txt"}),
            {"text/uri-list: file:///home/u/b.txt file:///home/u/a%20b.txt",
             "text/plain: /home/u/b.txt\n/home/u/a b.txt"});
        row("malformed URL is skipped",
            entryOf(T::file, {}, {"file:///home/u/keep.txt", "file://[broken/x", "http://example.com/x"}),
            {"text/uri-list: file:///home/u/keep.txt", "text/plain: /home/u/keep.txt"});
        row("image without bytes", entryOf(T::image), {});
        row("image with undecodable bytes", entryOf(T::image), {}, PasteMode::formatted, "not a picture");
        row("no valid file URL left", entryOf(T::file, {}, {"file://[broken", "https://example.com/"}), {});
        row("bytes for a non-image entry", entryOf(T::file), {}, PasteMode::formatted, encodedImage());
        row("empty entry", {}, {});
    }

    void writesTheEntryBesideTheMarker()
    {
        QFETCH(ClipboardHistoryEntry, entry);
        QFETCH(PasteMode, mode);
        QFETCH(std::optional<QByteArray>, imageBytes);
        QFETCH(QStringList, written);

        QCOMPARE(m->service.write(entry, mode, imageBytes), !written.isEmpty());
        QCOMPARE(m->pasteboard.writeCount(), 1);
        QStringList actual;
        for (const QString &type : m->pasteboard.types()) {
            const QString bytes = QString::fromUtf8(m->pasteboard.peek(type).value_or(QByteArray()));
            actual << type + QStringLiteral(": ") + (type == "text/uri-list" ? bytes.simplified() : bytes);
        }
        QCOMPARE(actual, QStringList{marker + QStringLiteral(": 1")} + written);
    }

    void writesImagesAndReportsAFailedWrite()
    {
        const QByteArray png = encodedImage();
        QVERIFY(m->service.write(entryOf(ClipboardContentType::image), PasteMode::formatted, png));
        QCOMPARE(m->pasteboard.peek(QStringLiteral("image/png")), std::optional<QByteArray>(png));
        QCOMPARE(qvariant_cast<QImage>(m->pasteboard.lastWritten()->imageData()).size(),
                 sampleImage().size());

        m->pasteboard.setWriteSucceeds(false);
        QVERIFY(!m->service.write(entryOf(ClipboardContentType::text, "x"), PasteMode::formatted, {}));
    }

    void keystrokeFollowsTheTargetWindow_data()
    {
        QTest::addColumn<std::optional<WindowClass>>("target");
        QTest::addColumn<PasteKeystroke>("keystroke");
        QTest::addColumn<bool>("textInSelection");

        using Target = std::optional<WindowClass>;
        QTest::addRow("no active window") << Target() << PasteKeystroke::controlV << false;
        QTest::addRow("an editor") << Target({"gedit", "Gedit"}) << PasteKeystroke::controlV << false;
        QTest::addRow("terminal known by its class")
            << Target({"lxterminal", "Lxterminal"}) << PasteKeystroke::controlShiftV << false;
        QTest::addRow("terminal known by its instance only")
            << Target({"kitty", "Kitty-Quick"}) << PasteKeystroke::controlShiftV << false;
        QTest::addRow("xterm pastes the selection")
            << Target({"xterm", "XTerm"}) << PasteKeystroke::shiftInsertFromSelection << true;
    }

    void keystrokeFollowsTheTargetWindow()
    {
        QFETCH(std::optional<WindowClass>, target);
        QFETCH(PasteKeystroke, keystroke);
        QFETCH(bool, textInSelection);

        m->frontmost.windowClass = target;
        QVERIFY(m->service.write(entryOf(ClipboardContentType::text, "ls -l\n"), PasteMode::formatted, {}));
        QVERIFY(m->service.postPasteKeystroke());
        QCOMPARE(m->poster.lastKeystroke, std::optional<PasteKeystroke>(keystroke));
        QCOMPARE(m->pasteboard.selection().contains({QStringLiteral("text/plain"), "ls -l\n"}),
                 textInSelection);
    }

private:
    struct World
    {
        FakePasteboard pasteboard;
        FakeKeystrokePoster poster;
        FakeFrontmostApplication frontmost;
        PasteService service{&pasteboard, &poster, &frontmost};
    };
    std::unique_ptr<World> m;
};

QTEST_GUILESS_MAIN(TestPasteService)
#include "tst_pasteservice.moc"
