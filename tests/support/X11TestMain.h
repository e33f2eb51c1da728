#pragma once

#include <QApplication>
#include <QTest>

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

#define HALCY_REQUIRE_X11_SESSION()                                                                          \
    do {                                                                                                     \
        if (QGuiApplication::platformName() != QLatin1String("xcb"))                                         \
            QSKIP("needs the X session of scripts/desktop-session.sh");                                      \
    } while (false)
