#include "Clipboard/ClipboardStore.h"
#include "EntryFactory.h"
#include "TestEnvironment.h"

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

QStringList titlesOf(const ClipboardStore &store)
{
    QStringList titles;
    for (const ClipboardHistoryEntry &entry : store.entries())
        titles.append(entry.title);
    return titles;
}

// Runs one statement on a plain SQLite connection beside the store: the first column of its rows, or
// the error.
QStringList sql(const QString &path, const QString &statement)
{
    static int counter = 0;
    const QString name = QStringLiteral("raw-%1").arg(++counter);
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(path);
        QSqlQuery query = database.open() ? QSqlQuery(database) : QSqlQuery();
        if (!query.exec(statement))
            rows.append(QStringLiteral("error: ") + database.lastError().text() + query.lastError().text());
        while (query.next())
            rows.append(query.value(0).toString());
    }
    QSqlDatabase::removeDatabase(name);
    return rows;
}

// Everything a refused open must leave alone: the file's bytes and modification time, and the listing of
// its folder (no log or index files created beside it).
QStringList snapshot(const QString &path)
{
    QFile file(path);
    const QFileInfo info(path);
    return info.dir().entryList(QDir::Files | QDir::Hidden, QDir::Name)
           << info.fileTime(QFileDevice::FileModificationTime).toString(Qt::ISODateWithMs)
           << QString::fromLatin1(file.open(QIODevice::ReadOnly) ? file.readAll().toHex() : QByteArray());
}

