#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "Clipboard/PasteService.h"
#include "FakeFrontmostApplication.h"
#include "FakeKeystrokePoster.h"
#include "FakePasteboard.h"
#include "TestEnvironment.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>
#include <QTimer>

namespace {

class RecordingDelegate final : public ClipboardMonitorDelegate
{
public:
    bool enabled = true;
    QList<ClipboardHistoryEntries> published;
    QStringList messages;

    bool isCaptureEnabled() const override { return enabled; }
    void publishEntries(const ClipboardHistoryEntries &entries) override { published.append(entries); }
    void reportStatus(const QString &message) override { messages.append(message); }
};

QByteArray encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QImage sampleImage()
{
    QImage image(7, 5, QImage::Format_RGB32);
    image.fill(QColor(200, 30, 60));
    image.setPixelColor(3, 2, QColor(10, 220, 40));
    return image;
}

const QString plain = QStringLiteral("text/plain");

} // namespace

class TestClipboardMonitor final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void contentPresentAtLaunchIsNotCaptured();
    void capturesACopyAndPublishesTheStoredList();
    void excludedCopiesAreSkippedUnread_data();
    void excludedCopiesAreSkippedUnread();
    void kindPrecedence_data();
    void kindPrecedence();
    void otherImageFormatsAreStoredAsPNG_data();
    void otherImageFormatsAreStoredAsPNG();
    void pngBytesAreStoredUnchanged();
    void copyMadeWhileOffIsNeverCapturedLater();
    void ownerExitIsIgnored();
    void sourceNameFallsBackToUnknown_data();
    void sourceNameFallsBackToUnknown();
    void failedInsertIsReportedAndNotRetried();
    void ownPasteIsNotCaptured();
    void changeNotificationPollsAtOnce();
    void timerCatchesAMissedNotification();
    void startIsIdempotent();
    void answerForAnOlderChangeIsDropped();
    void answerAfterPausingIsDropped();
    void answerAfterTheMonitorIsGoneIsIgnored();
    void oversizeCopiesAreNotRecorded_data();
    void oversizeCopiesAreNotRecorded();
    void textAtTheLimitIsRecorded();

private:
    std::unique_ptr<ClipboardMonitor> makeMonitor();

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<FakePasteboard> m_pasteboard;
    std::unique_ptr<FakeFrontmostApplication> m_frontmost;
    std::unique_ptr<ClipboardStore> m_store;
    RecordingDelegate m_delegate;
};

void TestClipboardMonitor::init()
{
    m_env = std::make_unique<TestEnvironment>();
    m_pasteboard = std::make_unique<FakePasteboard>();
    m_frontmost = std::make_unique<FakeFrontmostApplication>();
    QString error;
    m_store = ClipboardStore::openInMemory(ClipboardStore::defaultHistoryLimit, &error);
    QVERIFY2(m_store, qPrintable(error));
    m_delegate = RecordingDelegate();
}

void TestClipboardMonitor::cleanup()
{
    m_store.reset();
    m_pasteboard.reset();
    m_env.reset();
}

std::unique_ptr<ClipboardMonitor> TestClipboardMonitor::makeMonitor()
{
    return std::make_unique<ClipboardMonitor>(m_pasteboard.get(), m_store.get(), m_frontmost.get(),
                                              &m_delegate);
}

void TestClipboardMonitor::contentPresentAtLaunchIsNotCaptured()
{
    auto monitor = makeMonitor();
    QCOMPARE(monitor->lastChangeCount(), m_pasteboard->changeCount());
    monitor->poll();
    QVERIFY(m_store->entries().isEmpty());
    QVERIFY(m_delegate.published.isEmpty());
    QCOMPARE(m_pasteboard->dataReads(), 0);
}

