#include "DesktopTools.h"
#include "HalcyProcess.h"
#include "PeerProcess.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");

// One row of the history database as another program reads it.
struct StoredRecord
{
    QString id;
    QString title;
    QString type;
    qint64 timestamp = 0;
    QString text;
    QStringList files;
    QByteArray image;
};

QString historyFile(const HalcyProcess &halcy)
{
    return halcy.dataHome() + QStringLiteral("/Halcy/history.sqlite");
}

// Newest first. Opened read-only beside the running app, the way a backup tool would.
QList<StoredRecord> readHistory(const QString &path)
{
    QList<StoredRecord> records;
    if (!QFileInfo::exists(path))
        return records;
    static int connections = 0;
    const QString name = QStringLiteral("history-reader-%1").arg(++connections);
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=2000"));
        db.setDatabaseName(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) + QStringLiteral("?mode=ro"));
        if (db.open()) {
            QSqlQuery query(db);
            if (query.exec(QStringLiteral("SELECT id, title, typeRawValue, timestamp, textContent, "
                                          "fileURLStrings, imageData FROM ClipboardRecord "
                                          "ORDER BY timestamp DESC, rowid DESC"))) {
                while (query.next()) {
                    StoredRecord record;
                    record.id = query.value(0).toString();
                    record.title = query.value(1).toString();
                    record.type = query.value(2).toString();
                    record.timestamp = query.value(3).toLongLong();
                    record.text = query.value(4).toString();
                    for (const QJsonValue &url : QJsonDocument::fromJson(query.value(5).toByteArray()).array())
                        record.files << url.toString();
                    record.image = query.value(6).toByteArray();
                    records << record;
                }
            } else {
                qWarning() << "history query failed:" << query.lastError().text();
            }
        } else {
            qWarning() << "history open failed:" << db.lastError().text();
        }
    }
    QSqlDatabase::removeDatabase(name);
    return records;
}

QList<StoredRecord> recordsWithText(const QList<StoredRecord> &records, const QString &text)
{
    QList<StoredRecord> found;
    for (const StoredRecord &record : records) {
        if (record.text == text)
            found << record;
    }
    return found;
}

// The hub is halcy's only 344 × 560 window.
bool hubIsShown()
{
    const std::optional<ToolResult> ids =
        runTool(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                            QStringLiteral("--class"), QStringLiteral("halcy")});
    if (!ids)
        return false;
    for (const QByteArray &id : ids->output.split('\n')) {
        if (id.trimmed().isEmpty())
            continue;
        const std::optional<ToolResult> info =
            runTool(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::fromLatin1(id.trimmed())});
        if (info && info->output.contains("Width: 344") && info->output.contains("Height: 560"))
            return true;
    }
    return false;
}

} // namespace

// The clipboard history end to end: other programs copy while the real binary runs, and the history
// database on disk is checked from outside.
class TestHalcyHistory final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void copiesLandAsTheirKind_data();
    void copiesLandAsTheirKind();
    void markedCopiesNeverLand_data();
    void markedCopiesNeverLand();
    void copyingAgainMovesTheRecordToTheTop();
    void clipboardOutlivesItsOwner_data();
    void clipboardOutlivesItsOwner();
    void historySurvivesQuitAndRestart();
    void unreadableHistoryFileIsLeftAsItIs_data();
    void unreadableHistoryFileIsLeftAsItIs();

private:
    // Another program copies with these clipboard_peer arguments and keeps the clipboard until told.
    std::unique_ptr<PeerProcess> copy(const QStringList &arguments);

    QTemporaryDir m_files;
    std::unique_ptr<HalcyProcess> m_halcy;
};

