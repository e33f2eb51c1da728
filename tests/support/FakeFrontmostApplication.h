#pragma once

#include "Platform/FrontmostApplication.h"

// Answers whatever name the test sets; "" plays "no active window".
class FakeFrontmostApplication final : public FrontmostApplication
{
public:
    void setName(const QString &name) { m_name = name; }
    void setWindowClass(std::optional<WindowClass> windowClass) { m_windowClass = std::move(windowClass); }
    int queries() const { return m_queries; }

    QString name() const override
    {
        ++m_queries;
        return m_name;
    }

    std::optional<WindowClass> activeWindowClass() const override { return m_windowClass; }

private:
    QString m_name = QStringLiteral("Text Editor");
    std::optional<WindowClass> m_windowClass;
    mutable int m_queries = 0;
};
