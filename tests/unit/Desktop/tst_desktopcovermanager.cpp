#include "Desktop/DesktopBackdrop.h"
#include "Desktop/DesktopCoverManager.h"
#include "Desktop/DesktopCoverWindow.h"
#include "Platform/VirtualDesktops.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(DesktopCoverConfiguration)

namespace {

DesktopCoverConfiguration configuration(bool consumesClicks, bool doubleClickReveals,
                                        QColor color = brandInkColor())
{
    DesktopCoverConfiguration c;
    c.consumesClicks = consumesClicks;
    c.doubleClickReveals = doubleClickReveals;
    c.solidColor = color;
    return c;
}

} // namespace

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
        QTest::addColumn<DesktopCoverConfiguration>("a");
        QTest::addColumn<DesktopCoverConfiguration>("b");
        QTest::addColumn<bool>("equal");
        const DesktopCoverConfiguration base;
        DesktopCoverConfiguration blur;
        blur.fill = DesktopFill::blur;
        QTest::addRow("defaults") << base << configuration(true, false) << true;
        QTest::addRow("ink from 8-bit components")
            << base << configuration(true, false, {20, 21, 26}) << true;
        QTest::addRow("same colour in another colour model")
            << configuration(true, false, Qt::black)
            << configuration(true, false, QColor::fromCmyk(0, 0, 0, 255)) << true;
        QTest::addRow("fill differs") << base << blur << false;
        QTest::addRow("click behaviour differs") << base << configuration(false, false) << false;
        QTest::addRow("double click differs") << base << configuration(true, true) << false;
        QTest::addRow("alpha differs")
            << base << configuration(true, false, QColor(20, 21, 26, 128)) << false;
        QTest::addRow("one component differs") << base << configuration(true, false, {20, 21, 27}) << false;
    }
    void configurationsCompareByRgbComponents()
    {
        QFETCH(DesktopCoverConfiguration, a);
        QFETCH(DesktopCoverConfiguration, b);
        QFETCH(bool, equal);
        QCOMPARE(a == b, equal);
        QCOMPARE(a != b, !equal);
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
        QTest::addColumn<DesktopCoverConfiguration>("configuration");
        QTest::addColumn<int>("presses");
        QTest::addColumn<bool>("actionOwnerAlive");
        QTest::addColumn<bool>("reveals");
        QTest::addRow("double click with both on") << configuration(true, true) << 2 << true << true;
        QTest::addRow("double click, reveal off") << configuration(true, false) << 2 << true << false;
        QTest::addRow("double click on click-through covers")
            << configuration(false, true) << 2 << true << false;
        QTest::addRow("second press of a pair begun elsewhere")
            << configuration(true, true) << 1 << true << false;
        QTest::addRow("action's owner gone: covers go, nothing called")
            << configuration(true, true) << 2 << false << true;
    }
    void doubleClickRevealsOnlyWhenAsked()
    {
        QFETCH(DesktopCoverConfiguration, configuration);
        QFETCH(int, presses);
        QFETCH(bool, actionOwnerAlive);
        QFETCH(bool, reveals);
        int called = 0;
        auto owner = std::make_unique<QObject>();
        m_manager->setRevealAction(owner.get(), [&called] { ++called; });
        if (!actionOwnerAlive)
            owner.reset();
        m_manager->setConfiguration(configuration);
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
        {
            QPainter painter(&picture);
            painter.fillRect(0, 0, 90, 100, Qt::green);
            painter.fillRect(130, 30, 40, 40, Qt::blue);
        }
        const QImage part = DesktopBackdrop::screenPart({picture, false}, QRect(0, 0, 50, 50));
        QCOMPARE(part.size(), QSize(50, 50));
        QCOMPARE(part.pixelColor(25, 25), QColor(Qt::blue));
        QCOMPARE(part.pixelColor(0, 25), QColor(Qt::red));
        QVERIFY(DesktopBackdrop::screenPart({picture, true}, QRect(300, 0, 50, 50)).isNull());
    }
};

QTEST_MAIN(TestDesktopCoverManager)
#include "tst_desktopcovermanager.moc"