void TestHalcyHistory::initTestCase()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        QSKIP("needs the desktop session of scripts/desktop-session.sh");
    for (const char *tool : {"xdotool", "xwininfo"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (scripts/install-deps.sh test)").arg(tool)));
    }
    QVERIFY(QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE")));
    QVERIFY(sampleImage().save(m_files.filePath(QStringLiteral("sample.png")), "PNG"));
    m_halcy = std::make_unique<HalcyProcess>(QStringLiteral(HALCY_BINARY));
    QVERIFY2(m_halcy->start(), qPrintable(m_halcy->log()));
}

void TestHalcyHistory::cleanupTestCase()
{
    if (m_halcy && m_halcy->process().state() == QProcess::Running) {
        QCOMPARE(m_halcy->runClient({QStringLiteral("quit")}), 0);
        QVERIFY(m_halcy->waitForExit());
    }
}

std::unique_ptr<PeerProcess> TestHalcyHistory::copy(const QStringList &arguments)
{
    auto peer = std::make_unique<PeerProcess>(clipboardPeer);
    if (!peer->start(arguments)) {
        qWarning().noquote() << "clipboard_peer:" << peer->errorOutput();
        return nullptr;
    }
    return peer;
}

void TestHalcyHistory::copiesLandAsTheirKind_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("title");

    QTest::addRow("text") << QStringList{"--text", "Standup moved to 9:30"} << "text" << "Standup moved to 9:30";
    QTest::addRow("link") << QStringList{"--text", "https://example.net/release/notes"} << "link" << "example.net";
    QTest::addRow("colour code") << QStringList{"--text", "#1e90ff"} << "color" << "#1E90FF";
    QTest::addRow("file list with its paths as text")
        << QStringList{"--uri-list", "file:///srv/share/q1.ods", "--uri-list", "file:///srv/share/q2%20final.ods",
                       "--text", "/srv/share/q1.ods\n/srv/share/q2 final.ods"}
        << "file" << "2 files";
    QTest::addRow("png") << QStringList{"--data", "image/png=" + m_files.filePath(QStringLiteral("sample.png"))}
                         << "image" << "Image";
}

void TestHalcyHistory::copiesLandAsTheirKind()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, type);
    QFETCH(QString, title);

    const int before = int(readHistory(historyFile(*m_halcy)).size());
    std::unique_ptr<PeerProcess> owner = copy(arguments);
    QVERIFY(owner);
    QTRY_COMPARE_WITH_TIMEOUT(readHistory(historyFile(*m_halcy)).size(), before + 1, 3000);
    owner->stop();

    const StoredRecord newest = readHistory(historyFile(*m_halcy)).first();
    QCOMPARE(newest.type, type);
    QCOMPARE(newest.title, title);
    if (type == QLatin1String("file")) {
        QCOMPARE(newest.files, QStringList({"file:///srv/share/q1.ods", "file:///srv/share/q2%20final.ods"}));
        QVERIFY(newest.text.isEmpty());
    } else if (type == QLatin1String("image")) {
        QImage stored;
        QVERIFY(stored.loadFromData(newest.image, "PNG"));
        QCOMPARE(stored.convertToFormat(QImage::Format_RGB32), sampleImage());
    } else {
        QCOMPARE(newest.text, arguments.at(1));
    }
    // The owner leaving empties the clipboard; that adds nothing.
    spinEventLoop(700);
    QCOMPARE(readHistory(historyFile(*m_halcy)).size(), before + 1);
}

void TestHalcyHistory::markedCopiesNeverLand_data()
{
    QTest::addColumn<QString>("marker");

    QTest::addRow("concealed") << "org.nspasteboard.ConcealedType=";
    QTest::addRow("transient") << "org.nspasteboard.TransientType=";
    QTest::addRow("password manager hint secret") << "x-kde-passwordManagerHint=secret";
    QTest::addRow("password manager hint 1") << "x-kde-passwordManagerHint=1";
}

