#include "App/AppState.h"
#include "App/Preferences.h"
#include "DesktopTools.h"
#include "HalcyProcess.h"
#include "RecordingCommander.h"
#include "TestEnvironment.h"
#include "TestTime.h"
#include "UI/SettingsWindowController.h"
#include "X11TestMain.h"

#include <QFile>
#include <QQuickItem>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QSettings>

// The settings window and onboarding under a real window manager: focus, position, first launch.
class TestSettingsDesktop final : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    Preferences m_preferences{m_env.configHome() + QStringLiteral("/Halcy/settings.json")};
    AppState m_state{&m_preferences};
    RecordingCommander m_commander;

    static int shownTab(QQuickView *view)
    {
        QObject *tabs = view->rootObject()->findChild<QObject *>(QStringLiteral("settingsTabs"));
        return tabs ? tabs->property("currentIndex").toInt() : -1;
    }

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION(); }

    void oneWindowRaisedWithTheFocusOnTheTabAsked()
    {
        SettingsWindowController settings(&m_state, &m_commander, nullptr, nullptr, nullptr,
                                          m_env.root() + QStringLiteral("/windows.ini"));
        settings.show();
        QQuickView *window = settings.window();
        QTRY_VERIFY_WITH_TIMEOUT(window->isActive(), scaledTimeout(10000));
        QCOMPARE(window->title(), QStringLiteral("Halcy Settings"));
        QCOMPARE(window->size(), SettingsWindowController::contentSize);

        // Another application in front; then the tray asks for the About tab.
        QRasterWindow other;
        other.setTitle(QStringLiteral("another application"));
        other.setGeometry(window->geometry().adjusted(-20, -20, 20, 20));
        other.show();
        QVERIFY(xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--name"),
                         QStringLiteral("another application"), QStringLiteral("windowactivate"),
                         QStringLiteral("--sync")}));
        QTRY_VERIFY_WITH_TIMEOUT(!window->isActive(), scaledTimeout(10000));
        m_state.setSelectedSettingsTab(SettingsTab::about);
        settings.show();
        QCOMPARE(settings.window(), window);
        QTRY_VERIFY_WITH_TIMEOUT(window->isActive(), scaledTimeout(10000));
        QCOMPARE(shownTab(window), int(SettingsTab::about));
    }

    void positionKeptOrRecentred_data()
    {
        QTest::addColumn<QPoint>("saved");
        QTest::addColumn<bool>("kept");
        QTest::addRow("on the screen: kept") << QPoint(240, 180) << true;
        QTest::addRow("on a monitor that is gone: centred") << QPoint(-4000, 2600) << false;
    }
    void positionKeptOrRecentred()
    {
        QFETCH(QPoint, saved);
        QFETCH(bool, kept);
        const QString statePath = m_env.root() + QStringLiteral("/position.ini");
        QSettings(statePath, QSettings::IniFormat)
            .setValue(QStringLiteral("HalcySettingsWindow/position"), saved);
        SettingsWindowController settings(&m_state, &m_commander, nullptr, nullptr, nullptr, statePath);
        settings.show();
        QQuickView *window = settings.window();
        QTRY_VERIFY_WITH_TIMEOUT(window->isExposed(), scaledTimeout(10000));
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        const QPoint expected = kept ? saved : screen.center() - QPoint(270, 240);
        // The window manager may nudge a window by its frame.
        QTRY_VERIFY2_WITH_TIMEOUT((window->position() - expected).manhattanLength() < 60,
                                  qPrintable(QStringLiteral("at %1,%2").arg(window->x()).arg(window->y())),
                                  scaledTimeout(10000));
        window->close();
        QCOMPARE(QSettings(statePath, QSettings::IniFormat)
                     .value(QStringLiteral("HalcySettingsWindow/position"))
                     .toPoint(),
                 window->position());
    }

    void onboardingOnlyOnTheFirstLaunch()
    {
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        const QString preferences = halcy.configHome() + QStringLiteral("/Halcy/settings.json");
        QFile::remove(preferences);
        QVERIFY(halcy.start());
        QVERIFY(xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--name"),
                         QStringLiteral("Welcome to Halcy"), QStringLiteral("windowactivate"),
                         QStringLiteral("--sync")}));
        // Closed on its first page, by the window manager's close key.
        QVERIFY(pressKeys(QStringLiteral("alt+F4")));
        QTRY_VERIFY_WITH_TIMEOUT(halcy.log().contains(QLatin1String("Onboarding completed")),
                                 scaledTimeout(10000));
        // Written just after that line is logged.
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                QFile file(preferences);
                return file.open(QIODevice::ReadOnly) &&
                       file.readAll().contains("\"Halcy.hasCompletedOnboarding\": true");
            }(),
            scaledTimeout(10000));

        halcy.process().terminate();
        QVERIFY(halcy.waitForExit());
        QVERIFY(halcy.start());
        // Answered by the new instance once its start-up has gone out to the X server.
        QCOMPARE(halcy.runClient({QStringLiteral("show")}), 0);
        QVERIFY(!xdotool(
            {QStringLiteral("search"), QStringLiteral("--name"), QStringLiteral("Welcome to Halcy")}));
    }
};

HALCY_X11_TEST_MAIN(TestSettingsDesktop)
#include "tst_settingsdesktop.moc"
