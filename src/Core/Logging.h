#pragma once

#include <QLoggingCategory>

// One category per area; debug output is off unless enabled with QT_LOGGING_RULES.
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcPreferences)
Q_DECLARE_LOGGING_CATEGORY(lcSettings)
Q_DECLARE_LOGGING_CATEGORY(lcClipboard)
Q_DECLARE_LOGGING_CATEGORY(lcStore)
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
Q_DECLARE_LOGGING_CATEGORY(lcHotkeys)
Q_DECLARE_LOGGING_CATEGORY(lcDesktop)
Q_DECLARE_LOGGING_CATEGORY(lcMirror)