void TestHalcyHistory::markedCopiesNeverLand()
{
    QFETCH(QString, marker);

    const QString secret = QStringLiteral("hunter2-") + QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-');
    std::unique_ptr<PeerProcess> owner =
        copy({QStringLiteral("--text"), secret, QStringLiteral("--type"), marker});
    QVERIFY(owner);
    // Longer than a poll, so the app has looked at the marked copy before anything else happens.
    spinEventLoop(900);
    owner->stop();

    // A plain copy afterwards lands, so the app was watching all along.
    const QString probe = QStringLiteral("plain copy after the marked one, ") + QString::fromLatin1(QTest::currentDataTag());
    std::unique_ptr<PeerProcess> next = copy({QStringLiteral("--text"), probe});
    QVERIFY(next);
    QTRY_COMPARE_WITH_TIMEOUT(recordsWithText(readHistory(historyFile(*m_halcy)), probe).size(), 1, 3000);
    next->stop();
    QVERIFY(recordsWithText(readHistory(historyFile(*m_halcy)), secret).isEmpty());
    for (const QString &suffix : {QString(), QStringLiteral("-wal")}) {
        QFile file(historyFile(*m_halcy) + suffix);
        if (file.open(QIODevice::ReadOnly))
            QVERIFY2(!file.readAll().contains(secret.toUtf8()), qPrintable(suffix));
    }
}

void TestHalcyHistory::copyingAgainMovesTheRecordToTheTop()
{
    const QString first = QStringLiteral("copied twice");
    const QString second = QStringLiteral("copied in between");
    for (const QString &text : {first, second, first}) {
        const qint64 newestBefore = readHistory(historyFile(*m_halcy)).value(0).timestamp;
        std::unique_ptr<PeerProcess> owner = copy({QStringLiteral("--text"), text});
        QVERIFY(owner);
        QTRY_VERIFY_WITH_TIMEOUT(readHistory(historyFile(*m_halcy)).value(0).text == text
                                     && readHistory(historyFile(*m_halcy)).value(0).timestamp > newestBefore,
                                 3000);
        owner->stop();
        spinEventLoop(100);
    }
    const QList<StoredRecord> records = readHistory(historyFile(*m_halcy));
    QCOMPARE(recordsWithText(records, first).size(), 1);
    QCOMPARE(records.at(0).text, first);
    QCOMPARE(records.at(1).text, second);
}

void TestHalcyHistory::clipboardOutlivesItsOwner_data()
{
    QTest::addColumn<bool>("ownerQuitsCleanly");
    QTest::addRow("owner killed: the newest entry is put back") << false;
    QTest::addRow("owner quits: it hands over its content, every type") << true;
}

void TestHalcyHistory::clipboardOutlivesItsOwner()
{
    QFETCH(bool, ownerQuitsCleanly);
    const QString text =
        QStringLiteral("outlives its owner, ") + QString::fromLatin1(QTest::currentDataTag());
    std::unique_ptr<PeerProcess> owner = copy(
        {QStringLiteral("--text"), text, QStringLiteral("--type"), QStringLiteral("text/html=<b>rich</b>")});
    QVERIFY(owner);
    QTRY_COMPARE_WITH_TIMEOUT(recordsWithText(readHistory(historyFile(*m_halcy)), text).size(), 1, 3000);
    const qint64 recordedAt = readHistory(historyFile(*m_halcy)).value(0).timestamp;

    if (ownerQuitsCleanly)
        QVERIFY(owner->finish());
    else
        owner->stop(); // SIGTERM: no chance to hand anything over

    QTRY_COMPARE_WITH_TIMEOUT(xclipOutput(), std::optional<QByteArray>(text.toUtf8()), 3000);
    // Only a handover keeps what the history does not.
    QCOMPARE(xclipOutput(QStringLiteral("text/html")) == QByteArray("<b>rich</b>"), ownerQuitsCleanly);
    // Marked as Halcy's own, so not recorded again.
    spinEventLoop(900);
    QCOMPARE(recordsWithText(readHistory(historyFile(*m_halcy)), text).size(), 1);
    QCOMPARE(readHistory(historyFile(*m_halcy)).value(0).timestamp, recordedAt);
}

