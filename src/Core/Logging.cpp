#include "Core/Logging.h"

Q_LOGGING_CATEGORY(lcApp, "halcy.app", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPreferences, "halcy.preferences", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSettings, "halcy.settings", QtInfoMsg)
Q_LOGGING_CATEGORY(lcClipboard, "halcy.clipboard", QtInfoMsg)
Q_LOGGING_CATEGORY(lcStore, "halcy.store", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlatform, "halcy.platform", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHotkeys, "halcy.hotkeys", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDesktop, "halcy.desktop", QtInfoMsg)
Q_LOGGING_CATEGORY(lcMirror, "halcy.mirror", QtInfoMsg)
