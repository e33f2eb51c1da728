#include "Mirror/MirrorWindowController.h"

#include "Core/EnumNames.h"
#include "Core/Logging.h"
#include "Core/QmlModule.h"
#include "Core/ScreenChanges.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorGeometry.h"
#include "Mirror/MirrorPreviewItem.h"
#include "Platform/FloatingWindow.h"
#include "Platform/ProcessMemory.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>
#include <QStandardPaths>
#include <QThreadPool>

namespace {

constexpr int frameSettleMs = 400;
constexpr int screensSettleMs = 100;

// The main screen first, as the placement rules want it.
QList<QRect> visibleAreas()
{
    QList<QRect> areas;
    if (QScreen *primary = QGuiApplication::primaryScreen())
        areas.append(primary->availableGeometry());
    for (QScreen *screen : QGuiApplication::screens()) {
        if (screen != QGuiApplication::primaryScreen())
            areas.append(screen->availableGeometry());
    }
    return areas;
}

} // namespace

MirrorWindowController::MirrorWindowController(MirrorCameraEngine *cameraEngine,
                                               MicrophoneLevelMonitor *microphoneMonitor, QObject *parent)
    : QObject(parent), m_cameraEngine(cameraEngine), m_microphoneMonitor(microphoneMonitor)
{
    m_frameSettle.setSingleShot(true);
    m_frameSettle.setInterval(frameSettleMs);
    connect(&m_frameSettle, &QTimer::timeout, this, [this] {
        if (m_window && m_open)
            emit frameChanged(m_window->geometry());
    });

    // A monitor unplugged or shrunk under the open bubble would leave it partly or wholly out of sight.
    m_screensSettle.setSingleShot(true);
    m_screensSettle.setInterval(screensSettleMs);
    connect(&m_screensSettle, &QTimer::timeout, this, [this] {
        if (m_window && m_open)
            setFrame(MirrorGeometry::keptOnScreen(m_window->geometry(), visibleAreas()));
    });
    ScreenChanges::watch(this, &QScreen::availableGeometryChanged, [this] { m_screensSettle.start(); });
}

MirrorWindowController::~MirrorWindowController()
{
    close();
    // No event loop may run after this one to carry out the deferred deletion.
    delete m_closedWindow;
}

QString MirrorWindowController::shapeName() const
{
    return enumName(m_settings.shape);
}

void MirrorWindowController::setSettings(const MirrorSettings &settings)
{
    m_settings = settings;
    emit settingsChanged();
    applySettings();
}

void MirrorWindowController::createWindow()
{
    // A tool window: no taskbar entry; never focused, so opening it leaves the keyboard where it was.
    m_window = QmlModule::createView(QStringLiteral("mirrorWindow"), QStringLiteral("Halcy Mirror"),
                                     Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                         Qt::WindowDoesNotAcceptFocus);
    m_window->setColor(Qt::transparent);
    m_window->setMinimumSize(QSize(MirrorGeometry::minimumWidth / 2, MirrorGeometry::minimumWidth / 2));
    QmlModule::load(m_window.get(), "Mirror/MirrorSmartWindowView.qml",
                    {{QStringLiteral("controller"), QVariant::fromValue(this)},
                     {QStringLiteral("camera"), QVariant::fromValue(m_cameraEngine.data())},
                     {QStringLiteral("microphone"), QVariant::fromValue(m_microphoneMonitor.data())}},
                    lcMirror());
    m_window->setGeometry(m_savedFrame.isValid() ? m_savedFrame : MirrorGeometry::initialFrame);
    FloatingWindow::showOnAllDesktops(m_window.get());

    const auto moved = [this] {
        if (m_open)
            m_frameSettle.start();
    };
    connect(m_window.get(), &QWindow::xChanged, this, moved);
    connect(m_window.get(), &QWindow::yChanged, this, moved);
    connect(m_window.get(), &QWindow::widthChanged, this, [this, moved] {
        updateMask();
        moved();
    });
    connect(m_window.get(), &QWindow::heightChanged, this, [this, moved] {
        updateMask();
        moved();
    });
    // A window manager that closes it anyway (a keyboard shortcut, a task switcher) closes the mirror.
    connect(m_window.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible && m_open)
            close();
    });
    applyShape();
}