void TestHalcyHistory::historySurvivesQuitAndRestart()
{
    HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
    QVERIFY2(halcy.start(), qPrintable(halcy.log()));
    const QString kept = QStringLiteral("kept across a restart");
    {
        std::unique_ptr<PeerProcess> owner = copy({QStringLiteral("--text"), kept});
        QVERIFY(owner);
        QTRY_COMPARE_WITH_TIMEOUT(recordsWithText(readHistory(historyFile(halcy)), kept).size(), 1, 3000);
    }
    const StoredRecord before = readHistory(historyFile(halcy)).first();

    QCOMPARE(halcy.runClient({QStringLiteral("show")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(hubIsShown(), 5000);
    QCOMPARE(halcy.runClient({QStringLiteral("show")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!hubIsShown(), 5000);
    QCOMPARE(halcy.runClient({QStringLiteral("quit")}), 0);
    QVERIFY2(halcy.waitForExit(), qPrintable(halcy.log()));
    QCOMPARE(halcy.process().exitCode(), 0);
    QCOMPARE(readHistory(historyFile(halcy)).size(), 1);

    // The same directories again: the record is still there and the new instance keeps using it.
    QVERIFY2(halcy.start(), qPrintable(halcy.log()));
    QTRY_COMPARE_WITH_TIMEOUT(halcy.log().count(QLatin1String(" started")), 2, 15000);
    std::unique_ptr<PeerProcess> again = copy({QStringLiteral("--text"), kept});
    QVERIFY(again);
    QTRY_VERIFY_WITH_TIMEOUT(readHistory(historyFile(halcy)).value(0).timestamp > before.timestamp, 3000);
    again->stop();
    const QList<StoredRecord> records = readHistory(historyFile(halcy));
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().id, before.id);
    QVERIFY(!halcy.log().contains(QLatin1String("running in-memory")));
    QCOMPARE(halcy.runClient({QStringLiteral("quit")}), 0);
    QVERIFY(halcy.waitForExit());
}

void TestHalcyHistory::unreadableHistoryFileIsLeftAsItIs_data()
{
    QTest::addColumn<QByteArray>("content");

    QByteArray garbage(4096, Qt::Uninitialized);
    QRandomGenerator random(42);
    for (char &byte : garbage)
        byte = char(random.bounded(256));
    QTest::addRow("garbage bytes") << garbage;
    QTest::addRow("damaged database") << QByteArrayLiteral("SQLite format 3\0") + garbage;
}

void TestHalcyHistory::unreadableHistoryFileIsLeftAsItIs()
{
    QFETCH(QByteArray, content);

    HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
    const QString path = historyFile(halcy);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }
    QVERIFY2(halcy.start(), qPrintable(halcy.log()));
    QVERIFY2(halcy.log().contains(QLatin1String("Persistent store unavailable, running in-memory:")),
             qPrintable(halcy.log()));

    // Copies go on being taken (in memory) without touching the file.
    std::unique_ptr<PeerProcess> owner = copy({QStringLiteral("--text"), QStringLiteral("not for that file")});
    QVERIFY(owner);
    spinEventLoop(900);
    owner->stop();
    QCOMPARE(halcy.process().state(), QProcess::Running);
    QCOMPARE(halcy.runClient({QStringLiteral("quit")}), 0);
    QVERIFY2(halcy.waitForExit(), qPrintable(halcy.log()));
    QCOMPARE(halcy.process().exitCode(), 0);

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll() == content);
    const QStringList siblings = QDir(QFileInfo(path).path()).entryList(QDir::Files);
    QCOMPARE(siblings, QStringList{QStringLiteral("history.sqlite")});
}

QTEST_GUILESS_MAIN(TestHalcyHistory)
#include "tst_halcyhistory.moc"
