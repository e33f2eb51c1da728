#include "PeerProcess.h"

#include "TestTime.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <functional>

namespace {

// Keeps the event loop running until `done()` or the (scaled) deadline, waking at once when `process`
// prints or ends; returns done().
bool waitUntil(QProcess &process, int timeoutMs, const std::function<bool()> &done)
{
    const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
    while (!done() && !deadline.hasExpired()) {
        QEventLoop loop;
        QObject::connect(&process, &QProcess::readyReadStandardOutput, &loop, &QEventLoop::quit);
        QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(std::clamp(int(deadline.remainingTime()), 1, 50), &loop, &QEventLoop::quit);
        loop.exec();
    }
    return done();
}

// Terminates (or kills, at the deadline) `process` and waits for its end.
void end(QProcess &process, bool terminate, int timeoutMs)
{
    if (terminate)
        process.terminate();
    if (!waitUntil(process, timeoutMs, [&] { return process.state() == QProcess::NotRunning; })) {
        process.kill();
        process.waitForFinished(scaledTimeout(1000));
    }
}

} // namespace

PeerProcess::PeerProcess(QString program) : m_program(std::move(program)) {}

bool PeerProcess::start(const QStringList &arguments, int timeoutMs)
{
    m_process.start(m_program, arguments);
    m_readyLine = readLine(timeoutMs).value_or(QString());
    if (m_readyLine.startsWith(QLatin1String("ready")))
        return true;
    // A failed start is reported by the caller's QVERIFY; this says why.
    qWarning().noquote() << m_program << arguments.join(QLatin1Char(' ')) << "did not get ready; said"
                         << m_readyLine << "and on stderr:" << m_process.readAllStandardError();
    return false;
}

std::optional<QString> PeerProcess::readLine(int timeoutMs)
{
    waitUntil(m_process, timeoutMs, [&] { return m_process.canReadLine() || !isRunning(); });
    if (!m_process.canReadLine())
        return std::nullopt;
    return QString::fromUtf8(m_process.readLine()).chopped(1);
}

QString PeerProcess::stop(int timeoutMs)
{
    if (isRunning())
        end(m_process, true, timeoutMs);
    return QString::fromUtf8(m_process.readAllStandardOutput());
}

bool PeerProcess::finish(int timeoutMs)
{
    m_process.closeWriteChannel();
    return waitUntil(m_process, timeoutMs, [&] { return !isRunning(); });
}

std::optional<ToolResult> runTool(const QString &program, const QStringList &arguments,
                                  const QByteArray &input, int timeoutMs)
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!waitUntil(process, timeoutMs, [&] { return process.state() == QProcess::NotRunning; })) {
        end(process, false, 0);
        return std::nullopt;
    }
    if (process.error() == QProcess::FailedToStart)
        return std::nullopt;
    return ToolResult{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                      process.readAllStandardOutput()};
}

void spinEventLoop(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}
