#pragma once

#include "TestTime.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// The real halcy binary run by an integration test, with its own config, data and runtime directories
// so that it never meets the user's files or another test's instance.
// Deadlines are given as on a normal build and stretched by the test time factor.
class HalcyProcess final
{
public:
    explicit HalcyProcess(const QString &binary);
    ~HalcyProcess();

    void setEnvironmentValue(const QString &name, const QString &value) { m_environment.insert(name, value); }
    QString configHome() const { return m_dir.path() + QStringLiteral("/config"); }
    QString dataHome() const { return m_dir.path() + QStringLiteral("/data"); }

    // Starts the app (again, after it ended: the log starts over) and waits until it reports that it is up.
    bool start(int timeoutMs = 15000);
    // Runs `halcy ARGS` as a second launch against the same directories; returns its exit code.
    int runClient(const QStringList &arguments, QString *output = nullptr, int timeoutMs = 15000) const;
    bool waitForExit(int timeoutMs = 10000)
    {
        return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; },
                               scaledTimeout(timeoutMs));
    }

    QProcess &process() { return m_process; }
    qint64 pid() const { return m_process.processId(); }
    QString log() const { return m_log; }

private:
    QString m_binary;
    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
    QProcess m_process;
    QString m_log;
};
