#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "DesktopTools.h"
#include "FakeFrontmostApplication.h"
#include "PeerProcess.h"
#include "Platform/X11/X11ClipboardReader.h"
#include "Platform/X11/X11Pasteboard.h"
#include "RecordingMonitorDelegate.h"
#include "SampleContent.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString xcbOwnerPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/xcb_owner_peer");
const QString marker = QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste");
using Status = PasteboardContent::Status;

// Nothing in these tests polls: a read starts once the pasteboard has announced a change it has not read
// yet, so a copy, an owner's exit or a large transfer the platform fails to report fails the test.
bool awaitAnnouncedChange(Pasteboard &pasteboard)
{
    const qint64 read = pasteboard.property("lastReadChange").toLongLong();
    const bool announced =
        QTest::qWaitFor([&] { return pasteboard.changeCount() > read; }, scaledTimeout(5000));
    pasteboard.setProperty("lastReadChange", pasteboard.changeCount());
    if (!announced)
        qWarning("no clipboard change was announced since the last read");
    return announced;
}

// Asks for the content and keeps the event loop running until the answer is in; notes the threads that
// read and answered.
class PendingRead final
{
public:
    PendingRead(Pasteboard &pasteboard, PasteboardRequest request = {})
        : m_announced(awaitAnnouncedChange(pasteboard))
    {
        request.prepare = [this](const PasteboardContent &) { m_readingThread = QThread::currentThread(); };
        pasteboard.requestContent(request, &m_context, [this](const PasteboardContent &content) {
            m_answer = content;
            m_answeringThread = QThread::currentThread();
            ++m_answers;
        });
    }
    // The GUI thread only hands the request over and takes the answer.
    bool readOffTheGuiThread() const
    {
        return m_readingThread && m_readingThread != QThread::currentThread() &&
               m_answeringThread == QThread::currentThread();
    }
    std::optional<PasteboardContent> wait(int timeoutMs = 10000)
    {
        if (!m_announced)
            return std::nullopt;
        const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
        while (!m_answer && !deadline.hasExpired())
            spinEventLoop(2);
        return m_answer;
    }
    int answers() const { return m_answers; }

private:
    bool m_announced;
    QObject m_context;
    QThread *m_readingThread = nullptr;
    QThread *m_answeringThread = nullptr;
    std::optional<PasteboardContent> m_answer;
    int m_answers = 0;
};

std::optional<PasteboardContent> readContent(Pasteboard &pasteboard, PasteboardRequest request = {})
{
    return PendingRead(pasteboard, std::move(request)).wait();
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(7);
    generator.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    return bytes;
}

} // namespace

