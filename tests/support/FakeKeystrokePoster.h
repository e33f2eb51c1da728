#pragma once

#include "Platform/KeystrokePoster.h"

// Records paste keystrokes instead of typing them.
class FakeKeystrokePoster final : public KeystrokePoster
{
public:
    void setAvailable(bool available) { m_available = available; }
    void setPostSucceeds(bool succeeds) { m_postSucceeds = succeeds; }
    int posts() const { return m_posts; }

    bool isAvailable() const override { return m_available; }
    bool postPasteKeystroke() override
    {
        ++m_posts;
        return m_postSucceeds;
    }

private:
    bool m_available = true;
    bool m_postSucceeds = true;
    int m_posts = 0;
};
