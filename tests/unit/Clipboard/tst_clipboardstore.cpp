#include "Clipboard/ClipboardStore.h"
#include "EntryFactory.h"
#include "TestEnvironment.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// One statement on a plain SQLite connection beside the store: the first column of its rows, or the error.
QStringList sql(const QString &path, const QString &statement)
{
    const QString name = QUuid::createUuid().toString();
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

// What a refused open must leave alone: the file's bytes and modification time, and its folder's listing.
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
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 0;
}

// What a capture and the record made of it must agree on; both name their fields alike.
template <typename Item> QStringList fieldsOf(const Item &item)
{
    QStringList fields{item.title, item.preview, item.sourceAppName, item.fingerprint};
    return fields << item.timestamp.toString(Qt::ISODateWithMs) << item.textContent.value_or("(none)")
                  << item.fileURLStrings.join(u'|') << item.imageBookmark.value_or("(none)")
                  << QString::fromLatin1(item.imageData.value_or("(none)").toHex());
}

} // namespace

class TestClipboardStore final : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;

    QString freshPath()
    {
        return m_environment.root() + u'/' + QUuid::createUuid().toString(QUuid::Id128) + "/history.sqlite";
    }

private slots:
    void historyIsPrivateToItsOwner()
    {
        const QString path = ClipboardStore::defaultPath();
        QCOMPARE(path, m_environment.dataHome() + QStringLiteral("/Halcy/history.sqlite"));
        const mode_t previousMask = ::umask(0);
        auto store = ClipboardStore::open(path, 200);
        const bool inserted = store && store->insert(textCapture(QStringLiteral("secret")));
        ::umask(previousMask);
        QVERIFY(inserted);
        QCOMPARE(modeOf(QFileInfo(path).absolutePath()), mode_t(0700));
        for (const char *suffix : {"", "-wal", "-shm"})
            QVERIFY2(modeOf(path + QLatin1String(suffix)) == 0600, suffix);

        // A history left readable by others is made private on the next start.
        store.reset();
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0644), 0);
        QVERIFY(ClipboardStore::open(path, 200));
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
        files.fileURLStrings = {"file:///tmp/a\nb.txt", "file:///tmp/\"q\" \\ [x], y.txt",
                                "file:///tmp/ünï code.txt", QString()};
        QTest::addRow("files whose names hold line breaks, quotes and commas") << files;

        ClipboardCapture image = text;
        image.type = ClipboardContentType::image;
        image.textContent.reset();
        image.imageBookmark = QStringLiteral("pasteboard-image-7");
        static const char pngWithNulBytes[] = "\x89PNG\r\n\x1a\n\0\0binary";
        image.imageData = QByteArray(pngWithNulBytes, sizeof pngWithNulBytes - 1);
        QTest::addRow("image") << image;

        ClipboardCapture colour = textCapture(QStringLiteral("#a1b2c3"), when);
        colour.sourceAppName = colour.preview = QString();
        QTest::addRow("colour without source name or preview") << colour;
    }

    void everyFieldSurvivesReopening()
    {
        QFETCH(ClipboardCapture, capture);
        const QString path = freshPath();
        QVERIFY(ClipboardStore::open(path, 200)->insert(capture));
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

        const auto store = ClipboardStore::open(path, 200);
        ClipboardHistoryEntry entry = store->entries().value(0);
        const std::optional<ClipboardRecord> record = store->record(entry.id);
        QVERIFY(record);
        QCOMPARE(fieldsOf(*record), fieldsOf(capture));
        QCOMPARE(record->typeRawValue, enumName(capture.type));
        QCOMPARE(entry, record->toEntry());
        QCOMPARE(store->imageData(record->id), capture.imageData);

        // Copied again in this later session: the record is refreshed in place and keeps its pin.
        ClipboardCapture again = capture;
        entry.timestamp = again.timestamp = capture.timestamp.addSecs(60);
        entry.sourceAppName = again.sourceAppName = QStringLiteral("Files");
        entry.isPinned = true;
        QVERIFY(store->togglePin(entry.id) && store->insert(again));
        QCOMPARE(store->entries(), ClipboardHistoryEntries{entry});
    }

    void deleting_data()
    {
        // A pinned "keep" (just copied), the unpinned "subject" and an unpinned "older" (a day old).
        QTest::addColumn<QString>("how");
        QTest::addColumn<qint64>("subjectAgeMs");
        QTest::addColumn<QStringList>("remaining");

        const auto row = [](const char *name, const char *how, qint64 ageMs, const QStringList &remaining) {
            QTest::newRow(name) << QString::fromLatin1(how) << ageMs << remaining;
        };
        row("clear keeps pinned", "clear", 60'000, {"keep"});
        row("clear with pinned removes everything", "clear pinned", 60'000, {});
        row("since: exactly 30 minutes old is deleted", "since", 1'800'000, {"keep", "older"});
        row("since: 30 minutes and 1 second old stays", "since", 1'801'000, {"keep", "subject", "older"});
        row("since: a minute old goes, and pinned too when included", "since pinned", 60'000, {"older"});
        row("one entry", "one", 60'000, {"keep", "older"});
    }

    void deleting()
    {
        QFETCH(QString, how);
        QFETCH(qint64, subjectAgeMs);
        QFETCH(QStringList, remaining);

        const QString path = freshPath();
        const auto store = ClipboardStore::open(path, 200);
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("older"), now.addDays(-1))));
        QVERIFY(store->insert(textCapture(QStringLiteral("subject"), now.addMSecs(-subjectAgeMs))));
        const QUuid subject = store->entries().first().id;
        QVERIFY(store->insert(textCapture(QStringLiteral("keep"), now)));
        QVERIFY(store->togglePin(store->entries().first().id));

        const bool pinnedToo = how.endsWith(QLatin1String("pinned"));
        QVERIFY(how == QLatin1String("one") ? store->deleteEntry(subject)
                : how.startsWith("clear")   ? store->clear(pinnedToo)
                                            : store->deleteEntriesSince(now.addSecs(-1800), pinnedToo));
        QCOMPARE(titlesOf(store->entries()), remaining);
        // What is gone cannot be read back from the files either.
        for (const char *suffix : {"", "-wal"}) {
            QFile file(path + QLatin1String(suffix));
            const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            for (const QString &title : {"older", "subject", "keep"})
                QCOMPARE(bytes.contains(title.toUtf8()), remaining.contains(title) && *suffix == '\0');
        }
    }

    // Beyond the limit the oldest unpinned records go and pinned ones stay, however old; of records
    // with equal times the later write counts as the newer. A long text does not stay in memory with its
    // entry; pasting reads it back whole. An unknown id fails and changes nothing; looking it up finds
    // nothing, without an error.
    void trimLongTextsAndUnknownIds()
    {
        const auto store = ClipboardStore::openInMemory(2);
        const auto other = ClipboardStore::openInMemory(2);
        QVERIFY(store && other && !store->isPersistent());
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(store->insert(textCapture(QStringLiteral("pinned"), now.addDays(-1))));
        QVERIFY(store->togglePin(store->entries().first().id));
        for (const char *text : {"a", "b", "a", "c"})
            QVERIFY(store->insert(textCapture(QLatin1String(text), now)));
        QCOMPARE(titlesOf(store->entries()), (QStringList{"c", "a", "pinned"}));
        QVERIFY(other->entries().isEmpty());

        const QString text = QStringLiteral("x").repeated(ClipboardHistoryEntry::inlineTextLength + 1);
        QSignalSpy inserted(store.get(), &ClipboardStore::entryInserted);
        QVERIFY(store->insert(textCapture(text)));
        for (const ClipboardHistoryEntry &entry :
             {inserted.value(0).value(0).value<ClipboardHistoryEntry>(), store->entries().value(0)}) {
            QVERIFY(entry.textLeftInStore && !entry.textContent);
            QCOMPARE(store->withFullText(entry).textContent, std::optional<QString>(text));
        }
        const QUuid one = store->entries().first().id, unknown = QUuid::createUuid();
        QVERIFY(store->togglePin(one) && store->togglePin(one));
        QString pinError, deleteError, readError;
        QVERIFY(!store->togglePin(unknown, &pinError) && !store->deleteEntry(unknown, &deleteError));
        QVERIFY(pinError.contains("no clipboard item") && deleteError.contains("no clipboard item"));
        QVERIFY(!store->record(unknown, &readError) && !store->imageData(unknown, &readError));
        QVERIFY(readError.isEmpty() && !store->entries().first().isPinned);
        QCOMPARE(store->entries().size(), 3);
    }

    void unsuitableLocationIsRefusedAndLeftAlone_data()
    {
        QTest::addColumn<QString>("kind");          // those naming a history start from a real one
        QTest::addColumn<QString>("expectedError"); // empty: the location is taken for the history
        QTest::addColumn<QString>("statement");     // run on the history first
        const auto row = [](const char *kind, const char *expectedError, const char *statement = "") {
            QTest::newRow(kind) << QString::fromLatin1(kind) << QString::fromLatin1(expectedError)
                                << QString::fromLatin1(statement);
        };
        row("history from a newer version", "newer version of Halcy (schema 2.0.0)",
            "UPDATE metadata SET value = '2.0.0' WHERE key = 'schemaVersion'");
        row("text file", "not a Halcy clipboard history");
        row("history without its metadata", "not a Halcy clipboard history", "DROP TABLE metadata");
        row("SQLite header followed by garbage", "cannot be read");
        row("history with its table gone", "damaged", "DROP TABLE ClipboardRecord");
        row("history with damaged pages behind a valid header", "damaged");
        row("folder path runs through a file", "cannot be created");
        row("path is a folder", "is not a file");
        row("history locked against writing", "cannot be written");
        row("history in a locked folder", "cannot be written");
        row("new history in a locked folder", "cannot be created");
        row("an empty file becomes a history", "");
    }

    void unsuitableLocationIsRefusedAndLeftAlone()
    {
        QFETCH(QString, kind);
        QFETCH(QString, expectedError);
        QFETCH(QString, statement);
        const QString folder = QFileInfo(freshPath()).absolutePath();
        const QString historyPath = folder + QStringLiteral("/history.sqlite");
        QString path = historyPath;
        QVERIFY(QDir().mkpath(folder));
        if (kind.contains(QLatin1String("locked")) && ::geteuid() == 0)
            QSKIP("permissions do not bind root");
        if (kind.startsWith(QLatin1String("history"))) {
            const auto store = ClipboardStore::open(path, 200);
            for (int i = 0; i < 40; ++i)
                QVERIFY(store->insert(textCapture(QString::number(i).repeated(200))));
        }
        QFile file(path);
        if (!statement.isEmpty()) {
            QCOMPARE(sql(path, statement), QStringList{});
        } else if (kind.contains(QLatin1String("pages"))) {
            // Header, schema and metadata intact; the last pages of the records overwritten.
            QVERIFY(file.open(QIODevice::ReadWrite) && file.size() > 6 * 4096);
            file.seek(file.size() - 2 * 4096);
            file.write(QByteArray(2 * 4096, '\x5a'));
        } else if (kind.contains(QLatin1String("through"))) {
            QVERIFY(QFile(folder + QStringLiteral("/blocker")).open(QIODevice::WriteOnly));
            path = folder + QStringLiteral("/blocker/Halcy/history.sqlite");
        } else if (kind.contains(QLatin1String("folder"))) {
            QVERIFY(kind.contains(QLatin1String("locked"))
                        ? QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner)
                        : QDir().mkpath(path));
        } else if (kind.contains(QLatin1String("locked"))) {
            QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner));
        } else {
            QVERIFY(file.open(QIODevice::WriteOnly));
            if (kind.startsWith(QLatin1String("text")))
                file.write("These are my notes, not a database.\n");
            else if (kind.startsWith(QLatin1String("SQLite")))
                file.write(QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\x5a'));
        }
        file.close();
        const QStringList before = snapshot(historyPath);
        QTest::qSleep(20); // a write would then show in the modification time

        QString error;
        const auto store = ClipboardStore::open(path, 200, &error);
        QFile::setPermissions(folder,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QCOMPARE(bool(store), expectedError.isEmpty());
        QVERIFY(store ? store->insert(textCapture(QStringLiteral("x"))) : error.contains(expectedError));
        if (!store)
            QCOMPARE(snapshot(historyPath), before);
    }

    // Written one after another off the calling thread, announced in the order asked, and all on disk
    // once the store is closed.
    void enqueuedInsertsKeepTheirOrderAndSurviveClosing()
    {
        const QString path = freshPath();
        auto store = ClipboardStore::open(path, 200);
        QVERIFY(store->insert(textCapture(QStringLiteral("pinned later"))));
        const QUuid known = store->entries().value(0).id;
        QStringList heard;
        connect(store.get(), &ClipboardStore::entryInserted, this,
                [&heard](const ClipboardHistoryEntry &entry) { heard << "new " + entry.title; });
        connect(store.get(), &ClipboardStore::entryChanged, this,
                [&heard](const ClipboardHistoryEntry &entry) { heard << "changed " + entry.title; });

        store->enqueueInsert(textCapture(QStringLiteral("first")));
        store->enqueueInsert(textCapture(QStringLiteral("second")));
        QVERIFY(store->togglePin(known));
        QCOMPARE(heard, (QStringList{"new first", "new second", "changed pinned later"}));
        store->enqueueInsert(textCapture(QStringLiteral("while closing")));
        store.reset();
        QCOMPARE(titlesOf(ClipboardStore::open(path, 200)->entries()),
                 (QStringList{"while closing", "second", "first", "pinned later"}));
    }

    // A writer killed at random moments never leaves a damaged file, and every capture it reported as
    // saved is still there.
    void survivesTheWriterBeingKilled()
    {
        const QString path = freshPath();
        for (int round = 1; round <= 5; ++round) {
            QProcess writer;
            writer.start(QStringLiteral(STORE_WRITER_PATH), {path, QString::number(round)});
            QByteArray output;
            QTRY_VERIFY_WITH_TIMEOUT((output += writer.readAllStandardOutput()).contains('\n'), 10000);
            QTest::qWait(QRandomGenerator::global()->bounded(5, 250));
            ::kill(pid_t(writer.processId()), SIGKILL);
            QVERIFY(writer.waitForFinished(5000) && writer.exitStatus() == QProcess::CrashExit);
            output += writer.readAllStandardOutput();
            // A line cut short by the kill does not count as reported.
            const qint64 lastSaved = output.left(output.lastIndexOf('\n')).split('\n').last().toLongLong();

            QVERIFY(QFileInfo::exists(path + QStringLiteral("-wal")));
            const auto store = ClipboardStore::open(path, 20);
            QVERIFY(store);
            // Checked beside the open store, so that the store is the one that found the log the kill left.
            QCOMPARE(sql(path, QStringLiteral("PRAGMA integrity_check")), QStringList{"ok"});
            // Unpinned records within the limit, no fingerprint twice, every record whole.
            QCOMPARE(sql(path, QStringLiteral(
                                   "SELECT (SELECT count(*) <= 20 FROM ClipboardRecord WHERE NOT isPinned) "
                                   "|| (SELECT count(DISTINCT fingerprint) = count(*) FROM ClipboardRecord) "
                                   "|| (SELECT count(*) FROM ClipboardRecord WHERE textContent IS NOT title "
                                   "AND length(imageData) IS NOT 98304)")),
                     QStringList{"110"});
            // The newest record is the last reported capture, or the one after it if that one committed
            // before the kill but had not been reported yet.
            const QString newest = store->entries().value(0).title;
            const QString saved = QStringLiteral("capture %1-%2").arg(round);
            QVERIFY(newest == saved.arg(lastSaved) || newest == saved.arg(lastSaved + 1));
        }
    }
};

QTEST_GUILESS_MAIN(TestClipboardStore)
#include "tst_clipboardstore.moc"
