#include "Platform/Linux/XdgAutostart.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// The autostart entry as a session's autostart reader sees it.
class tst_XdgAutostart : public QObject
{
    Q_OBJECT

private slots:
    void entryWrittenAndRemoved()
    {
        QTemporaryDir dir;
        const QString path = dir.path() + "/config/autostart/halcy.desktop";
        const QString program = dir.path() + "/my \"apps\"/$HOME/halcy";
        XdgAutostart autostart(path, program);
        QVERIFY(!autostart.isEnabled());

        QVERIFY(autostart.setEnabled(true));
        QVERIFY(autostart.isEnabled());
        // Exec quoting first, then the string escaping of the format.
        QString expected = program;
        expected.replace("\"", "\\\\\"").replace("$", "\\\\$");
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.startsWith("[Desktop Entry]\nType=Application\n"));
        QVERIFY(text.contains(("\nExec=\"" + expected + "\"\n").toUtf8()));
        file.close();

        QVERIFY(autostart.setEnabled(false));
        QVERIFY(!QFile::exists(path));
        QVERIFY(!autostart.isEnabled());
        QVERIFY(autostart.setEnabled(false));
    }
};

QTEST_GUILESS_MAIN(tst_XdgAutostart)
#include "tst_xdgautostart.moc"
