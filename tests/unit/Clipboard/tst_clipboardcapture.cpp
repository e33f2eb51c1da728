#include "Clipboard/ClipboardCapture.h"
#include "SampleContent.h"

#include <QTest>

class TestClipboardCapture final : public QObject
{
    Q_OBJECT

    const QDateTime m_start = QDateTime::currentDateTime();

private slots:
    // What a copied text, file list or image becomes.
    void captures_data()
    {
        QTest::addColumn<std::optional<ClipboardCapture>>("capture");
        QTest::addColumn<QString>("recorded"); // "type: title"; empty: nothing is captured
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("fingerprint"); // empty: not checked
        QTest::addColumn<std::optional<QByteArray>>("text");
        const auto add = [](const char *name, const std::optional<ClipboardCapture> &capture,
                            const char *type, const QString &title, const QString &preview,
                            const char *fingerprint, const std::optional<QByteArray> &text = {}) {
            QTest::newRow(name) << capture << (*type ? QString::fromLatin1(type) + ": " + title : QString())
                                << preview << QString::fromLatin1(fingerprint) << text;
        };
        // Title and preview default to the trimmed input.
        const auto row = [&add](const char *name, const QString &input, const char *type,
                                const QString &title = {}, const QString &preview = {},
                                const char *fingerprint = "") {
            add(name, ClipboardCapture::fromString(input, QStringLiteral("Terminal")), type,
                title.isNull() ? input.trimmed() : title, preview.isNull() ? input.trimmed() : preview,
                fingerprint, input.toUtf8());
        };
        // Digests computed outside Qt, e.g. printf 'link|https://example.com/path?q=1|||' | sha256sum
        row("https with host is a link titled by host", "  https://example.com/path?q=1\n", "link",
            "example.com", {}, "66cb3f012a7fb810150de32c09f4817f5d9f3b903f094e296eb1492418510ce2");
        row("link without host is titled by its text", "http:foo", "link");
        row("international host", "https://bücher.de/x", "link", "bücher.de", {},
            "c156fc3d058b52b5c5c58031e0e135b7074c3675ef7b6794f89822cdca85a424");
        row("unescaped pipe keeps a link", "https://example.com/?q=a|b", "link", "example.com");
        row("ftp is text", "ftp://example.com/file", "text");
        row("capital H scheme is text", "Https://example.com", "text");
        row("address followed by prose is text", "https://example.com is down", "text");
        row("relative path starting with http is text", "httpdocs/index.html", "text");
        row("six digits with hash is an upper-cased colour", "#1a2B3c", "color", "#1A2B3C");
        row("six digits without hash is a colour", "ff00aa", "color", "FF00AA");
        row("eight digits is a colour", "#ff00aa80", "color", "#FF00AA80");
        row("five digits are text", "#abcde", "text");
        row("seven digits are text", "#abcdef0", "text");
        row("non-hex letter is text", "#abcdeg", "text");
        const QString digits = QStringLiteral("0123456789").repeated(20);
        row("140 characters keep the preview", digits.left(140), "text", digits.left(72) + "...");
        row("141 characters shorten the preview", digits.left(141), "text", digits.left(72) + "...",
            digits.left(140) + "...");
        row("empty is not captured", QString(), "");
        row("blanks are not captured", QStringLiteral("\n\t \r\n\u00A0"), "");
        row("blanks past the first slice at both ends are trimmed",
            QString(5000, u' ') + QStringLiteral("\u3000x\u00A0") + QString(5000, u'\n'), "text", "x", "x",
            "0d6c1f42804c751e3b54d4331a33a8d0f9a54dedfadd88ce43510acb67436de2");
        // 201 UTF-8 bytes a character: the title's characters are not all in the first bytes decoded.
        const QString cluster = QStringLiteral("a") + QString(100, QChar(0x0301));
        row("long clusters past the first bytes decoded", cluster.repeated(200), "text",
            cluster.repeated(72) + "...", cluster.repeated(140) + "...");
        add("broken UTF-8 is repaired", ClipboardCapture::fromText("caf\xe9", QStringLiteral("Terminal")),
            "text", QStringLiteral("caf\uFFFD"), QStringLiteral("caf\uFFFD"), "",
            QStringLiteral("caf\uFFFD").toUtf8());
        const auto files = [&add](const char *name, const QStringList &urls, const char *title,
                                  const QString &preview, const char *fingerprint) {
            add(name, ClipboardCapture::fromFileURLs(QUrl::fromStringList(urls), QStringLiteral("Terminal")),
                *title ? "file" : "", title, preview, fingerprint);
        };
        // printf 'file||file:///home/ada/My%%20Notes.txt||' | sha256sum; an image's last part is the digest
        // of its bytes: printf 'image|||pasteboard-image-7|%s' "$(printf PNGDATA | sha256sum | cut -c1-64)"
        files("one file is titled by its name", {"file:///home/ada/My%20Notes.txt"}, "My Notes.txt",
              "/home/ada/My Notes.txt", "0fde477721a91118e9febf1c3014a89650e5a4457254266c2c1f254dd03b03fe");
        files("one folder is titled by its name", {"file:///home/ada/Projects/"}, "Projects",
              "/home/ada/Projects", "afa59e4f809378514fc7848aaf5fb6d2b510192cc884544e42d25be26272e6f2");
        files("several files are counted, in pasteboard order",
              {"file:///tmp/b%20c.txt", "file:///tmp/a.txt"}, "2 files", "/tmp/b c.txt\n/tmp/a.txt",
              "18dcf9c265bb91256d201d35384dd57564405ed3a04c36ac8f3a40488effb13a");
        files("web addresses among files are dropped", {"https://example.com/a.png", "file:///tmp/a.png"},
              "a.png", "/tmp/a.png", "f4e035bd80b30abe7082700123be9da13536d4d4563e7396a7169c0bda408ab8");
        files("no file at all is not captured", {"https://example.com/a.png", "sftp://host/b"}, "", "", "");
        add("image", ClipboardCapture::fromImage("PNGDATA", 7, QStringLiteral("Terminal")), "image", "Image",
            "Image copied to clipboard", "99889f8b82fced72a40f72dc72a8881b0c3ab6ea3db8ac54a6fb88cf78f0d469");
        add("a picture that can be read says what it is",
            ClipboardCapture::fromImage(encodedImage(QImage(64, 48, QImage::Format_RGB32)), 7,
                                        QStringLiteral("Terminal")),
            "image", "Image", "64 × 48 PNG", "");
    }

