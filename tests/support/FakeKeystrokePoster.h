#pragma once

#include "Platform/KeystrokePoster.h"

#include <optional>

// Records paste keystrokes instead of typing them.
class FakeKeystrokePoster final : public KeystrokePoster
{
public:
    void setAvailable(bool available) { m_available = available; }
    void setPostSucceeds(bool succeeds) { m_postSucceeds = succeeds; }
    int posts() const { return m_posts; }
    std::optional<PasteKeystroke> lastKeystroke() const { return m_lastKeystroke; }

    bool isAvailable() const override { return m_available; }
    bool postPasteKeystroke(PasteKeystroke keystroke) override
    {
        ++m_posts;
        m_lastKeystroke = keystroke;
        return m_postSucceeds;
    }

private:
    bool m_available = true;
    bool m_postSucceeds = true;
    int m_posts = 0;
    std::optional<PasteKeystroke> m_lastKeystroke;
};