void TestClipboardMonitor::capturesACopyAndPublishesTheStoredList()
{
    auto monitor = makeMonitor();
    m_pasteboard->copyText(QStringLiteral("  first note  "));
    monitor->poll();
    m_pasteboard->copyText(QStringLiteral("second note"));
    monitor->poll();
    monitor->poll(); // nothing new

    QCOMPARE(m_delegate.published.size(), 2);
    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(m_delegate.published.last(), entries);
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries.at(0).textContent, QStringLiteral("second note"));
    QCOMPARE(entries.at(1).textContent, QStringLiteral("first note"));
    QCOMPARE(entries.at(0).sourceAppName, QStringLiteral("Text Editor"));
    QVERIFY(m_delegate.messages.isEmpty());
}

void TestClipboardMonitor::excludedCopiesAreSkippedUnread_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("value");

    QTest::addRow("own paste marker") << "com.tarnwick.Halcy.SelfGeneratedPaste" << QByteArray("1");
    QTest::addRow("concealed") << "org.nspasteboard.ConcealedType" << QByteArray();
    QTest::addRow("transient") << "org.nspasteboard.TransientType" << QByteArray();
    QTest::addRow("auto-generated") << "org.nspasteboard.AutoGeneratedType" << QByteArray();
    QTest::addRow("password hint secret") << "x-kde-passwordManagerHint" << QByteArray("secret");
    QTest::addRow("password hint 1") << "x-kde-passwordManagerHint" << QByteArray("1");
    QTest::addRow("password hint with any value") << "x-kde-passwordManagerHint" << QByteArray("no");
}

void TestClipboardMonitor::excludedCopiesAreSkippedUnread()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, value);

    auto monitor = makeMonitor();
    // The marker last, so a check that only looks at the first type would miss it.
    m_pasteboard->copy(
        {{plain, "hunter2"}, {QStringLiteral("text/uri-list"), "file:///tmp/vault.kdbx\n"}, {type, value}});
    m_pasteboard->resetDataReads();
    monitor->poll();

    QVERIFY(m_store->entries().isEmpty());
    QVERIFY(m_delegate.published.isEmpty());
    QCOMPARE(m_pasteboard->dataReads(), 0);
    QCOMPARE(m_frontmost->queries(), 0);
    QCOMPARE(monitor->lastChangeCount(), m_pasteboard->changeCount());
}

void TestClipboardMonitor::kindPrecedence_data()
{
    QTest::addColumn<FakePasteboard::Content>("content");
    QTest::addColumn<QString>("kind"); // empty: nothing captured
    QTest::addColumn<QString>("title");

    const QByteArray png = encoded(sampleImage(), "PNG");
    const QString uriList = QStringLiteral("text/uri-list");

    QTest::addRow("files win over their paths as text")
        << FakePasteboard::Content{{uriList, "file:///home/u/report.pdf\r\n"}, {plain, "/home/u/report.pdf"}}
        << "file"
        << "report.pdf";
    QTest::addRow("several files") << FakePasteboard::Content{{uriList,
                                                               "file:///a/one.txt\r\nfile:///a/two.txt\r\n"}}
                                   << "file"
                                   << "2 files";
    QTest::addRow("web addresses in a uri list fall back to text")
        << FakePasteboard::Content{{uriList, "https://example.com/\r\n"}, {plain, "https://example.com/"}}
        << "link"
        << "example.com";
    QTest::addRow("text wins over an image")
        << FakePasteboard::Content{{plain, "caption"}, {QStringLiteral("image/png"), png}} << "text"
        << "caption";
    QTest::addRow("link") << FakePasteboard::Content{{plain, "https://example.org/x"}} << "link"
                          << "example.org";
    QTest::addRow("colour") << FakePasteboard::Content{{plain, "#a1b2c3"}} << "color"
                            << "#A1B2C3";
    QTest::addRow("blank text gives way to an image")
        << FakePasteboard::Content{{plain, " \n "}, {QStringLiteral("image/png"), png}} << "image"
        << "Image";
    QTest::addRow("png image") << FakePasteboard::Content{{QStringLiteral("image/png"), png}} << "image"
                               << "Image";
    QTest::addRow("undecodable tiff gives nothing")
        << FakePasteboard::Content{{QStringLiteral("image/tiff"), "II*\0garbage"}} << ""
        << "";
    QTest::addRow("rich text alone gives nothing")
        << FakePasteboard::Content{{QStringLiteral("text/html"), "<b>bold</b>"}} << ""
        << "";
    QTest::addRow("blank text alone gives nothing") << FakePasteboard::Content{{plain, "   "}} << ""
                                                    << "";
}

