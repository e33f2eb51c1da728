#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "Clipboard/PasteService.h"
#include "PeerProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "TestEnvironment.h"
#include "X11TestMain.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString textFieldPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer");

class RecordingDelegate final : public ClipboardMonitorDelegate
{
public:
    int publications = 0;
    QStringList messages;

    bool isCaptureEnabled() const override { return true; }
    void publishEntries(const ClipboardHistoryEntries &) override { ++publications; }
    void reportStatus(const QString &message) override { messages.append(message); }
};

QImage sampleImage()
{
    QImage image(16, 9, QImage::Format_RGB32);
    image.fill(QColor(250, 120, 0));
    image.setPixelColor(4, 4, Qt::blue);
    return image;
}

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

private:
    QString imageFile(const char *format);

    std::unique_ptr<TestEnvironment> m_env;
    QTemporaryDir m_dir;
    std::unique_ptr<X11Pasteboard> m_pasteboard;
    std::unique_ptr<X11FrontmostApplication> m_frontmost;
    std::unique_ptr<ClipboardStore> m_store;
    std::unique_ptr<RecordingDelegate> m_delegate;
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
    m_delegate = std::make_unique<RecordingDelegate>();
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

void TestX11ClipboardMonitor::recordsCopiesOfOtherApplications_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("title");

    QTest::addRow("text") << QStringList{"--text", "meeting notes, 3rd floor"} << "text"
                          << "meeting notes, 3rd floor";
    QTest::addRow("link") << QStringList{"--text", "https://example.org/page?id=4"} << "link"
                          << "example.org";
    QTest::addRow("colour") << QStringList{"--text", "#00ff7f"} << "color"
                            << "#00FF7F";
    QTest::addRow("file list with paths as text")
        << QStringList{"--uri-list", "file:///tmp/a.txt",       "--uri-list", "file:///tmp/b%20c.txt",
                       "--text",     "/tmp/a.txt\n/tmp/b c.txt"}
        << "file"
        << "2 files";
    QTest::addRow("png") << QStringList{"--data", "image/png=" + imageFile("PNG")} << "image"
                         << "Image";
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
    QCOMPARE(rawValue(entry.type), kind);
    QCOMPARE(entry.title, title);
    QCOMPARE(m_delegate->publications, 1);
    if (entry.type == ClipboardContentType::image) {
        QImage stored;
        QVERIFY(stored.loadFromData(m_store->imageData(entry.id).value_or(QByteArray()), "PNG"));
        QCOMPARE(stored.convertToFormat(QImage::Format_RGB32), sampleImage());
    }

    // The owner leaving empties the clipboard; that is no new entry.
    const qint64 before = m_pasteboard->changeCount();
    peer.stop();
    QTRY_VERIFY_WITH_TIMEOUT(m_pasteboard->changeCount() > before &&
                                 m_monitor->lastChangeCount() == m_pasteboard->changeCount(),
                             2000);
    QCOMPARE(m_store->entries().size(), 1);
}

void TestX11ClipboardMonitor::skipsMarkedCopies_data()
{
    QTest::addColumn<QString>("type");

    QTest::addRow("concealed") << "org.nspasteboard.ConcealedType=";
    QTest::addRow("transient") << "org.nspasteboard.TransientType=";
    QTest::addRow("auto-generated") << "org.nspasteboard.AutoGeneratedType=";
    QTest::addRow("password hint secret") << "x-kde-passwordManagerHint=secret";
    QTest::addRow("password hint 1") << "x-kde-passwordManagerHint=1";
    QTest::addRow("own paste marker") << "com.tarnwick.Halcy.SelfGeneratedPaste=1";
}

void TestX11ClipboardMonitor::skipsMarkedCopies()
{
    QFETCH(QString, type);

    PeerProcess peer(clipboardPeer);
    QVERIFY2(peer.start({QStringLiteral("--text"), QStringLiteral("correct horse battery"),
                         QStringLiteral("--type"), type}),
             qPrintable(peer.errorOutput()));
    const QString typeName = type.section(QLatin1Char('='), 0, 0);
    // Wait until the monitor has dealt with this very copy, then make sure nothing came of it.
    QTRY_VERIFY_WITH_TIMEOUT(m_pasteboard->types().contains(typeName) &&
                                 m_monitor->lastChangeCount() == m_pasteboard->changeCount(),
                             2000);
    spinEventLoop(ClipboardMonitor::pollIntervalMs + 50);
    QVERIFY(m_store->entries().isEmpty());
    QCOMPARE(m_delegate->publications, 0);
}

void TestX11ClipboardMonitor::skipsItsOwnPaste()
{
    X11KeystrokePoster poster;
    PasteService pasteService(m_pasteboard.get(), &poster);
    ClipboardHistoryEntry entry;
    entry.textContent = QStringLiteral("from the history");
    const qint64 before = m_pasteboard->changeCount();
    QVERIFY(pasteService.write(entry, PasteMode::formatted, std::nullopt));

    QTRY_VERIFY_WITH_TIMEOUT(m_pasteboard->changeCount() > before &&
                                 m_monitor->lastChangeCount() == m_pasteboard->changeCount(),
                             2000);
    spinEventLoop(ClipboardMonitor::pollIntervalMs + 50);
    QVERIFY(m_store->entries().isEmpty());
    // It is on the clipboard all the same, for other programs to paste.
    const std::optional<ToolResult> xclip =
        runTool(QStringLiteral("xclip"),
                {QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard")});
    if (xclip)
        QCOMPARE(xclip->output, QByteArray("from the history"));
}

void TestX11ClipboardMonitor::recordsTheActiveApplicationAsSource()
{
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
        QSKIP("xdotool is not installed");
    PeerProcess window(textFieldPeer);
    QVERIFY(window.start({QStringLiteral("--class"), QStringLiteral("HalcyNotepad")}));
    const std::optional<ToolResult> activated =
        runTool(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                                            window.readyLine().section(QLatin1Char(' '), 1, 1)});
    QVERIFY(activated && activated->exitCode == 0);

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

HALCY_X11_TEST_MAIN(TestX11ClipboardMonitor)
#include "tst_x11clipboardmonitor.moc"
