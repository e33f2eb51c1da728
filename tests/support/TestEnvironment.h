#pragma once

#include <QString>
#include <QTemporaryDir>

// Points every XDG location at a private temporary directory, so tests never see the user's files.
class TestEnvironment final
{
public:
    TestEnvironment();

    QString root() const { return m_dir.path(); }
    QString configHome() const { return m_dir.path() + QStringLiteral("/config"); }
    QString dataHome() const { return m_dir.path() + QStringLiteral("/data"); }

    // A returning user: the welcome window would stand in front of whatever a test drives, and on a
    // slow machine it can take the keyboard from a window opened after it.
    static void markOnboardingCompleted(const QString &configHome);

private:
    QTemporaryDir m_dir;
};
