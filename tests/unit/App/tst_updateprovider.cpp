#include "App/Appcast.h"
#include "App/UpdateProvider.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

QByteArray feedWith(const QByteArray &items)
{
    return "<?xml version=\"1.0\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><title>Halcy</"
           "title>" +
           items + "</channel></rss>";
}

// A server on the loopback interface that answers every request with one fixed body, or never.
class FeedServer final : public QObject
{
public:
    explicit FeedServer(const QByteArray &body, bool answers = true) : m_body(body), m_answers(answers)
    {
        QVERIFY(m_server.listen(QHostAddress::LocalHost));
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (!socket->readAll().contains("\r\n\r\n") || !m_answers)
                        return;
                    socket->write(
                        "HTTP/1.1 200 OK\r\nContent-Type: application/rss+xml\r\nConnection: close\r\n"
                        "Content-Length: " +
                        QByteArray::number(m_body.size()) + "\r\n\r\n" + m_body);
                    socket->disconnectFromHost();
                });
            }
        });
    }
    QUrl url() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/release/appcast.xml").arg(m_server.serverPort()));
    }

private:
    QTcpServer m_server;
    QByteArray m_body;
    bool m_answers;
};

} // namespace

// The update check against a real HTTP server: every kind of feed ends in one line, in time.
class tst_UpdateProvider : public QObject
{
    Q_OBJECT

private slots:
    void oneLineForEveryFeed_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("answers");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QUrl>("downloadURL");
        using O = UpdateCheckResult::Outcome;

        const QByteArray older =
            "<item><title>0.0.9</title><sparkle:version>9</sparkle:version>"
            "<sparkle:shortVersionString>0.0.9</sparkle:shortVersionString>"
            "<enclosure url=\"https://example.org/halcy-0.0.9.tar.gz\" length=\"1\"/></item>";
        QTest::addRow("the newest of several items wins, its page over its file")
            << feedWith(older + "<item><link>https://example.org/halcy/0.10.0</link><enclosure "
                                "url=\"https://example.org/halcy-0.10.0.tar.gz\" sparkle:version=\"12\" "
                                "sparkle:shortVersionString=\"0.10.0\"/></item>")
            << true << int(O::updateAvailable) << "Halcy 0.10.0 is available."
            << QUrl("https://example.org/halcy/0.10.0");
        QTest::addRow("without a page the file is offered")
            << feedWith("<item><enclosure url=\"https://example.org/halcy-1.0.tar.gz\" "
                        "sparkle:version=\"1.0\"/></item>")
            << true << int(O::updateAvailable) << "Halcy 1.0 is available."
            << QUrl("https://example.org/halcy-1.0.tar.gz");
        QTest::addRow("an equal version, written shorter, is up to date")
            << feedWith("<item><sparkle:shortVersionString>0.1</sparkle:shortVersionString></item>") << true
            << int(O::upToDate) << "Halcy 0.1.0 is up to date." << QUrl();
        QTest::addRow("a pre-release of this version is not newer")
            << feedWith("<item><sparkle:shortVersionString>0.1.0b2</sparkle:shortVersionString></item>")
            << true << int(O::upToDate) << "Halcy 0.1.0 is up to date." << QUrl();
        QTest::addRow("malformed XML") << QByteArray("<rss><channel><item>") << true << int(O::failed)
                                       << "The update feed could not be read." << QUrl();
        QTest::addRow("a page that is not a feed")
            << QByteArray("<html><body>Not found</body></html>") << true << int(O::failed)
            << "The update feed could not be read." << QUrl();
        QTest::addRow("a feed without versions")
            << feedWith("<item><title>News</title></item>") << true << int(O::failed)
            << "The update feed could not be read." << QUrl();
        QTest::addRow("more than the size limit")
            << feedWith(QByteArray(2 * 1024 * 1024, ' ')) << true << int(O::failed)
            << "The update feed is larger than 1 MB and was not read." << QUrl();
        QTest::addRow("a server that never answers") << QByteArray() << false << int(O::failed)
                                                     << "The update server did not answer in time." << QUrl();
    }
    void oneLineForEveryFeed()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, answers);
        FeedServer server(body, answers);
        // The time limit only where it is the subject: a busy machine may take a while to answer.
        UpdateProvider provider(server.url(), QStringLiteral("0.1.0"), {1024 * 1024, answers ? 10000 : 1000});
        QSignalSpy finished(&provider, &UpdateProvider::finished);

        provider.checkForUpdates();
        provider.checkForUpdates();
        QVERIFY(provider.isChecking());
        QVERIFY(finished.wait(10000));
        QFETCH(int, outcome);
        QFETCH(QString, message);
        QFETCH(QUrl, downloadURL);
        const auto result = finished.first().first().value<UpdateCheckResult>();
        QCOMPARE(int(result.outcome), outcome);
        QCOMPARE(result.message, message);
        QCOMPARE(result.downloadURL, downloadURL);
        QVERIFY(!provider.isChecking());
        QTest::qWait(50);
        QCOMPARE(finished.size(), 1);
    }

    void refusesWithoutAnAnswerFromTheNetwork_data()
    {
        QTest::addColumn<QUrl>("feed");
        QTest::addColumn<QString>("message");
        QTest::addRow("no feed built in") << QUrl() << "Update feed is not configured.";
        QTest::addRow("plain HTTP off this machine")
            << QUrl("http://192.0.2.1/release/appcast.xml") << "The update feed must use HTTPS.";
    }
    void refusesWithoutAnAnswerFromTheNetwork()
    {
        QFETCH(QUrl, feed);
        QFETCH(QString, message);
        UpdateProvider provider(feed, QStringLiteral("0.1.0"));
        QSignalSpy finished(&provider, &UpdateProvider::finished);
        provider.checkForUpdates();
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().first().value<UpdateCheckResult>().message, message);
    }

    void versionsOrderAsPeopleNumberThem_data()
    {
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("right");
        QTest::addColumn<int>("order");
        QTest::addRow("numbers, not text") << "1.10"
                                           << "1.9" << 1;
        QTest::addRow("missing parts are zero") << "2"
                                                << "2.0.0" << 0;
        QTest::addRow("a pre-release comes before its release") << "1.0b2"
                                                                << "1.0" << -1;
        QTest::addRow("pre-releases in order") << "1.0b2"
                                               << "1.0b10" << -1;
        QTest::addRow("a patch release comes after a pre-release") << "1.0.1"
                                                                   << "1.0rc1" << 1;
    }
    void versionsOrderAsPeopleNumberThem()
    {
        QFETCH(QString, left);
        QFETCH(QString, right);
        QFETCH(int, order);
        QCOMPARE(Appcast::compareVersions(left, right), order);
        QCOMPARE(Appcast::compareVersions(right, left), -order);
    }
};

QTEST_GUILESS_MAIN(tst_UpdateProvider)
#include "tst_updateprovider.moc"