void TestClipboardMonitor::kindPrecedence()
{
    QFETCH(FakePasteboard::Content, content);
    QFETCH(QString, kind);
    QFETCH(QString, title);

    auto monitor = makeMonitor();
    m_pasteboard->copy(content);
    monitor->poll();

    const ClipboardHistoryEntries entries = m_store->entries();
    if (kind.isEmpty()) {
        QVERIFY(entries.isEmpty());
        QVERIFY(m_delegate.published.isEmpty());
        QVERIFY(m_delegate.messages.isEmpty());
        return;
    }
    QCOMPARE(entries.size(), 1);
    QCOMPARE(rawValue(entries.first().type), kind);
    QCOMPARE(entries.first().title, title);
}

void TestClipboardMonitor::otherImageFormatsAreStoredAsPNG_data()
{
    QTest::addColumn<QString>("mimeType");
    QTest::addColumn<QByteArray>("format");

    QTest::addRow("tiff") << "image/tiff" << QByteArray("TIFF");
    QTest::addRow("bmp") << "image/bmp" << QByteArray("BMP");
}

void TestClipboardMonitor::otherImageFormatsAreStoredAsPNG()
{
    QFETCH(QString, mimeType);
    QFETCH(QByteArray, format);
    if (!QImageReader::supportedImageFormats().contains(format.toLower()))
        QSKIP("This Qt has no image plugin for the format (Debian: qt6-image-formats-plugins)");

    auto monitor = makeMonitor();
    m_pasteboard->copy({{mimeType, encoded(sampleImage(), format.constData())}});
    monitor->poll();

    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().type, ClipboardContentType::image);
    QCOMPARE(entries.first().imageBookmark,
             QStringLiteral("pasteboard-image-%1").arg(m_pasteboard->changeCount()));
    const std::optional<QByteArray> stored = m_store->imageData(entries.first().id);
    QVERIFY(stored);
    QVERIFY(stored->startsWith("\x89PNG\r\n\x1a\n"));
    QImage decoded;
    QVERIFY(decoded.loadFromData(*stored, "PNG"));
    QCOMPARE(decoded.convertToFormat(QImage::Format_RGB32), sampleImage());
}

void TestClipboardMonitor::pngBytesAreStoredUnchanged()
{
    // Text chunks and the like survive only if the bytes are not re-encoded.
    QImage image = sampleImage();
    image.setText(QStringLiteral("Author"), QStringLiteral("someone"));
    const QByteArray png = encoded(image, "PNG");
    auto monitor = makeMonitor();
    m_pasteboard->copy({{QStringLiteral("image/png"), png}, {QStringLiteral("image/tiff"), "ignored"}});
    monitor->poll();

    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(m_store->imageData(entries.first().id), std::optional<QByteArray>(png));
}

void TestClipboardMonitor::copyMadeWhileOffIsNeverCapturedLater()
{
    auto monitor = makeMonitor();
    m_delegate.enabled = false;
    m_pasteboard->copyText(QStringLiteral("copied while paused"));
    m_pasteboard->resetDataReads();
    monitor->poll();
    QCOMPARE(m_pasteboard->dataReads(), 0);
    QCOMPARE(m_pasteboard->requestCount(), 0);

    m_delegate.enabled = true;
    monitor->poll();
    QVERIFY(m_store->entries().isEmpty());

    m_pasteboard->copyText(QStringLiteral("copied after resuming"));
    monitor->poll();
    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().textContent, QStringLiteral("copied after resuming"));
}

void TestClipboardMonitor::ownerExitIsIgnored()
{
    auto monitor = makeMonitor();
    m_pasteboard->copyText(QStringLiteral("kept"));
    monitor->poll();
    m_pasteboard->ownerExited();
    monitor->poll();

    QCOMPARE(m_store->entries().size(), 1);
    QCOMPARE(m_delegate.published.size(), 1);
    QCOMPARE(monitor->lastChangeCount(), m_pasteboard->changeCount());
}

