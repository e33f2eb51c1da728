#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;
class QTimer;

// What one update check found, in one line for the about page.
struct UpdateCheckResult
{
    enum class Outcome
    {
        notConfigured,
        updateAvailable,
        upToDate,
        failed
    };
    Outcome outcome = Outcome::failed;
    QString message;
    // The download page of a newer release; empty otherwise.
    QUrl downloadURL;
};

// Reads the appcast feed asynchronously and compares its newest release with this build. Nothing is
// fetched until a check is asked for; every check ends in exactly one finished() within the time limit,
// whatever the server does.
class UpdateProvider final : public QObject
{
    Q_OBJECT
public:
    struct Limits
    {
        qint64 maxFeedBytes;
        int timeoutMs;
    };
    static constexpr Limits defaultLimits{1024 * 1024, 10'000};

    // The feed address this build was configured with; empty when none.
    static QUrl builtInFeedURL();

    explicit UpdateProvider(const QUrl &feedURL = builtInFeedURL(),
                            const QString &currentVersion = QStringLiteral(HALCY_VERSION),
                            Limits limits = defaultLimits, QObject *parent = nullptr);
    ~UpdateProvider() override;

    bool isChecking() const { return m_reply != nullptr; }
    // A check while one is running starts nothing; its answer is the running one's.
    void checkForUpdates();

signals:
    void finished(const UpdateCheckResult &result);

private:
    void onReadyRead();
    void onFinished();
    void finish(UpdateCheckResult result);

    QUrl m_feedURL;
    QString m_currentVersion;
    Limits m_limits;
    QNetworkAccessManager *m_network = nullptr;
    QNetworkReply *m_reply = nullptr;
    QTimer *m_deadline = nullptr;
    QByteArray m_body;
    bool m_tooLarge = false;
    bool m_timedOut = false;
};

Q_DECLARE_METATYPE(UpdateCheckResult)
