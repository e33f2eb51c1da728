#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "Clipboard/PasteService.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11ClipboardReader.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "RecordingMonitorDelegate.h"
#include "StallMeter.h"
#include "TestEnvironment.h"
#include "X11TestMain.h"

#include <QElapsedTimer>
#include <QImage>
#include <QImageReader>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString textFieldPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer");
const QString xcbOwnerPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/xcb_owner_peer");
// What the tests allow the GUI thread to be held up at worst; the real figures are printed.
constexpr qint64 stallBoundMs = 500;

} // namespace

// The monitor on the real clipboard: other programs copy, the in-memory store must end up with the
// right record (or none).
class TestX11ClipboardMonitor final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void recordsCopiesOfOtherApplications_data();
    void recordsCopiesOfOtherApplications();
    void skipsMarkedCopies_data();
    void skipsMarkedCopies();
    void skipsItsOwnPaste();
    void recordsTheActiveApplicationAsSource();
    void recordsALargeTextWithinTheLimit();
    void skipsTextOverTheLimit_data();
    void skipsTextOverTheLimit();
    void silentOwnerDoesNotHoldUpTheNextCopy_data();
    void silentOwnerDoesNotHoldUpTheNextCopy();
    void burstEndsWithTheNewestCopy();

private:
    QString imageFile(const char *format);
    QString dataFile(const QString &name, const QByteArray &bytes);
    // Another program copies `text`; true once it is the newest entry.
    bool copyAndWaitForEntry(const QString &text, int timeoutMs = 2000);
    // True once the clipboard changed after `before` and the monitor has looked at the newest change.
    bool monitorCaughtUp(qint64 before, int timeoutMs = 2000);

    std::unique_ptr<TestEnvironment> m_env;
    QTemporaryDir m_dir;
    std::unique_ptr<X11Pasteboard> m_pasteboard;
    std::unique_ptr<X11FrontmostApplication> m_frontmost;
    std::unique_ptr<ClipboardStore> m_store;
    std::unique_ptr<RecordingMonitorDelegate> m_delegate;
    std::unique_ptr<ClipboardMonitor> m_monitor;
};

void TestX11ClipboardMonitor::initTestCase()
{
    HALCY_REQUIRE_X11_SESSION();
    m_env = std::make_unique<TestEnvironment>();
    QVERIFY(m_dir.isValid());
}

void TestX11ClipboardMonitor::init()
{
    m_pasteboard = std::make_unique<X11Pasteboard>();
    // Let the departure of the previous case's clipboard owner arrive before the monitor starts.
    spinEventLoop(100);
    m_frontmost = std::make_unique<X11FrontmostApplication>();
    m_store = ClipboardStore::openInMemory(ClipboardStore::defaultHistoryLimit);
    QVERIFY(m_store);
    m_delegate = std::make_unique<RecordingMonitorDelegate>();
    m_monitor = std::make_unique<ClipboardMonitor>(m_pasteboard.get(), m_store.get(), m_frontmost.get(),
                                                   m_delegate.get());
    m_monitor->start();
}

void TestX11ClipboardMonitor::cleanup()
{
    m_monitor.reset();
    m_store.reset();
    m_pasteboard.reset();
}

QString TestX11ClipboardMonitor::imageFile(const char *format)
{
    const QString path = m_dir.filePath(QStringLiteral("sample.") + QString::fromLatin1(format).toLower());
    if (!QFile::exists(path))
        sampleImage().save(path, format);
    return path;
}

QString TestX11ClipboardMonitor::dataFile(const QString &name, const QByteArray &bytes)
{
    const QString path = m_dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return QString();
    return path;
}

bool TestX11ClipboardMonitor::copyAndWaitForEntry(const QString &text, int timeoutMs)
{
    PeerProcess copier(clipboardPeer);
    if (!copier.start({QStringLiteral("--text"), text}))
        return false;
    QElapsedTimer elapsed;
    elapsed.start();
    while (elapsed.elapsed() < timeoutMs) {
        const ClipboardHistoryEntries entries = m_store->entries();
        if (!entries.isEmpty() && entries.first().textContent == text)
            return true;
        spinEventLoop(5);
    }
    return false;
}

