#include "Clipboard/ClipboardListModel.h"

#include "Clipboard/ClipboardListSection.h"
#include "Clipboard/ClipboardSearch.h"
#include "Core/GuiThread.h"

#include <QSet>
#include <QTimer>

#include <algorithm>
#include <limits>

ClipboardListModel::ClipboardListModel(QObject *parent)
    : QAbstractListModel(parent), m_midnight(new QTimer(this))
{
    m_midnight->setSingleShot(true);
    connect(m_midnight, &QTimer::timeout, this, &ClipboardListModel::refreshDay);
}

int ClipboardListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QHash<int, QByteArray> ClipboardListModel::roleNames() const
{
    return {{EntryIdRole, "entryId"},
            {TitleRole, "title"},
            {PreviewRole, "preview"},
            {TypeRole, "type"},
            {TypeNameRole, "typeName"},
            {SourceAppNameRole, "sourceAppName"},
            {IsPinnedRole, "isPinned"},
            {QuickNumberRole, "quickNumber"},
            {IsSelectedRole, "isSelected"},
            {SectionRole, "section"},
            {SwatchColorRole, "swatchColor"},
            {ThumbnailSourceRole, "thumbnailSource"},
            {AccessibleNameRole, "accessibleName"}};
}

QVariant ClipboardListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const ClipboardHistoryEntry &entry = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case TitleRole:
        return entry.title;
    case EntryIdRole:
        return entry.id.toString(QUuid::WithoutBraces);
    case PreviewRole:
        return entry.preview;
    case TypeRole:
        return enumName(entry.type);
    case TypeNameRole:
        return displayName(entry.type);
    case SourceAppNameRole:
        return entry.sourceAppName;
    case IsPinnedRole:
        return entry.isPinned;
    case QuickNumberRole:
        return m_quickNumbers.value(entry.id, 0);
    case IsSelectedRole:
        return !m_selectedID.isNull() && entry.id == m_selectedID;
    case SectionRole:
        return m_sectionTitles.value(index.row());
    case SwatchColorRole:
        return entry.type == ClipboardContentType::color ? swatchColor(entry.textContent.value_or(QString()))
                                                         : QColor();
    case ThumbnailSourceRole:
        // The bookmark changes with every capture, so a re-copied image never shows a stale thumbnail.
        return entry.type == ClipboardContentType::image ? QStringLiteral("image://thumbnail/%1/%2")
                                                               .arg(entry.id.toString(QUuid::WithoutBraces),
                                                                    entry.imageBookmark.value_or(QString()))
                                                         : QString();
    case AccessibleNameRole:
        return displayName(entry.type) + QStringLiteral(", from ") + entry.sourceAppName;
    default:
        return {};
    }
}

bool ClipboardListModel::isSearching() const
{
    return !ClipboardSearch::normalized(m_searchQuery).isEmpty();
}

int ClipboardListModel::selectedRow() const
{
    if (m_selectedID.isNull())
        return -1;
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).id == m_selectedID)
            return row;
    }
    return -1;
}

int ClipboardListModel::rowForQuickNumber(int number) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_quickNumbers.value(m_rows.at(row).id) == number)
            return row;
    }
    return -1;
}

void ClipboardListModel::setEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection)
{
    assertGuiThread();
    m_entries = entries;
    rebuild();
    emit entriesChanged();
    if (preferredSelection.isNull())
        selectFirstRow();
    else
        setSelectedEntryID(preferredSelection);
}

void ClipboardListModel::insertEntry(const ClipboardHistoryEntry &entry)
{
    assertGuiThread();
    m_entries.removeIf([&entry](const ClipboardHistoryEntry &e) { return e.id == entry.id; });
    // The latest write wins a tie, as in the store.
    const auto at =
        std::find_if(m_entries.begin(), m_entries.end(),
                     [&entry](const ClipboardHistoryEntry &e) { return e.timestamp <= entry.timestamp; });
    m_entries.insert(at, entry);
    rebuild();
    emit entriesChanged();
    // A changed entry can leave a search's results; the selection does not stay on a row that is gone.
    if (!m_selectedID.isNull() && selectedRow() < 0)
        selectFirstRow();
}

void ClipboardListModel::removeEntries(const QList<QUuid> &ids)
{
    assertGuiThread();
    const int selected = selectedRow();
    const bool selectionRemoved = ids.contains(m_selectedID);
    if (m_entries.removeIf([&ids](const ClipboardHistoryEntry &e) { return ids.contains(e.id); }) == 0)
        return;
    rebuild();
    emit entriesChanged();
    if (selectionRemoved)
        selectRow(std::min(std::max(selected, 0), int(m_rows.size()) - 1));
}

void ClipboardListModel::setSearchQuery(const QString &query)
{
    assertGuiThread();
    if (m_searchQuery == query)
        return;
    m_searchQuery = query;
    rebuild();
    // Selected before the change is announced, so that listeners see the new query's best match.
    selectFirstRow();
    emit searchQueryChanged();
}

