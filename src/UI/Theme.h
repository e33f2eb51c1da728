#pragma once

#include "Core/BrandInk.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The colours every view draws with, light or dark. One per QML engine.
class Theme final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(QColor background READ background NOTIFY darkChanged)
    Q_PROPERTY(QColor card READ card NOTIFY darkChanged)
    Q_PROPERTY(QColor cardHover READ cardHover NOTIFY darkChanged)
    Q_PROPERTY(QColor rowHover READ rowHover NOTIFY darkChanged)
    Q_PROPERTY(QColor iconWell READ iconWell NOTIFY darkChanged)
    Q_PROPERTY(QColor border READ border NOTIFY darkChanged)
    Q_PROPERTY(QColor text READ text NOTIFY darkChanged)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY darkChanged)
    Q_PROPERTY(QColor tertiaryText READ tertiaryText NOTIFY darkChanged)
    Q_PROPERTY(QColor ink READ ink CONSTANT)
    Q_PROPERTY(QColor accent READ accent CONSTANT)
    Q_PROPERTY(QColor destructive READ destructive CONSTANT)

public:
    // No default constructor: Qt 6.4 would build a second, separate instance through it.
    explicit Theme(bool dark, QObject *parent = nullptr);
    static Theme *create(QQmlEngine *qmlEngine, QJSEngine *jsEngine);

    // HALCY_COLOR_SCHEME=dark|light wins; otherwise the desktop palette decides.
    static bool desktopPrefersDark();

    bool dark() const { return m_dark; }
    void setDark(bool dark);

    QColor background() const { return pick(0x1c1d22, 0xf7f7f9); }
    QColor card() const { return pick(0x26272e, 0xffffff); }
    QColor cardHover() const { return pick(0x2e2f37, 0xf0f1f4); }
    QColor rowHover() const { return pick(0x2a2b32, 0xebecf0); }
    QColor iconWell() const { return pick(0x30313a, 0xe9eaee); }
    QColor border() const { return pick(0x363741, 0xdfe0e6); }
    QColor text() const { return m_dark ? QColor(0xf2f2f4) : ink(); }
    QColor secondaryText() const { return pick(0xa3a5af, 0x5d606b); }
    QColor tertiaryText() const { return pick(0x7c7e88, 0x8a8d97); }
    QColor ink() const { return brandInkColor(); }
    QColor accent() const { return QColor(0x3d7eff); }
    QColor destructive() const { return QColor(0xd93a30); }

signals:
    void darkChanged();

private:
    QColor pick(QRgb dark, QRgb light) const { return QColor(m_dark ? dark : light); }

    bool m_dark;
};