bool TestX11ClipboardMonitor::monitorCaughtUp(qint64 before, int timeoutMs)
{
    return QTest::qWaitFor(
        [&] {
            return m_pasteboard->changeCount() > before
                && m_monitor->lastChangeCount() == m_pasteboard->changeCount();
        },
        timeoutMs);
}

void TestX11ClipboardMonitor::recordsCopiesOfOtherApplications_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("title");

    QTest::addRow("text") << QStringList{"--text", "meeting notes, 3rd floor"} << "text" << "meeting notes, 3rd floor";
    QTest::addRow("file list with paths as text")
        << QStringList{"--uri-list", "file:///tmp/a.txt",       "--uri-list", "file:///tmp/b%20c.txt",
                       "--text",     "/tmp/a.txt\n/tmp/b c.txt"}
        << "file" << "2 files";
    QTest::addRow("png") << QStringList{"--data", "image/png=" + imageFile("PNG")} << "image" << "Image";
    QTest::addRow("text with an image")
        << QStringList{"--text", "caption", "--data", "image/png=" + imageFile("PNG")} << "text"
        << "caption";
    if (QImageReader::supportedImageFormats().contains("tiff"))
        QTest::addRow("tiff") << QStringList{"--data", "image/tiff=" + imageFile("TIFF")} << "image"
                              << "Image";
}

void TestX11ClipboardMonitor::recordsCopiesOfOtherApplications()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, kind);
    QFETCH(QString, title);

    PeerProcess peer(clipboardPeer);
    QVERIFY2(peer.start(arguments), qPrintable(peer.errorOutput()));
    QTRY_COMPARE_WITH_TIMEOUT(m_store->entries().size(), 1, 2000);

    const ClipboardHistoryEntry entry = m_store->entries().first();
    QCOMPARE(enumName(entry.type), kind);
    QCOMPARE(entry.title, title);
    QCOMPARE(m_delegate->publications(), 1);
    if (entry.type == ClipboardContentType::image) {
        QImage stored;
        QVERIFY(stored.loadFromData(m_store->imageData(entry.id).value_or(QByteArray()), "PNG"));
        QCOMPARE(stored.convertToFormat(QImage::Format_RGB32), sampleImage());
    }

    // The owner leaving empties the clipboard; that is no new entry.
    const qint64 before = m_pasteboard->changeCount();
    peer.stop();
    QVERIFY(monitorCaughtUp(before));
    QCOMPARE(m_store->entries().size(), 1);
}

void TestX11ClipboardMonitor::skipsMarkedCopies_data()
{
    QTest::addColumn<QString>("type");

    QTest::addRow("auto-generated") << "org.nspasteboard.AutoGeneratedType=";
    QTest::addRow("own paste marker from another program") << "com.tarnwick.Halcy.SelfGeneratedPaste=1";
}

void TestX11ClipboardMonitor::skipsMarkedCopies()
{
    QFETCH(QString, type);

    const qint64 before = m_pasteboard->changeCount();
    PeerProcess peer(clipboardPeer);
    QVERIFY2(peer.start({QStringLiteral("--text"), QStringLiteral("correct horse battery"),
                         QStringLiteral("--type"), type}),
             qPrintable(peer.errorOutput()));
    // Wait until the monitor has seen this very copy and had time to read it, then make sure nothing
    // came of it.
    QVERIFY(monitorCaughtUp(before));
    spinEventLoop(ClipboardMonitor::pollIntervalMs + 50);
    QVERIFY(m_store->entries().isEmpty());
    QCOMPARE(m_delegate->publications(), 0);
    // The same copy without the mark is recorded.
    QVERIFY(copyAndWaitForEntry(QStringLiteral("correct horse battery")));
    QCOMPARE(m_store->entries().size(), 1);
}

