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

#include <QElapsedTimer>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString xcbOwnerPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/xcb_owner_peer");
using Status = PasteboardContent::Status;

// Nothing here polls: unless told otherwise a read starts only once the pasteboard has announced a change
// since the last read, so a copy, an owner's exit or a transfer the platform fails to report fails the test.
class PendingRead final
{
public:
    explicit PendingRead(Pasteboard &pasteboard, PasteboardRequest request = {}, bool afterChange = true)
    {
        const qint64 read = pasteboard.property("lastReadChange").toLongLong();
        m_announced = !afterChange ||
                      QTest::qWaitFor([&] { return pasteboard.changeCount() > read; }, scaledTimeout(5000));
        pasteboard.setProperty("lastReadChange", pasteboard.changeCount());
        request.changeCount = pasteboard.changeCount();
        // The reader's thread prepares the content; the GUI thread only hands the request over and takes the
        // answer.
        request.prepare = [this](const PasteboardContent &) {
            offTheGuiThread = QThread::currentThread() != qApp->thread();
        };
        pasteboard.requestContent(request, &m_context, [this](const PasteboardContent &content) {
            m_answer = content;
            offTheGuiThread = offTheGuiThread && QThread::currentThread() == qApp->thread();
            ++answers;
        });
    }
    PasteboardContent wait()
    {
        if (m_announced)
            (void)QTest::qWaitFor([&] { return m_answer.has_value(); }, scaledTimeout(10000));
        return m_answer.value_or(PasteboardContent());
    }
    bool offTheGuiThread = false;
    int answers = 0;

private:
    bool m_announced = false;
    QObject m_context;
    std::optional<PasteboardContent> m_answer;
};

} // namespace

