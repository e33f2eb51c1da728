#include "DesktopTools.h"
#include "HalcyProcess.h"
#include "PeerProcess.h"
#include "X11TestMain.h"

#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>
#include <QUrl>

#include <csignal>
#include <memory>

namespace {

QString toolOutput(const QString &program, const QStringList &arguments)
{
    return QString::fromLocal8Bit(runTool(program, arguments).value_or(ToolResult()).output);
}

// Where the tray host shows halcy's icon: a window of halcy's reparented into the tray host's tree.
QRect trayIconGeometry()
{
    const QString tree =
        toolOutput(QStringLiteral("xwininfo"), {QStringLiteral("-root"), QStringLiteral("-tree")});
    // e.g.:   0x1a00007 "halcy": ("halcy" "halcy")  22x22+0+0  +1850+1
    static const QRegularExpression line(
        QStringLiteral("0x[0-9a-f]+ [^\\n]*\\(\"halcy\" \"[^\"]*\"\\)\\s+(\\d+)x(\\d+)\\+-?\\d+\\+-?\\d+\\s+"
                       "\\+(-?\\d+)\\+(-?\\d+)"));
    for (auto it = line.globalMatch(tree); it.hasNext();) {
        const auto match = it.next();
        const QRect rect(match.captured(3).toInt(), match.captured(4).toInt(), match.captured(1).toInt(),
                         match.captured(2).toInt());
        // The tray sits along the top edge; halcy has no other windows there.
        if (rect.top() < 40 && rect.width() <= 64 && rect.width() >= 8)
            return rect;
    }
    return {};
}

// The hub is halcy's only 344 × 560 window.
bool hubIsShown()
{
    const QString ids =
        toolOutput(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                               QStringLiteral("--class"), QStringLiteral("halcy")});
    for (const QString &id : ids.split(u'\n', Qt::SkipEmptyParts)) {
        const QString info = toolOutput(QStringLiteral("xwininfo"), {QStringLiteral("-id"), id});
        if (info.contains(QLatin1String("Width: 344")) && info.contains(QLatin1String("Height: 560")))
            return true;
    }
    return false;
}

struct StoredRecord
{
    QString text;
    qint64 timestamp = 0;
};

// Opened read-only beside the running app the way a backup tool would; empty when there is none.
StoredRecord newestRecord(const HalcyProcess &halcy)
{
    const QString path = halcy.dataHome() + QStringLiteral("/Halcy/history.sqlite");
    StoredRecord newest;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
        db.setConnectOptions(
            QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=2000"));
        db.setDatabaseName(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) +
                           QStringLiteral("?mode=ro"));
        QSqlQuery query(db);
        if (QFileInfo::exists(path) && db.open() &&
            query.exec(QStringLiteral("SELECT textContent, timestamp FROM ClipboardRecord "
                                      "ORDER BY timestamp DESC, rowid DESC LIMIT 1")) &&
            query.next())
            newest = {query.value(0).toString(), query.value(1).toLongLong()};
    }
    QSqlDatabase::removeDatabase(QStringLiteral("reader"));
    return newest;
}

} // namespace

