#include "HalcyProcess.h"

#include "TestEnvironment.h"

#include <QDir>
#include <QFile>

HalcyProcess::HalcyProcess(const QString &binary)
    : m_binary(binary), m_environment(QProcessEnvironment::systemEnvironment())
{
    for (const char *sub : {"config", "data", "runtime"})
        QDir(m_dir.path()).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(m_dir.path() + QStringLiteral("/runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    TestEnvironment::markOnboardingCompleted(configHome());
    m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome());
    m_environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome());
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_dir.path() + QStringLiteral("/runtime"));
    m_environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    m_environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("halcy.*.info=true"));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&m_process, &QProcess::readyRead,
                     [this] { m_log += QString::fromLocal8Bit(m_process.readAll()); });
}

HalcyProcess::~HalcyProcess()
{
    // Each of these does nothing once the process has ended.
    m_process.terminate();
    if (!m_process.waitForFinished(scaledTimeout(5000)))
        m_process.kill();
    m_process.waitForFinished(scaledTimeout(2000));
}

bool HalcyProcess::start(int timeoutMs)
{
    m_log.clear();
    m_process.setProcessEnvironment(m_environment);
    m_process.start(m_binary, {});
    const auto started = [&] { return m_log.contains(QLatin1String(" started")); };
    return QTest::qWaitFor([&] { return started() || m_process.state() == QProcess::NotRunning; },
                           scaledTimeout(timeoutMs)) &&
           started();
}

int HalcyProcess::runClient(const QStringList &arguments, QString *output, int timeoutMs) const
{
    QProcess client;
    client.setProcessEnvironment(m_environment);
    client.setProcessChannelMode(QProcess::MergedChannels);
    client.start(m_binary, arguments);
    if (!client.waitForFinished(scaledTimeout(timeoutMs))) {
        client.kill();
        client.waitForFinished();
        return -1;
    }
    if (output)
        *output = QString::fromLocal8Bit(client.readAll());
    return client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1;
}
