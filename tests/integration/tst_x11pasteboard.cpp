#include "PeerProcess.h"
#include "Platform/X11/X11Pasteboard.h"
#include "X11TestMain.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QWindow>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString marker = QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste");

QByteArray pngBytes()
{
    QImage image(9, 6, QImage::Format_RGB32);
    image.fill(QColor(12, 34, 56));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::optional<QByteArray> xclipOut(const QString &target = QString())
{
    QStringList args{QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard")};
    if (!target.isEmpty())
        args << QStringLiteral("-t") << target;
    const std::optional<ToolResult> result = runTool(QStringLiteral("xclip"), args);
    if (!result || result->exitCode != 0)
        return std::nullopt;
    return result->output;
}

} // namespace

class TestX11Pasteboard final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void foreignCopyIsNoticedQuickly();
    void readsWhatAnotherApplicationOffers_data();
    void readsWhatAnotherApplicationOffers();
    void ownerExitLeavesNoTypes();
    void ownWriteIsServedToOthers();
    void ownWriteOutlivesTheWritersWindow();
    void clearGivesUpTheClipboard();

private:
    QTemporaryDir m_dir;
};

void TestX11Pasteboard::initTestCase()
{
    HALCY_REQUIRE_X11_SESSION();
    if (QStandardPaths::findExecutable(QStringLiteral("xclip")).isEmpty())
        QSKIP("xclip is not installed (scripts/install-deps.sh test)");
    QVERIFY(m_dir.isValid());
}

void TestX11Pasteboard::foreignCopyIsNoticedQuickly()
{
    X11Pasteboard pasteboard;
    QSignalSpy changed(&pasteboard, &Pasteboard::changed);
    const qint64 before = pasteboard.changeCount();

    QProcess xclip;
    QElapsedTimer elapsed;
    elapsed.start();
    xclip.start(QStringLiteral("xclip"),
                {QStringLiteral("-quiet"), QStringLiteral("-selection"), QStringLiteral("clipboard")});
    QVERIFY(xclip.waitForStarted());
    xclip.write("copied by xclip");
    xclip.closeWriteChannel();

    QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, 500);
    qInfo("change seen %lld ms after starting xclip", elapsed.elapsed());
    QVERIFY(changed.count() >= 1);
    QCOMPARE(pasteboard.string(), std::optional<QString>(QStringLiteral("copied by xclip")));
    QVERIFY(pasteboard.types().contains(QStringLiteral("text/plain")));

    xclip.kill();
    xclip.waitForFinished();
}

void TestX11Pasteboard::readsWhatAnotherApplicationOffers_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("expectedTypes");
    QTest::addColumn<QString>("text"); // "-": no plain text on offer
    QTest::addColumn<QStringList>("fileURLs");
    QTest::addColumn<QString>("dataType");
    QTest::addColumn<QByteArray>("dataValue");

    QTest::addRow("text with a password hint")
        << QStringList{"--text", "s3cret ✓", "--type", "x-kde-passwordManagerHint=secret"}
        << QStringList{"text/plain", "x-kde-passwordManagerHint"} << "s3cret ✓" << QStringList{}
        << "x-kde-passwordManagerHint" << QByteArray("secret");
    QTest::addRow("concealed marker with empty value")
        << QStringList{"--text", "pin 1234", "--type", "org.nspasteboard.ConcealedType="}
        << QStringList{"text/plain", "org.nspasteboard.ConcealedType"} << "pin 1234" << QStringList{}
        << "org.nspasteboard.ConcealedType" << QByteArray();
    QTest::addRow("file list keeps only file URLs")
        << QStringList{"--uri-list", "file:///tmp/a%20b.txt", "--uri-list", "https://example.com/",
                       "--uri-list", "file:///tmp/c.txt",     "--text",     "/tmp/a b.txt"}
        << QStringList{"text/uri-list", "text/plain"} << "/tmp/a b.txt"
        << QStringList{"file:///tmp/a%20b.txt", "file:///tmp/c.txt"} << QString() << QByteArray();
    QTest::addRow("png without text")
        << QStringList{"--data", "image/png=" + m_dir.filePath("in.png")} << QStringList{"image/png"} << "-"
        << QStringList{} << "image/png" << pngBytes();
}

