#include "App/Appcast.h"
#include "App/UpdateProvider.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

// The update check against a real HTTP server: every kind of feed ends in one line, in time.
class tst_UpdateProvider : public QObject
{
    Q_OBJECT

private slots:
    void oneLineForEveryFeed_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QVariantList>("expected");
        using O = UpdateCheckResult::Outcome;
        const auto row = [](const char *name, const QByteArray &body, O outcome, const QString &message,
                            const char *url = "") {
            QTest::newRow(name) << body << QVariantList{int(outcome), message, QUrl(url)};
        };
        // Any namespace prefix will do; real feeds use one fixed name.
        const auto feed = [](const QByteArrayList &items) {
            return "<rss xmlns:s=\"https://e.org/ns\"><channel><item>" + items.join("</item><item>") +
                   "</item></channel></rss>";
        };
        const QByteArray newer = "<link>https://e.org/page</link><enclosure url=\"https://e.org/file\" "
                                 "s:version=\"12\" s:shortVersionString=\"0.10.0\"/>";
        const QByteArray older = "<s:version>9</s:version><s:shortVersionString>0.9.0</s:shortVersionString>";
        row("the newest item wins, its page over its file", feed({older, newer, older}), O::updateAvailable,
            "Halcy 0.10.0 is available.", "https://e.org/page");
        row("without a page the file is offered",
            feed({"<enclosure url=\"https://e.org/f\" s:version=\"1.0\"/>"}), O::updateAvailable,
            "Halcy 1.0 is available.", "https://e.org/f");
        row("an equal version, written shorter, is up to date",
            feed({"<link>https://e.org/page</link><s:shortVersionString>0.1</s:shortVersionString>"}),
            O::upToDate, "Halcy 0.1.0 is up to date.");
        const QString unreadable = "The update feed could not be read.";
        row("a feed cut short", feed({newer}).chopped(6), O::failed, unreadable);
        row("another kind of document", feed({newer}).replace("rss", "feed"), O::failed, unreadable);
        row("a feed without versions", feed({"<title>News</title>"}), O::failed, unreadable);
        row("more than the size limit", feed({QByteArray(2 << 20, ' ')}), O::failed,
            "The update feed is larger than 1 MB and was not read.");
        // An empty body stands for a server that takes the request and never answers.
        row("a server that never answers", {}, O::failed, "The update server did not answer in time.");
    }
    void oneLineForEveryFeed()
    {
        QFETCH(QByteArray, body);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        connect(&server, &QTcpServer::newConnection, this, [&server, body] {
            QTcpSocket *socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, body] {
                if (!socket->readAll().contains("\r\n\r\n") || body.isEmpty())
                    return;
                socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                              QByteArray::number(body.size()) + "\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
        });
        const QUrl feed(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(server.serverPort()));
        // The time limit only where it is the subject: a busy machine may take a while to answer.
        UpdateProvider provider(feed, QStringLiteral("0.1.0"), {1 << 20, body.isEmpty() ? 1000 : 10000});
        QSignalSpy finished(&provider, &UpdateProvider::finished);

        provider.checkForUpdates();
        provider.checkForUpdates(); // joins the running check
        QVERIFY(finished.wait(10000));
        const auto result = finished.first().first().value<UpdateCheckResult>();
        QFETCH(QVariantList, expected);
        QCOMPARE((QVariantList{int(result.outcome), result.message, result.downloadURL}), expected);
        QVERIFY(!provider.isChecking());
        QTest::qWait(50);
        QCOMPARE(finished.size(), 1);
    }

    void refusesWithoutAskingTheNetwork()
    {
        const std::pair<QUrl, QString> refusals[] = {
            {QUrl(), "Update feed is not configured."},
            {QUrl("http://192.0.2.1/appcast.xml"), "The update feed must use HTTPS."}};
        for (const auto &[feed, message] : refusals) {
            UpdateProvider provider(feed, QStringLiteral("0.1.0"));
            QSignalSpy finished(&provider, &UpdateProvider::finished);
            provider.checkForUpdates();
            QVERIFY(finished.wait(10000));
            QCOMPARE(finished.first().first().value<UpdateCheckResult>().message, message);
        }
    }

    void versionsOrderAsPeopleNumberThem()
    {
        // Numbers, not text; missing parts are zero; a pre-release before its release; a number after a word.
        const std::tuple<QString, QString, int> orders[] = {
            {"1.10", "1.9", 1}, {"2", "2.0.0", 0}, {"1.0b2", "1.0", -1}, {"1.0.1", "1.0rc1", 1}};
        for (const auto &[left, right, order] : orders) {
            QCOMPARE(Appcast::compareVersions(left, right), order);
            QCOMPARE(Appcast::compareVersions(right, left), -order);
        }
    }
};

QTEST_GUILESS_MAIN(tst_UpdateProvider)
#include "tst_updateprovider.moc"
