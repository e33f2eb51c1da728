#pragma once

#include "App/PermissionSummary.h"

#include <QObject>

#include <functional>
#include <memory>

class PermissionProbe;

// Keeps the three permission summaries (automatic paste, camera, microphone) current. The slow part
// of a query runs on a thread of its own, so a refresh never holds up the GUI thread; the answer comes
// back through summariesChanged, and only when something changed. GUI thread only.
class Permissions final : public QObject
{
    Q_OBJECT
public:
    // `canPostKeystrokes` says whether the display lets us type the paste shortcut.
    Permissions(std::unique_ptr<PermissionProbe> probe, std::function<bool()> canPostKeystrokes,
                QObject *parent = nullptr);
    ~Permissions() override;

    // Until the first query has answered, the devices read `unavailable`.
    PermissionSummaries summaries() const { return m_summaries; }
    // Starts a query; one asked for while another runs follows it, so the last answer is fresh.
    void refresh();
    bool isRefreshing() const { return m_running; }
    // Starts the desktop's settings program for the permission; false when it has none.
    bool openSettings(const QString &id) const;

signals:
    void summariesChanged();
    // After each query, changed or not.
    void refreshed();

private:
    struct Findings;
    PermissionSummaries summariesFor(const Findings &findings) const;
    void apply(const Findings &findings);

    std::shared_ptr<PermissionProbe> m_probe;
    std::function<bool()> m_canPostKeystrokes;
    PermissionSummaries m_summaries;
    bool m_running = false;
    bool m_pending = false;
};
