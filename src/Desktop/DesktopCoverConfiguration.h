#pragma once

#include "Core/BrandInk.h"
#include "Desktop/DesktopFill.h"

#include <QColor>

struct DesktopCoverConfiguration
{
    DesktopFill fill = DesktopFill::matchWallpaper;
    QColor solidColor = brandInkColor();
    bool consumesClicks = true;
    bool doubleClickReveals = false;

    // Colours compare by their sRGB components, whatever colour model the QColor was built with.
    friend bool operator==(const DesktopCoverConfiguration &a, const DesktopCoverConfiguration &b)
    {
        const QColor ca = a.solidColor.toRgb();
        const QColor cb = b.solidColor.toRgb();
        return a.fill == b.fill && a.consumesClicks == b.consumesClicks &&
               a.doubleClickReveals == b.doubleClickReveals && ca.redF() == cb.redF() &&
               ca.greenF() == cb.greenF() && ca.blueF() == cb.blueF() && ca.alphaF() == cb.alphaF();
    }
    friend bool operator!=(const DesktopCoverConfiguration &a, const DesktopCoverConfiguration &b)
    {
        return !(a == b);
    }
};