void TestClipboardMonitor::sourceNameFallsBackToUnknown_data()
{
    QTest::addColumn<QString>("frontmost");
    QTest::addColumn<QString>("expected");

    QTest::addRow("named application") << "Files"
                                       << "Files";
    QTest::addRow("no active window") << ""
                                      << "Unknown";
    QTest::addRow("blank name") << "  "
                                << "Unknown";
}

void TestClipboardMonitor::sourceNameFallsBackToUnknown()
{
    QFETCH(QString, frontmost);
    QFETCH(QString, expected);

    m_frontmost->setName(frontmost);
    auto monitor = makeMonitor();
    m_pasteboard->copyText(QStringLiteral("note"));
    monitor->poll();
    QCOMPARE(m_store->entries().value(0).sourceAppName, expected);
}

void TestClipboardMonitor::failedInsertIsReportedAndNotRetried()
{
    // The store's own SQLite connection: make every insert fail as a full disk would.
    QSqlDatabase database;
    for (const QString &name : QSqlDatabase::connectionNames()) {
        if (QSqlDatabase::database(name, false).isOpen())
            database = QSqlDatabase::database(name, false);
    }
    QVERIFY(database.isOpen());
    QSqlQuery query(database);
    QVERIFY2(query.exec(QStringLiteral("CREATE TEMP TRIGGER refuse BEFORE INSERT ON ClipboardRecord "
                                       "BEGIN SELECT RAISE(ABORT, 'disk full'); END")),
             qPrintable(query.lastError().text()));

    auto monitor = makeMonitor();
    m_pasteboard->copyText(QStringLiteral("lost"));
    monitor->poll();
    QCOMPARE(m_delegate.messages, QStringList{QStringLiteral("Clipboard history could not be saved.")});
    QVERIFY(m_delegate.published.isEmpty());

    QVERIFY(query.exec(QStringLiteral("DROP TRIGGER refuse")));
    monitor->poll();
    QVERIFY(m_store->entries().isEmpty());
    QCOMPARE(m_delegate.messages.size(), 1);
}

void TestClipboardMonitor::ownPasteIsNotCaptured()
{
    FakeKeystrokePoster poster;
    PasteService pasteService(m_pasteboard.get(), &poster);
    auto monitor = makeMonitor();

    ClipboardHistoryEntry entry;
    entry.textContent = QStringLiteral("pasted back");
    QVERIFY(pasteService.write(entry, PasteMode::formatted, std::nullopt));
    m_pasteboard->resetDataReads();
    monitor->poll();

    QVERIFY(m_store->entries().isEmpty());
    QCOMPARE(m_pasteboard->dataReads(), 0);
    QCOMPARE(monitor->lastChangeCount(), m_pasteboard->changeCount());
}

void TestClipboardMonitor::changeNotificationPollsAtOnce()
{
    auto monitor = makeMonitor();
    monitor->start();
    m_pasteboard->copyText(QStringLiteral("right away"));
    // Not within the notification itself: the platform finishes its own handling first.
    QVERIFY(m_delegate.published.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(m_delegate.published.size(), 1);
}

void TestClipboardMonitor::timerCatchesAMissedNotification()
{
    auto monitor = makeMonitor();
    monitor->start();
    m_pasteboard->setEmitsChanged(false);
    m_pasteboard->copyText(QStringLiteral("noticed by the timer"));
    QCoreApplication::processEvents();
    QVERIFY(m_delegate.published.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_delegate.published.size(), 1, 2 * ClipboardMonitor::pollIntervalMs);
}

void TestClipboardMonitor::startIsIdempotent()
{
    auto monitor = makeMonitor();
    monitor->start();
    monitor->start();
    QVERIFY(monitor->isStarted());
    const QList<QTimer *> timers = monitor->findChildren<QTimer *>();
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers.first()->interval(), 450);
    QVERIFY(timers.first()->isActive());
}

