#include "Clipboard/ClipboardStore.h"

#include "TestEnvironment.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString fingerprintOf(const QString &seed)
{
    return QString::fromLatin1(QCryptographicHash::hash(seed.toUtf8(), QCryptographicHash::Sha256).toHex());
}

ClipboardCapture textCapture(const QString &text, const QDateTime &when)
{
    ClipboardCapture capture;
    capture.title = text;
    capture.preview = text;
    capture.type = ClipboardContentType::text;
    capture.sourceAppName = QStringLiteral("Editor");
    capture.timestamp = when;
    capture.textContent = text;
    capture.fingerprint = fingerprintOf(QStringLiteral("text|") + text);
    return capture;
}

ClipboardCapture imageCapture(const QByteArray &bytes, const QDateTime &when)
{
    ClipboardCapture capture;
    capture.title = QStringLiteral("Image");
    capture.preview = QStringLiteral("Image copied to clipboard");
    capture.type = ClipboardContentType::image;
    capture.sourceAppName = QStringLiteral("Viewer");
    capture.timestamp = when;
    capture.imageBookmark = QStringLiteral("pasteboard-image-7");
    capture.imageData = bytes;
    capture.fingerprint = fingerprintOf(QString::fromLatin1(bytes.toHex()));
    return capture;
}

// One capture of each kind, with the awkward values each column has to carry.
ClipboardCapture sampleCapture(const QString &kind)
{
    const QDateTime when = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123);
    if (kind == QLatin1String("link")) {
        ClipboardCapture link = textCapture(QStringLiteral("https://example.org/a?b=c"), when);
        link.type = ClipboardContentType::link;
        link.title = QStringLiteral("example.org");
        return link;
    }
    if (kind == QLatin1String("files")) {
        ClipboardCapture files;
        files.title = QStringLiteral("a\nb.txt");
        files.preview = QStringLiteral("2 files");
        files.type = ClipboardContentType::file;
        files.sourceAppName = QStringLiteral("Files");
        files.timestamp = when;
        files.fileURLStrings = {QStringLiteral("file:///tmp/a\nb.txt"),
                                QStringLiteral("file:///tmp/\"q\" \\ [x], y.txt"),
                                QStringLiteral("file:///tmp/ünï code.txt"), QString()};
        files.fingerprint = fingerprintOf(files.fileURLStrings.join(QLatin1Char('\n')));
        return files;
    }
    if (kind == QLatin1String("colour")) {
        ClipboardCapture colour = textCapture(QStringLiteral("#a1b2c3"), when);
        colour.type = ClipboardContentType::color;
        colour.title = QStringLiteral("#A1B2C3");
        return colour;
    }
    if (kind == QLatin1String("image"))
        return imageCapture(QByteArray("\x89PNG\r\n\x1a\n\0\0binary", 18), when);
    if (kind == QLatin1String("anonymous")) {
        ClipboardCapture anonymous = textCapture(QStringLiteral("from nowhere"), when);
        anonymous.sourceAppName = QString();
        anonymous.preview = QString();
        return anonymous;
    }
    return textCapture(QStringLiteral("first line\nsecond \U0001F600 line\r\nnul:") + QChar(0) +
                           QStringLiteral("end"),
                       when);
}

// Everything a refused open must leave alone: the bytes, the modification time, and the folder listing
// (no log or index files created beside the file).
struct FileSnapshot
{
    QByteArray bytes;
    QDateTime modified;
    QStringList folder;

    static FileSnapshot of(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QFileInfo info(path);
        return {file.readAll(), info.fileTime(QFileDevice::FileModificationTime),
                info.dir().entryList(QDir::Files | QDir::Hidden, QDir::Name)};
    }
    bool operator==(const FileSnapshot &other) const
    {
        return bytes == other.bytes && modified == other.modified && folder == other.folder;
    }
};

// A plain SQLite connection beside the store, for looking at (or tampering with) the file directly.
class RawDatabase final
{
public:
    explicit RawDatabase(const QString &path) : m_name(QStringLiteral("raw-%1").arg(++s_counter))
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        database.setDatabaseName(path);
        m_open = database.open();
    }
    ~RawDatabase()
    {
        QSqlDatabase::database(m_name, false).close();
        QSqlDatabase::removeDatabase(m_name);
    }
    bool isOpen() const { return m_open; }
    QStringList column(const QString &sql, int index = 0) const
    {
        QSqlQuery query(QSqlDatabase::database(m_name, false));
        QStringList values;
        if (!query.exec(sql)) {
            values.append(QStringLiteral("error: ") + query.lastError().text());
            return values;
        }
        while (query.next())
            values.append(query.value(index).toString());
        return values;
    }
    bool exec(const QString &sql) const { return QSqlQuery(QSqlDatabase::database(m_name, false)).exec(sql); }