void MirrorWindowController::show()
{
    if (!m_window)
        createWindow();
    if (m_cameraEngine)
        m_cameraEngine->refreshDevices();
    if (m_microphoneMonitor)
        m_microphoneMonitor->refreshDevices();
    if (!m_open) {
        m_open = true;
        emit openChanged(true);
    }
    applySettings();
    setFrame(MirrorGeometry::keptOnScreen(m_window->geometry(), visibleAreas()));
    m_window->show();
    m_window->raise();
    FloatingWindow::showOnAllDesktops(m_window.get());
    if (m_cameraEngine)
        m_cameraEngine->start();
}

void MirrorWindowController::close()
{
    if (!m_open)
        return;
    m_open = false;
    emit openChanged(false);
    if (m_cameraEngine)
        m_cameraEngine->stop();
    if (m_microphoneMonitor)
        m_microphoneMonitor->stop();
    if (m_frameSettle.isActive()) {
        m_frameSettle.stop();
        emit frameChanged(m_window->geometry());
    }
    m_savedFrame = m_window->geometry();
    m_window->hide();
    // The view, its QML engine and its scene would stay resident for a bubble that may not come back
    // for days; a later show builds them again in a few tens of milliseconds. Deleted later, as this
    // may run from the window's own signal.
    m_closedWindow = m_window.release();
    connect(m_closedWindow, &QObject::destroyed,
            [] { QThreadPool::globalInstance()->start([] { ProcessMemory::releaseFreed(); }); });
    m_closedWindow->deleteLater();
}

void MirrorWindowController::applySettings()
{
    if (m_cameraEngine)
        m_cameraEngine->setMirrored(m_settings.flip);
    // X11 has no way to keep a window out of screen captures, so the exclusion preference is only kept.
    if (m_window)
        applyShape();
    if (!m_open || !m_microphoneMonitor)
        return;
    if (!m_settings.showMicLevel) {
        m_microphoneMonitor->stop();
        return;
    }
    const auto kind = m_microphoneMonitor->state().kind();
    if (kind != MicrophoneMeterState::Kind::running && kind != MicrophoneMeterState::Kind::starting)
        m_microphoneMonitor->start();
}

void MirrorWindowController::applyShape()
{
    if (!m_window)
        return;
    setFrame(MirrorGeometry::withAspect(m_window->geometry(), m_settings.shape));
    updateMask();
}

void MirrorWindowController::setFrame(const QRect &frame)
{
    if (frame != m_window->geometry())
        m_window->setGeometry(frame);
}

void MirrorWindowController::updateMask()
{
    // Without a compositor the transparent corners would show black and still catch clicks: the mask
    // cuts them out of the window itself.
    if (m_window)
        m_window->setMask(MirrorGeometry::mask(m_settings.shape, m_window->size()));
}

void MirrorWindowController::startMove()
{
    if (m_window)
        m_window->startSystemMove();
}

void MirrorWindowController::scroll(qreal degrees)
{
    if (m_window)
        setFrame(MirrorGeometry::scrolled(m_window->geometry(), degrees,
                                          MirrorGeometry::aspect(m_settings.shape)));
}

void MirrorWindowController::showContextMenu()
{
    auto *menu = new QMenu;
    menu->setObjectName(QStringLiteral("mirrorMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<MirrorWindowController> self(this);
    menu->addAction(QStringLiteral("Take Snapshot"), menu, [self] {
        if (self && self->m_cameraEngine)
            self->m_cameraEngine->takeSnapshot();
    });
    menu->addAction(QStringLiteral("Mirror Settings…"), menu, [self] {
        if (self)
            self->openSettings();
    });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Close Mirror"), menu, [self] {
        if (self)
            self->close();
    });
    menu->popup(QCursor::pos());
}

void MirrorWindowController::showMeterMenu()
{
    // Only a refused microphone has something to offer, and only where a sound settings tool exists.
    if (!m_microphoneMonitor ||
        m_microphoneMonitor->state().kind() != MicrophoneMeterState::Kind::permissionDenied)
        return;
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("pavucontrol"));
    if (tool.isEmpty())
        return;
    auto *menu = new QMenu;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Open Microphone Settings"), menu,
                    [tool] { QProcess::startDetached(tool, {QStringLiteral("--tab=4")}); });
    menu->popup(QCursor::pos());
}

void MirrorWindowController::openSettings()
{
    if (m_onOpenSettings)
        m_onOpenSettings();
}
