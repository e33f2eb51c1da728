#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class AppCommanding;
class AppState;
class ClipboardListModel;

// What HubView.qml talks to: AppState and its history list for reading, the commands for acting. Rows
// are addressed by their index in the list. Holds the coordinator weakly; calls after it is gone do
// nothing.
class HubController final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Handed to HubView by its window")
    Q_PROPERTY(AppState *appState READ appState CONSTANT)
    Q_PROPERTY(ClipboardListModel *model READ model CONSTANT)
    // True while the hub is on screen; the view builds its text field and resets its scroll then.
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
public:
    HubController(AppState *appState, AppCommanding *commander, QObject *parent = nullptr);
    ~HubController() override;

    AppState *appState() const;
    // Null once the state is gone.
    ClipboardListModel *model() const;
    bool isShown() const { return m_shown; }
    // The window reports showing and hiding; showing selects the first row.
    void setShown(bool shown);

    // What the search field shows; typing replaces it, clearing empties it.
    Q_INVOKABLE void search(const QString &query);

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
    Q_INVOKABLE void requestClose();

signals:
    void shownChanged();
    void closeRequested();

private:
    // An empty entry for a row that is not there.
    ClipboardHistoryEntry entryAt(int row) const;

    QPointer<AppState> m_appState;
    QPointer<AppCommanding> m_commander;
    bool m_shown = false;
};
