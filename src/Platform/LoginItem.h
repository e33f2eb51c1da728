#pragma once

#include <QString>

#include <memory>

// Whether the desktop starts Halcy when the user logs in. The desktop's own record is the truth, so a
// change made elsewhere (a session manager, a file manager) shows up here.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    static std::unique_ptr<LoginItem> createDefault();

    virtual bool isEnabled() const = 0;
    // False, with the reason in `error`, when the desktop's record could not be changed.
    virtual bool setEnabled(bool enabled, QString *error = nullptr) = 0;
};
