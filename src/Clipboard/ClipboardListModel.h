#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"

#include <QAbstractListModel>
#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

class QTimer;

// The clipboard history as the hub shows it, and the one place that decides what it shows: every entry
// (newest first), the rows the search query leaves (ranked while searching, otherwise pinned first and
// then by day, each row with its section title), their quick numbers, and the selected row. Every change
// reaches views as inserted, moved, removed or changed rows, never as a reset, so an open hub keeps its
// place. GUI thread only.
class ClipboardListModel final : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application state")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectedRowChanged)
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(bool searching READ isSearching NOTIFY searchQueryChanged)
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

    // No default: QML must not make lists of its own.
    explicit ClipboardListModel(QObject *parent);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Every entry, newest first, whether shown or not.
    const ClipboardHistoryEntries &entries() const { return m_entries; }
    // The rows, in the order they are shown.
    const ClipboardHistoryEntries &visibleEntries() const { return m_rows; }
    ClipboardHistoryEntry entryAt(int row) const { return m_rows.value(row); }
    QString searchQuery() const { return m_searchQuery; }
    bool isSearching() const;
    // Null when nothing is selected.
    QUuid selectedEntryID() const { return m_selectedID; }
    int selectedRow() const;
    // The row carrying quick number n (1–9), or -1.
    int rowForQuickNumber(int number) const;

    // A whole history at once: the preferred entry is selected, else the first row.
    void setEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection = QUuid());
    // The store's announcements. An inserted or changed entry takes its place by time and leaves the
    // selection where it was; a removed selected row hands the selection to the row that takes its place,
    // or to the last row.
    void insertEntry(const ClipboardHistoryEntry &entry);
    void removeEntries(const QList<QUuid> &ids);
    // A new query selects its first row.
    void setSearchQuery(const QString &query);

    void setSelectedEntryID(const QUuid &id);
    // The first row, or nothing when there are no rows.
    void selectFirstRow();
    // Up and Down: one row at a time, stopping at either end; with nothing selected, from the nearer end.
    void moveSelection(int delta);

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
    void selectedEntryIDChanged();
    void searchQueryChanged();
    void entriesChanged();

private:
    void rebuild();
    void applyRows(const ClipboardHistoryEntries &rows, const QStringList &titles);
    void selectRow(int row);

    ClipboardHistoryEntries m_entries;
    QString m_searchQuery;
    ClipboardHistoryEntries m_rows;
    QStringList m_sectionTitles;
    QHash<QUuid, int> m_quickNumbers;
    QUuid m_selectedID;
    QDateTime m_now;
    QDate m_sectionsDate;
    QTimer *m_midnight;
};
