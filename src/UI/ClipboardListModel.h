#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"

#include <QAbstractListModel>
#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QPointer>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

class AppState;

// The hub's history list: AppState's visible entries with their day-section titles (none while a
// search is active), quick numbers and selection, as QML roles.
class QTimer;

class ClipboardListModel final : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the hub controller")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectedRowChanged)
public:
    enum Role
    {
        EntryIdRole = Qt::UserRole + 1,
        TitleRole,
        PreviewRole,
        TypeRole,
        TypeNameRole,
        SourceAppNameRole,
        IsPinnedRole,
        QuickNumberRole,
        IsSelectedRole,
        SectionRole,
        SwatchColorRole,
        ThumbnailSourceRole,
        AccessibleNameRole,
    };
    Q_ENUM(Role)

    explicit ClipboardListModel(AppState *appState, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int selectedRow() const;
    ClipboardHistoryEntry entryAt(int row) const;
    // The row carrying quick number n (1–9), or -1.
    int rowForQuickNumber(int number) const;

    // First nine unpinned entries, in list order, get 1–9.
    static QHash<QUuid, int> quickNumbers(const ClipboardHistoryEntries &entries);
    // "#RGB…" codes as the user wrote them; eight digits are RRGGBBAA. Invalid when not a colour code.
    static QColor swatchColor(const QString &code);

    // Section titles are computed against this clock; tests pin it.
    void setNow(const QDateTime &now) { m_now = now; }
    // "Today" becomes "Yesterday" at midnight: the sections are computed again when the date has
    // changed since they were. Runs by itself just after midnight and when the hub opens (a timer
    // does not count time the computer spent asleep).
    void refreshDay();

signals:
    void countChanged();
    void selectedRowChanged();

private:
    void rebuild();
    void updateSelection();

    QPointer<AppState> m_appState;
    ClipboardHistoryEntries m_entries;
    QStringList m_sectionTitles;
    QHash<QUuid, int> m_quickNumbers;
    QUuid m_selectedID;
    QDateTime m_now;
    QDate m_sectionsDate;
    QTimer *m_midnight;
};