void ClipboardListModel::setSelectedEntryID(const QUuid &id)
{
    if (m_selectedID == id)
        return;
    const int before = selectedRow();
    m_selectedID = id;
    const int after = selectedRow();
    for (const int row : {before, after}) {
        if (row >= 0)
            emit dataChanged(index(row), index(row), {IsSelectedRole});
    }
    emit selectedEntryIDChanged();
    if (before != after)
        emit selectedRowChanged();
}

void ClipboardListModel::selectRow(int row)
{
    setSelectedEntryID(row >= 0 && row < m_rows.size() ? m_rows.at(row).id : QUuid());
}

void ClipboardListModel::selectFirstRow()
{
    selectRow(0);
}

void ClipboardListModel::moveSelection(int delta)
{
    const int count = int(m_rows.size());
    if (count == 0)
        return;
    const int current = selectedRow();
    selectRow(current < 0 ? (delta > 0 ? 0 : count - 1) : std::clamp(current + delta, 0, count - 1));
}

QHash<QUuid, int> ClipboardListModel::quickNumbers(const ClipboardHistoryEntries &entries)
{
    QHash<QUuid, int> numbers;
    int next = 1;
    for (const ClipboardHistoryEntry &entry : entries) {
        if (next > 9)
            break;
        if (!entry.isPinned)
            numbers.insert(entry.id, next++);
    }
    return numbers;
}

QColor ClipboardListModel::swatchColor(const QString &code)
{
    QString hex = code.trimmed();
    if (hex.startsWith(u'#'))
        hex.remove(0, 1);
    if (hex.size() != 6 && hex.size() != 8)
        return {};
    bool ok = false;
    const uint value = hex.toUInt(&ok, 16);
    if (!ok)
        return {};
    if (hex.size() == 6)
        return QColor::fromRgb(QRgb(0xff000000u | value));
    return QColor((value >> 24) & 0xff, (value >> 16) & 0xff, (value >> 8) & 0xff, value & 0xff);
}

void ClipboardListModel::rebuild()
{
    ClipboardHistoryEntries rows = ClipboardSearch::rank(m_entries, m_searchQuery);
    QStringList titles;
    // While searching the list is flat, ranked by score; otherwise rows follow the sections, pinned first.
    const QDateTime now = m_now.isValid() ? m_now : QDateTime::currentDateTime();
    m_sectionsDate = now.date();
    const QDateTime wallClock = QDateTime::currentDateTime();
    m_midnight->start(int(std::min<qint64>(wallClock.msecsTo(wallClock.date().addDays(1).startOfDay()) + 1000,
                                           std::numeric_limits<int>::max())));
    if (!isSearching()) {
        ClipboardHistoryEntries ordered;
        ordered.reserve(rows.size());
        for (const ClipboardListSection &section : ClipboardListSection::group(rows, now)) {
            for (const ClipboardHistoryEntry &entry : section.entries) {
                ordered << entry;
                titles << section.title;
            }
        }
        rows = ordered;
    }
    const int oldCount = int(m_rows.size());
    const int oldSelectedRow = selectedRow();
    applyRows(rows, titles);
    if (oldCount != m_rows.size())
        emit countChanged();
    if (oldSelectedRow != selectedRow())
        emit selectedRowChanged();
}

// Turns the current rows into `rows` by removing, moving and inserting single rows, so that views
// keep their scroll position and delegates, then announces the rows whose contents differ.
void ClipboardListModel::applyRows(const ClipboardHistoryEntries &rows, const QStringList &titles)
{
    QSet<QUuid> wanted;
    for (const ClipboardHistoryEntry &entry : rows)
        wanted.insert(entry.id);
    for (int row = int(m_rows.size()) - 1; row >= 0; --row) {
        if (wanted.contains(m_rows.at(row).id))
            continue;
        beginRemoveRows({}, row, row);
        m_rows.removeAt(row);
        m_sectionTitles.removeAt(row);
        endRemoveRows();
    }

    QList<int> changedRows;
    const QHash<QUuid, int> numbers = quickNumbers(rows);
    for (int row = 0; row < rows.size(); ++row) {
        const ClipboardHistoryEntry &entry = rows.at(row);
        const QString title = titles.value(row);
        int from = row;
        while (from < m_rows.size() && m_rows.at(from).id != entry.id)
            ++from;
        if (from == m_rows.size()) {
            beginInsertRows({}, row, row);
            m_rows.insert(row, entry);
            m_sectionTitles.insert(row, title);
            endInsertRows();
            continue;
        }
        if (from != row) {
            beginMoveRows({}, from, from, {}, row);
            m_rows.move(from, row);
            m_sectionTitles.move(from, row);
            endMoveRows();
        }
        if (!(m_rows.at(row) == entry) || m_sectionTitles.at(row) != title ||
            m_quickNumbers.value(entry.id) != numbers.value(entry.id)) {
            m_rows[row] = entry;
            m_sectionTitles[row] = title;
            changedRows << row;
        }
    }
    m_quickNumbers = numbers;
    for (const int row : std::as_const(changedRows))
        emit dataChanged(index(row), index(row));
}

void ClipboardListModel::refreshDay()
{
    const QDateTime now = m_now.isValid() ? m_now : QDateTime::currentDateTime();
    if (now.date() != m_sectionsDate)
        rebuild();
}