private:
    static inline int s_counter = 0;
    QString m_name;
    bool m_open = false;
};

mode_t modeOf(const QString &path)
{
    struct stat info
    {
    };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_mode & 07777;
}

} // namespace

class TestClipboardStore final : public QObject
{
    Q_OBJECT

private:
    QString freshPath()
    {
        return m_environment.root() + QStringLiteral("/case-%1/history.sqlite").arg(++m_caseCounter);
    }
    std::unique_ptr<ClipboardStore> openStore(const QString &path,
                                              int limit = ClipboardStore::defaultHistoryLimit)
    {
        QString error;
        auto store = ClipboardStore::open(path, limit, &error);
        if (!store)
            qWarning() << "open failed:" << error;
        return store;
    }

    TestEnvironment m_environment;
    int m_caseCounter = 0;

private slots:
    void opensTheDefaultPathCreatingItsFolder()
    {
        QString error;
        const auto store = ClipboardStore::open(ClipboardStore::defaultPath(), 200, &error);
        QVERIFY2(store, qPrintable(error));
        QVERIFY(store->isPersistent());
        QCOMPARE(ClipboardStore::defaultPath(),
                 m_environment.dataHome() + QStringLiteral("/Halcy/history.sqlite"));
        QVERIFY(QFileInfo::exists(ClipboardStore::defaultPath()));
        QCOMPARE(modeOf(m_environment.dataHome() + QStringLiteral("/Halcy")), mode_t(0700));
    }

