#include "Clipboard/ClipboardCapture.h"
#include "SampleContent.h"

#include <QTest>

class TestClipboardCapture final : public QObject
{
    Q_OBJECT

private slots:
    void classifiesStrings_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("type"); // empty: nothing is captured
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("preview");
        // Title and preview default to the trimmed input.
        const auto row = [](const char *name, const QString &input, const char *type,
                            const QString &title = {}, const QString &preview = {}) {
            QTest::newRow(name) << input << QString::fromLatin1(type)
                                << (title.isNull() ? input.trimmed() : title)
                                << (preview.isNull() ? input.trimmed() : preview);
        };
        row("https with host is a link titled by host", "  https://example.com/path?q=1\n", "link",
            "example.com");
        row("link without host is titled by its text", "http:foo", "link");
        row("international host", "https://bücher.de/x", "link", "bücher.de");
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
        row("line feed joins title and preview", "   alpha\nbeta   ", "text", "alpha beta", "alpha beta");
        const QString digits = QStringLiteral("0123456789").repeated(20);
        row("140 characters keep the preview", digits.left(140), "text", digits.left(72) + "...");
        row("141 characters shorten the preview", digits.left(141), "text", digits.left(72) + "...",
            digits.left(140) + "...");
        row("empty is not captured", QString(), "");
        row("blanks are not captured", QStringLiteral("\n\t \r\n\u00A0"), "");
    }

    void classifiesStrings()
    {
        QFETCH(QString, input);
        QFETCH(QString, type);
        QFETCH(QString, title);
        QFETCH(QString, preview);

        const QDateTime before = QDateTime::currentDateTime();
        const auto capture = ClipboardCapture::fromString(input, QStringLiteral("Terminal"));
        QCOMPARE(capture.has_value(), !type.isEmpty());
        if (!capture)
            return;
        QCOMPARE(enumName(capture->type), type);
        QCOMPARE(capture->title, title);
        QCOMPARE(capture->preview, preview);
        QCOMPARE(capture->textContent, std::optional<QString>(input));
        QCOMPARE(capture->sourceAppName, QStringLiteral("Terminal"));
        QVERIFY(capture->timestamp >= before && capture->timestamp <= QDateTime::currentDateTime());
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

    void capturesFiles_data()
    {
        QTest::addColumn<QStringList>("urls"); // the files among them are kept, as given
        QTest::addColumn<QString>("title");    // empty: nothing is captured
        QTest::addColumn<QString>("preview");

        QTest::addRow("one file is titled by its name")
            << QStringList{"file:///home/ada/My%20Notes.txt"} << "My Notes.txt"
            << "/home/ada/My Notes.txt";
        QTest::addRow("one folder is titled by its name")
            << QStringList{"file:///home/ada/Projects/"} << "Projects"
            << "/home/ada/Projects";
        QTest::addRow("several files are counted, in pasteboard order")
            << QStringList{"file:///tmp/b.png", "file:///tmp/a.png", "file:///tmp/c.png"} << "3 files"
            << "/tmp/b.png\n/tmp/a.png\n/tmp/c.png";
        QTest::addRow("web addresses among files are dropped")
            << QStringList{"https://example.com/a.png", "file:///tmp/a.png"} << "a.png"
            << "/tmp/a.png";
        QTest::addRow("no file at all is not captured")
            << QStringList{"https://example.com/a.png", "sftp://host/b"} << QString() << QString();
    }

    void capturesFiles()
    {
        QFETCH(QStringList, urls);
        QFETCH(QString, title);
        QFETCH(QString, preview);

        QList<QUrl> input;
        for (const QString &url : std::as_const(urls))
            input << QUrl(url);
        const auto capture = ClipboardCapture::fromFileURLs(input, QStringLiteral("Files"));
        QCOMPARE(capture.has_value(), !title.isEmpty());
        if (!capture)
            return;
        QCOMPARE(capture->type, ClipboardContentType::file);
        QCOMPARE(capture->title, title);
        QCOMPARE(capture->preview, preview);
        QCOMPARE(capture->fileURLStrings, urls.filter(QStringLiteral("file:")));
        QCOMPARE(capture->sourceAppName, QStringLiteral("Files"));
        QVERIFY(!capture->textContent);
    }

    void capturesImages()
    {
        const ClipboardCapture capture = ClipboardCapture::fromImage("PNGDATA", 7, QStringLiteral("Viewer"));
        QCOMPARE(capture.type, ClipboardContentType::image);
        QCOMPARE(capture.title, QStringLiteral("Image"));
        QCOMPARE(capture.preview, QStringLiteral("Image copied to clipboard"));
        QCOMPARE(capture.imageBookmark, std::optional<QString>(QStringLiteral("pasteboard-image-7")));
        QCOMPARE(capture.imageData, std::optional<QByteArray>("PNGDATA"));
        QCOMPARE(capture.sourceAppName, QStringLiteral("Viewer"));
        QVERIFY(!capture.textContent);
        // A picture that can be read says what it is.
        const QByteArray png = encodedImage(QImage(64, 48, QImage::Format_RGB32), "PNG");
        QCOMPARE(ClipboardCapture::fromImage(png, 8, QString()).preview, QStringLiteral("64 × 48 PNG"));
    }

    void fingerprints_data()
    {
        // Digests computed outside Qt, e.g. printf 'text|hello|||' | sha256sum; an image's last part is
        // the digest of its bytes.
        QTest::addColumn<std::optional<ClipboardCapture>>("capture");
        QTest::addColumn<QString>("fingerprint");
        const QUrl a = QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt"));
        const QUrl b = QUrl::fromLocalFile(QStringLiteral("/tmp/b c.txt"));

        QTest::addRow("text, trimmed first")
            << ClipboardCapture::fromString("  hello\n", QString())
            << "279cc291f5a65919b59ede327ec803353ecc8d207b758eb90f76571a463419c6";
        QTest::addRow("link") << ClipboardCapture::fromString("https://example.com", QString())
                              << "db4ceac40319eb75de02a87b4a4990a2c276503ac8e858f81ec33908d24491b5";
        QTest::addRow("non-ASCII text is hashed as UTF-8")
            << ClipboardCapture::fromString(QStringLiteral("Grüße \U0001F44D"), QString())
            << "656c856fa52e373611edcfa78c5bd952e5ece9f98ed025d84a4dba4999ee5d62";
        QTest::addRow("files") << ClipboardCapture::fromFileURLs({a, b}, QString())
                               << "f452f35fbdeed769fb68e2796f3e153e8469f0b42a43b4a9075b45993dede735";
        QTest::addRow("files in another order")
            << ClipboardCapture::fromFileURLs({b, a}, QString())
            << "18dcf9c265bb91256d201d35384dd57564405ed3a04c36ac8f3a40488effb13a";
        QTest::addRow("image") << std::optional(ClipboardCapture::fromImage("PNGDATA", 7, QString()))
                               << "99889f8b82fced72a40f72dc72a8881b0c3ab6ea3db8ac54a6fb88cf78f0d469";
    }

    void fingerprints()
    {
        QFETCH(std::optional<ClipboardCapture>, capture);
        QFETCH(QString, fingerprint);
        QCOMPARE(capture.value_or(ClipboardCapture()).fingerprint, fingerprint);
    }
};

QTEST_GUILESS_MAIN(TestClipboardCapture)
#include "tst_clipboardcapture.moc"
