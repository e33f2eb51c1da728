#include "Clipboard/PasteService.h"
#include "EntryFactory.h"
#include "FakeFrontmostApplication.h"
#include "FakeKeystrokePoster.h"
#include "FakePasteboard.h"
#include "SampleContent.h"

#include <QImage>
#include <QMimeData>
#include <QTest>

namespace {

const QString marker = QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste");

// An entry of the given kind whose only content is what the test sets.
ClipboardHistoryEntry entryOf(ClipboardContentType type, const QString &text = QString())
{
    ClipboardHistoryEntry entry = makeEntry(text, QDateTime::currentDateTime(), false, type);
    if (text.isEmpty())
        entry.textContent.reset();
    return entry;
}

ClipboardHistoryEntry fileEntry(const QStringList &urls)
{
    ClipboardHistoryEntry entry = entryOf(ClipboardContentType::file);
    entry.fileURLStrings = urls;
    return entry;
}

} // namespace

class TestPasteService final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_pasteboard = std::make_unique<FakePasteboard>();
        m_poster = std::make_unique<FakeKeystrokePoster>();
        m_frontmost = std::make_unique<FakeFrontmostApplication>();
        m_service = std::make_unique<PasteService>(m_pasteboard.get(), m_poster.get(), m_frontmost.get());
    }

    void writesText_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<PasteMode>("mode");
        QTest::addColumn<QString>("written");

        const QString padded = QStringLiteral("  \n\tline one\n  line two \n\n");
        QTest::addRow("plain text trims both ends")
            << padded << PasteMode::plainText << "line one\n  line two";
        QTest::addRow("formatted keeps the blanks") << padded << PasteMode::formatted << padded;
        QTest::addRow("unicode survives")
            << "naïve — 日本語 🙂" << PasteMode::formatted << "naïve — 日本語 🙂";
    }

    void writesText()
    {
        QFETCH(QString, stored);
        QFETCH(PasteMode, mode);
        QFETCH(QString, written);

        QVERIFY(m_service->write(entryOf(ClipboardContentType::text, stored), mode, std::nullopt));
        QCOMPARE(m_pasteboard->writeCount(), 1);
        QCOMPARE(m_pasteboard->peek(QStringLiteral("text/plain")),
                 std::optional<QByteArray>(written.toUtf8()));
        QCOMPARE(m_pasteboard->peek(marker), std::optional<QByteArray>("1"));
        QVERIFY(!m_pasteboard->types().contains(QStringLiteral("text/html")));
    }

    void writesFiles_data()
    {
        QTest::addColumn<QStringList>("stored");
        QTest::addColumn<QStringList>("uris");
        QTest::addColumn<QString>("paths");

        QTest::addRow("two files in order") << QStringList{"file:///home/u/b.txt", "file:///home/u/a%20b.txt"}
                                            << QStringList{"file:///home/u/b.txt", "file:///home/u/a%20b.txt"}
                                            << "/home/u/b.txt\n/home/u/a b.txt";
        QTest::addRow("malformed URL is skipped")
            << QStringList{"file:///home/u/keep.txt", "file://[broken/x", "http://example.com/x"}
            << QStringList{"file:///home/u/keep.txt"} << "/home/u/keep.txt";
    }

    void writesFiles()
    {
        QFETCH(QStringList, stored);
        QFETCH(QStringList, uris);
        QFETCH(QString, paths);

        QVERIFY(m_service->write(fileEntry(stored), PasteMode::plainText, std::nullopt));
        const QList<QByteArray> lines =
            m_pasteboard->peek(QStringLiteral("text/uri-list")).value_or(QByteArray()).split('\n');
        QStringList written;
        for (const QByteArray &line : lines) {
            if (!line.trimmed().isEmpty())
                written.append(QString::fromUtf8(line.trimmed()));
        }
        QCOMPARE(written, uris);
        QCOMPARE(m_pasteboard->peek(QStringLiteral("text/plain")), std::optional<QByteArray>(paths.toUtf8()));
        QCOMPARE(m_pasteboard->peek(marker), std::optional<QByteArray>("1"));
    }

    void writesImages()
    {
        const QByteArray png = encodedImage();
        QVERIFY(m_service->write(entryOf(ClipboardContentType::image), PasteMode::formatted, png));
        QCOMPARE(m_pasteboard->peek(QStringLiteral("image/png")), std::optional<QByteArray>(png));
        QCOMPARE(m_pasteboard->peek(marker), std::optional<QByteArray>("1"));
        QVERIFY(m_pasteboard->lastWritten()->hasImage());
        const QImage image = qvariant_cast<QImage>(m_pasteboard->lastWritten()->imageData());
        QCOMPARE(image.size(), sampleImage().size());
    }

    void entriesWithoutContentLeaveOnlyTheMarker_data()
    {
        QTest::addColumn<ClipboardHistoryEntry>("entry");
        QTest::addColumn<std::optional<QByteArray>>("imageBytes");

        QTest::addRow("image without bytes")
            << entryOf(ClipboardContentType::image) << std::optional<QByteArray>();
        QTest::addRow("image with undecodable bytes")
            << entryOf(ClipboardContentType::image) << std::optional<QByteArray>("not a picture");
        QTest::addRow("no valid file URL left")
            << fileEntry({"file://[broken", "https://example.com/"}) << std::optional<QByteArray>();
        QTest::addRow("bytes for an entry that is no image")
            << entryOf(ClipboardContentType::file) << std::optional<QByteArray>(encodedImage());
        QTest::addRow("empty entry") << ClipboardHistoryEntry() << std::optional<QByteArray>();
    }

    void entriesWithoutContentLeaveOnlyTheMarker()
    {
        QFETCH(ClipboardHistoryEntry, entry);
        QFETCH(std::optional<QByteArray>, imageBytes);

        QVERIFY(!m_service->write(entry, PasteMode::formatted, imageBytes));
        QCOMPARE(m_pasteboard->types(), QStringList{marker});
        QCOMPARE(m_pasteboard->peek(marker), std::optional<QByteArray>("1"));
    }

    void failedWriteIsReported()
    {
        m_pasteboard->setWriteSucceeds(false);
        QVERIFY(!m_service->write(entryOf(ClipboardContentType::text, QStringLiteral("x")),
                                  PasteMode::formatted, std::nullopt));
        QCOMPARE(m_pasteboard->writeCount(), 1);
    }

    void keystrokeFollowsTheTargetWindow_data()
    {
        QTest::addColumn<std::optional<WindowClass>>("target");
        QTest::addColumn<PasteKeystroke>("keystroke");
        QTest::addColumn<bool>("textInSelection");

        using Target = std::optional<WindowClass>;
        QTest::addRow("no active window") << Target() << PasteKeystroke::controlV << false;
        QTest::addRow("an editor") << Target(WindowClass{"gedit", "Gedit"}) << PasteKeystroke::controlV << false;
        QTest::addRow("terminal known by its class")
            << Target(WindowClass{"lxterminal", "Lxterminal"}) << PasteKeystroke::controlShiftV << false;
        QTest::addRow("terminal known by its instance only")
            << Target(WindowClass{"kitty", "Kitty-Quick"}) << PasteKeystroke::controlShiftV << false;
        QTest::addRow("xterm pastes the selection")
            << Target(WindowClass{"xterm", "XTerm"}) << PasteKeystroke::shiftInsertFromSelection << true;
    }

    void keystrokeFollowsTheTargetWindow()
    {
        QFETCH(std::optional<WindowClass>, target);
        QFETCH(PasteKeystroke, keystroke);
        QFETCH(bool, textInSelection);

        m_frontmost->setWindowClass(target);
        QVERIFY(m_service->write(entryOf(ClipboardContentType::text, QStringLiteral("ls -l\n")),
                                 PasteMode::formatted, std::nullopt));
        QVERIFY(m_service->postPasteKeystroke());
        QCOMPARE(m_poster->lastKeystroke(), std::optional<PasteKeystroke>(keystroke));
        QCOMPARE(m_pasteboard->selection().contains({QStringLiteral("text/plain"), QByteArray("ls -l\n")}),
                 textInSelection);
    }

private:
    std::unique_ptr<FakePasteboard> m_pasteboard;
    std::unique_ptr<FakeKeystrokePoster> m_poster;
    std::unique_ptr<FakeFrontmostApplication> m_frontmost;
    std::unique_ptr<PasteService> m_service;
};

QTEST_GUILESS_MAIN(TestPasteService)
#include "tst_pasteservice.moc"