void TestX11Pasteboard::readsWhatAnotherApplicationOffers()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, expectedTypes);
    QFETCH(QString, text);
    QFETCH(QStringList, fileURLs);
    QFETCH(QString, dataType);
    QFETCH(QByteArray, dataValue);

    {
        QFile png(m_dir.filePath("in.png"));
        QVERIFY(png.open(QIODevice::WriteOnly));
        png.write(pngBytes());
    }

    X11Pasteboard pasteboard;
    const qint64 before = pasteboard.changeCount();
    PeerProcess peer(clipboardPeer);
    QVERIFY2(peer.start(arguments), qPrintable(peer.errorOutput()));
    QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, 2000);

    const QStringList types = pasteboard.types();
    for (const QString &type : expectedTypes)
        QVERIFY2(types.contains(type), qPrintable(types.join(QLatin1Char(' '))));
    for (const char *protocol : {"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS"})
        QVERIFY2(!types.contains(QLatin1String(protocol)), protocol);

    if (text == QLatin1String("-"))
        QCOMPARE(pasteboard.string(), std::nullopt);
    else
        QCOMPARE(pasteboard.string(), std::optional<QString>(text));

    QStringList urls;
    for (const QUrl &url : pasteboard.fileURLs())
        urls.append(url.toString(QUrl::FullyEncoded));
    QCOMPARE(urls, fileURLs);

    if (!dataType.isEmpty())
        QCOMPARE(pasteboard.data(dataType), std::optional<QByteArray>(dataValue));
    QCOMPARE(pasteboard.data(QStringLiteral("application/x-not-offered")), std::nullopt);
}

void TestX11Pasteboard::ownerExitLeavesNoTypes()
{
    X11Pasteboard pasteboard;
    PeerProcess peer(clipboardPeer);
    QVERIFY(peer.start({QStringLiteral("--text"), QStringLiteral("short-lived")}));
    QTRY_COMPARE_WITH_TIMEOUT(pasteboard.string(), std::optional<QString>(QStringLiteral("short-lived")),
                              2000);

    QSignalSpy changed(&pasteboard, &Pasteboard::changed);
    const qint64 before = pasteboard.changeCount();
    peer.stop();
    QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, 2000);
    QVERIFY(changed.count() >= 1);
    QCOMPARE(pasteboard.types(), QStringList());
    QCOMPARE(pasteboard.string(), std::nullopt);
}

void TestX11Pasteboard::ownWriteIsServedToOthers()
{
    X11Pasteboard pasteboard;
    QSignalSpy changed(&pasteboard, &Pasteboard::changed);
    const qint64 before = pasteboard.changeCount();

    auto mime = new QMimeData;
    mime->setData(marker, "1");
    mime->setText(QStringLiteral("written by Halcy ✓"));
    QVERIFY(pasteboard.write(mime));
    QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, 1000);
    QVERIFY(changed.count() >= 1);

    QCOMPARE(xclipOut(), std::optional<QByteArray>(QStringLiteral("written by Halcy ✓").toUtf8()));
    const std::optional<QByteArray> targets = xclipOut(QStringLiteral("TARGETS"));
    QVERIFY(targets);
    const QByteArrayList targetList = targets->split('\n');
    QVERIFY2(targetList.contains(marker.toLatin1()), targets->constData());
    QCOMPARE(xclipOut(marker), std::optional<QByteArray>("1"));
    // Our own write reads back through the same interface the monitor uses.
    QVERIFY(pasteboard.types().contains(marker));
}

void TestX11Pasteboard::ownWriteOutlivesTheWritersWindow()
{
    X11Pasteboard pasteboard;
    {
        QWindow window;
        window.resize(200, 100);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto mime = new QMimeData;
        mime->setData(marker, "1");
        mime->setText(QStringLiteral("after the window"));
        QVERIFY(pasteboard.write(mime));
    }
    spinEventLoop(200);
    QCOMPARE(xclipOut(), std::optional<QByteArray>("after the window"));
}

void TestX11Pasteboard::clearGivesUpTheClipboard()
{
    X11Pasteboard pasteboard;
    auto mime = new QMimeData;
    mime->setText(QStringLiteral("to be cleared"));
    QVERIFY(pasteboard.write(mime));
    QCOMPARE(xclipOut(), std::optional<QByteArray>("to be cleared"));

    const qint64 before = pasteboard.changeCount();
    pasteboard.clear();
    QTRY_VERIFY_WITH_TIMEOUT(pasteboard.changeCount() > before, 1000);
    QCOMPARE(xclipOut(), std::nullopt);
}

HALCY_X11_TEST_MAIN(TestX11Pasteboard)
#include "tst_x11pasteboard.moc"
