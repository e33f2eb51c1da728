#include "Clipboard/ClipboardCapture.h"
#include "SampleContent.h"

#include <QImage>

#include <QTest>

class TestClipboardCapture final : public QObject
{
    Q_OBJECT

private slots:
    void classifiesStrings_data()
    {
        // The text kept is always the trimmed input.
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("type"); // empty: nothing is captured
        QTest::addColumn<QString>("title");

        const QString link = QStringLiteral("link"), text = QStringLiteral("text"),
                      color = QStringLiteral("color"), none;
        QTest::addRow("https with host is a link titled by host") << "  https://example.com/path?q=1\n"
                                                                  << link << "example.com";
        QTest::addRow("link without host is titled by its text") << "http:foo" << link << "http:foo";
        QTest::addRow("international host") << "https://bücher.de/x" << link << "bücher.de";
        QTest::addRow("unescaped pipe keeps a link") << "https://example.com/?q=a|b" << link << "example.com";
        QTest::addRow("ftp is text") << "ftp://example.com/file" << text << "ftp://example.com/file";
        QTest::addRow("capital H scheme is text") << "Https://example.com" << text << "Https://example.com";
        QTest::addRow("address followed by prose is text")
            << "https://example.com is down" << text << "https://example.com is down";
        QTest::addRow("relative path starting with http is text")
            << "httpdocs/index.html" << text << "httpdocs/index.html";

        QTest::addRow("six digits with hash is an upper-cased colour") << "#1a2B3c" << color << "#1A2B3C";
        QTest::addRow("six digits without hash is a colour") << "ff00aa" << color << "FF00AA";
        QTest::addRow("eight digits is a colour") << "#ff00aa80" << color << "#FF00AA80";
        QTest::addRow("five digits are text") << "#abcde" << text << "#abcde";
        QTest::addRow("seven digits are text") << "#abcdef0" << text << "#abcdef0";
        QTest::addRow("non-hex letter is text") << "#abcdeg" << text << "#abcdeg";

        QTest::addRow("line feed joins the title") << "   alpha\nbeta   " << text << "alpha beta";
        QTest::addRow("empty is not captured") << QString() << none << QString();
        QTest::addRow("blanks are not captured") << QStringLiteral("\n\t \r\n\u00A0") << none << QString();
    }

    void classifiesStrings()
    {
        QFETCH(QString, input);
        QFETCH(QString, type);
        QFETCH(QString, title);

        const QDateTime before = QDateTime::currentDateTime();
        const auto capture = ClipboardCapture::fromString(input, QStringLiteral("Terminal"));
        QCOMPARE(capture.has_value(), !type.isEmpty());
        if (!capture)
            return;
        QCOMPARE(enumName(capture->type), type);
        QCOMPARE(capture->title, title);
        QCOMPARE(capture->textContent, std::optional<QString>(input));
        // Surrounding blanks make no new record.
        QCOMPARE(capture->fingerprint, ClipboardCapture::fromString(input.trimmed(), QString())->fingerprint);
        QVERIFY(!capture->preview.contains(QLatin1Char('\n')));
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

    void titleAndPreviewLimits_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("preview");

        const QString text = QStringLiteral("0123456789").repeated(20);
        QTest::addRow("140 characters keep the preview") << 140 << text.left(72) + "..." << text.left(140);
        QTest::addRow("141 characters shorten the preview")
            << 141 << text.left(72) + "..." << text.left(140) + "...";
    }

    void titleAndPreviewLimits()
    {
        QFETCH(int, length);
        QFETCH(QString, title);
        QFETCH(QString, preview);

        const QString input = QStringLiteral("0123456789").repeated(20).left(length);
        const auto capture = ClipboardCapture::fromString(input, QStringLiteral("Editor"));
        QVERIFY(capture);
        QCOMPARE(capture->title, title);
        QCOMPARE(capture->preview, preview);
        QCOMPARE(capture->textContent, std::optional<QString>(input));
    }

    void capturesFiles_data()
    {
        // An empty title: nothing is captured.
        QTest::addColumn<QList<QUrl>>("urls");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QStringList>("urlStrings");

        QTest::addRow("one file is titled by its name")
            << QList<QUrl>{QUrl::fromLocalFile("/home/ada/My Notes.txt")} << "My Notes.txt"
            << "/home/ada/My Notes.txt" << QStringList{"file:///home/ada/My%20Notes.txt"};
        QTest::addRow("one folder is titled by its name")
            << QList<QUrl>{QUrl("file:///home/ada/Projects/")} << "Projects"
            << "/home/ada/Projects" << QStringList{"file:///home/ada/Projects/"};
        QTest::addRow("several files are counted, in pasteboard order")
            << QList<QUrl>{QUrl::fromLocalFile("/tmp/b.png"), QUrl::fromLocalFile("/tmp/a.png"),
                           QUrl::fromLocalFile("/tmp/c.png")}
            << "3 files"
            << "/tmp/b.png\n/tmp/a.png\n/tmp/c.png"
            << QStringList{"file:///tmp/b.png", "file:///tmp/a.png", "file:///tmp/c.png"};
        QTest::addRow("web addresses among files are dropped")
            << QList<QUrl>{QUrl("https://example.com/a.png"), QUrl::fromLocalFile("/tmp/a.png")} << "a.png"
            << "/tmp/a.png" << QStringList{"file:///tmp/a.png"};
        QTest::addRow("no file at all is not captured")
            << QList<QUrl>{QUrl("https://example.com/a.png"), QUrl("sftp://host/b")} << QString() << QString()
            << QStringList{};
    }

