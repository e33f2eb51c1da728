#include "UI/ClipboardListModel.h"

#include "App/AppState.h"
#include "Clipboard/ClipboardListSection.h"

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
    const int oldCount = int(m_entries.size());
    beginResetModel();
    m_entries = m_appState->visibleClipboardEntries();
    m_quickNumbers = quickNumbers(m_entries);
    m_sectionTitles.clear();
    // While searching the list is flat, ranked by score; otherwise rows follow the sections, pinned first.
    const QDateTime now = m_now.isValid() ? m_now : QDateTime::currentDateTime();
    m_sectionsDate = now.date();
    const QDateTime wallClock = QDateTime::currentDateTime();
    m_midnight->start(int(std::min<qint64>(wallClock.msecsTo(wallClock.date().addDays(1).startOfDay()) + 1000,
                                           std::numeric_limits<int>::max())));
    if (m_appState->searchQuery().trimmed().isEmpty()) {
        ClipboardHistoryEntries ordered;
        ordered.reserve(m_entries.size());
        for (const ClipboardListSection &section : ClipboardListSection::group(m_entries, now)) {
            for (const ClipboardHistoryEntry &entry : section.entries) {
                ordered << entry;
                m_sectionTitles << section.title;
            }
        }
        m_entries = ordered;
    }
    m_selectedID = m_appState->selectedClipboardEntryID();
    endResetModel();
    if (oldCount != m_entries.size())
        emit countChanged();
    emit selectedRowChanged();
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
