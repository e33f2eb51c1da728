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

// The preferences file as other programs (and a later Halcy) see it: place, keys, JSON types, fallbacks.
class tst_Preferences : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;

    // Spelled out rather than asked of Preferences: other programs rely on the place.
    QString path() const { return m_env->configHome() + QStringLiteral("/Halcy/settings.json"); }

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

    void storedValuesAreValidated_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<QVariant>("expected");
        const auto row = [](const char *name, const char *field, QJsonValue stored, QVariant read) {
            QTest::newRow(name) << QString::fromLatin1(field) << stored << read;
        };
        const QVariant roundedRectangle = QVariant::fromValue(MirrorShape::roundedRectangle);
        row("Boolean is read", "clipboardEnabled", false, false);
        row("Boolean stored as string reads as default", "clipboardEnabled", "false", true);
        row("Boolean stored as number reads as default", "mirrorFlipDefault", 0, true);
        row("paused reads leniently: number", "clipboardPaused", 1, true);
        row("paused reads leniently: yes", "clipboardPaused", "yes", true);
        row("paused reads leniently: junk is false", "clipboardPaused", "maybe", false);
        row("known shape is read", "mirrorShape", "circle", QVariant::fromValue(MirrorShape::circle));
        row("paste mode is read", "defaultPasteMode", "plainText", QVariant::fromValue(PasteMode::plainText));
        row("known fill is read", "hideDesktopFill", "blur", QVariant::fromValue(DesktopFill::blur));
        row("unknown shape falls back", "mirrorShape", "hexagon", roundedRectangle);
        row("shape matching is exact", "mirrorShape", "Circle", roundedRectangle);
        row("colour is read", "desktopSolidColor", QJsonArray{0.25, 0.5, 0.75, 1},
            QColor::fromRgbF(0.25, 0.5, 0.75, 1.0));
        row("colour of three numbers falls back", "desktopSolidColor", QJsonArray{1, 0, 0}, brandInkColor());
        row("colour with a string falls back", "desktopSolidColor", QJsonArray{1, 0, "0", 1},
            brandInkColor());
        row("colour with a Boolean falls back", "desktopSolidColor", QJsonArray{true, 0, 0, 1},
            brandInkColor());
    }
    void storedValuesAreValidated()
    {
        QFETCH(QString, field);
        QFETCH(QJsonValue, stored);
        QFETCH(QVariant, expected);
        writeFile(QJsonDocument(QJsonObject{{QStringLiteral("Halcy.") + field, stored}}).toJson());
        Preferences preferences;
        QCOMPARE(AppState(&preferences).property(qPrintable(field)), expected);
    }

    // Whatever file was there: its other keys stay, or, unreadable, it is set aside as it was.
    void settersAndResetWriteTypedValuesUnderHalcyKeys_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QJsonObject>("kept");
        const QJsonObject others{{"Halcy.hasCompletedOnboarding", true}};
        QTest::addRow("keys of others") << QJsonDocument(others).toJson() << others;
        QTest::addRow("truncated JSON") << QByteArray("{\"Halcy.clipboardEnabled\": fal") << QJsonObject();
        QTest::addRow("JSON array instead of object") << QByteArray("[1, 2, 3]") << QJsonObject();
    }
    void settersAndResetWriteTypedValuesUnderHalcyKeys()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QJsonObject, kept);
        writeFile(bytes);
        Preferences preferences;
        AppState state(&preferences);
        QFile aside(preferences.setAsidePath());
        QCOMPARE(aside.open(QIODevice::ReadOnly) ? aside.readAll() : "", kept.isEmpty() ? bytes : "");
        QCOMPARE(QFile::exists(path()), !kept.isEmpty()); // nothing is written until a value is set

        QSignalSpy shapeSpy(&state, &AppState::mirrorShapeChanged);
        QSignalSpy flipSpy(&state, &AppState::mirrorFlipDefaultChanged);
        state.setClipboardEnabled(false);
        state.setMirrorShape(MirrorShape::circle);
        state.setDesktopSolidColor(QColor::fromRgbF(1, 0, 0, 0));
        // A value with no stored form (an enum out of range, as QML could write) is refused.
        state.setMirrorShape(MirrorShape(7));
        // Session-only fields never reach the file.
        state.setSearchQuery(QStringLiteral("abc"));
        state.setDesktopHidden(true);
        QJsonObject expected = kept;
        expected.insert("Halcy.clipboardEnabled", false);
        expected.insert("Halcy.mirrorShape", "circle");
        expected.insert("Halcy.desktopSolidColor", QJsonArray{1, 0, 0, 0});
        QCOMPARE(readJson(), expected);

        state.resetToDefaults();
        QCOMPARE(shapeSpy.count(), 2);
        QCOMPARE(flipSpy.count(), 0); // unchanged values are written but not announced
        QCOMPARE(readJson().size(), qsizetype(AppState::preferenceRows().size()) + kept.size());
    }
};

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_preferences.moc"
