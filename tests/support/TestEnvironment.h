#pragma once

#include <QString>
#include <QTemporaryDir>

#include <memory>

// Points every XDG location at a private temporary directory, so tests never see the user's files.
class TestEnvironment final
{
public:
    TestEnvironment();
    ~TestEnvironment();

    QString root() const { return m_dir->path(); }
    QString configHome() const;
    QString dataHome() const;

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};
