#pragma once

#include <QApplication>
#include <QStandardPaths>
#include <QTest>

#include <initializer_list>

// Integration tests talk to the X server through Qt's xcb platform. Without a DISPLAY the application
// is created offscreen instead, so that the tests can report a skip rather than abort; each test's
// initTestCase() then skips on anything but xcb.
#define HALCY_X11_TEST_MAIN(TestObject)                                                                      \
    int main(int argc, char **argv)                                                                          \
    {                                                                                                        \
        qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsEmpty("DISPLAY") ? "offscreen" : "xcb");            \
        QApplication app(argc, argv);                                                                        \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject test;                                                                                     \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

// Skips unless the test runs in the X session and every tool named is installed.
#define HALCY_REQUIRE_X11_SESSION(...)                                                                       \
    do {                                                                                                     \
        if (QGuiApplication::platformName() != QLatin1String("xcb"))                                         \
            QSKIP("needs the X session of scripts/desktop-session.sh");                                      \
        HALCY_REQUIRE_TOOLS(__VA_ARGS__);                                                                    \
    } while (false)

#define HALCY_REQUIRE_TOOLS(...)                                                                             \
    for (const char *tool : std::initializer_list<const char *>{__VA_ARGS__}) {                              \
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())                             \
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (scripts/install-deps.sh test)")            \
                                 .arg(QLatin1String(tool))));                                                \
    }
