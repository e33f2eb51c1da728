#pragma once

#include "Platform/Pasteboard.h"

class QClipboard;
class QMimeData;

// The CLIPBOARD selection through QClipboard. Qt's xcb plugin learns of foreign copies from XFixes
// selection notifications and keeps serving what we wrote from its own hidden window for as long as
// the process lives, so no window of ours has to stay open.
class X11Pasteboard final : public Pasteboard
{
    Q_OBJECT
public:
    explicit X11Pasteboard(QObject *parent = nullptr);

    qint64 changeCount() const override { return m_changeCount; }
    QStringList types() const override;
    std::optional<QString> string() const override;
    QList<QUrl> fileURLs() const override;
    std::optional<QByteArray> data(const QString &mimeType) const override;
    bool write(QMimeData *data) override;
    void clear() override;

private:
    const QMimeData *currentMimeData() const;

    QClipboard *m_clipboard;
    qint64 m_changeCount = 0;
};
