#include "TestEnvironment.h"

#include <QDir>
#include <QFile>

TestEnvironment::TestEnvironment()
{
    QDir().mkpath(configHome());
    QDir().mkpath(dataHome());
    qputenv("XDG_CONFIG_HOME", configHome().toLocal8Bit());
    qputenv("XDG_DATA_HOME", dataHome().toLocal8Bit());
}

void TestEnvironment::markOnboardingCompleted(const QString &configHome)
{
    QDir(configHome).mkpath(QStringLiteral("Halcy"));
    QFile preferences(configHome + QStringLiteral("/Halcy/settings.json"));
    if (preferences.open(QIODevice::WriteOnly))
        preferences.write("{\"Halcy.hasCompletedOnboarding\": true}\n");
}