mode_t modeOf(const QString &path)
{
    struct stat info
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 0;
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
    std::unique_ptr<ClipboardStore> openStore(const QString &path, int limit = 200)
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
    void historyIsPrivateToItsOwner()
    {
        const QString path = ClipboardStore::defaultPath();
        QCOMPARE(path, m_environment.dataHome() + QStringLiteral("/Halcy/history.sqlite"));
        const mode_t previousMask = ::umask(0);
        auto store = openStore(path);
        const bool inserted = store && store->insert(textCapture(QStringLiteral("secret")));
        ::umask(previousMask);
        QVERIFY(inserted);
        QCOMPARE(modeOf(QFileInfo(path).absolutePath()), mode_t(0700));
        for (const char *suffix : {"", "-wal", "-shm"})
            QVERIFY2(modeOf(path + QLatin1String(suffix)) == 0600, suffix);

        // A history left readable by others is made private on the next start.
        store.reset();
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                QFileDevice::ReadGroup | QFileDevice::ReadOther));
        QVERIFY(openStore(path));
        QCOMPARE(modeOf(path), mode_t(0600));
    }

    void everyFieldSurvivesReopening_data()
    {
        QTest::addColumn<ClipboardCapture>("capture");
        const QDateTime when = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123);
        ClipboardCapture text = textCapture(
            QStringLiteral("line\nsecond \U0001F600 line\r\nnul:") + QChar(0) + QStringLiteral("end"), when);
        QTest::addRow("text with line breaks, emoji and a NUL") << text;

        ClipboardCapture files = text;
        files.type = ClipboardContentType::file;
        files.textContent.reset();
        files.fileURLStrings = {QStringLiteral("file:///tmp/a\nb.txt"),
                                QStringLiteral("file:///tmp/\"q\" \\ [x], y.txt"),
                                QStringLiteral("file:///tmp/ünï code.txt"), QString()};
        QTest::addRow("files whose names hold line breaks, quotes and commas") << files;

        ClipboardCapture image = text;
        image.type = ClipboardContentType::image;
        image.textContent.reset();
        image.imageBookmark = QStringLiteral("pasteboard-image-7");
        static const char pngWithNulBytes[] = "\x89PNG\r\n\x1a\n\0\0binary";
        image.imageData = QByteArray(pngWithNulBytes, sizeof pngWithNulBytes - 1);
        QTest::addRow("image") << image;

        ClipboardCapture colour = textCapture(QStringLiteral("#a1b2c3"), when);
        colour.type = ClipboardContentType::color;
        colour.sourceAppName = QString();
        colour.preview = QString();
        QTest::addRow("colour without source name or preview") << colour;
    }

    void everyFieldSurvivesReopening()
    {
        QFETCH(ClipboardCapture, capture);
        const QString path = freshPath();
        QString error;
        {
            const auto store = openStore(path);
            QVERIFY2(store && store->insert(capture, &error), qPrintable(error));
        }
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("-wal")));
        QCOMPARE(
            sql(path, QStringLiteral("SELECT name FROM pragma_table_info('ClipboardRecord')")),
            (QStringList{"id", "title", "preview", "typeRawValue", "sourceAppName", "timestamp", "isPinned",
                         "fingerprint", "textContent", "fileURLStrings", "imageBookmark", "imageData"}));
        // Only the id is declared unique; the insert logic, not the schema, keeps fingerprints apart.
        QCOMPARE(
            sql(path, QStringLiteral("SELECT info.name FROM pragma_index_list('ClipboardRecord') AS list, "
                                     "pragma_index_info(list.name) AS info WHERE list.\"unique\"")),
            QStringList{"id"});

        const auto store = openStore(path);
        QVERIFY(store);
        const ClipboardHistoryEntries entries = store->entries();
        QCOMPARE(entries.size(), 1);
        const std::optional<ClipboardRecord> record = store->record(entries.first().id, &error);
        QVERIFY2(record, qPrintable(error));
        QCOMPARE(record->title, capture.title);
        QCOMPARE(record->preview, capture.preview);
        QCOMPARE(record->typeRawValue, enumName(capture.type));
        QCOMPARE(record->sourceAppName, capture.sourceAppName);
        QCOMPARE(record->timestamp, capture.timestamp);
        QCOMPARE(record->isPinned, false);
        QCOMPARE(record->fingerprint, capture.fingerprint);
        QCOMPARE(record->textContent, capture.textContent);
        QCOMPARE(record->fileURLStrings, capture.fileURLStrings);
        QCOMPARE(record->imageBookmark, capture.imageBookmark);
        QCOMPARE(record->imageData, capture.imageData);
        QCOMPARE(entries.first(), record->toEntry());
        QCOMPARE(store->imageData(record->id), capture.imageData);
    }

    void duplicateRefreshesTheExistingRecord_data()
    {
        QTest::addColumn<bool>("pinned");
        QTest::addRow("unpinned record moves to the top") << false;
        QTest::addRow("pinned record stays pinned") << true;
    }

    // Also across a restart: the copy from the earlier session is recognised.
    void duplicateRefreshesTheExistingRecord()
    {
        QFETCH(bool, pinned);
        const QString path = freshPath();
        const QDateTime start = QDateTime::currentDateTime().addSecs(-600);
        QUuid id;
        {
            const auto store = openStore(path);
            QVERIFY(store);
            QVERIFY(store->insert(textCapture(QStringLiteral("again"), start)));
            QVERIFY(store->insert(textCapture(QStringLiteral("between"), start.addSecs(60))));
            id = store->entries().last().id;
            QVERIFY(!pinned || store->togglePin(id));
        }
        const auto store = openStore(path);
        QVERIFY(store);
        const ClipboardCapture repeat =
            textCapture(QStringLiteral("again"), start.addSecs(120), QStringLiteral("Files"));
        QVERIFY(store->insert(repeat));

        const ClipboardHistoryEntries entries = store->entries();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries.first().id, id);
        QCOMPARE(entries.first().timestamp, repeat.timestamp);
        QCOMPARE(entries.first().sourceAppName, QStringLiteral("Files"));
        QCOMPARE(entries.first().isPinned, pinned);
    }

    void trimKeepsTheNewestUnpinnedAndEveryPinned()
    {
        const auto store = openStore(freshPath(), 200);
        QVERIFY(store);
        const QDateTime start = QDateTime::currentDateTime().addDays(-1);
        // The pinned records are the oldest of all, so a trim that ignored the pin would take them first.
        for (int i = 0; i < 5; ++i) {
            QVERIFY(store->insert(textCapture(QStringLiteral("pinned %1").arg(i), start.addSecs(i))));
            QVERIFY(store->togglePin(store->entries().first().id));
        }
        for (int i = 0; i < 200; ++i)
            QVERIFY(store->insert(textCapture(QStringLiteral("item %1").arg(i), start.addSecs(100 + i))));
        QCOMPARE(store->entries().size(), 205);

        QVERIFY(store->insert(textCapture(QStringLiteral("newest"), start.addSecs(1000))));
        const QStringList titles = titlesOf(*store);
        QCOMPARE(titles.size(), 205);
        QCOMPARE(titles.first(), QStringLiteral("newest"));
        QVERIFY(!titles.contains(QStringLiteral("item 0")));
        QVERIFY(titles.contains(QStringLiteral("item 1")));
        for (int i = 0; i < 5; ++i)
            QVERIFY(titles.contains(QStringLiteral("pinned %1").arg(i)));
    }

    void equalTimestampsFavourTheLaterWrite()
    {
        const auto store = openStore(freshPath(), 2);
        QVERIFY(store);
        const QDateTime same = QDateTime::currentDateTime();
        for (const char *text : {"a", "b", "a" /* refreshed: now the latest write */, "c"})
            QVERIFY(store->insert(textCapture(QLatin1String(text), same)));
        QCOMPARE(titlesOf(*store), (QStringList{"c", "a"}));
    }

    void deleting_data()
    {
        // A pinned "keep" (just copied), the unpinned "subject" and an unpinned "older" (a day old).
        QTest::addColumn<bool>("clear");
        QTest::addColumn<qint64>("subjectAgeMs");
        QTest::addColumn<bool>("includingPinned");
        QTest::addColumn<QStringList>("remaining");

        QTest::addRow("clear keeps pinned") << true << qint64(60'000) << false << QStringList{"keep"};
        QTest::addRow("clear with pinned removes everything")
            << true << qint64(60'000) << true << QStringList{};
        QTest::addRow("since: exactly 30 minutes old is deleted")
            << false << qint64(1'800'000) << false << QStringList{"keep", "older"};
        QTest::addRow("since: 30 minutes and 1 second old stays")
            << false << qint64(1'801'000) << false << QStringList{"keep", "subject", "older"};
        QTest::addRow("since: a minute old goes, and pinned too when pinned are included")
            << false << qint64(60'000) << true << QStringList{"older"};
    }

    void deleting()
    {
        QFETCH(bool, clear);
        QFETCH(qint64, subjectAgeMs);
        QFETCH(bool, includingPinned);
        QFETCH(QStringList, remaining);

        const QString path = freshPath();
        const auto store = openStore(path);
        QVERIFY(store);
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("older"), now.addDays(-1))));
        QVERIFY(store->insert(textCapture(QStringLiteral("subject"), now.addMSecs(-subjectAgeMs))));
        QVERIFY(store->insert(textCapture(QStringLiteral("keep"), now)));
        QVERIFY(store->togglePin(store->entries().first().id));

        QString error;
        QVERIFY2(clear ? store->clear(includingPinned, &error)
                       : store->deleteEntriesSince(now.addSecs(-1800), includingPinned, &error),
                 qPrintable(error));
        QCOMPARE(titlesOf(*store), remaining);
        // What is gone cannot be read back from the files either.
        for (const char *suffix : {"", "-wal"}) {
            QFile file(path + QLatin1String(suffix));
            const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            for (const QString &title : {"older", "subject", "keep"})
                QCOMPARE(bytes.contains(title.toUtf8()), remaining.contains(title) && *suffix == '\0');
        }
    }

    void pinAndDeleteOneRecord()
    {
        const auto store = openStore(freshPath());
        QVERIFY(store);
        QVERIFY(store->insert(textCapture(QStringLiteral("one"), secondsAgo(1))));
        QVERIFY(store->insert(textCapture(QStringLiteral("two"))));
        const QUuid one = store->entries().last().id;
        QVERIFY(store->togglePin(one) && store->record(one)->isPinned);
        QVERIFY(store->togglePin(one) && !store->record(one)->isPinned);
        QVERIFY(store->deleteEntry(store->entries().first().id));
        QCOMPARE(titlesOf(*store), QStringList{"one"});

        // An unknown id fails and changes nothing; looking it up finds nothing without an error.
        const QUuid unknown = QUuid::createUuid();
        for (const bool pin : {true, false}) {
            QString error;
            QVERIFY(!(pin ? store->togglePin(unknown, &error) : store->deleteEntry(unknown, &error)));
            QVERIFY2(error.contains(QStringLiteral("no clipboard item")), qPrintable(error));
        }
        QString error;
        QVERIFY(!store->record(unknown, &error) && !store->imageData(unknown, &error) && error.isEmpty());
        QCOMPARE(store->entries().size(), 1);
        QVERIFY(!store->entries().first().isPinned);
    }

    void unsuitableLocationIsRefusedAndLeftAlone_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("expectedError"); // empty: the location is taken for the history
        const auto row = [](const char *name, const char *kind, const char *expectedError) {
            QTest::newRow(name) << QString::fromLatin1(kind) << QString::fromLatin1(expectedError);
        };
        row("history from a newer version", "newer", "newer version of Halcy (schema 2.0.0)");
        row("text file", "text", "not a Halcy clipboard history");
        row("another program's database", "foreign", "not a Halcy clipboard history");
        row("SQLite header followed by garbage", "garbage", "cannot be read");
        row("history with its table gone", "damaged", "damaged");
        row("damaged pages behind a valid header", "damagedPages", "damaged");
        row("folder path runs through a file", "throughFile", "cannot be created");
        row("path is a folder", "folder", "is not a file");
        row("history file without write permission", "lockedHistory", "cannot be written");
        row("history in a folder without write permission", "historyInLockedFolder", "cannot be written");
        row("new history in a folder without write permission", "lockedFolder", "cannot be created");
        row("an empty file becomes a history", "empty", "");
    }

    void unsuitableLocationIsRefusedAndLeftAlone()
    {
        QFETCH(QString, kind);
        QFETCH(QString, expectedError);
        const QString folder = QFileInfo(freshPath()).absolutePath();
        const QString historyPath = folder + QStringLiteral("/history.sqlite");
        QString path = historyPath;
        QVERIFY(QDir().mkpath(folder));
        const bool locked = kind.contains(QLatin1String("Locked"), Qt::CaseInsensitive);
        if (locked && ::geteuid() == 0)
            QSKIP("permissions do not bind root");
        if (QStringList{"newer", "damaged", "damagedPages", "lockedHistory", "historyInLockedFolder"}
                .contains(kind)) {
            const auto store = openStore(path);
            QVERIFY(store && store->insert(textCapture(QStringLiteral("kept"))));
            for (int i = 0; kind == QLatin1String("damagedPages") && i < 40; ++i)
                QVERIFY(store->insert(textCapture(QStringLiteral("filler %1 ").arg(i).repeated(20))));
        }

        if (kind == QLatin1String("newer")) {
            QCOMPARE(
                sql(path, QStringLiteral("UPDATE metadata SET value = '2.0.0' WHERE key = 'schemaVersion'")),
                QStringList{});
        } else if (kind == QLatin1String("damagedPages")) {
            // Header, schema and metadata intact; the last pages of the records overwritten.
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.size() > 6 * 4096);
            file.seek(file.size() - 2 * 4096);
            file.write(QByteArray(2 * 4096, '\x5a'));
        } else if (kind == QLatin1String("damaged")) {
            QCOMPARE(sql(path, QStringLiteral("DROP TABLE ClipboardRecord")), QStringList{});
        } else if (kind == QLatin1String("foreign")) {
            QCOMPARE(sql(path, QStringLiteral("CREATE TABLE notes (body TEXT)")), QStringList{});
            QCOMPARE(sql(path, QStringLiteral("INSERT INTO notes VALUES ('mine')")), QStringList{});
        } else if (kind == QLatin1String("throughFile")) {
            QFile blocker(folder + QStringLiteral("/blocker"));
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            path = blocker.fileName() + QStringLiteral("/Halcy/history.sqlite");
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkpath(path));
        } else if (locked) {
            QVERIFY(QFile::setPermissions(kind == QLatin1String("lockedHistory") ? path : folder,
                                          QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            if (kind == QLatin1String("text"))
                file.write("These are my notes, not a database.\n");
            else if (kind == QLatin1String("garbage"))
                file.write(QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\x5a'));
        }
        const QStringList before = snapshot(historyPath);
        QTest::qSleep(20); // a write would then show in the modification time

        QString error;
        const auto store = ClipboardStore::open(path, 200, &error);
        QFile::setPermissions(folder,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        if (expectedError.isEmpty()) {
            QVERIFY2(store && store->insert(textCapture(QStringLiteral("x"))), qPrintable(error));
            return;
        }
        QVERIFY(!store);
        QVERIFY2(error.contains(expectedError), qPrintable(error));
        QCOMPARE(snapshot(historyPath), before);
    }

    // Written one after another off the calling thread, announced in the order asked, and all on disk
    // once the store is closed.
    void enqueuedInsertsKeepTheirOrderAndSurviveClosing()
    {
        const QString path = freshPath();
        auto store = openStore(path);
        QVERIFY(store && store->insert(textCapture(QStringLiteral("pinned later"))));
        const QUuid known = store->entries().value(0).id;
        QStringList heard;
        connect(
            store.get(), &ClipboardStore::entryInserted, this,
            [&heard](const ClipboardHistoryEntry &entry) { heard << QStringLiteral("new ") + entry.title; });
        connect(store.get(), &ClipboardStore::entryChanged, this,
                [&heard](const ClipboardHistoryEntry &entry) {
                    heard << QStringLiteral("changed ") + entry.title;
                });

        store->enqueueInsert(textCapture(QStringLiteral("first")));
        store->enqueueInsert(textCapture(QStringLiteral("second")));
        QVERIFY(store->togglePin(known));
        QCOMPARE(heard, (QStringList{"new first", "new second", "changed pinned later"}));
        store->enqueueInsert(textCapture(QStringLiteral("while closing")));
        store.reset();
        QCOMPARE(titlesOf(*openStore(path)),
                 (QStringList{"while closing", "second", "first", "pinned later"}));
    }

    // A long text does not stay in memory with its entry; pasting reads it back whole.
    void longTextsAreReadBackWhenNeeded()
    {
        auto store = openStore(freshPath());
        const QString text = QStringLiteral("x").repeated(ClipboardHistoryEntry::inlineTextLength + 1);
        QSignalSpy inserted(store.get(), &ClipboardStore::entryInserted);
        QVERIFY(store->insert(textCapture(text)));
        QCOMPARE(inserted.size(), 1);
        for (const ClipboardHistoryEntry &entry :
             {inserted.at(0).at(0).value<ClipboardHistoryEntry>(), store->entries().value(0)}) {
            QVERIFY(entry.textLeftInStore);
            QCOMPARE(entry.textContent, std::nullopt);
            QCOMPARE(store->withFullText(entry).textContent, std::optional<QString>(text));
        }
    }

    void inMemoryStoresAreIndependent()
    {
        QString error;
        const auto first = ClipboardStore::openInMemory(3, &error);
        const auto second = ClipboardStore::openInMemory(3, &error);
        QVERIFY2(first && second, qPrintable(error));
        QVERIFY(!first->isPersistent());
        for (int i = 0; i < 5; ++i)
            QVERIFY(first->insert(textCapture(QString::number(i), QDateTime::currentDateTime().addSecs(i))));
        QCOMPARE(titlesOf(*first), (QStringList{"4", "3", "2"}));
        QVERIFY(second->entries().isEmpty());
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
            QCOMPARE(sql(path, QStringLiteral("PRAGMA integrity_check")), QStringList{"ok"});
            QCOMPARE(sql(path, QStringLiteral("SELECT fingerprint FROM ClipboardRecord GROUP BY fingerprint "
                                              "HAVING count(*) > 1")),
                     QStringList{});
            const ClipboardHistoryEntries entries = store->entries(&error);
            QVERIFY2(!entries.isEmpty(), qPrintable(error));
            qsizetype unpinned = 0;
            for (const ClipboardHistoryEntry &entry : entries) {
                unpinned += entry.isPinned ? 0 : 1;
                const std::optional<ClipboardRecord> record = store->record(entry.id, &error);
                QVERIFY2(record, qPrintable(error));
                if (entry.type == ClipboardContentType::image) {
                    QCOMPARE(record->imageData.value_or(QByteArray()).size(), 96 * 1024);
                    QCOMPARE(record->imageBookmark, std::optional<QString>(entry.title));
                } else {
                    QCOMPARE(record->textContent, std::optional<QString>(entry.title));
                }
            }
            QVERIFY(unpinned <= limit);
            // The newest record is the last reported capture, or the one after it if that one committed
            // before the kill but had not been reported yet.
            const QString newest = entries.first().title;
            const QString prefix = QStringLiteral("capture r%1-").arg(round);
            QVERIFY2(newest == prefix + QString::number(lastSaved) ||
                         newest == prefix + QString::number(lastSaved + 1),
                     qPrintable(newest + QStringLiteral(" after %1 saved").arg(lastSaved)));
        }
    }
};

QTEST_GUILESS_MAIN(TestClipboardStore)
#include "tst_clipboardstore.moc"