// The real binary in the test session: one instance is kept running across the cases and started again
// by whichever case finds it gone.
class TestHalcy final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of scripts/desktop-session.sh");
        HALCY_REQUIRE_TOOLS("xdotool", "xwininfo");
        QVERIFY2(!toolOutput(QStringLiteral("xdotool"),
                             {QStringLiteral("search"), QStringLiteral("--class"), QStringLiteral("trayer")})
                      .isEmpty(),
                 "no tray host in this session");
    }

    void secondLaunchTogglesTheRunningInstancesHub()
    {
        HalcyProcess &halcy = running();
        QVERIFY2(halcy.process().state() == QProcess::Running, qPrintable(halcy.log()));
        QTRY_VERIFY_WITH_TIMEOUT(trayIconGeometry().isValid(), 10000);
        QVERIFY(!hubIsShown());

        QString output;
        QCOMPARE(halcy.runClient({}, &output), 0);
        QVERIFY2(output.contains(QLatin1String("already running")), qPrintable(output));
        QTRY_VERIFY_WITH_TIMEOUT(hubIsShown(), 10000);
        QCOMPARE(halcy.runClient({QStringLiteral("show")}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!hubIsShown(), 10000);
        QCOMPARE(halcy.process().state(), QProcess::Running);
    }

    void toggleMirrorOpensAndClosesTheBubble()
    {
        QVERIFY2(running().process().state() == QProcess::Running, qPrintable(m_halcy.log()));
        const auto bubbleShown = [] {
            return runTool("xdotool", {"search", "--onlyvisible", "--name", "Halcy Mirror"})
                       .value_or(ToolResult())
                       .exitCode == 0;
        };
        QVERIFY(!bubbleShown());
        QCOMPARE(m_halcy.runClient({QStringLiteral("toggle-mirror")}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(bubbleShown(), 10000);
        QCOMPARE(m_halcy.runClient({QStringLiteral("toggle-mirror")}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!bubbleShown(), 10000);
    }

    void copiesLandInTheHistoryFileAndSurviveARestart()
    {
        const QString text = QStringLiteral("Standup moved to 9:30");
        // Another program copies; true once the history file has it as its newest record.
        const auto copy = [&] {
            const qint64 newestBefore = newestRecord(m_halcy).timestamp;
            PeerProcess owner(QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer"));
            return owner.start({QStringLiteral("--text"), text}) &&
                   QTest::qWaitFor(
                       [&] {
                           const StoredRecord newest = newestRecord(m_halcy);
                           return newest.text == text && newest.timestamp > newestBefore;
                       },
                       10000);
        };
        QVERIFY2(running().process().state() == QProcess::Running, qPrintable(m_halcy.log()));
        QVERIFY(copy());
        QVERIFY2(quit(), qPrintable(m_halcy.log()));

        // The same directories again: the new instance keeps using the file.
        QVERIFY2(running().process().state() == QProcess::Running, qPrintable(m_halcy.log()));
        QVERIFY(!m_halcy.log().contains(QLatin1String("running in-memory")));
        QVERIFY(copy());
    }

    void clipboardOutlivesItsOwner_data()
    {
        QTest::addColumn<bool>("ownerQuitsCleanly");
        QTest::addRow("owner killed: the newest entry is put back") << false;
        QTest::addRow("owner quits: it hands over its content, every type") << true;
    }

    void clipboardOutlivesItsOwner()
    {
        QFETCH(bool, ownerQuitsCleanly);
        QVERIFY2(running().process().state() == QProcess::Running, qPrintable(m_halcy.log()));
        const QString text =
            QStringLiteral("outlives its owner, ") + QString::fromLatin1(QTest::currentDataTag());
        PeerProcess owner(QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer"));
        QVERIFY(owner.start({QStringLiteral("--text"), text, QStringLiteral("--type"),
                             QStringLiteral("text/html=<b>rich</b>")}));
        QTRY_COMPARE_WITH_TIMEOUT(newestRecord(m_halcy).text, text, 10000);

        if (ownerQuitsCleanly)
            QVERIFY(owner.finish());
        else
            owner.stop(); // SIGTERM: no chance to hand anything over

        QTRY_COMPARE_WITH_TIMEOUT(xclipOutput(), std::optional<QByteArray>(text.toUtf8()), 10000);
        // Only a handover keeps what the history does not.
        QCOMPARE(xclipOutput(QStringLiteral("text/html")) == QByteArray("<b>rich</b>"), ownerQuitsCleanly);
        // Marked as Halcy's own, which the monitor never records.
        QCOMPARE(xclipOutput(QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste")),
                 std::optional<QByteArray>("1"));
    }

    void verbsWithoutARunningInstance()
    {
        if (m_halcy.process().state() == QProcess::Running)
            QVERIFY2(quit(), qPrintable(m_halcy.log()));
        QString output;
        QCOMPARE(m_halcy.runClient({QStringLiteral("toggle-mirror")}, &output), 1);
        QVERIFY2(output.contains(QLatin1String("not running")), qPrintable(output));
        QCOMPARE(m_halcy.process().state(), QProcess::NotRunning);
        QCOMPARE(m_halcy.runClient({QStringLiteral("frobnicate")}, &output), 2);
        QCOMPARE(m_halcy.runClient({QStringLiteral("--help")}, &output), 0);
        QVERIFY2(output.startsWith(QLatin1String("Usage: " HALCY_BINARY " ")), qPrintable(output));
        for (const QString &verb : {"show", "toggle-mirror", "toggle-desktop", "settings", "quit"})
            QVERIFY2(output.contains(verb), qPrintable(output));
        // Qt's own options too, and still no instance started.
        QCOMPARE(m_halcy.runClient({QStringLiteral("--help-all")}, &output), 0);
        QVERIFY2(output.contains(QLatin1String("-platform")), qPrintable(output));
        QCOMPARE(m_halcy.process().state(), QProcess::NotRunning);
        QCOMPARE(m_halcy.runClient({QStringLiteral("quit")}, &output), 1);
    }

    void terminationSignalRunsTheOrderlyShutdown()
    {
        HalcyProcess &halcy = running();
        QVERIFY2(halcy.process().state() == QProcess::Running, qPrintable(halcy.log()));
        // With the desktop hidden: the covers must not hold the process up.
        QCOMPARE(halcy.runClient({QStringLiteral("toggle-desktop")}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(
            runTool("xdotool", {"search", "--onlyvisible", "--name", "Desktop icons hidden"})
                    .value_or(ToolResult())
                    .exitCode == 0,
            10000);
        ::kill(pid_t(halcy.pid()), SIGTERM);
        QVERIFY(halcy.waitForExit());
        QCOMPARE(halcy.process().exitCode(), 0);
        QVERIFY2(halcy.log().contains(QLatin1String("Shutting down")), qPrintable(halcy.log()));
    }

    void withoutADisplayItSaysSoInOneLine_data()
    {
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("wayland");
        QTest::addColumn<QString>("says");
        QTest::addRow("no DISPLAY") << QString() << QString() << QStringLiteral("desktop session");
        QTest::addRow("DISPLAY nobody serves")
            << QStringLiteral(":9876") << QString() << QStringLiteral("desktop session");
        QTest::addRow("Wayland without XWayland")
            << QString() << QStringLiteral("wayland-0") << QStringLiteral("XWayland");
    }

    void withoutADisplayItSaysSoInOneLine()
    {
        QFETCH(QString, display);
        QFETCH(QString, wayland);
        QFETCH(QString, says);
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        if (wayland.isEmpty())
            halcy.removeEnvironmentValue(QStringLiteral("WAYLAND_DISPLAY"));
        else
            halcy.setEnvironmentValue(QStringLiteral("WAYLAND_DISPLAY"), wayland);
        if (display.isEmpty())
            halcy.removeEnvironmentValue(QStringLiteral("DISPLAY"));
        else
            halcy.setEnvironmentValue(QStringLiteral("DISPLAY"), display);
        QString output;
        const int code = halcy.runClient({}, &output);
        QVERIFY(code != 0);
        QVERIFY(code != -1); // no crash, no abort
        QCOMPARE(output.trimmed().count(u'\n'), 0);
        QVERIFY2(output.contains(says), qPrintable(output));
    }

private:
    HalcyProcess &running()
    {
        if (m_halcy.process().state() == QProcess::NotRunning && !m_halcy.start())
            qWarning().noquote() << "halcy did not start:" << m_halcy.log();
        return m_halcy;
    }

    // Quits through the command line, as a session script would; true once it ended cleanly.

    bool quit()
    {
        return m_halcy.runClient({QStringLiteral("quit")}) == 0 && m_halcy.waitForExit() &&
               m_halcy.process().exitStatus() == QProcess::NormalExit && m_halcy.process().exitCode() == 0;
    }

    HalcyProcess m_halcy{QStringLiteral(HALCY_BINARY)};
};

QTEST_GUILESS_MAIN(TestHalcy)
#include "tst_halcy.moc"