class TestX11Pasteboard final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION("xclip");
        QVERIFY(m_dir.isValid());
    }

    void readsWhatAnotherApplicationOffers_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("expectedTypes");
        QTest::addColumn<QString>("text"); // "-": not read
        QTest::addColumn<QStringList>("fileURLs");
        QTest::addColumn<QByteArray>("image");

        QTest::addRow("text beside a marker with an empty value")
            << QStringList{"--text", "s3cret ✓", "--type", "org.nspasteboard.ConcealedType="}
            << QStringList{"text/plain", "org.nspasteboard.ConcealedType"} << "s3cret ✓" << QStringList{}
            << QByteArray();
        QTest::addRow("file list keeps only file URLs and leaves the text unread")
            << QStringList{"--uri-list", "file:///tmp/a%20b.txt", "--uri-list", "https://example.com/",
                           "--uri-list", "file:///tmp/c.txt",     "--text",     "/tmp/a b.txt"}
            << QStringList{"text/uri-list", "text/plain"} << "-"
            << QStringList{"file:///tmp/a%20b.txt", "file:///tmp/c.txt"} << QByteArray();
        QTest::addRow("png without text")
            << QStringList{"--data", "image/png=" + m_dir.filePath("in.png")} << QStringList{"image/png"}
            << "-" << QStringList{} << encodedImage();
    }

    void readsWhatAnotherApplicationOffers()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, expectedTypes);
        QFETCH(QString, text);
        QFETCH(QStringList, fileURLs);
        QFETCH(QByteArray, image);

        QVERIFY(!writeFile(QStringLiteral("in.png"), encodedImage()).isEmpty());

        X11Pasteboard pasteboard;
        const qint64 before = pasteboard.changeCount();
        PeerProcess peer(clipboardPeer);
        QVERIFY2(peer.start(arguments), qPrintable(peer.errorOutput()));
        QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, scaledTimeout(10000));

        PasteboardRequest request;
        request.changeCount = pasteboard.changeCount();
        PendingRead read(pasteboard, request);
        const std::optional<PasteboardContent> content = read.wait();
        QVERIFY(content);
        QVERIFY(read.readOffTheGuiThread());
        QCOMPARE(content->status, Status::received);
        QCOMPARE(content->changeCount, request.changeCount);
        for (const QString &type : expectedTypes)
            QVERIFY2(content->types.contains(type), qPrintable(content->types.join(QLatin1Char(' '))));
        for (const char *protocol : {"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "UTF8_STRING"})
            QVERIFY2(!content->types.contains(QLatin1String(protocol)), protocol);

        if (text == QLatin1String("-"))
            QCOMPARE(content->text, std::nullopt);
        else
            QCOMPARE(content->text, std::optional<QString>(text));
        QStringList urls;
        for (const QUrl &url : content->fileURLs)
            urls.append(url.toString(QUrl::FullyEncoded));
        QCOMPARE(urls, fileURLs);
        QCOMPARE(content->imagePNG, image.isEmpty() ? std::nullopt : std::optional<QByteArray>(image));
    }

    void decodesTextTargets_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");

        QTest::addRow("UTF8_STRING") << "UTF8_STRING" << QByteArray("na\xc3\xafve \xe2\x9c\x93") << "naïve ✓";
        QTest::addRow("Latin-1 STRING") << "STRING" << QByteArray("caf\xe9") << "café";
        QTest::addRow("text/plain with charset")
            << "text/plain;charset=utf-8" << QByteArray("\xc3\xa9t\xc3\xa9") << "été";
        QTest::addRow("C string terminator dropped")
            << "UTF8_STRING" << QByteArray("ends here\0", 10) << "ends here";
    }

    void decodesTextTargets()
    {
        QFETCH(QString, target);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);

        X11Pasteboard pasteboard;
        const QString file = writeFile(QStringLiteral("text.bin"), bytes);
        PeerProcess owner(xcbOwnerPeer);
        QVERIFY2(owner.start({QStringLiteral("--offer"), target + QLatin1Char('=') + file}),
                 qPrintable(owner.errorOutput()));
        const std::optional<PasteboardContent> content = readContent(pasteboard);
        QVERIFY(content);
        QCOMPARE(content->types, QStringList{QStringLiteral("text/plain")});
        QCOMPARE(content->text, std::optional<QString>(text));
    }

    void ownerExitLeavesNoTypes()
    {
        X11Pasteboard pasteboard;
        PeerProcess peer(clipboardPeer);
        QVERIFY(peer.start({QStringLiteral("--text"), QStringLiteral("short-lived")}));
        QCOMPARE(readContent(pasteboard).value_or(PasteboardContent()).text,
                 std::optional<QString>(QStringLiteral("short-lived")));

        QSignalSpy changed(&pasteboard, &Pasteboard::changed);
        const qint64 before = pasteboard.changeCount();
        peer.stop();
        QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, scaledTimeout(10000));
        QVERIFY(changed.count() >= 1);
        const std::optional<PasteboardContent> content = readContent(pasteboard);
        QVERIFY(content);
        QCOMPARE(content->status, Status::empty);
        QCOMPARE(content->types, QStringList());
        QVERIFY(!content->hasPayload());
    }

    void ownWriteIsServedToOthers()
    {
        X11Pasteboard pasteboard;
        QSignalSpy changed(&pasteboard, &Pasteboard::changed);
        const qint64 before = pasteboard.changeCount();

        auto mime = new QMimeData;
        mime->setData(marker, "1");
        mime->setText(QStringLiteral("written by Halcy ✓"));
        QVERIFY(pasteboard.write(mime));
        // Moves at once, before any round trip to the X server.
        QVERIFY(pasteboard.changeCount() > before);
        QVERIFY(changed.count() >= 1);

        QCOMPARE(xclipOutput(), std::optional<QByteArray>(QStringLiteral("written by Halcy ✓").toUtf8()));
        const std::optional<QByteArray> targets = xclipOutput(QStringLiteral("TARGETS"));
        QVERIFY(targets);
        const QByteArrayList targetList = targets->split('\n');
        QVERIFY2(targetList.contains(marker.toLatin1()), targets->constData());
        QCOMPARE(xclipOutput(marker), std::optional<QByteArray>("1"));
        // Our own write reads back through the reader's own connection, the GUI thread serving it.
        PasteboardRequest request;
        request.isExcluded = &ClipboardMonitor::isExcluded;
        const std::optional<PasteboardContent> content = readContent(pasteboard, request);
        QVERIFY(content);
        QVERIFY(content->types.contains(marker));
        QCOMPARE(content->status, Status::excluded);

        // Clearing gives the clipboard up.
        const qint64 beforeClear = pasteboard.changeCount();
        pasteboard.clear();
        QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > beforeClear, scaledTimeout(10000));
        QCOMPARE(xclipOutput(), std::nullopt);
    }

    void excludedContentIsNeverRequested()
    {
        X11Pasteboard pasteboard;
        // Silent for data: had the text been requested, the read would hang until the transfer timeout.
        PeerProcess owner(xcbOwnerPeer);
        QVERIFY(owner.start({QStringLiteral("--silent"), QStringLiteral("--offer"),
                             QStringLiteral("UTF8_STRING=") + writeFile("secret", "hunter2"),
                             QStringLiteral("--offer"),
                             QStringLiteral("x-kde-passwordManagerHint=") + writeFile("hint", "secret")}));

        PasteboardRequest request;
        request.isExcluded = &ClipboardMonitor::isExcluded;
        const std::optional<PasteboardContent> content = readContent(pasteboard, request);
        QVERIFY(content);
        QCOMPARE(content->status, Status::excluded);
        QCOMPARE(owner.stop().trimmed(), QStringLiteral("request TARGETS"));
    }

    void largeTransfers_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("extraArguments");
        QTest::addColumn<Status>("status");

        QTest::addRow("20 MB png from a Qt owner, one chunk past its request size")
            << clipboardPeer << "image/png" << randomBytes(20'000'000) << QStringList{} << Status::received;
        QTest::addRow("3 MB of text in 4 KB chunks") << xcbOwnerPeer << "UTF8_STRING" << textOfSize(3'000'000)
                                                     << QStringList{"--chunk", "4096"} << Status::received;
        QTest::addRow("size understated in the announcement")
            << xcbOwnerPeer << "UTF8_STRING" << textOfSize(2'000'000) << QStringList{"--announce", "10"}
            << Status::received;
        const QByteArray overText(PasteboardLimits::maxTextBytes + 1, 'z');
        QTest::addRow("announced size over the text limit")
            << xcbOwnerPeer << "UTF8_STRING" << overText << QStringList{} << Status::tooLarge;
        QTest::addRow("understated size: stopped once past the limit")
            << xcbOwnerPeer << "UTF8_STRING" << overText + QByteArray(4 * 1024 * 1024, 'z')
            << QStringList{"--announce", "1000"} << Status::tooLarge;
        QTest::addRow("png from a Qt owner over the image limit")
            << clipboardPeer << "image/png" << QByteArray(PasteboardLimits::maxImageBytes + 1, 'z')
            << QStringList{} << Status::tooLarge;
    }

    void largeTransfers()
    {
        QFETCH(QString, program);
        QFETCH(QString, target);
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, extraArguments);
        QFETCH(Status, status);

        X11Pasteboard pasteboard;
        const QString file = writeFile(QStringLiteral("large.bin"), bytes);
        QVERIFY(!file.isEmpty());
        PeerProcess owner(program);
        const QString option =
            program == clipboardPeer ? QStringLiteral("--data") : QStringLiteral("--offer");
        QVERIFY(owner.start(QStringList{option, target + QLatin1Char('=') + file} + extraArguments));

        const std::optional<PasteboardContent> content = readContent(pasteboard);
        QVERIFY(content);
        QCOMPARE(content->status, status);
        const bool image = target.startsWith(QLatin1String("image/"));
        if (status == Status::received) {
            QVERIFY((image ? content->imagePNG.value_or(QByteArray())
                           : content->text.value_or(QString()).toUtf8()) == bytes);
            return;
        }
        QCOMPARE(content->oversizeType, image ? target : QStringLiteral("text/plain"));
        QVERIFY(content->oversizeBytes >
                (image ? PasteboardLimits::maxImageBytes : PasteboardLimits::maxTextBytes));
        QVERIFY(!content->hasPayload());
        // The owner never got to the end of its data.
        if (program == xcbOwnerPeer)
            QVERIFY(!owner.stop().contains(QLatin1String("sent ")));

        // The next transfer is not disturbed by the one given up.
        PeerProcess next(clipboardPeer);
        QVERIFY(next.start({QStringLiteral("--text"), QStringLiteral("small after large")}));
        QCOMPARE(readContent(pasteboard).value_or(PasteboardContent()).text,
                 std::optional<QString>(QStringLiteral("small after large")));
    }

    void silentOwnerIsGivenUp()
    {
        X11Pasteboard pasteboard;
        PeerProcess owner(xcbOwnerPeer);
        QVERIFY(owner.start({QStringLiteral("--silent"), QStringLiteral("--offer"),
                             QStringLiteral("UTF8_STRING=") + writeFile("never", "never sent")}));

        QElapsedTimer elapsed;
        elapsed.start();
        const std::optional<PasteboardContent> content = readContent(pasteboard);
        QVERIFY(content);
        QCOMPARE(content->status, Status::unreadable);
        QVERIFY(elapsed.elapsed() >= X11ClipboardReader::transferTimeoutMs - 50);

        // The reader is free again for the next owner.
        PeerProcess next(clipboardPeer);
        QVERIFY(next.start({QStringLiteral("--text"), QStringLiteral("after the silent owner")}));
        QCOMPARE(readContent(pasteboard).value_or(PasteboardContent()).text,
                 std::optional<QString>(QStringLiteral("after the silent owner")));
    }

    void newerRequestSupersedesOneInProgress()
    {
        X11Pasteboard pasteboard;
        // Started first, so that it can take the clipboard back at once while the read below is stuck.
        PeerProcess answering(clipboardPeer);
        QVERIFY(answering.start({QStringLiteral("--stdin")}));
        PeerProcess silent(xcbOwnerPeer);
        QVERIFY(silent.start({QStringLiteral("--silent"), QStringLiteral("--offer"),
                              QStringLiteral("UTF8_STRING=") + writeFile("never", "never sent")}));
        QElapsedTimer elapsed;
        elapsed.start();
        PendingRead stuck(pasteboard);
        QVERIFY(silent.readLine(10000) == QStringLiteral("request TARGETS"));
        QVERIFY(silent.readLine(10000) == QStringLiteral("request UTF8_STRING"));

        answering.writeLine(QStringLiteral("the newer copy"));
        QVERIFY(answering.readLine(10000).value_or(QString()).startsWith(QLatin1String("copied ")));
        PendingRead newer(pasteboard);
        const std::optional<PasteboardContent> second = newer.wait();
        QVERIFY(second);
        QCOMPARE(second->text, std::optional<QString>(QStringLiteral("the newer copy")));
        // Not held up until the silent owner's transfer would have been given up.
        QVERIFY2(elapsed.elapsed() < X11ClipboardReader::transferTimeoutMs,
                 qPrintable(QString::number(elapsed.elapsed())));
        const std::optional<PasteboardContent> first = stuck.wait();
        QVERIFY(first);
        QCOMPARE(first->status, Status::superseded);
        spinEventLoop(100);
        QCOMPARE(stuck.answers(), 1);
        QCOMPARE(newer.answers(), 1);
    }

    void monitorEndsABurstWithTheNewestCopy()
    {
        X11Pasteboard pasteboard;
        FakeFrontmostApplication frontmost;
        RecordingMonitorDelegate delegate;
        std::unique_ptr<ClipboardStore> store =
            ClipboardStore::openInMemory(ClipboardStore::defaultHistoryLimit);
        QVERIFY(store);
        ClipboardMonitor monitor(&pasteboard, store.get(), &frontmost, &delegate);
        monitor.setPollIntervalMs(0);
        monitor.start();
        const auto newest = [&] { return store->entries().value(0).textContent.value_or(QString()); };

        PeerProcess copier(clipboardPeer);
        QVERIFY(copier.start({QStringLiteral("--stdin")}));
        copier.writeLine(QStringLiteral("!burst 40 5 burst-"));
        QCOMPARE(copier.readLine(10000), std::optional<QString>(QStringLiteral("burst done")));
        QTRY_COMPARE_WITH_TIMEOUT(newest(), QStringLiteral("burst-39"), scaledTimeout(10000));
        // Earlier copies may be recorded or skipped, but never after the newest.
        spinEventLoop(500);
        QCOMPARE(newest(), QStringLiteral("burst-39"));
        qInfo("%lld of 40 copies recorded", qint64(store->entries().size()));
    }

private:
    QString writeFile(const QString &name, const QByteArray &bytes)
    {
        return ::writeFile(m_dir.path(), name, bytes);
    }

    QTemporaryDir m_dir;
};

HALCY_X11_TEST_MAIN(TestX11Pasteboard)
#include "tst_x11pasteboard.moc"