void TestX11ClipboardMonitor::skipsItsOwnPaste()
{
    X11KeystrokePoster poster;
    PasteService pasteService(m_pasteboard.get(), &poster);
    ClipboardHistoryEntry entry;
    entry.textContent = QStringLiteral("from the history");
    const qint64 before = m_pasteboard->changeCount();
    QVERIFY(pasteService.write(entry, PasteMode::formatted, std::nullopt));

    QVERIFY(monitorCaughtUp(before));
    spinEventLoop(ClipboardMonitor::pollIntervalMs + 50);
    QVERIFY(m_store->entries().isEmpty());
    // It is on the clipboard all the same, for other programs to paste.
    QCOMPARE(xclipOutput(), std::optional<QByteArray>("from the history"));
}

void TestX11ClipboardMonitor::recordsTheActiveApplicationAsSource()
{
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
        QSKIP("xdotool is not installed");
    PeerProcess window(textFieldPeer);
    QVERIFY(window.start({QStringLiteral("--class"), QStringLiteral("HalcyNotepad")}));
    QVERIFY(xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                     window.readyLine().section(QLatin1Char(' '), 1, 1)}));

    PeerProcess copier(clipboardPeer);
    QVERIFY(copier.start({QStringLiteral("--text"), QStringLiteral("copied in the notepad")}));
    QTRY_COMPARE_WITH_TIMEOUT(m_store->entries().size(), 1, 2000);
    QCOMPARE(m_store->entries().first().sourceAppName, QStringLiteral("HalcyNotepad"));

    window.stop();
    copier.stop();
    QTRY_COMPARE_WITH_TIMEOUT(m_frontmost->name(), QString(), 3000);
    PeerProcess lateCopier(clipboardPeer);
    QVERIFY(lateCopier.start({QStringLiteral("--text"), QStringLiteral("copied with no window active")}));
    QTRY_COMPARE_WITH_TIMEOUT(m_store->entries().size(), 2, 2000);
    QCOMPARE(m_store->entries().first().sourceAppName, QStringLiteral("Unknown"));
}

void TestX11ClipboardMonitor::recordsALargeTextWithinTheLimit()
{
    const QByteArray text = textOfSize(5'000'000);
    const QString file = dataFile(QStringLiteral("large.txt"), text);
    StallMeter stalls;
    stalls.start();
    QElapsedTimer elapsed;
    elapsed.start();
    // xclip hands out anything over about 1 MB in INCR chunks.
    QProcess xclip;
    xclip.start(QStringLiteral("xclip"),
                {QStringLiteral("-quiet"), QStringLiteral("-selection"), QStringLiteral("clipboard"), file});
    QVERIFY(xclip.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(m_store->entries().size(), 1, 5000);
    qInfo("5 MB text recorded %lld ms after xclip started; GUI thread held up %lld ms at most",
          elapsed.elapsed(), stalls.stop());

    const ClipboardHistoryEntry entry = m_store->entries().first();
    QCOMPARE(entry.type, ClipboardContentType::text);
    QVERIFY(entry.textContent && entry.textContent->toUtf8() == text);
    QVERIFY(entry.title.startsWith(QLatin1String("BEGIN lorem ipsum")));
    QVERIFY(stalls.longestGapMs() < stallBoundMs);
    xclip.kill();
    xclip.waitForFinished();
}

void TestX11ClipboardMonitor::skipsTextOverTheLimit_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::addRow("20 MB announced as such") << QStringList{};
    // Its INCR header claims 1 KB, so the reader only finds out while the chunks come in.
    QTest::addRow("20 MB announced as 1 KB") << QStringList{"--announce", "1024"};
}

