#pragma once

#include <QString>

#include <memory>
#include <optional>

// WM_CLASS on X11 (app id elsewhere): what a program calls its windows, whatever their title says.
struct WindowClass
{
    QString instance;
    QString className;
};

// Which application the user is working in right now.
class FrontmostApplication
{
public:
    virtual ~FrontmostApplication() = default;

    // The backend for the running Qt platform; one that always answers "" where none exists.
    static std::unique_ptr<FrontmostApplication> createDefault();

    // The user-visible name of the application that owns the active window; empty when there is no
    // active window or it cannot be named. While one of our own windows is active, the application that
    // was active last time it was asked: ask once before showing a window of ours.
    virtual QString name() const = 0;
    // The class of the active window; nothing without one.
    virtual std::optional<WindowClass> activeWindowClass() const { return std::nullopt; }
};
