#pragma once

#include <QObject>
#include <QRect>

#include <functional>

class QScreen;

namespace ScreenChanges {

// Calls `changed` when a screen is added or removed, and when `areaChanged` fires on any screen,
// present or added later; for as long as `context` lives.
void watch(QObject *context, void (QScreen::*areaChanged)(const QRect &),
           const std::function<void()> &changed);

} // namespace ScreenChanges
