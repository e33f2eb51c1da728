#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QLocalServer;
class QLockFile;

// Keeps Halcy to one instance per user and carries command-line verbs ("show", "quit", …) from a
// second launch to the running one over a local socket in the runtime directory.
class InstanceChannel final : public QObject
{
    Q_OBJECT
public:
    static QStringList verbs();
    static QString runtimeDirectory();

    explicit InstanceChannel(const QString &directory = runtimeDirectory(), QObject *parent = nullptr);
    ~InstanceChannel() override;

    // True when this process became the one instance; then listen() starts taking verbs.
    bool claim();
    bool listen(QString *error = nullptr);

    enum class SendResult
    {
        delivered,
        notRunning,
        rejected,
        noAnswer
    };
    // Client side: hands one verb to the running instance and waits briefly for its answer.
    static SendResult send(const QString &verb, const QString &directory = runtimeDirectory(),
                           int timeoutMs = 3000);

signals:
    void verbReceived(const QString &verb);

private:
    void acceptConnection();

    QString m_directory;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
