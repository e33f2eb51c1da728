#include "App/Permissions.h"

#include "Core/Logging.h"
#include "Platform/PermissionProbe.h"

#include <QProcess>
#include <QThread>

struct Permissions::Findings
{
    DeviceAccess camera = DeviceAccess::unexpected;
    DeviceAccess audioServer = DeviceAccess::unexpected;
};

namespace {

PermissionState cameraState(DeviceAccess access)
{
    switch (access) {
    case DeviceAccess::open:
        return PermissionState::allowed;
    case DeviceAccess::refused:
        return PermissionState::needed;
    case DeviceAccess::none:
    case DeviceAccess::unexpected:
        break;
    }
    return PermissionState::unavailable;
}

} // namespace

Permissions::Permissions(std::unique_ptr<PermissionProbe> probe, std::function<bool()> canPostKeystrokes,
                         QObject *parent)
    : QObject(parent), m_probe(std::move(probe)), m_canPostKeystrokes(std::move(canPostKeystrokes))
{
    m_summaries = summariesFor({});
}

Permissions::~Permissions() = default;

PermissionSummaries Permissions::summariesFor(const Findings &findings) const
{
    const bool canPaste = m_canPostKeystrokes && m_canPostKeystrokes();
    PermissionState microphone = PermissionState::unavailable;
    if (findings.audioServer == DeviceAccess::refused)
        microphone = PermissionState::needed;
    else if (findings.audioServer == DeviceAccess::open && m_probe->hasAudioInput())
        microphone = PermissionState::allowed;

    return {
        // X has no consent page for typing into other windows: the server either offers XTest or not.
        {QStringLiteral("accessibility"),
         QStringLiteral("Accessibility"),
         QStringLiteral("Automatic paste from clipboard history. Needs the XTest extension of the X server; "
                        "without it, Halcy copies and you press Ctrl+V."),
         canPaste ? PermissionState::allowed : PermissionState::needed,
         {}},
        {QStringLiteral("camera"), QStringLiteral("Camera"), QStringLiteral("Mirror preview and snaps."),
         cameraState(findings.camera), m_probe->settingsCommand(SettingsPage::camera)},
        {QStringLiteral("microphone"), QStringLiteral("Microphone"),
         QStringLiteral("Mirror audio level meter."), microphone,
         m_probe->settingsCommand(SettingsPage::microphone)},
    };
}

void Permissions::refresh()
{
    if (m_running) {
        m_pending = true;
        return;
    }
    m_running = true;
    auto findings = std::make_shared<Findings>();
    std::shared_ptr<PermissionProbe> probe = m_probe;
    QThread *worker = QThread::create([probe, findings] {
        findings->camera = probe->cameraAccess();
        findings->audioServer = probe->audioServerAccess();
    });
    // The thread outlives this object if it must; the answer is simply dropped then.
    connect(worker, &QThread::finished, worker, &QObject::deleteLater);
    connect(worker, &QThread::finished, this, [this, findings] { apply(*findings); });
    worker->start();
}

void Permissions::apply(const Findings &findings)
{
    m_running = false;
    const PermissionSummaries fresh = summariesFor(findings);
    if (fresh != m_summaries) {
        m_summaries = fresh;
        emit summariesChanged();
    }
    emit refreshed();
    if (m_pending) {
        m_pending = false;
        refresh();
    }
}

bool Permissions::openSettings(const QString &id) const
{
    for (const PermissionSummary &summary : m_summaries) {
        if (summary.id != id || !summary.canOpenSettings())
            continue;
        const bool started =
            QProcess::startDetached(summary.settingsCommand.first(), summary.settingsCommand.mid(1));
        if (!started)
            qCWarning(lcApp) << "Could not start" << summary.settingsCommand.first();
        return started;
    }
    return false;
}
