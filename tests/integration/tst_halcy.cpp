#include "DesktopTools.h"
#include "HalcyProcess.h"
#include "PeerProcess.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QTest>

namespace {

QString toolOutput(const QString &program, const QStringList &arguments)
{
    return QString::fromLocal8Bit(runTool(program, arguments).value_or(ToolResult()).output);
}

// The geometry of each shown window whose name matches `name`; empty when there is none.
QString shownWindows(const QString &name)
{
    return toolOutput("xdotool", {"search", "--onlyvisible", "--name", name, "getwindowgeometry", "%@"});
}

// Read beside the running app the way a backup tool would; empty when there is none.
QString newestRecord(const HalcyProcess &halcy)
{
    return toolOutput("sqlite3",
                      {"-readonly", halcy.dataHome() + "/Halcy/history.sqlite",
                       "SELECT textContent FROM ClipboardRecord ORDER BY timestamp DESC, rowid DESC LIMIT 1"})
        .trimmed();
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
        HALCY_REQUIRE_TOOLS("xdotool", "xclip", "sqlite3");
    }

    void verbsReachTheRunningInstance_data()
    {
        QTest::addColumn<QString>("verb");
        QTest::addColumn<QString>("window");
        QTest::addRow("no verb opens the hub, show closes it") << "show" << QStringLiteral("^Halcy$");
        QTest::addRow("toggle-mirror") << "toggle-mirror" << QStringLiteral("Halcy Mirror");
    }

    void verbsReachTheRunningInstance()
    {
        QFETCH(QString, verb);
        QFETCH(QString, window);
        QVERIFY2(running(), qPrintable(m_halcy.log()));
        for (const bool opens : {true, false}) {
            QString output;
            QCOMPARE(m_halcy.runClient(verb == "show" && opens ? QStringList() : QStringList{verb}, &output),
                     0);
            QVERIFY2(output.contains("already running"), qPrintable(output));
            QTRY_COMPARE_WITH_TIMEOUT(!shownWindows(window).isEmpty(), opens, scaledTimeout(10000));
        }
    }

    void copiesReachTheFileAndOutliveTheirOwner_data()
    {
        QTest::addColumn<bool>("ownerQuitsCleanly");
        QTest::addRow("owner killed: the newest entry is put back") << false;
        QTest::addRow("after a restart, the owner quits: it hands over every type") << true;
    }

    void copiesReachTheFileAndOutliveTheirOwner()
    {
        QFETCH(bool, ownerQuitsCleanly);
        if (ownerQuitsCleanly) // through the command line, as a session script would
            QVERIFY2(m_halcy.runClient({"quit"}) == 0 && m_halcy.waitForExit() &&
                         m_halcy.process().exitCode() == 0, // a crash reports its signal here
                     qPrintable(m_halcy.log()));
        // The same directories again: the new instance keeps using the file.
        QVERIFY2(running() && !m_halcy.log().contains("in-memory"), qPrintable(m_halcy.log()));
        const QString text = "outlives its owner, " + QLatin1String(QTest::currentDataTag());
        PeerProcess owner(QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer"));
        QVERIFY(owner.start({"--text", text, "--type", "text/html=<b>rich</b>"}));
        QTRY_COMPARE_WITH_TIMEOUT(newestRecord(m_halcy), text, scaledTimeout(10000));

        if (ownerQuitsCleanly)
            QVERIFY(owner.finish());
        else
            owner.stop(); // SIGTERM: no chance to hand anything over
        QTRY_COMPARE_WITH_TIMEOUT(xclipOutput(), std::optional<QByteArray>(text.toUtf8()),
                                  scaledTimeout(10000));
        // Only a handover keeps what the history does not.
        QCOMPARE(xclipOutput("text/html") == QByteArray("<b>rich</b>"), ownerQuitsCleanly);
        // Marked as Halcy's own, which the monitor never records.
        QCOMPARE(xclipOutput("com.tarnwick.Halcy.SelfGeneratedPaste"), std::optional<QByteArray>("1"));
    }

    void terminationSignalRunsTheOrderlyShutdown()
    {
        QVERIFY2(running(), qPrintable(m_halcy.log()));
        // With the desktop hidden: the covers must not hold the process up.
        QCOMPARE(m_halcy.runClient({"toggle-desktop"}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!shownWindows("Desktop icons hidden").isEmpty(), scaledTimeout(10000));
        m_halcy.process().terminate();
        QVERIFY(m_halcy.waitForExit());
        QCOMPARE(m_halcy.process().exitCode(), 0);
        QVERIFY2(m_halcy.log().contains("Shutting down"), qPrintable(m_halcy.log()));
    }

    void commandLineWithoutAnInstance_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("environment"); // NAME=value
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("says");
        const QStringList none;
        QTest::addRow("a verb with no instance")
            << QStringList{"toggle-mirror"} << none << 1 << QStringList{"not running"};
        QTest::addRow("quit with no instance")
            << QStringList{"quit"} << none << 1 << QStringList{"not running"};
        QTest::addRow("an unknown verb") << QStringList{"frobnicate"} << none << 2 << QStringList{"Unknown"};
        QTest::addRow("--help lists every verb")
            << QStringList{"--help"} << none << 0
            << QStringList{"Usage: " HALCY_BINARY " ", "show",     "toggle-mirror",
                           "toggle-desktop",           "settings", "quit"};
        QTest::addRow("--help-all adds Qt's options")
            << QStringList{"--help-all"} << none << 0 << QStringList{"-platform"};
        QTest::addRow("no DISPLAY") << none << QStringList{"DISPLAY=", "WAYLAND_DISPLAY="} << 1
                                    << QStringList{"desktop session"};
        QTest::addRow("DISPLAY nobody serves") << none << QStringList{"DISPLAY=:9876", "WAYLAND_DISPLAY="}
                                               << 1 << QStringList{"desktop session"};
        QTest::addRow("Wayland without XWayland")
            << none << QStringList{"DISPLAY=", "WAYLAND_DISPLAY=wayland-0"} << 1 << QStringList{"XWayland"};
    }

    void commandLineWithoutAnInstance()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, environment);
        QFETCH(int, exitCode);
        QFETCH(QStringList, says);
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        for (const QString &variable : environment)
            halcy.setEnvironmentValue(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        QString output;
        QCOMPARE(halcy.runClient(arguments, &output), exitCode);
        for (const QString &words : says)
            QVERIFY2(output.contains(words), qPrintable(output));
        if (exitCode != 0) // in one line
            QCOMPARE(output.trimmed().count(u'\n'), 0);
    }

private:
    bool running() { return m_halcy.process().state() == QProcess::Running || m_halcy.start(); }

    HalcyProcess m_halcy{QStringLiteral(HALCY_BINARY)};
};

QTEST_GUILESS_MAIN(TestHalcy)
#include "tst_halcy.moc"
