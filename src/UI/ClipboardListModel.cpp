#include "UI/ClipboardListModel.h"

#include "App/AppState.h"
#include "Clipboard/ClipboardListSection.h"

#include <QSet>
#include <QTimer>

#include <algorithm>
#include <limits>

ClipboardListModel::ClipboardListModel(AppState *appState, QObject *parent)
    : QAbstractListModel(parent), m_appState(appState), m_midnight(new QTimer(this))
{
    m_midnight->setSingleShot(true);
    connect(m_midnight, &QTimer::timeout, this, &ClipboardListModel::refreshDay);
    connect(appState, &AppState::visibleClipboardEntriesChanged, this, &ClipboardListModel::rebuild);
    connect(appState, &AppState::selectedClipboardEntryIDChanged, this, &ClipboardListModel::updateSelection);
    m_selectedID = appState->selectedClipboardEntryID();
    rebuild();
}

int ClipboardListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
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
    const ClipboardHistoryEntry &entry = m_entries.at(index.row());
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

int ClipboardListModel::selectedRow() const
{
    for (int row = 0; row < m_entries.size(); ++row) {
        if (m_entries.at(row).id == m_selectedID)
            return row;
    }
    return -1;
}

ClipboardHistoryEntry ClipboardListModel::entryAt(int row) const
{
    return m_entries.value(row);
}

int ClipboardListModel::rowForQuickNumber(int number) const
{
    for (int row = 0; row < m_entries.size(); ++row) {
        if (m_quickNumbers.value(m_entries.at(row).id) == number)
            return row;
    }
    return -1;
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
    if (!m_appState)
        return;
    ClipboardHistoryEntries entries = m_appState->visibleClipboardEntries();
    QStringList titles;
    // While searching the list is flat, ranked by score; otherwise rows follow the sections, pinned first.
    const QDateTime now = m_now.isValid() ? m_now : QDateTime::currentDateTime();
    m_sectionsDate = now.date();
    const QDateTime wallClock = QDateTime::currentDateTime();
    m_midnight->start(int(std::min<qint64>(wallClock.msecsTo(wallClock.date().addDays(1).startOfDay()) + 1000,
                                           std::numeric_limits<int>::max())));
    if (m_appState->searchQuery().trimmed().isEmpty()) {
        ClipboardHistoryEntries ordered;
        ordered.reserve(entries.size());
        for (const ClipboardListSection &section : ClipboardListSection::group(entries, now)) {
            for (const ClipboardHistoryEntry &entry : section.entries) {
                ordered << entry;
                titles << section.title;
            }
        }
        entries = ordered;
    }
    const int oldCount = int(m_entries.size());
    const int oldSelectedRow = selectedRow();
    applyRows(entries, titles);
    if (oldCount != m_entries.size())
        emit countChanged();
    if (oldSelectedRow != selectedRow())
        emit selectedRowChanged();
}

// Turns the current rows into `entries` by removing, moving and inserting single rows, so that views
// keep their scroll position and delegates, then announces the rows whose contents differ.
void ClipboardListModel::applyRows(const ClipboardHistoryEntries &entries, const QStringList &titles)
{
    QSet<QUuid> wanted;
    for (const ClipboardHistoryEntry &entry : entries)
        wanted.insert(entry.id);
    for (int row = int(m_entries.size()) - 1; row >= 0; --row) {
        if (wanted.contains(m_entries.at(row).id))
            continue;
        beginRemoveRows({}, row, row);
        m_entries.removeAt(row);
        m_sectionTitles.removeAt(row);
        endRemoveRows();
    }

    QList<int> changedRows;
    const QHash<QUuid, int> numbers = quickNumbers(entries);
    for (int row = 0; row < entries.size(); ++row) {
        const ClipboardHistoryEntry &entry = entries.at(row);
        const QString title = titles.value(row);
        int from = row;
        while (from < m_entries.size() && m_entries.at(from).id != entry.id)
            ++from;
        if (from == m_entries.size()) {
            beginInsertRows({}, row, row);
            m_entries.insert(row, entry);
            m_sectionTitles.insert(row, title);
            endInsertRows();
            continue;
        }
        if (from != row) {
            beginMoveRows({}, from, from, {}, row);
            m_entries.move(from, row);
            m_sectionTitles.move(from, row);
            endMoveRows();
        }
        if (!(m_entries.at(row) == entry) || m_sectionTitles.at(row) != title ||
            m_quickNumbers.value(entry.id) != numbers.value(entry.id)) {
            m_entries[row] = entry;
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

void ClipboardListModel::updateSelection()
{
    if (!m_appState)
        return;
    const int before = selectedRow();
    m_selectedID = m_appState->selectedClipboardEntryID();
    const int after = selectedRow();
    if (before == after)
        return;
    for (const int row : {before, after}) {
        if (row >= 0)
            emit dataChanged(index(row), index(row), {IsSelectedRole});
    }
    emit selectedRowChanged();
}
