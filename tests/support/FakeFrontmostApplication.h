#pragma once

#include "Platform/FrontmostApplication.h"

// Answers whatever the test sets; an empty name plays "no active window".
class FakeFrontmostApplication final : public FrontmostApplication
{
public:
    QString appName = QStringLiteral("Text Editor");
    std::optional<WindowClass> windowClass;
    mutable int queries = 0;

    QString name() const override
    {
        ++queries;
        return appName;
    }
    std::optional<WindowClass> activeWindowClass() const override { return windowClass; }
};
