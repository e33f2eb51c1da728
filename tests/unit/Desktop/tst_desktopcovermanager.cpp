#include "Desktop/DesktopBackdrop.h"
#include "Desktop/DesktopCoverManager.h"
#include "Desktop/DesktopCoverWindow.h"
#include "Platform/VirtualDesktops.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(DesktopCoverConfiguration)

// The manager on the offscreen platform, with a virtual desktop switch the test makes itself.
class TestDesktopCoverManager final : public QObject
{
    Q_OBJECT

    VirtualDesktops *m_desktops = nullptr;
    std::unique_ptr<DesktopCoverManager> m_manager;

private slots:
    void init()
    {
        DesktopCoverManager::Platform platform;
        m_desktops = new VirtualDesktops;
        platform.virtualDesktops.reset(m_desktops);
        m_manager = std::make_unique<DesktopCoverManager>(std::move(platform));
    }
    void cleanup() { m_manager.reset(); }

    void configurationsCompareByRgbComponents_data()
    {
        QTest::addColumn<DesktopCoverConfiguration>("other");
        QTest::addColumn<bool>("equal");
        const auto row = [](const char *name, DesktopFill fill, const QColor &color, bool consumes,
                            bool reveals, bool equal) {
            QTest::addRow("%s", name) << DesktopCoverConfiguration{fill, color, consumes, reveals} << equal;
        };
        const DesktopFill wallpaper = DesktopFill::matchWallpaper;
        row("same colour in another colour model", wallpaper, QColor::fromCmyk(0, 0, 0, 255), true, false,
            true);
        row("fill differs", DesktopFill::blur, Qt::black, true, false, false);
        row("click behaviour differs", wallpaper, Qt::black, false, false, false);
        row("double click differs", wallpaper, Qt::black, true, true, false);
        row("alpha differs", wallpaper, QColor(0, 0, 0, 128), true, false, false);
        row("one component differs", wallpaper, QColor(0, 0, 1), true, false, false);
    }
    void configurationsCompareByRgbComponents()
    {
        QFETCH(DesktopCoverConfiguration, other);
        QFETCH(bool, equal);
        const DesktopCoverConfiguration black{DesktopFill::matchWallpaper, Qt::black, true, false};
        QCOMPARE(black == other, equal);
        QCOMPARE(black != other, !equal);
    }

    void changesRebuildOnceAfterTheLast_data()
    {
        QTest::addColumn<bool>("hidden");
        QTest::addColumn<bool>("removeBeforeDue");
        QTest::addColumn<int>("rebuilds");
        QTest::addRow("three changes in a row while hidden") << true << false << 1;
        QTest::addRow("changes while shown") << false << false << 0;
        QTest::addRow("covers removed before the rebuild is due") << true << true << 0;
    }
    void changesRebuildOnceAfterTheLast()
    {
        QFETCH(bool, hidden);
        QFETCH(bool, removeBeforeDue);
        QFETCH(int, rebuilds);
        m_manager->setHidden(hidden);
        QSignalSpy rebuilt(m_manager.get(), &DesktopCoverManager::coversRebuilt);
        for (int i = 0; i < 3; ++i)
            emit m_desktops->currentChanged();
        if (removeBeforeDue)
            m_manager->removeCovers();
        QTRY_VERIFY(!m_manager->isReassertionPending());
        QCOMPARE(rebuilt.size(), rebuilds);
    }

    // Qt's double click arrives as press, release, press, double click.
    void doubleClickRevealsOnlyWhenAsked_data()
    {
        QTest::addColumn<bool>("consumesClicks");
        QTest::addColumn<bool>("doubleClickReveals");
        QTest::addColumn<int>("presses");
        QTest::addColumn<bool>("actionOwnerAlive");
        QTest::addColumn<bool>("reveals");
        const auto row = [](const char *name, bool consumes, bool doubleClick, int presses, bool alive,
                            bool reveals) {
            QTest::addRow("%s", name) << consumes << doubleClick << presses << alive << reveals;
        };
        row("double click with both on", true, true, 2, true, true);
        row("double click, reveal off", true, false, 2, true, false);
        row("double click on click-through covers", false, true, 2, true, false);
        row("second press of a pair begun elsewhere", true, true, 1, true, false);
        row("action's owner gone: covers go, nothing called", true, true, 2, false, true);
    }
    void doubleClickRevealsOnlyWhenAsked()
    {
        QFETCH(bool, consumesClicks);
        QFETCH(bool, doubleClickReveals);
        QFETCH(int, presses);
        QFETCH(bool, actionOwnerAlive);
        QFETCH(bool, reveals);
        int called = 0;
        auto owner = std::make_unique<QObject>();
        m_manager->setRevealAction(owner.get(), [&called] { ++called; });
        if (!actionOwnerAlive)
            owner.reset();
        m_manager->setConfiguration({DesktopFill::solidInk, Qt::black, consumesClicks, doubleClickReveals});
        m_manager->setHidden(true);
        m_manager->rebuildCovers();
        QWindow *cover = m_manager->covers().constFirst();
        for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                  QEvent::MouseButtonPress, QEvent::MouseButtonDblClick}) {
            if (type == QEvent::MouseButtonPress && presses-- <= 0)
                continue;
            QMouseEvent event(type, QPointF(10, 10), QPointF(10, 10), Qt::LeftButton, Qt::LeftButton, {});
            QCoreApplication::sendEvent(cover, &event);
        }
        QCoreApplication::processEvents();
        QCOMPARE(called, reveals && actionOwnerAlive ? 1 : 0);
        QCOMPARE(m_manager->isHidden(), !reveals);
        QCOMPARE(m_manager->covers().isEmpty(), reveals);
    }

    void wallpaperPictureFillsTheScreen()
    {
        // A wide picture on a square screen: filled by height, centred, the sides clipped.
        QImage picture(300, 100, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QPainter(&picture).fillRect(0, 0, 90, 100, Qt::green);
        QPainter(&picture).fillRect(130, 30, 40, 40, Qt::blue);
        const QImage part = DesktopBackdrop::screenPart({picture, false}, QRect(0, 0, 50, 50));
        QCOMPARE(part.size(), QSize(50, 50));
        QCOMPARE(part.pixelColor(25, 25), QColor(Qt::blue));
        QCOMPARE(part.pixelColor(0, 25), QColor(Qt::red));
        QVERIFY(DesktopBackdrop::screenPart({picture, true}, QRect(300, 0, 50, 50)).isNull());
    }
};

QTEST_MAIN(TestDesktopCoverManager)
#include "tst_desktopcovermanager.moc"
