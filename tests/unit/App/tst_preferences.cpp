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
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }

    QJsonObject readJson() const
    {
        QFile file(path());
        return QJsonDocument::fromJson(file.open(QIODevice::ReadOnly) ? file.readAll() : "").object();
    }

private slots:
    void init() { m_env = std::make_unique<TestEnvironment>(); }

    void freshInstallReadsDefaultsAndWritesNothing()
    {
        QCOMPARE(path(), m_env->configHome() + QStringLiteral("/Halcy/settings.json"));
        Preferences preferences;
        AppState state(&preferences);
        for (const PreferenceRow &row : AppState::preferenceRows())
            QVERIFY2(state.property(row.field) == row.defaultValue, row.field);
        QVERIFY(!QFile::exists(path()));
    }

    void storedValuesAreValidated_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<QVariant>("expected");

        const auto row = [](const char *name, const char *field, const QJsonValue &stored,
                            const QVariant &read) {
            QTest::newRow(name) << QString::fromLatin1(field) << stored << read;
        };
        const QVariant ink(brandInkColor());
        const QVariant roundedRectangle(int(MirrorShape::roundedRectangle));
        row("Boolean is read", "clipboardEnabled", false, false);
        row("Boolean stored as string reads as default", "clipboardEnabled", "false", true);
        row("Boolean stored as number reads as default", "mirrorFlipDefault", 0, true);
        row("paused reads leniently: number", "clipboardPaused", 1, true);
        row("paused reads leniently: yes", "clipboardPaused", "yes", true);
        row("paused reads leniently: junk is false", "clipboardPaused", "maybe", false);
        row("known shape is read", "mirrorShape", "circle", int(MirrorShape::circle));
        row("known paste mode is read", "defaultPasteMode", "plainText", int(PasteMode::plainText));
        row("unknown shape falls back", "mirrorShape", "hexagon", roundedRectangle);
        row("shape matching is exact", "mirrorShape", "Circle", roundedRectangle);
        row("fill stored as Boolean falls back", "hideDesktopFill", true, int(DesktopFill::matchWallpaper));
        row("known fill is read", "hideDesktopFill", "blur", int(DesktopFill::blur));
        row("colour with four numbers is read", "desktopSolidColor", QJsonArray{0.25, 0.5, 0.75, 1},
            QColor::fromRgbF(0.25, 0.5, 0.75, 1.0));
        row("colour with three numbers falls back", "desktopSolidColor", QJsonArray{1, 0, 0}, ink);
        row("colour as string falls back", "desktopSolidColor", "#ff0000", ink);
        row("colour with a non-number falls back", "desktopSolidColor", QJsonArray{1, 0, "0", 1}, ink);
        row("colour with a Boolean falls back", "desktopSolidColor", QJsonArray{true, 0, 0, 1}, ink);
    }

    void storedValuesAreValidated()
    {
        QFETCH(QString, field);
        QFETCH(QJsonValue, stored);
        QFETCH(QVariant, expected);
        writeFile(QJsonDocument(QJsonObject{{QStringLiteral("Halcy.") + field, stored}}).toJson());

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
        QJsonObject json = readJson();
        const QJsonArray rgba = json.take("Halcy.desktopSolidColor").toArray();
        QVERIFY(rgba.size() == 4 && qAbs(rgba.at(0).toDouble() - 0.25) < 1e-4);
        QVERIFY(qAbs(rgba.at(2).toDouble() - 0.75) < 1e-4);
        QCOMPARE(json, (QJsonObject{{"Halcy.clipboardEnabled", false},
                                    {"Halcy.mirrorShape", "circle"},
                                    {"Halcy.defaultPasteMode", "plainText"}}));
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
        QFile aside(preferences.setAsidePath());
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), bytes);
        QVERIFY(!QFile::exists(path()));

        state.setClipboardPaused(true);
        QCOMPARE(readJson().value("Halcy.clipboardPaused"), QJsonValue(true));
    }

    // Also what any write does to the keys of others: they stay.
    void resetWritesEveryDefaultAndLeavesOtherKeysAlone()
    {
        writeFile(QJsonDocument(QJsonObject{{"Halcy.hasCompletedOnboarding", true},
                                            {"Halcy.selectedMicDeviceID", "mic-2"},
                                            {"Halcy.mirrorShape", "square"}})
                      .toJson());
        Preferences preferences;
        AppState state(&preferences);
        QSignalSpy shapeSpy(&state, &AppState::mirrorShapeChanged);
        QSignalSpy flipSpy(&state, &AppState::mirrorFlipDefaultChanged);

        state.resetToDefaults();

        QCOMPARE(shapeSpy.count(), 1);
        QCOMPARE(flipSpy.count(), 0); // unchanged values are written but not announced
        const QJsonObject json = readJson();
        QCOMPARE(json.value("Halcy.hasCompletedOnboarding"), QJsonValue(true));
        QCOMPARE(json.value("Halcy.selectedMicDeviceID"), QJsonValue("mic-2"));
        QCOMPARE(json.value("Halcy.mirrorShape"), QJsonValue("roundedRectangle"));
        for (const PreferenceRow &row : AppState::preferenceRows())
            QVERIFY2(json.contains(row.key()), row.field);
    }
};

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_preferences.moc"