    void insertRoundTripsEveryField_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addRow("text with line breaks, emoji and a NUL") << "text";
        QTest::addRow("link") << "link";
        QTest::addRow("files whose names hold line breaks, quotes and commas") << "files";
        QTest::addRow("colour") << "colour";
        QTest::addRow("image") << "image";
        QTest::addRow("empty source name and preview") << "anonymous";
    }

    void insertRoundTripsEveryField()
    {
        QFETCH(QString, kind);
        const ClipboardCapture capture = sampleCapture(kind);
        const auto store = openStore(freshPath());
        QVERIFY(store);
        QString error;
        QVERIFY2(store->insert(capture, &error), qPrintable(error));

        const ClipboardHistoryEntries entries = store->entries(&error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QCOMPARE(entries.size(), 1);
        const ClipboardHistoryEntry &entry = entries.first();
        QVERIFY(!entry.id.isNull());
        QCOMPARE(entry.title, capture.title);
        QCOMPARE(entry.preview, capture.preview.isNull() ? QString() : capture.preview);
        QCOMPARE(entry.type, capture.type);
        QCOMPARE(entry.sourceAppName, capture.sourceAppName);
        QCOMPARE(entry.timestamp, capture.timestamp);
        QCOMPARE(entry.isPinned, false);
        QCOMPARE(entry.textContent, capture.textContent);
        QCOMPARE(entry.fileURLStrings, capture.fileURLStrings);
        QCOMPARE(entry.imageBookmark, capture.imageBookmark);

        const std::optional<ClipboardRecord> record = store->record(entry.id, &error);
        QVERIFY2(record, qPrintable(error));
        QCOMPARE(record->typeRawValue, rawValue(capture.type));
        QCOMPARE(record->fingerprint, capture.fingerprint);
        QCOMPARE(record->imageData, capture.imageData);
        QCOMPARE(record->toEntry(), entry);
    }

    void imageBytesStayOutOfEntries()
    {
        const QString path = freshPath();
        const auto store = openStore(path);
        QVERIFY(store);
        QByteArray bytes(300 * 1024, Qt::Uninitialized);
        for (int i = 0; i < bytes.size(); ++i)
            bytes[i] = char(i * 31 % 251);
        QVERIFY(store->insert(imageCapture(bytes, QDateTime::currentDateTime())));
        QVERIFY(store->insert(textCapture(QStringLiteral("no image"), QDateTime::currentDateTime())));

        const ClipboardHistoryEntries entries = store->entries();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(store->imageData(entries.at(1).id), std::optional<QByteArray>(bytes));
        QCOMPARE(store->imageData(entries.at(0).id), std::nullopt);
        QCOMPARE(store->imageData(QUuid::createUuid()), std::nullopt);
    }

    void duplicateRefreshesTheExistingRecord_data()
    {
        QTest::addColumn<bool>("pinned");
        QTest::addRow("unpinned record moves to the top") << false;
        QTest::addRow("pinned record stays pinned") << true;
    }

    void duplicateRefreshesTheExistingRecord()
    {
        QFETCH(bool, pinned);
        const auto store = openStore(freshPath());
        QVERIFY(store);
        const QDateTime start = QDateTime::currentDateTime().addSecs(-600);
        QVERIFY(store->insert(textCapture(QStringLiteral("again"), start)));
        QVERIFY(store->insert(textCapture(QStringLiteral("between"), start.addSecs(60))));
        const QUuid id = store->entries().last().id;
        if (pinned)
            QVERIFY(store->togglePin(id));

        ClipboardCapture repeat = textCapture(QStringLiteral("again"), start.addSecs(120));
        repeat.sourceAppName = QStringLiteral("Terminal");
        QString error;
        QVERIFY2(store->insert(repeat, &error), qPrintable(error));

        const ClipboardHistoryEntries entries = store->entries();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries.first().id, id);
        QCOMPARE(entries.first().timestamp, repeat.timestamp);
        QCOMPARE(entries.first().sourceAppName, QStringLiteral("Terminal"));
        QCOMPARE(entries.first().isPinned, pinned);
    }

    void trimKeepsTheNewestUnpinnedAndEveryPinned()
    {
        const auto store = openStore(freshPath(), 200);
        QVERIFY(store);
        const QDateTime start = QDateTime::currentDateTime().addDays(-1);
        QList<QUuid> pinnedIds;
        // The pinned records are the oldest of all, so a trim that ignored the pin would take them first.
        for (int i = 0; i < 5; ++i) {
            QVERIFY(store->insert(textCapture(QStringLiteral("pinned %1").arg(i), start.addSecs(i))));
            pinnedIds.append(store->entries().first().id);
            QVERIFY(store->togglePin(pinnedIds.last()));
        }
        for (int i = 0; i < 200; ++i)
            QVERIFY(store->insert(textCapture(QStringLiteral("item %1").arg(i), start.addSecs(100 + i))));
        QCOMPARE(store->entries().size(), 205);

        QVERIFY(store->insert(textCapture(QStringLiteral("newest"), start.addSecs(1000))));
        const ClipboardHistoryEntries entries = store->entries();
        QCOMPARE(entries.size(), 205);
        QCOMPARE(entries.first().title, QStringLiteral("newest"));
        QStringList titles;
        for (const ClipboardHistoryEntry &entry : entries)
            titles.append(entry.title);
        QVERIFY(!titles.contains(QStringLiteral("item 0")));
        QVERIFY(titles.contains(QStringLiteral("item 1")));
        for (const QUuid &id : std::as_const(pinnedIds))
            QVERIFY(store->record(id).has_value());
    }

    void equalTimestampsFavourTheLaterWrite()
    {
        const auto store = openStore(freshPath(), 2);
        QVERIFY(store);
        const QDateTime same = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("a"), same)));
        QVERIFY(store->insert(textCapture(QStringLiteral("b"), same)));
        QVERIFY(store->insert(textCapture(QStringLiteral("a"), same))); // refreshed: now the latest write
        QVERIFY(store->insert(textCapture(QStringLiteral("c"), same)));

        QStringList titles;
        for (const ClipboardHistoryEntry &entry : store->entries())
            titles.append(entry.title);
        QCOMPARE(titles, (QStringList{QStringLiteral("c"), QStringLiteral("a")}));
    }

    void clearRemovesUnpinnedUnlessAskedForAll_data()
    {
        QTest::addColumn<bool>("includingPinned");
        QTest::addColumn<QStringList>("remaining");
        QTest::addRow("pinned records survive") << false << QStringList{QStringLiteral("keep")};
        QTest::addRow("everything goes when pinned are included") << true << QStringList{};
    }

    void clearRemovesUnpinnedUnlessAskedForAll()
    {
        QFETCH(bool, includingPinned);
        QFETCH(QStringList, remaining);
        const auto store = openStore(freshPath());
        QVERIFY(store);
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("keep"), now.addSecs(-5))));
        QVERIFY(store->togglePin(store->entries().first().id));
        QVERIFY(store->insert(textCapture(QStringLiteral("drop 1"), now.addSecs(-3))));
        QVERIFY(store->insert(textCapture(QStringLiteral("drop 2"), now)));

        QString error;
        QVERIFY2(store->clear(includingPinned, &error), qPrintable(error));
        QStringList titles;
        for (const ClipboardHistoryEntry &entry : store->entries())
            titles.append(entry.title);
        QCOMPARE(titles, remaining);
    }

    void deleteEntriesSinceComparesAtOrAfter_data()
    {
        QTest::addColumn<qint64>("ageMs");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<bool>("includingPinned");
        QTest::addColumn<bool>("deleted");
        QTest::addRow("exactly 30 minutes old is deleted") << qint64(1'800'000) << false << false << true;
        QTest::addRow("30 minutes and 1 second old stays") << qint64(1'801'000) << false << false << false;
        QTest::addRow("30 minutes and 1 millisecond old stays")
            << qint64(1'800'001) << false << false << false;
        QTest::addRow("a minute old is deleted") << qint64(60'000) << false << false << true;
        QTest::addRow("pinned a minute old stays") << qint64(60'000) << true << false << false;
        QTest::addRow("pinned goes when pinned are included") << qint64(60'000) << true << true << true;
    }

    void deleteEntriesSinceComparesAtOrAfter()
    {
        QFETCH(qint64, ageMs);
        QFETCH(bool, pinned);
        QFETCH(bool, includingPinned);
        QFETCH(bool, deleted);
        const auto store = openStore(freshPath());
        QVERIFY(store);
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("older"), now.addDays(-1))));
        QVERIFY(store->insert(textCapture(QStringLiteral("subject"), now.addMSecs(-ageMs))));
        const QUuid subject = store->entries().first().id;
        if (pinned)
            QVERIFY(store->togglePin(subject));

        QString error;
        QVERIFY2(store->deleteEntriesSince(now.addSecs(-1800), includingPinned, &error), qPrintable(error));
        QCOMPARE(!store->record(subject).has_value(), deleted);
        QCOMPARE(store->entries().size(), deleted ? 1 : 2);
    }

    void togglePinFlipsBothWays()
    {
        const auto store = openStore(freshPath());
        QVERIFY(store);
        QVERIFY(store->insert(textCapture(QStringLiteral("x"), QDateTime::currentDateTime())));
        const QUuid id = store->entries().first().id;
        QVERIFY(store->togglePin(id));
        QCOMPARE(store->entries().first().isPinned, true);
        QVERIFY(store->togglePin(id));
        QCOMPARE(store->entries().first().isPinned, false);
    }

    void unknownIdIsReported_data()
    {
        QTest::addColumn<bool>("pin");
        QTest::addRow("toggle pin") << true;
        QTest::addRow("delete") << false;
    }

    void unknownIdIsReported()
    {
        QFETCH(bool, pin);
        const auto store = openStore(freshPath());
        QVERIFY(store);
        QVERIFY(store->insert(textCapture(QStringLiteral("x"), QDateTime::currentDateTime())));
        const QUuid unknown = QUuid::createUuid();
        QString error;
        QVERIFY(!(pin ? store->togglePin(unknown, &error) : store->deleteEntry(unknown, &error)));
        QVERIFY(error.contains(QStringLiteral("no clipboard item")));
        QCOMPARE(store->entries().size(), 1);
        QCOMPARE(store->entries().first().isPinned, false);

        error.clear();
        QCOMPARE(store->record(unknown, &error), std::nullopt);
        QVERIFY(error.isEmpty());
    }

    void deleteRemovesOnlyThatRecord()
    {
        const auto store = openStore(freshPath());
        QVERIFY(store);
        QVERIFY(store->insert(textCapture(QStringLiteral("one"), QDateTime::currentDateTime().addSecs(-1))));
        QVERIFY(store->insert(textCapture(QStringLiteral("two"), QDateTime::currentDateTime())));
        QVERIFY(store->deleteEntry(store->entries().first().id));
        QCOMPARE(store->entries().size(), 1);
        QCOMPARE(store->entries().first().title, QStringLiteral("one"));
    }

    void historySurvivesReopening()
    {
        const QString path = freshPath();
        ClipboardHistoryEntries before;
        const QByteArray image("image bytes");
        {
            const auto store = openStore(path);
            QVERIFY(store);
            const QDateTime now = QDateTime::currentDateTime();
            QVERIFY(store->insert(textCapture(QStringLiteral("pinned"), now.addSecs(-20))));
            QVERIFY(store->togglePin(store->entries().first().id));
            QVERIFY(store->insert(imageCapture(image, now.addSecs(-10))));
            QVERIFY(store->insert(textCapture(QStringLiteral("latest"), now)));
            before = store->entries();
        }
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("-wal")));

        const auto reopened = openStore(path);
        QVERIFY(reopened);
        QCOMPARE(reopened->entries(), before);
        QCOMPARE(reopened->imageData(before.at(1).id), std::optional<QByteArray>(image));
        // De-duplication still recognises what was stored in the earlier session.
        QVERIFY(reopened->insert(textCapture(QStringLiteral("pinned"), QDateTime::currentDateTime())));
        QCOMPARE(reopened->entries().size(), 3);
    }

    void filesAreReadableByTheOwnerOnly()
    {
        const QString path = freshPath();
        const mode_t previousMask = ::umask(0);
        auto store = openStore(path);
        const bool inserted =
            store && store->insert(textCapture(QStringLiteral("secret"), QDateTime::currentDateTime()));
        ::umask(previousMask);
        QVERIFY(inserted);
        QCOMPARE(modeOf(path), mode_t(0600));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("-wal")));
        QCOMPARE(modeOf(path + QStringLiteral("-wal")), mode_t(0600));
        QCOMPARE(modeOf(path + QStringLiteral("-shm")), mode_t(0600));
        QCOMPARE(modeOf(QFileInfo(path).absolutePath()), mode_t(0700));
    }

    void existingFileIsMadePrivate()
    {
        const QString path = freshPath();
        openStore(path).reset();
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                QFileDevice::ReadGroup | QFileDevice::ReadOther));
        QCOMPARE(modeOf(path), mode_t(0644));
        QVERIFY(openStore(path));
        QCOMPARE(modeOf(path), mode_t(0600));
    }

    void schemaIsRecordedInTheFile()
    {
        const QString path = freshPath();
        openStore(path).reset();
        RawDatabase raw(path);
        QVERIFY(raw.isOpen());
        QCOMPARE(raw.column(QStringLiteral("SELECT value FROM metadata WHERE key = 'schemaVersion'")),
                 QStringList{QStringLiteral("1.0.0")});
        QCOMPARE(raw.column(QStringLiteral("PRAGMA table_info(ClipboardRecord)"), 1),
                 (QStringList{QStringLiteral("id"), QStringLiteral("title"), QStringLiteral("preview"),
                              QStringLiteral("typeRawValue"), QStringLiteral("sourceAppName"),
                              QStringLiteral("timestamp"), QStringLiteral("isPinned"),
                              QStringLiteral("fingerprint"), QStringLiteral("textContent"),
                              QStringLiteral("fileURLStrings"), QStringLiteral("imageBookmark"),
                              QStringLiteral("imageData")}));
        QCOMPARE(raw.column(QStringLiteral("PRAGMA journal_mode")), QStringList{QStringLiteral("wal")});
        // The fingerprint is indexed but not unique; ids are unique.
        const QStringList indexes =
            raw.column(QStringLiteral("SELECT name || ':' || \"unique\" FROM "
                                      "pragma_index_list('ClipboardRecord') ORDER BY name"));
        QVERIFY2(indexes.contains(QStringLiteral("ClipboardRecord_fingerprint:0")),
                 qPrintable(indexes.join(' ')));
        QVERIFY2(indexes.contains(QStringLiteral("ClipboardRecord_timestamp:0")),
                 qPrintable(indexes.join(' ')));
        QVERIFY2(indexes.contains(QStringLiteral("sqlite_autoindex_ClipboardRecord_1:1")),
                 qPrintable(indexes.join(' ')));
    }

    void unsuitableFileIsRefusedAndLeftAlone_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("expectedError");
        QTest::addRow("history from a newer version") << "newer"
                                                      << "newer version of Halcy (schema 2.0.0)";
        QTest::addRow("random bytes") << "random"
                                      << "not a Halcy clipboard history";
        QTest::addRow("text file") << "text"
                                   << "not a Halcy clipboard history";
        QTest::addRow("another program's database") << "foreign"
                                                    << "not a Halcy clipboard history";
        QTest::addRow("SQLite header followed by garbage") << "garbage"
                                                           << "cannot be read";
        QTest::addRow("history with its table gone") << "damaged"
                                                     << "damaged";
    }

    void unsuitableFileIsRefusedAndLeftAlone()
    {
        QFETCH(QString, kind);
        QFETCH(QString, expectedError);
        const QString path = freshPath();
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        if (kind == QLatin1String("newer") || kind == QLatin1String("damaged")) {
            {
                const auto store = openStore(path);
                QVERIFY(store);
                QVERIFY(store->insert(textCapture(QStringLiteral("kept"), QDateTime::currentDateTime())));
            }
            RawDatabase raw(path);
            QVERIFY(raw.exec(
                kind == QLatin1String("newer")
                    ? QStringLiteral("UPDATE metadata SET value = '2.0.0' WHERE key = 'schemaVersion'")
                    : QStringLiteral("DROP TABLE ClipboardRecord")));
        } else if (kind == QLatin1String("foreign")) {
            RawDatabase raw(path);
            QVERIFY(raw.exec(QStringLiteral("CREATE TABLE notes (body TEXT)")));
            QVERIFY(raw.exec(QStringLiteral("INSERT INTO notes VALUES ('mine')")));
        } else {
            QVERIFY(file.open(QIODevice::WriteOnly));
            if (kind == QLatin1String("random")) {
                QByteArray bytes(8192, Qt::Uninitialized);
                QRandomGenerator(42).fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
                file.write(bytes);
            } else if (kind == QLatin1String("text")) {
                file.write("These are my notes, not a database.\n");
            } else {
                file.write(QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\x5a'));
            }
            file.close();
        }
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("-wal")));
        const FileSnapshot before = FileSnapshot::of(path);
        QVERIFY(!before.bytes.isEmpty());
        QTest::qSleep(20); // a write would then show in the modification time

        QString error;
        QVERIFY(!ClipboardStore::open(path, 200, &error));
        QVERIFY2(error.contains(expectedError), qPrintable(error));
        QVERIFY(FileSnapshot::of(path) == before);
    }

    void unwritableLocationIsRefused_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addRow("folder path runs through a file") << "file";
        QTest::addRow("read-only file system") << "proc";
        QTest::addRow("path is a folder") << "folder";
        QTest::addRow("new history in a folder without write permission") << "lockedFolder";
        QTest::addRow("history in a folder without write permission") << "historyInLockedFolder";
        QTest::addRow("history file without write permission") << "lockedHistory";
    }

    void unwritableLocationIsRefused()
    {
        QFETCH(QString, kind);
        const QString folder = QFileInfo(freshPath()).absolutePath();
        QString path = folder + QStringLiteral("/history.sqlite");
        QVERIFY(QDir().mkpath(folder));
        const bool existing =
            kind == QLatin1String("historyInLockedFolder") || kind == QLatin1String("lockedHistory");
        if (existing) {
            const auto store = openStore(path);
            QVERIFY(store);
            QVERIFY(store->insert(textCapture(QStringLiteral("kept"), QDateTime::currentDateTime())));
        }
        const FileSnapshot before = FileSnapshot::of(path);
        if (kind == QLatin1String("file")) {
            QFile blocker(folder + QStringLiteral("/blocker"));
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            path = blocker.fileName() + QStringLiteral("/Halcy/history.sqlite");
        } else if (kind == QLatin1String("proc")) {
            if (!QFileInfo(QStringLiteral("/proc/self")).exists())
                QSKIP("no /proc here");
            path = QStringLiteral("/proc/halcy-test/history.sqlite");
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkpath(path));
        } else {
            if (::geteuid() == 0)
                QSKIP("permissions do not bind root");
            const QString locked = kind == QLatin1String("lockedHistory") ? path : folder;
            QVERIFY(QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }

        QString error;
        const auto store = ClipboardStore::open(path, 200, &error);
        QFile::setPermissions(folder,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QVERIFY(!store);
        QVERIFY(!error.isEmpty());
        if (existing)
            QVERIFY(FileSnapshot::of(folder + QStringLiteral("/history.sqlite")) == before);
        else
            QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).filter(QStringLiteral("history")),
                     QStringList{});
    }

    void emptyFileBecomesAHistory()
    {
        const QString path = freshPath();
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        const auto store = openStore(path);
        QVERIFY(store);
        QVERIFY(store->insert(textCapture(QStringLiteral("x"), QDateTime::currentDateTime())));
    }

    void inMemoryStoresAreIndependent()
    {
        QString error;
        const auto first = ClipboardStore::openInMemory(3, &error);
        const auto second = ClipboardStore::openInMemory(3, &error);
        QVERIFY2(first && second, qPrintable(error));
        QVERIFY(!first->isPersistent());
        QVERIFY(first->insert(textCapture(QStringLiteral("only here"), QDateTime::currentDateTime())));
        QCOMPARE(first->entries().size(), 1);
        QVERIFY(second->entries().isEmpty());
        for (int i = 0; i < 5; ++i)
            QVERIFY(
                first->insert(textCapture(QString::number(i), QDateTime::currentDateTime().addSecs(i + 1))));
        QCOMPARE(first->entries().size(), 3);
    }

    // A writer killed at random moments never leaves a damaged file, and every capture it reported as
    // saved is still there.
    void survivesTheWriterBeingKilled()
    {
        const QString path = freshPath();
        constexpr int limit = 20;
        QRandomGenerator random = QRandomGenerator::securelySeeded();
        for (int round = 1; round <= 5; ++round) {
            QProcess writer;
            writer.setProcessChannelMode(QProcess::SeparateChannels);
            writer.start(QStringLiteral(STORE_WRITER_PATH),
                         {path, QString::number(limit), QStringLiteral("r%1").arg(round)});
            QVERIFY2(writer.waitForStarted(5000), qPrintable(writer.errorString()));
            QByteArray output;
            QTRY_VERIFY2_WITH_TIMEOUT((output += writer.readAllStandardOutput()).contains('\n'),
                                      writer.readAllStandardError().constData(), 10000);
            const int delayMs = random.bounded(5, 250);
            QTest::qWait(delayMs);
            ::kill(pid_t(writer.processId()), SIGKILL);
            QVERIFY(writer.waitForFinished(5000));
            QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
            output += writer.readAllStandardOutput();
            // A line cut short by the kill does not count as reported.
            const qint64 lastSaved = output.left(output.lastIndexOf('\n')).split('\n').last().toLongLong();
            qInfo("round %d: killed after %d ms, %lld captures saved", round, delayMs, lastSaved);

            QVERIFY(QFileInfo::exists(path + QStringLiteral("-wal")));
            QString error;
            const auto store = ClipboardStore::open(path, limit, &error);
            QVERIFY2(store, qPrintable(error));
            // Checked beside the open store, so that the store is the one that found the log left by the
            // kill.
            {
                RawDatabase raw(path);
                QVERIFY(raw.isOpen());
                QCOMPARE(raw.column(QStringLiteral("PRAGMA integrity_check")),
                         QStringList{QStringLiteral("ok")});
                QCOMPARE(
                    raw.column(QStringLiteral("SELECT fingerprint FROM ClipboardRecord GROUP BY fingerprint "
                                              "HAVING count(*) > 1")),
                    QStringList{});
            }
            const ClipboardHistoryEntries entries = store->entries(&error);
            QVERIFY2(error.isEmpty(), qPrintable(error));
            qsizetype unpinned = 0;
            for (const ClipboardHistoryEntry &entry : entries) {
                unpinned += entry.isPinned ? 0 : 1;
                const std::optional<ClipboardRecord> record = store->record(entry.id, &error);
                QVERIFY2(record, qPrintable(error));
                if (entry.type == ClipboardContentType::image) {
                    QVERIFY(record->imageData.has_value());
                    QCOMPARE(record->imageData->size(), 96 * 1024);
                    QCOMPARE(record->imageBookmark, std::optional<QString>(entry.title));
                } else {
                    QCOMPARE(record->textContent, std::optional<QString>(entry.title));
                }
            }
            QVERIFY(unpinned <= limit);
            // The newest record is the last reported capture, or the one after it if that one committed
            // before the kill but had not been reported yet.
            const QString prefix = QStringLiteral("capture r%1-").arg(round);
            QVERIFY(!entries.isEmpty());
            const QString newest = entries.first().title;
            QVERIFY2(newest == prefix + QString::number(lastSaved) ||
                         newest == prefix + QString::number(lastSaved + 1),
                     qPrintable(newest + QStringLiteral(" after %1 saved").arg(lastSaved)));
        }
    }
};

QTEST_GUILESS_MAIN(TestClipboardStore)
#include "tst_clipboardstore.moc"
