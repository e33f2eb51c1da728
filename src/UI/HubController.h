#pragma once

#include <QObject>
#include <QPointer>

class AppCommanding;
class AppState;
class ClipboardListModel;

// What HubView.qml talks to: AppState for reading, the commands for acting. Rows are addressed by
// their index in the list model. Holds the coordinator weakly; calls after it is gone do nothing.
class HubController final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(AppState *appState READ appState CONSTANT)
    Q_PROPERTY(ClipboardListModel *model READ model CONSTANT)
    Q_PROPERTY(bool darkMode READ darkMode WRITE setDarkMode NOTIFY darkModeChanged)
public:
    HubController(AppState *appState, AppCommanding *commander, QObject *parent = nullptr);
    ~HubController() override;

    AppState *appState() const;
    ClipboardListModel *model() const { return m_model; }
    bool darkMode() const { return m_darkMode; }
    void setDarkMode(bool dark);

    // A click: select, then copy formatted.
    Q_INVOKABLE void copyRow(int row);
    // Alt-click and the context menu's paste items.
    Q_INVOKABLE void pasteRow(int row, bool plainText);
    Q_INVOKABLE void togglePinRow(int row);
    Q_INVOKABLE void deleteRow(int row);
    Q_INVOKABLE void clearRecentHistory();
    Q_INVOKABLE void clearHistory();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void quit();
    Q_INVOKABLE void toggleMirror();
    Q_INVOKABLE void toggleDesktopCover();

    // Keyboard: Up/Down move the selection, Return copies it, Alt+Return pastes it as plain text,
    // Alt+1…9 paste the numbered entry.
    Q_INVOKABLE void moveSelection(int delta);
    Q_INVOKABLE void activateSelection(bool pastePlainText);
    Q_INVOKABLE bool pasteQuickNumber(int number);
    // When the hub opens: the newest visible entry is selected.
    Q_INVOKABLE void selectNewest();
    Q_INVOKABLE void requestClose();

signals:
    void darkModeChanged();
    void closeRequested();

private:
    QPointer<AppState> m_appState;
    QPointer<AppCommanding> m_commander;
    ClipboardListModel *m_model;
    bool m_darkMode = false;
};