void TestX11ClipboardMonitor::skipsTextOverTheLimit()
{
    QFETCH(QStringList, arguments);

    const QString file = dataFile(QStringLiteral("huge.txt"), textOfSize(20'000'000));
    const qint64 before = m_pasteboard->changeCount();
    StallMeter stalls;
    stalls.start();
    PeerProcess owner(xcbOwnerPeer);
    QVERIFY(owner.start(QStringList{QStringLiteral("--offer"), QStringLiteral("UTF8_STRING=") + file} + arguments));
    QTest::ignoreMessage(
        QtInfoMsg, QRegularExpression(QStringLiteral(
                       "not recording change \\d+: text/plain of at least \\d+ bytes is over the limit")));
    QVERIFY(monitorCaughtUp(before, 3000));
    spinEventLoop(1000);
    const qint64 stall = stalls.stop();
    qInfo("20 MB text skipped; GUI thread held up %lld ms at most", stall);
    QVERIFY(m_store->entries().isEmpty());
    QCOMPARE(m_delegate->publications(), 0);
    QVERIFY(m_delegate->messages.isEmpty());
    QVERIFY2(stall < stallBoundMs, qPrintable(QString::number(stall)));

    QVERIFY(copyAndWaitForEntry(QStringLiteral("small again")));
    QCOMPARE(m_store->entries().size(), 1);
}

void TestX11ClipboardMonitor::silentOwnerDoesNotHoldUpTheNextCopy_data()
{
    QTest::addColumn<int>("nextCopyAfterMs");

    QTest::addRow("next copy while the read waits") << 300;
    QTest::addRow("next copy after the read was given up") << X11ClipboardReader::transferTimeoutMs + 500;
}

void TestX11ClipboardMonitor::silentOwnerDoesNotHoldUpTheNextCopy()
{
    QFETCH(int, nextCopyAfterMs);

    StallMeter stalls;
    stalls.start();
    PeerProcess silent(xcbOwnerPeer);
    QVERIFY(silent.start({QStringLiteral("--silent"), QStringLiteral("--offer"),
                          QStringLiteral("UTF8_STRING=") + dataFile(QStringLiteral("never"), "never sent")}));
    QCOMPARE(silent.readLine(2000), std::optional<QString>(QStringLiteral("request TARGETS")));
    QCOMPARE(silent.readLine(2000), std::optional<QString>(QStringLiteral("request UTF8_STRING")));
    spinEventLoop(nextCopyAfterMs);

    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(copyAndWaitForEntry(QStringLiteral("after the silent owner")));
    const qint64 stall = stalls.stop();
    qInfo("next copy recorded %lld ms after it was made; GUI thread held up %lld ms at most",
          elapsed.elapsed(), stall);
    QVERIFY2(elapsed.elapsed() < X11ClipboardReader::transferTimeoutMs / 2,
             qPrintable(QString::number(elapsed.elapsed())));
    QCOMPARE(m_store->entries().size(), 1);
    QVERIFY2(stall < stallBoundMs, qPrintable(QString::number(stall)));
}

void TestX11ClipboardMonitor::burstEndsWithTheNewestCopy()
{
    PeerProcess copier(clipboardPeer);
    QVERIFY(copier.start({QStringLiteral("--stdin")}));
    copier.writeLine(QStringLiteral("!burst 40 5 burst-"));
    QCOMPARE(copier.readLine(5000), std::optional<QString>(QStringLiteral("burst done")));
    QTRY_VERIFY_WITH_TIMEOUT(!m_store->entries().isEmpty() &&
                                 m_store->entries().first().textContent == QStringLiteral("burst-39"),
                             2000);
    // Earlier copies may be recorded or skipped, but never after the newest.
    spinEventLoop(500);
    QCOMPARE(m_store->entries().first().textContent, std::optional<QString>(QStringLiteral("burst-39")));
    qInfo("%lld of 40 copies recorded", qint64(m_store->entries().size()));
}

HALCY_X11_TEST_MAIN(TestX11ClipboardMonitor)
#include "tst_x11clipboardmonitor.moc"
