#include "HalcyProcess.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

namespace {

QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10000);
    if (exitCode)
        *exitCode = process.exitCode();
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

// The tray host's window, found by the class trayer gives it.
QString trayerWindow()
{
    return run(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--class"), QStringLiteral("trayer")})
        .split(u'\n', Qt::SkipEmptyParts)
        .value(0);
}

// Windows of the tray host's tree that belong to halcy (embedded icons are reparented into it).
QList<QRect> embeddedIconGeometries()
{
    QList<QRect> result;
    const QString tree = run(QStringLiteral("xwininfo"), {QStringLiteral("-root"), QStringLiteral("-tree")});
    // e.g.:   0x1a00007 "halcy": ("halcy" "halcy")  22x22+0+0  +1850+1
    static const QRegularExpression line(
        QStringLiteral("0x[0-9a-f]+ [^\\n]*\\(\"halcy\" \"[^\"]*\"\\)\\s+(\\d+)x(\\d+)\\+-?\\d+\\+-?\\d+\\s+"
                       "\\+(-?\\d+)\\+(-?\\d+)"));
    auto it = line.globalMatch(tree);
    while (it.hasNext()) {
        const auto match = it.next();
        const QRect rect(match.captured(3).toInt(), match.captured(4).toInt(), match.captured(1).toInt(),
                         match.captured(2).toInt());
        // The tray sits along the top edge; halcy has no other windows there.
        if (rect.top() < 40 && rect.width() <= 64 && rect.width() >= 8)
            result << rect;
    }
    return result;
}

// The hub is halcy's only 344 × 560 window.
bool hubIsShown()
{
    const QString ids = run(QStringLiteral("xdotool"),
                            {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--class"),
                             QStringLiteral("halcy")});
    for (const QString &id : ids.split(u'\n', Qt::SkipEmptyParts)) {
        const QString info = run(QStringLiteral("xwininfo"), {QStringLiteral("-id"), id});
        if (info.contains(QLatin1String("Width: 344")) && info.contains(QLatin1String("Height: 560")))
            return true;
    }
    return false;
}

QRect waitForTrayIcon(int timeoutMs = 10000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        const QList<QRect> icons = embeddedIconGeometries();
        if (!icons.isEmpty())
            return icons.first();
        QTest::qWait(100);
    }
    return {};
}

} // namespace

// The real binary in a real X session with a tray host.
class tst_HalcyApp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of scripts/desktop-session.sh");
        QVERIFY2(!trayerWindow().isEmpty(), "no tray host in this session");
    }

    void trayIconAppearsAndQuitFromItsMenuEndsTheProcess()
    {
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        QVERIFY2(halcy.start(), qPrintable(halcy.log()));
        const QRect icon = waitForTrayIcon();
        QVERIFY2(icon.isValid(), "the tray icon was not embedded in the tray host");

        // Right click opens the menu; its last item is "Quit Halcy".
        const QPoint centre = icon.center();
        run(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(centre.x()),
                                        QString::number(centre.y()), QStringLiteral("click"), QStringLiteral("3")});
        QTest::qWait(700);
        run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Up")});
        QTest::qWait(200);
        run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});

        QVERIFY2(halcy.waitForExit(10000), qPrintable(halcy.log()));
        QCOMPARE(halcy.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(halcy.process().exitCode(), 0);
        QVERIFY2(halcy.log().contains(QLatin1String("Shutting down")), qPrintable(halcy.log()));
        QTRY_VERIFY_WITH_TIMEOUT(embeddedIconGeometries().isEmpty(), 5000);
    }

    void terminationSignalRunsTheOrderlyShutdown()
    {
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        QVERIFY2(halcy.start(), qPrintable(halcy.log()));
        ::kill(pid_t(halcy.pid()), SIGTERM);
        QVERIFY(halcy.waitForExit());
        QCOMPARE(halcy.process().exitCode(), 0);
        QVERIFY2(halcy.log().contains(QLatin1String("Shutting down")), qPrintable(halcy.log()));
    }

    void secondLaunchHandsOverInsteadOfStartingAgain()
    {
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        QVERIFY2(halcy.start(), qPrintable(halcy.log()));

        QTest::qWait(500); // the hub is built hidden once the tray icon is up
        QVERIFY(!hubIsShown());
        QString output;
        QCOMPARE(halcy.runClient({}, &output), 0);
        QVERIFY2(output.contains(QLatin1String("already running")), qPrintable(output));
        QCOMPARE(halcy.process().state(), QProcess::Running);
        QTRY_VERIFY_WITH_TIMEOUT(hubIsShown(), 5000);

        QCOMPARE(halcy.runClient({QStringLiteral("quit")}, &output), 0);
        QVERIFY2(halcy.waitForExit(), qPrintable(halcy.log()));
        QCOMPARE(halcy.process().exitCode(), 0);

        // With nothing running, a verb says so instead of starting the app.
        QCOMPARE(halcy.runClient({QStringLiteral("toggle-mirror")}, &output), 1);
        QVERIFY2(output.contains(QLatin1String("not running")), qPrintable(output));
        QCOMPARE(halcy.runClient({QStringLiteral("frobnicate")}, &output), 2);
        QCOMPARE(halcy.runClient({QStringLiteral("--help")}, &output), 0);
        QVERIFY2(output.startsWith(QLatin1String("Usage: " HALCY_BINARY " ")), qPrintable(output));
        for (const QString &verb : {"show", "toggle-mirror", "toggle-desktop", "settings", "quit"})
            QVERIFY2(output.contains(verb), qPrintable(output));
        // Qt's own options too, and still no instance started.
        QCOMPARE(halcy.runClient({QStringLiteral("--help-all")}, &output), 0);
        QVERIFY2(output.contains(QLatin1String("-platform")), qPrintable(output));
        QCOMPARE(halcy.runClient({QStringLiteral("quit")}, &output), 1);
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
};

QTEST_GUILESS_MAIN(tst_HalcyApp)
#include "tst_halcyapp.moc"