void TestClipboardMonitor::answerForAnOlderChangeIsDropped()
{
    auto monitor = makeMonitor();
    m_pasteboard->setAnswersAtOnce(false);
    m_pasteboard->copyText(QStringLiteral("overtaken"));
    monitor->poll();
    m_pasteboard->copyText(QStringLiteral("newest"));
    monitor->poll();
    QCOMPARE(m_pasteboard->heldRequests(), 2);

    m_pasteboard->answerHeldRequests();
    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().textContent, QStringLiteral("newest"));
    QCOMPARE(m_delegate.published.size(), 1);
}

void TestClipboardMonitor::answerAfterPausingIsDropped()
{
    auto monitor = makeMonitor();
    m_pasteboard->setAnswersAtOnce(false);
    m_pasteboard->copyText(QStringLiteral("read while the user paused"));
    monitor->poll();
    m_delegate.enabled = false;
    m_pasteboard->answerHeldRequests();

    QVERIFY(m_store->entries().isEmpty());
    QVERIFY(m_delegate.published.isEmpty());
}

void TestClipboardMonitor::answerAfterTheMonitorIsGoneIsIgnored()
{
    auto monitor = makeMonitor();
    m_pasteboard->setAnswersAtOnce(false);
    m_pasteboard->copyText(QStringLiteral("orphaned"));
    monitor->poll();
    monitor.reset();
    m_pasteboard->answerHeldRequests();

    QVERIFY(m_store->entries().isEmpty());
    QVERIFY(m_delegate.published.isEmpty());
}

void TestClipboardMonitor::oversizeCopiesAreNotRecorded_data()
{
    QTest::addColumn<FakePasteboard::Content>("content");

    const QByteArray overText(PasteboardLimits::maxTextBytes + 1, 'x');
    const QByteArray png = encoded(sampleImage(), "PNG");
    const QString uriList = QStringLiteral("text/uri-list");
    QByteArray overURIList;
    while (overURIList.size() <= PasteboardLimits::maxTextBytes)
        overURIList += "file:///home/u/a-rather-long-file-name-to-fill-the-list-quickly.txt\r\n";

    QTest::addRow("text") << FakePasteboard::Content{{plain, overText}};
    QTest::addRow("text does not give way to its image")
        << FakePasteboard::Content{{plain, overText}, {QStringLiteral("image/png"), png}};
    QTest::addRow("file list does not give way to its text")
        << FakePasteboard::Content{{uriList, overURIList}, {plain, "/home/u/a.txt"}};
    QTest::addRow("png") << FakePasteboard::Content{
        {QStringLiteral("image/png"), QByteArray(PasteboardLimits::maxImageBytes + 1, '\x89')}};
}

void TestClipboardMonitor::oversizeCopiesAreNotRecorded()
{
    QFETCH(FakePasteboard::Content, content);

    auto monitor = makeMonitor();
    m_pasteboard->copy(content);
    // One line in the log, and nothing for the user to see.
    QTest::ignoreMessage(QtInfoMsg,
                         QRegularExpression(QStringLiteral("^not recording change 42: .* over the limit")));
    monitor->poll();
    QVERIFY(m_store->entries().isEmpty());
    QVERIFY(m_delegate.published.isEmpty());
    QVERIFY(m_delegate.messages.isEmpty());

    // Nothing is stuck: the next copy is recorded as usual.
    m_pasteboard->copyText(QStringLiteral("small again"));
    monitor->poll();
    QCOMPARE(m_store->entries().value(0).textContent, QStringLiteral("small again"));
}

void TestClipboardMonitor::textAtTheLimitIsRecorded()
{
    QByteArray text(PasteboardLimits::maxTextBytes, 'y');
    text[0] = 'A';
    auto monitor = makeMonitor();
    m_pasteboard->copy({{plain, text}});
    monitor->poll();

    const ClipboardHistoryEntries entries = m_store->entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().textContent.value_or(QString()).size(), PasteboardLimits::maxTextBytes);
    QVERIFY(entries.first().title.startsWith(QLatin1String("Ayyy")));
}

QTEST_GUILESS_MAIN(TestClipboardMonitor)
#include "tst_clipboardmonitor.moc"
