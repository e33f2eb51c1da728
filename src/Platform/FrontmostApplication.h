#pragma once

#include <QString>

#include <memory>

// Which application the user is working in right now.
class FrontmostApplication
{
public:
    virtual ~FrontmostApplication() = default;

    // The backend for the running Qt platform; one that always answers "" where none exists.
    static std::unique_ptr<FrontmostApplication> createDefault();

    // The user-visible name of the application that owns the active window; empty when there is no
    // active window or it cannot be named.
    virtual QString name() const = 0;
};
