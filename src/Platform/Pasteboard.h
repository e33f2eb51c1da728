#pragma once

#include "Platform/PasteboardContent.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

class QMimeData;

// What to read from the clipboard and what to do on the reading side before the answer is handed over.
struct PasteboardRequest
{
    // The change count the answer will be tagged with.
    qint64 changeCount = 0;
    // From the type list alone: whether the content must be left unread. Runs where the content is
    // read (a worker thread on X11), before any of it is fetched.
    std::function<bool(const QStringList &types)> isExcluded;
    // Runs where the content was read, right before it is handed over: the place for hashing and other
    // work the GUI thread should not do. Must not touch objects of the GUI thread.
    std::function<void(const PasteboardContent &content)> prepare;
    // Besides the history's own pick, read every other type on offer too (within the image size limit
    // in all), for taking over the content as it is.
    bool keepEveryType = false;
};

// The system clipboard as the history sees it: a change counter that moves on every new content of the
// clipboard (our own writes included), an asynchronous read of the content, and writes.
class Pasteboard : public QObject
{
    Q_OBJECT
public:
    using ContentHandler = std::function<void(const PasteboardContent &content)>;

    using QObject::QObject;
    ~Pasteboard() override = default;

    // The backend for the running Qt platform.
    static std::unique_ptr<Pasteboard> createDefault(QObject *parent = nullptr);

    virtual qint64 changeCount() const = 0;
    // Whether changed() is emitted for every new content without fail, so that polling the change count
    // is a rare fallback only.
    virtual bool reportsEveryChange() const { return false; }

    // Reads the current content without blocking the calling thread, and answers every request exactly
    // once on the pasteboard's thread (the GUI thread), unless `context` is gone by then. The answer may
    // come before this returns. A newer request supersedes one still in progress (only the clipboard's
    // current content can be read anyway): the older one is answered `superseded`.
    virtual void requestContent(const PasteboardRequest &request, QObject *context,
                                ContentHandler handler) = 0;

    // Replaces the clipboard with every format of `data` at once; takes ownership.
    virtual bool write(QMimeData *data) = 0;
    virtual void clear() = 0;
    // Puts a copy of what we last wrote to the clipboard into the primary selection, for programs that
    // paste only from there. False when the clipboard is no longer ours or the platform has no
    // primary selection.
    virtual bool mirrorToSelection() { return false; }

    // Programs that exit while they own the clipboard may first hand its content to the desktop's
    // clipboard manager. After this call the pasteboard offers to be that manager, unless another
    // one runs: each handover arrives as handoverRequested(), and must be answered with
    // finishHandover() once the content is ours, or could not be taken. False when the platform has
    // no such convention or another manager is there.
    virtual bool acceptHandovers() { return false; }
    virtual void finishHandover(bool /*taken*/) {}

Q_SIGNALS:
    // Emitted as soon as the platform reports new content; changeCount() has already moved.
    void changed();
    // An exiting program waits for its content to be taken; read it with keepEveryType, write it,
    // then call finishHandover().
    void handoverRequested();
};