    void capturesFiles()
    {
        QFETCH(QList<QUrl>, urls);
        QFETCH(QString, title);
        QFETCH(QString, preview);
        QFETCH(QStringList, urlStrings);

        const auto capture = ClipboardCapture::fromFileURLs(urls, QStringLiteral("Files"));
        QCOMPARE(capture.has_value(), !title.isEmpty());
        if (!capture)
            return;
        QCOMPARE(capture->type, ClipboardContentType::file);
        QCOMPARE(capture->title, title);
        QCOMPARE(capture->preview, preview);
        QCOMPARE(capture->fileURLStrings, urlStrings);
        QCOMPARE(capture->sourceAppName, QStringLiteral("Files"));
        QVERIFY(!capture->textContent);
    }

    void capturesImages()
    {
        const QByteArray bytes("PNGDATA");
        const ClipboardCapture capture = ClipboardCapture::fromImage(bytes, 7, QStringLiteral("Viewer"));
        QCOMPARE(capture.type, ClipboardContentType::image);
        QCOMPARE(capture.title, QStringLiteral("Image"));
        QCOMPARE(capture.preview, QStringLiteral("Image copied to clipboard"));
        QCOMPARE(capture.imageBookmark, std::optional<QString>(QStringLiteral("pasteboard-image-7")));
        QCOMPARE(capture.imageData, std::optional<QByteArray>(bytes));
        QCOMPARE(capture.sourceAppName, QStringLiteral("Viewer"));
        QVERIFY(!capture.textContent);
        // A picture that can be read says what it is.
        const QByteArray png = encodedImage(QImage(64, 48, QImage::Format_RGB32), "PNG");
        QCOMPARE(ClipboardCapture::fromImage(png, 8, QString()).preview, QStringLiteral("64 × 48 PNG"));
        // printf 'image|||pasteboard-image-7|%s' "$(printf PNGDATA | sha256sum | cut -d' ' -f1)" | sha256sum
        QCOMPARE(capture.fingerprint,
                 QStringLiteral("99889f8b82fced72a40f72dc72a8881b0c3ab6ea3db8ac54a6fb88cf78f0d469"));
    }

    void stringFingerprints_data()
    {
        // Digests computed outside Qt: printf 'text|hello|||' | sha256sum
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("fingerprint");

        QTest::addRow("text, trimmed first")
            << "  hello\n"
            << QStringLiteral("279cc291f5a65919b59ede327ec803353ecc8d207b758eb90f76571a463419c6");
        QTest::addRow("link") << "https://example.com"
                              << QStringLiteral(
                                     "db4ceac40319eb75de02a87b4a4990a2c276503ac8e858f81ec33908d24491b5");
        QTest::addRow("non-ASCII text is hashed as UTF-8")
            << QStringLiteral("Grüße \U0001F44D")
            << QStringLiteral("656c856fa52e373611edcfa78c5bd952e5ece9f98ed025d84a4dba4999ee5d62");
    }

    void stringFingerprints()
    {
        QFETCH(QString, input);
        QFETCH(QString, fingerprint);
        QCOMPARE(ClipboardCapture::fromString(input, QStringLiteral("Editor"))->fingerprint, fingerprint);
    }

    void fileFingerprintsFollowTheOrder()
    {
        const QUrl a = QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt"));
        const QUrl b = QUrl::fromLocalFile(QStringLiteral("/tmp/b c.txt"));
        const QString forwards = ClipboardCapture::fromFileURLs({a, b}, QString())->fingerprint;
        // printf 'file||file:///tmp/a.txt\nfile:///tmp/b%%20c.txt||' | sha256sum
        QCOMPARE(forwards,
                 QStringLiteral("f452f35fbdeed769fb68e2796f3e153e8469f0b42a43b4a9075b45993dede735"));
        QVERIFY(ClipboardCapture::fromFileURLs({b, a}, QString())->fingerprint != forwards);
    }
};

QTEST_GUILESS_MAIN(TestClipboardCapture)
#include "tst_clipboardcapture.moc"
