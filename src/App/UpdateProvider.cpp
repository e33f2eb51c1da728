#include "App/UpdateProvider.h"

#include "App/Appcast.h"
#include "Core/Logging.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

namespace {

bool isLoopback(const QUrl &url)
{
    if (url.host() == QLatin1String("localhost"))
        return true;
    const QHostAddress address(url.host());
    return !address.isNull() && address.isLoopback();
}

UpdateCheckResult failure(const QString &message)
{
    return {UpdateCheckResult::Outcome::failed, message, {}};
}

} // namespace

QUrl UpdateProvider::builtInFeedURL()
{
    return QUrl(QStringLiteral(HALCY_UPDATE_FEED_URL));
}

UpdateProvider::UpdateProvider(const QUrl &feedURL, const QString &currentVersion, Limits limits,
                               QObject *parent)
    : QObject(parent), m_feedURL(feedURL), m_currentVersion(currentVersion), m_limits(limits)
{
    qRegisterMetaType<UpdateCheckResult>();
}

UpdateProvider::~UpdateProvider()
{
    // Nobody is left to hear the answer of a check cut short here.
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

void UpdateProvider::checkForUpdates()
{
    if (isChecking())
        return;
    if (m_feedURL.isEmpty() || !m_feedURL.isValid()) {
        // Answered on the next turn, like every other outcome, so callers see one order of events.
        QTimer::singleShot(0, this, [this] {
            finish({UpdateCheckResult::Outcome::notConfigured,
                    QStringLiteral("Update feed is not configured."),
                    {}});
        });
        return;
    }
    // Plain HTTP only for a server on this machine (a local mirror, the tests); anything else could be
    // rewritten on the way.
    if (m_feedURL.scheme() != QLatin1String("https") &&
        !(m_feedURL.scheme() == QLatin1String("http") && isLoopback(m_feedURL))) {
        QTimer::singleShot(0, this,
                           [this] { finish(failure(QStringLiteral("The update feed must use HTTPS."))); });
        return;
    }

    if (!m_network) {
        // Created on the first check, so a launch never touches the network stack.
        m_network = new QNetworkAccessManager(this);
        m_deadline = new QTimer(this);
        m_deadline->setSingleShot(true);
        connect(m_deadline, &QTimer::timeout, this, [this] {
            m_timedOut = true;
            if (m_reply)
                m_reply->abort();
        });
    }
    m_body.clear();
    m_tooLarge = false;
    m_timedOut = false;

    QNetworkRequest request(m_feedURL);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Halcy/%1").arg(m_currentVersion));
    m_reply = m_network->get(request);
    m_reply->setReadBufferSize(64 * 1024);
    connect(m_reply, &QNetworkReply::readyRead, this, &UpdateProvider::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &UpdateProvider::onFinished);
    m_deadline->start(m_limits.timeoutMs);
    qCDebug(lcApp) << "Checking for updates at" << m_feedURL;
}

void UpdateProvider::onReadyRead()
{
    const QVariant announced = m_reply->header(QNetworkRequest::ContentLengthHeader);
    if (announced.isValid() && announced.toLongLong() > m_limits.maxFeedBytes)
        m_tooLarge = true;
    if (!m_tooLarge) {
        m_body += m_reply->read(m_limits.maxFeedBytes + 1 - m_body.size());
        m_tooLarge = m_body.size() > m_limits.maxFeedBytes;
    }
    if (m_tooLarge)
        m_reply->abort();
}

void UpdateProvider::onFinished()
{
    QNetworkReply *reply = m_reply;
    m_deadline->stop();
    reply->deleteLater();
    if (!m_tooLarge && reply->error() == QNetworkReply::NoError)
        onReadyRead();
    m_reply = nullptr;

    if (m_tooLarge)
        return finish(failure(QStringLiteral("The update feed is larger than 1 MB and was not read.")));
    if (m_timedOut)
        return finish(failure(QStringLiteral("The update server did not answer in time.")));
    if (reply->error() != QNetworkReply::NoError)
        return finish(failure(
            QStringLiteral("Could not check for updates: %1").arg(reply->errorString().simplified())));

    const std::optional<AppcastRelease> newest = Appcast::newestRelease(m_body);
    if (!newest)
        return finish(failure(QStringLiteral("The update feed could not be read.")));
    if (Appcast::compareVersions(newest->displayVersion(), m_currentVersion) > 0) {
        return finish({UpdateCheckResult::Outcome::updateAvailable,
                       QStringLiteral("Halcy %1 is available.").arg(newest->displayVersion()),
                       newest->downloadURL});
    }
    finish({UpdateCheckResult::Outcome::upToDate,
            QStringLiteral("Halcy %1 is up to date.").arg(m_currentVersion),
            {}});
}

void UpdateProvider::finish(UpdateCheckResult result)
{
    qCInfo(lcApp) << "Update check:" << result.message;
    emit finished(result);
}
