#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

TestEnvironment::TestEnvironment() : m_dir(std::make_unique<QTemporaryDir>())
{
    QDir(m_dir->path()).mkpath(QStringLiteral("config"));
    QDir(m_dir->path()).mkpath(QStringLiteral("data"));
    qputenv("XDG_CONFIG_HOME", configHome().toLocal8Bit());
    qputenv("XDG_DATA_HOME", dataHome().toLocal8Bit());
}

TestEnvironment::~TestEnvironment() = default;

QString TestEnvironment::configHome() const
{
    return m_dir->path() + QStringLiteral("/config");
}

QString TestEnvironment::dataHome() const
{
    return m_dir->path() + QStringLiteral("/data");
}

void TestEnvironment::markOnboardingCompleted(const QString &configHome)
{
    QDir(configHome).mkpath(QStringLiteral("Halcy"));
    QFile preferences(configHome + QStringLiteral("/Halcy/settings.json"));
    if (preferences.open(QIODevice::WriteOnly))
        preferences.write("{\"Halcy.hasCompletedOnboarding\": true}\n");
}
