#include "App/AppState.h"
#include "App/Preferences.h"
#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

// The preferences file as other programs (and a later Halcy) see it: keys, JSON types, fallbacks.
class tst_Preferences : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;

    QString path() const { return Preferences::defaultPath(); }

    void writeFile(const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path()).absolutePath());
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }

    void writeJson(const QJsonObject &object) { writeFile(QJsonDocument(object).toJson()); }

    QJsonObject readJson() const
    {
        QFile file(path());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object();
    }

private slots:
    void init() { m_env = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_env.reset(); }

    void defaultPathFollowsXdgConfigHome()
    {
        QCOMPARE(path(), m_env->configHome() + QStringLiteral("/Halcy/settings.json"));
    }

    void freshInstallReadsDefaultsAndWritesNothing()
    {
        Preferences preferences;
        AppState state(&preferences);
        // Every row is a property of AppState that starts at the row's default.
        for (const PreferenceRow &row : AppState::preferenceRows())
            QVERIFY2(state.property(row.field) == row.defaultValue, row.field);
        QVERIFY(!QFile::exists(path()));
    }

    void storedValuesAreValidated_data()
    {
        QTest::addColumn<QJsonObject>("stored");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QVariant>("expected");

        const QColor ink = brandInkColor();
        QTest::addRow("Boolean stored as string reads as default")
            << QJsonObject{{"Halcy.clipboardEnabled", "false"}} << "clipboardEnabled" << QVariant(true);
        QTest::addRow("Boolean stored as number reads as default")
            << QJsonObject{{"Halcy.mirrorFlipDefault", 0}} << "mirrorFlipDefault" << QVariant(true);
        QTest::addRow("paused reads leniently: number")
            << QJsonObject{{"Halcy.clipboardPaused", 1}} << "clipboardPaused" << QVariant(true);
        QTest::addRow("paused reads leniently: yes")
            << QJsonObject{{"Halcy.clipboardPaused", "yes"}} << "clipboardPaused" << QVariant(true);
        QTest::addRow("paused reads leniently: junk is false")
            << QJsonObject{{"Halcy.clipboardPaused", "maybe"}} << "clipboardPaused" << QVariant(false);
        QTest::addRow("unknown shape falls back")
            << QJsonObject{{"Halcy.mirrorShape", "hexagon"}} << "mirrorShape"
            << QVariant(int(MirrorShape::roundedRectangle));
        QTest::addRow("shape matching is exact")
            << QJsonObject{{"Halcy.mirrorShape", "Circle"}} << "mirrorShape"
            << QVariant(int(MirrorShape::roundedRectangle));
        QTest::addRow("fill stored as Boolean falls back")
            << QJsonObject{{"Halcy.hideDesktopFill", true}} << "hideDesktopFill"
            << QVariant(int(DesktopFill::matchWallpaper));
        QTest::addRow("known fill is read") << QJsonObject{{"Halcy.hideDesktopFill", "blur"}}
                                            << "hideDesktopFill" << QVariant(int(DesktopFill::blur));
        QTest::addRow("colour with three numbers falls back")
            << QJsonObject{{"Halcy.desktopSolidColor", QJsonArray{1, 0, 0}}} << "desktopSolidColor"
            << QVariant(ink);
        QTest::addRow("colour as string falls back")
            << QJsonObject{{"Halcy.desktopSolidColor", "#ff0000"}} << "desktopSolidColor" << QVariant(ink);
        QTest::addRow("colour with a non-number falls back")
            << QJsonObject{{"Halcy.desktopSolidColor", QJsonArray{1, 0, "0", 1}}} << "desktopSolidColor"
            << QVariant(ink);
        QTest::addRow("colour with a Boolean component falls back")
            << QJsonObject{{"Halcy.desktopSolidColor", QJsonArray{true, 0, 0, 1}}} << "desktopSolidColor"
            << QVariant(ink);
    }

    void storedValuesAreValidated()
    {
        QFETCH(QJsonObject, stored);
        QFETCH(QString, field);
        QFETCH(QVariant, expected);
        writeJson(stored);

        Preferences preferences;
        AppState state(&preferences);
        QVariant actual = state.property(field.toLatin1());
        if (actual.metaType().flags() & QMetaType::IsEnumeration)
            actual = actual.toInt();
        QCOMPARE(actual, expected);
    }

    void settersWriteTypedValuesUnderHalcyKeys()
    {
        {
            Preferences preferences;
            AppState state(&preferences);
            state.setClipboardEnabled(false);
            state.setMirrorShape(MirrorShape::circle);
            state.setDefaultPasteMode(PasteMode::plainText);
            state.setDesktopSolidColor(QColor::fromRgbF(0.25, 0.5, 0.75, 1.0));
            // A value with no stored form (an enum out of range, as QML could write) is refused.
            state.setMirrorShape(MirrorShape(7));
            QCOMPARE(state.mirrorShape(), MirrorShape::circle);
            // Session-only fields never reach the file.
            state.setSearchQuery(QStringLiteral("abc"));
            state.setDesktopHidden(true);
        }
        const QJsonObject json = readJson();
        QCOMPARE(json.value("Halcy.clipboardEnabled"), QJsonValue(false));
        QCOMPARE(json.value("Halcy.mirrorShape"), QJsonValue("circle"));
        QCOMPARE(json.value("Halcy.defaultPasteMode"), QJsonValue("plainText"));
        const QJsonArray color = json.value("Halcy.desktopSolidColor").toArray();
        QCOMPARE(color.size(), 4);
        QVERIFY(qAbs(color.at(0).toDouble() - 0.25) < 1e-4);
        QVERIFY(qAbs(color.at(2).toDouble() - 0.75) < 1e-4);
        QCOMPARE(json.keys().size(), 4);

        Preferences reread;
        AppState state(&reread);
        QCOMPARE(state.clipboardEnabled(), false);
        QCOMPARE(state.mirrorShape(), MirrorShape::circle);
        QCOMPARE(state.defaultPasteMode(), PasteMode::plainText);
        QCOMPARE(state.desktopSolidColor(), QColor::fromRgbF(0.25, 0.5, 0.75, 1.0));
    }

    void unknownKeysOfOthersSurviveAWrite()
    {
        writeJson({{"Halcy.hasCompletedOnboarding", true}, {"Halcy.selectedCameraDeviceID", "cam-1"}});
        Preferences preferences;
        AppState state(&preferences);
        state.setMirrorEnabled(false);
        const QJsonObject json = readJson();
        QCOMPARE(json.value("Halcy.hasCompletedOnboarding"), QJsonValue(true));
        QCOMPARE(json.value("Halcy.selectedCameraDeviceID"), QJsonValue("cam-1"));
        QCOMPARE(json.value("Halcy.mirrorEnabled"), QJsonValue(false));
    }

    void corruptFileIsSetAsideAndDefaultsRun_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addRow("truncated JSON") << QByteArray("{\"Halcy.clipboardEnabled\": fal");
        QTest::addRow("JSON array instead of object") << QByteArray("[1, 2, 3]");
        QTest::addRow("binary junk") << QByteArray("\x00\xff\xfe garbage", 11);
    }

    void corruptFileIsSetAsideAndDefaultsRun()
    {
        QFETCH(QByteArray, bytes);
        writeFile(bytes);

        Preferences preferences;
        AppState state(&preferences);
        QCOMPARE(state.clipboardEnabled(), true);
        QVERIFY(!preferences.setAsidePath().isEmpty());
        QFile aside(preferences.setAsidePath());
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), bytes);
        QVERIFY(!QFile::exists(path()));

        state.setClipboardPaused(true);
        QCOMPARE(readJson().value("Halcy.clipboardPaused"), QJsonValue(true));
    }

    void resetWritesEveryDefaultAndLeavesOtherKeysAlone()
    {
        writeJson({{"Halcy.hasCompletedOnboarding", true},
                   {"Halcy.selectedMicDeviceID", "mic-2"},
                   {"Halcy.clipboardPaused", true},
                   {"Halcy.mirrorShape", "square"}});
        Preferences preferences;
        AppState state(&preferences);
        QSignalSpy shapeSpy(&state, &AppState::mirrorShapeChanged);
        QSignalSpy flipSpy(&state, &AppState::mirrorFlipDefaultChanged);

        state.resetToDefaults();

        QCOMPARE(shapeSpy.count(), 1);
        QCOMPARE(flipSpy.count(), 0); // unchanged values are written but not announced
        QCOMPARE(state.mirrorShape(), MirrorShape::roundedRectangle);

        const QJsonObject json = readJson();
        QCOMPARE(json.value("Halcy.hasCompletedOnboarding"), QJsonValue(true));
        QCOMPARE(json.value("Halcy.selectedMicDeviceID"), QJsonValue("mic-2"));
        QCOMPARE(json.value("Halcy.clipboardPaused"), QJsonValue(false));
        QCOMPARE(json.value("Halcy.mirrorShape"), QJsonValue("roundedRectangle"));
        for (const PreferenceRow &row : AppState::preferenceRows())
            QVERIFY2(json.contains(row.key()), row.field);
    }
};

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_preferences.moc"
