#pragma once

#include "Platform/KeystrokePoster.h"

#include <optional>

// Types Control+V through the XTest extension. The key that types "v" is looked up in the keyboard
// map at every paste, so a layout switch between pastes is honoured.
class X11KeystrokePoster final : public KeystrokePoster
{
public:
    X11KeystrokePoster();
    ~X11KeystrokePoster() override;

    bool isAvailable() const override;
    bool postPasteKeystroke() override;

private:
    mutable std::optional<bool> m_available;
};
