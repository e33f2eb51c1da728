#include "RecordingCommander.h"
#include "Shell/StatusItemController.h"
#include "StateFixture.h"

#include <QAction>
#include <QMenu>
#include <QTest>

// The tray menu: its items in order, and the command each one runs.
class tst_StatusItemController : public QObject
{
    Q_OBJECT

private slots:
    void menuItemsRunTheirCommands_data()
    {
        // Rows are named by the item.
        QTest::addColumn<QString>("call"); // "paused": no command, the preference flips
        QTest::newRow("Mirror") << "toggleMirror";
        QTest::newRow("Hide Desktop") << "toggleDesktopCover";
        QTest::newRow("Pause recording") << "paused";
        QTest::newRow("Settings...") << "openSettings";
        QTest::newRow("Quit Halcy") << "quit";
    }

    void menuItemsRunTheirCommands()
    {
        QFETCH(QString, call);
        const QString item = QString::fromUtf8(QTest::currentDataTag());

        StateFixture fixture;
        RecordingCommander commander;
        StatusItemController controller(&fixture.state, &commander, nullptr);
        Q_EMIT controller.menu()->aboutToShow();
        QStringList titles;
        for (QAction *action : controller.menu()->actions()) {
            titles << (action->isSeparator() ? QStringLiteral("-") : action->text());
            if (action->text().section(u'\t', 0, 0) == item)
                action->trigger();
        }
        // Global shortcuts after the tab, written the way the desktop writes them.
        QCOMPARE(titles, QStringList({"Open Halcy", "-", "Mirror\tCtrl+Super+M", "Hide Desktop\tCtrl+Super+D",
                                      "-", "Pause recording", "-", "Settings...", "Quit Halcy"}));
        const bool pausing = call == QLatin1String("paused");
        QCOMPARE(fixture.state.clipboardPaused(), pausing);
        QCOMPARE(commander.calls, pausing ? QStringList() : QStringList{call});
        QVERIFY(!controller.isPopoverShown());
    }
};

QTEST_MAIN(tst_StatusItemController)
#include "tst_statusitemcontroller.moc"