class TestX11Pasteboard final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xclip"); }

    // Rows whose arguments start with --offer play the raw X owner, the others the Qt one.
    void readsWhatAnOwnerOffers_data()
    {
        QTest::addColumn<QStringList>("arguments"); // %1: a file holding `data`
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<Status>("status");
        QTest::addColumn<QStringList>("types"); // tooLarge: the type given up; image/png: `data` is read
        QTest::addColumn<QString>("text");      // null: not read
        QTest::addColumn<QStringList>("fileURLs");
        const auto row = [](const char *name, const QStringList &arguments, const QByteArray &data,
                            Status status, const QStringList &types, const QString &text = {},
                            const QStringList &fileURLs = {}) {
            QTest::addRow("%s", name) << arguments << data << status << types << text << fileURLs;
        };
        const QStringList qtImage{"--data", "image/png=%1"};
        const QStringList utf8{"--offer", "UTF8_STRING=%1"};
        const QStringList plain{"text/plain"};
        const Status received = Status::received;

        row("text beside a marker with an empty value",
            {"--text", "s3cret ✓", "--type", "org.nspasteboard.ConcealedType="}, {}, received,
            {"text/plain", "org.nspasteboard.ConcealedType"}, "s3cret ✓");
        row("file list keeps only file URLs and leaves the text unread",
            {"--data", "text/uri-list=%1", "--text", "/tmp/a b.txt"},
            "file:///tmp/a%20b.txt\r\nhttps://example.com/\r\nfile:///tmp/c.txt\r\n", received,
            {"text/uri-list", "text/x-moz-url", "text/plain"}, {},
            {"file:///tmp/a%20b.txt", "file:///tmp/c.txt"});
        row("UTF8_STRING with a byte order mark and a C string terminator", utf8,
            QByteArray("\xef\xbb\xbfna\xc3\xafve \xe2\x9c\x93\0", 15), received, plain, "naïve ✓");
        row("Latin-1 STRING", {"--offer", "STRING=%1"}, "caf\xe9", received, plain, "café");
        row("text/plain with charset", {"--offer", "text/plain;charset=utf-8=%1"}, "\xc3\xa9t\xc3\xa9",
            received, plain, "été");
        QByteArray large(20'000'000, Qt::Uninitialized);
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32 *>(large.data()), large.size() / 4);
        row("20 MB png from a Qt owner, one chunk past its request size", qtImage, large, received,
            {"image/png"});
        row("3 MB of text in 4 KB chunks, size understated in the announcement",
            utf8 + QStringList{"--chunk", "4096", "--announce", "10"}, textOfSize(3'000'000), received, plain,
            QString::fromUtf8(textOfSize(3'000'000)));
        const QByteArray overText(PasteboardLimits::maxTextBytes + 1, 'z');
        row("announced size over the text limit", utf8, overText, Status::tooLarge, plain);
        row("understated size: stopped once past the limit", utf8 + QStringList{"--announce", "1000"},
            overText + QByteArray(4 << 20, 'z'), Status::tooLarge, plain);
        row("png from a Qt owner over the image limit", qtImage,
            QByteArray(PasteboardLimits::maxImageBytes + 1, 'z'), Status::tooLarge, {"image/png"});
    }

    void readsWhatAnOwnerOffers()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, data);
        QFETCH(Status, status);
        QFETCH(QStringList, types);
        QFETCH(QString, text);
        QFETCH(QStringList, fileURLs);
        const bool rawOwner = arguments.constFirst() == QLatin1String("--offer");

        X11Pasteboard pasteboard;
        const QString file = writeFile(m_dir.path(), QStringLiteral("data.bin"), data);
        PeerProcess owner(rawOwner ? xcbOwnerPeer : clipboardPeer);
        QVERIFY(owner.start(arguments.replaceInStrings(QStringLiteral("%1"), file)));
        PendingRead read(pasteboard);
        const PasteboardContent content = read.wait();
        QCOMPARE(content.status, status);
        QVERIFY(read.offTheGuiThread);
        if (status == Status::tooLarge) {
            QCOMPARE(content.oversizeType, types.constFirst());
            QVERIFY(content.oversizeBytes > PasteboardLimits::maxTextBytes);
            QVERIFY(!content.hasPayload());
            // The owner never got to the end of its data.
            if (rawOwner)
                QVERIFY(!owner.stop().contains(QLatin1String("sent ")));
            // The next transfer is not disturbed by the one given up.
            PeerProcess next(clipboardPeer);
            QVERIFY(next.start({QStringLiteral("--text"), QStringLiteral("small after large")}));
            QCOMPARE(PendingRead(pasteboard).wait().text, QByteArray("small after large"));
            return;
        }
        QCOMPARE(content.types, types);
        QVERIFY(content.text == (text.isNull() ? std::nullopt : std::optional<QByteArray>(text.toUtf8())));
        QCOMPARE(QUrl::toStringList(content.fileURLs, QUrl::FullyEncoded), fileURLs);
        QVERIFY(content.imagePNG ==
                (types.contains("image/png") ? std::optional<QByteArray>(data) : std::nullopt));
    }

    void ownWriteIsServedToOthers()
    {
        const QString marker = QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste");
        X11Pasteboard pasteboard;
        QSignalSpy changed(&pasteboard, &Pasteboard::changed);
        auto mime = new QMimeData;
        mime->setData(marker, "1");
        mime->setText(QStringLiteral("written by Halcy ✓"));
        QVERIFY(pasteboard.write(mime));
        QVERIFY(!changed.isEmpty()); // at once, before any round trip to the X server

        QCOMPARE(xclipOutput(), std::optional<QByteArray>(QStringLiteral("written by Halcy ✓").toUtf8()));
        QCOMPARE(xclipOutput(marker), std::optional<QByteArray>("1"));
        // Read back through the reader's own connection, the GUI thread serving it.
        QCOMPARE(PendingRead(pasteboard, {0, &ClipboardMonitor::isExcluded}).wait().status, Status::excluded);

        pasteboard.clear();
        QTRY_COMPARE_WITH_TIMEOUT(xclipOutput(), std::nullopt, scaledTimeout(10000));
    }

    void silentOwnerIsNeitherWaitedForNorAskedForSecrets()
    {
        X11Pasteboard pasteboard;
        // Started first, so that it can take the clipboard back while a read is stuck.
        PeerProcess answering(clipboardPeer);
        QVERIFY(answering.start({QStringLiteral("--stdin")}));
        PeerProcess silent(xcbOwnerPeer);
        QVERIFY(silent.start({"--silent", "--offer",
                              "UTF8_STRING=" + writeFile(m_dir.path(), "never", "never sent"), "--offer",
                              "x-kde-passwordManagerHint=" + writeFile(m_dir.path(), "hint", "secret")}));

        // Had the secret text been asked for, the silent owner would have held this read up.
        QCOMPARE(PendingRead(pasteboard, {0, &ClipboardMonitor::isExcluded}).wait().status, Status::excluded);
        QCOMPARE(silent.readLine(10000).value_or(QString()), QStringLiteral("request TARGETS"));

        QElapsedTimer elapsed;
        elapsed.start();
        PendingRead stuck(pasteboard, {}, false);
        QCOMPARE(silent.readLine(10000).value_or(QString()), QStringLiteral("request TARGETS"));
        QCOMPARE(silent.readLine(10000).value_or(QString()), QStringLiteral("request UTF8_STRING"));
        PendingRead newer(pasteboard, {}, false);
        QCOMPARE(stuck.wait().status, Status::superseded);
        QVERIFY2(elapsed.restart() < X11ClipboardReader::transferTimeoutMs, "held up by the stuck read");
        QCOMPARE(newer.wait().status, Status::unreadable);
        QVERIFY(elapsed.elapsed() >= X11ClipboardReader::transferTimeoutMs - 50);

        // The reader is free again for the next owner, and sees it leave.
        answering.writeLine(QStringLiteral("after the silent owner"));
        QCOMPARE(PendingRead(pasteboard).wait().text, QByteArray("after the silent owner"));
        answering.stop();
        PendingRead left(pasteboard);
        QCOMPARE(left.wait().types, QStringList());
        QCOMPARE(left.wait().status, Status::empty);
        QCOMPARE(stuck.answers + newer.answers + left.answers, 3);
    }

    void monitorEndsABurstWithTheNewestCopy()
    {
        X11Pasteboard pasteboard;
        FakeFrontmostApplication frontmost;
        RecordingMonitorDelegate delegate;
        const auto store = ClipboardStore::openInMemory(ClipboardStore::defaultHistoryLimit);
        ClipboardMonitor monitor(&pasteboard, store.get(), &frontmost, &delegate);
        monitor.setPollIntervalMs(0);
        monitor.start();
        const auto newest = [&] { return store->entries().value(0).textContent.value_or(QString()); };

        PeerProcess copier(clipboardPeer);
        QVERIFY(copier.start({QStringLiteral("--stdin")}));
        copier.writeLine(QStringLiteral("!burst 40 5 burst-"));
        QCOMPARE(copier.readLine(10000).value_or(QString()), QStringLiteral("burst done"));
        QTRY_COMPARE_WITH_TIMEOUT(newest(), QStringLiteral("burst-39"), scaledTimeout(10000));
        // Earlier copies may be recorded or skipped, but never after the newest.
        spinEventLoop(500);
        QCOMPARE(newest(), QStringLiteral("burst-39"));
    }

private:
    QTemporaryDir m_dir;
};

HALCY_X11_TEST_MAIN(TestX11Pasteboard)
#include "tst_x11pasteboard.moc"