    void captures()
    {
        QFETCH(std::optional<ClipboardCapture>, capture);
        QFETCH(QString, recorded);
        QFETCH(QString, preview);
        QFETCH(QString, fingerprint);
        QFETCH(std::optional<QByteArray>, text);

        QCOMPARE(capture ? enumName(capture->type) + ": " + capture->title : QString(), recorded);
        if (!capture)
            return;
        QCOMPARE(capture->preview, preview);
        QCOMPARE(capture->textContent, text);
        QCOMPARE(capture->sourceAppName, QStringLiteral("Terminal"));
        if (!fingerprint.isEmpty())
            QCOMPARE(capture->fingerprint, fingerprint);
        QVERIFY(capture->timestamp >= m_start && capture->timestamp <= QDateTime::currentDateTime());
    }

    void shortensToUserPerceivedCharacters_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("expected");

        const QString eAcute = QStringLiteral("e\u0301");
        const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");
        const QString flag = QStringLiteral("\U0001F1E9\U0001F1EA");
        const QString zalgo = QStringLiteral("a") + QString(12, QChar(0x0301)); // one character, 13 units

        QTest::addRow("combining marks") << eAcute.repeated(6) << 5 << eAcute.repeated(5) + "...";
        QTest::addRow("emoji sequences") << family.repeated(4) << 3 << family.repeated(3) + "...";
        QTest::addRow("flags are not split") << flag.repeated(3) << 2 << flag.repeated(2) + "...";
        QTest::addRow("long clusters at the limit") << zalgo.repeated(72) << 72 << zalgo.repeated(72);
        QTest::addRow("long clusters past the limit")
            << zalgo.repeated(73) << 72 << zalgo.repeated(72) + "...";
        QTest::addRow("line feed counts as a character") << "ab\ncd" << 4 << "ab c...";
        QTest::addRow("crlf counts as one character") << "ab\r\ncd" << 5 << "ab cd";
        QTest::addRow("line feeds at the ends are trimmed") << "\nabc\n" << 5 << "abc";
        QTest::addRow("blank after the cut is trimmed") << "abcd efgh" << 4 << "abcd...";
    }

    void shortensToUserPerceivedCharacters()
    {
        QFETCH(QString, input);
        QFETCH(int, limit);
        QFETCH(QString, expected);
        QCOMPARE(ClipboardCapture::shortened(input, limit), expected);
    }
};

QTEST_GUILESS_MAIN(TestClipboardCapture)
#include "tst_clipboardcapture.moc"
