#include "Clipboard/ClipboardCapture.h"

#include <QTest>

class TestClipboardCapture final : public QObject
{
    Q_OBJECT

private slots:
    void classifiesStrings_data();
    void classifiesStrings();
    void blankStringsAreNotCaptured_data();
    void blankStringsAreNotCaptured();
    void stringCaptureCarriesSourceAndTime();
    void shortensToUserPerceivedCharacters_data();
    void shortensToUserPerceivedCharacters();
    void titleAndPreviewLimits_data();
    void titleAndPreviewLimits();
    void capturesFiles_data();
    void capturesFiles();
    void ignoresNonFileURLs();
    void capturesImages();
    void fingerprintsMatchIndependentDigests_data();
    void fingerprintsMatchIndependentDigests();
    void fingerprintIdentity();
};

void TestClipboardCapture::classifiesStrings_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<ClipboardContentType>("type");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("textContent");

    const auto link = ClipboardContentType::link;
    const auto text = ClipboardContentType::text;
    const auto color = ClipboardContentType::color;

    QTest::addRow("https with host is a link titled by host")
        << "https://example.com/path?q=1" << link << "example.com"
        << "https://example.com/path?q=1";
    QTest::addRow("link without host is titled by its text") << "http:foo" << link << "http:foo"
                                                             << "http:foo";
    QTest::addRow("international host") << "https://bücher.de/x" << link << "bücher.de"
                                        << "https://bücher.de/x";
    QTest::addRow("blanks around a link are trimmed") << "  https://example.com/\n"
                                                      << link << "example.com"
                                                      << "https://example.com/";
    QTest::addRow("escaped space keeps a link") << "https://example.com/a%20b" << link << "example.com"
                                                << "https://example.com/a%20b";
    QTest::addRow("unescaped pipe keeps a link") << "https://example.com/?q=a|b" << link << "example.com"
                                                 << "https://example.com/?q=a|b";
    QTest::addRow("ftp is text") << "ftp://example.com/file" << text << "ftp://example.com/file"
                                 << "ftp://example.com/file";
    QTest::addRow("capital H scheme is text") << "Https://example.com" << text << "Https://example.com"
                                              << "Https://example.com";
    QTest::addRow("address followed by prose is text")
        << "https://example.com is down" << text << "https://example.com is down"
        << "https://example.com is down";
    QTest::addRow("unescaped space in path is text")
        << "https://example.com/a b" << text << "https://example.com/a b"
        << "https://example.com/a b";
    QTest::addRow("two addresses on two lines are text")
        << "https://a.example\nhttps://b.example" << text << "https://a.example https://b.example"
        << "https://a.example\nhttps://b.example";
    QTest::addRow("relative path starting with http is text")
        << "httpdocs/index.html" << text << "httpdocs/index.html"
        << "httpdocs/index.html";

    QTest::addRow("six digits with hash is a colour") << "#1a2B3c" << color << "#1A2B3C"
                                                      << "#1a2B3c";
    QTest::addRow("six digits without hash is a colour") << "ff00aa" << color << "FF00AA"
                                                         << "ff00aa";
    QTest::addRow("eight digits with hash is a colour") << "#ff00aa80" << color << "#FF00AA80"
                                                        << "#ff00aa80";
    QTest::addRow("eight digits without hash is a colour") << "ff00aa80" << color << "FF00AA80"
                                                           << "ff00aa80";
    QTest::addRow("blanks around a colour are trimmed") << " \t#abcdef\n"
                                                        << color << "#ABCDEF"
                                                        << "#abcdef";
    QTest::addRow("five digits are text") << "#abcde" << text << "#abcde"
                                          << "#abcde";
    QTest::addRow("seven digits are text") << "#abcdef0" << text << "#abcdef0"
                                           << "#abcdef0";
    QTest::addRow("non-hex letter is text") << "#abcdeg" << text << "#abcdeg"
                                            << "#abcdeg";
    QTest::addRow("two hashes are text") << "##abcdef" << text << "##abcdef"
                                         << "##abcdef";
    QTest::addRow("inner blank is text") << "#abc def" << text << "#abc def"
                                         << "#abc def";

    QTest::addRow("line feed joins title, text keeps it") << "   alpha\nbeta   " << text << "alpha beta"
                                                          << "alpha\nbeta";
    QTest::addRow("carriage return and line feed become one space") << "alpha\r\nbeta" << text << "alpha beta"
                                                                    << "alpha\r\nbeta";
}

void TestClipboardCapture::classifiesStrings()
{
    QFETCH(QString, input);
    QFETCH(ClipboardContentType, type);
    QFETCH(QString, title);
    QFETCH(QString, textContent);

    const auto capture = ClipboardCapture::fromString(input, QStringLiteral("Editor"));
    QVERIFY(capture);
    QCOMPARE(rawValue(capture->type), rawValue(type));
    QCOMPARE(capture->title, title);
    QCOMPARE(capture->textContent, std::optional<QString>(textContent));
    // Short texts: the preview is the one-line form of the whole text, for every string kind.
    QCOMPARE(capture->preview, ClipboardCapture::shortened(textContent, 140));
    QVERIFY(!capture->preview.contains(QLatin1Char('\n')));
    QVERIFY(capture->fileURLStrings.isEmpty());
    QVERIFY(!capture->imageBookmark);
    QVERIFY(!capture->imageData);
}

void TestClipboardCapture::blankStringsAreNotCaptured_data()
{
    QTest::addColumn<QString>("input");
    QTest::addRow("empty") << QString();
    QTest::addRow("spaces") << "   ";
    QTest::addRow("line feeds and tabs") << "\n\t \r\n";
    QTest::addRow("no-break space") << QStringLiteral("\u00A0");
}

void TestClipboardCapture::blankStringsAreNotCaptured()
{
    QFETCH(QString, input);
    QVERIFY(!ClipboardCapture::fromString(input, QStringLiteral("Editor")));
}

void TestClipboardCapture::stringCaptureCarriesSourceAndTime()
{
    const QDateTime before = QDateTime::currentDateTime();
    const auto capture = ClipboardCapture::fromString(QStringLiteral("hello"), QStringLiteral("Terminal"));
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY(capture);
    QCOMPARE(capture->sourceAppName, QStringLiteral("Terminal"));
    QVERIFY(capture->timestamp >= before && capture->timestamp <= after);
    QCOMPARE(capture->fingerprint.size(), 64);
}

void TestClipboardCapture::shortensToUserPerceivedCharacters_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("expected");

    const QString eAcute = QStringLiteral("e\u0301"); // one character, two code units
    const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"); // one character
    const QString flag = QStringLiteral("\U0001F1E9\U0001F1EA");
    const QString zalgo = QStringLiteral("a") + QString(12, QChar(0x0301)); // one character, 13 units

    QTest::addRow("combining marks at the limit") << eAcute.repeated(5) << 5 << eAcute.repeated(5);
    QTest::addRow("combining marks past the limit") << eAcute.repeated(6) << 5 << eAcute.repeated(5) + "...";
    QTest::addRow("emoji sequences at the limit") << family.repeated(3) << 3 << family.repeated(3);
    QTest::addRow("emoji sequences past the limit") << family.repeated(4) << 3 << family.repeated(3) + "...";
    QTest::addRow("flags are not split") << flag.repeated(3) << 2 << flag.repeated(2) + "...";
    QTest::addRow("long clusters past the limit") << zalgo.repeated(73) << 72 << zalgo.repeated(72) + "...";
    QTest::addRow("long clusters at the limit") << zalgo.repeated(72) << 72 << zalgo.repeated(72);
    QTest::addRow("line feed counts as a character") << "ab\ncd" << 4 << "ab c...";
    QTest::addRow("line feeds at the ends are trimmed") << "\nabc\n" << 5 << "abc";
    QTest::addRow("blank after the cut is trimmed") << "abcd efgh" << 4 << "abcd...";
    QTest::addRow("crlf counts as one character") << "ab\r\ncd" << 5 << "ab cd";
    QTest::addRow("empty") << QString() << 72 << QString();
}

void TestClipboardCapture::shortensToUserPerceivedCharacters()
{
    QFETCH(QString, input);
    QFETCH(int, limit);
    QFETCH(QString, expected);
    QCOMPARE(ClipboardCapture::shortened(input, limit), expected);
}

void TestClipboardCapture::titleAndPreviewLimits_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("preview");

    const QString text = QStringLiteral("0123456789").repeated(20);
    QTest::addRow("72 characters keep the title") << 72 << text.left(72) << text.left(72);
    QTest::addRow("73 characters shorten the title") << 73 << text.left(72) + "..." << text.left(73);
    QTest::addRow("140 characters keep the preview") << 140 << text.left(72) + "..." << text.left(140);
    QTest::addRow("141 characters shorten the preview")
        << 141 << text.left(72) + "..." << text.left(140) + "...";
}

void TestClipboardCapture::titleAndPreviewLimits()
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

void TestClipboardCapture::capturesFiles_data()
{
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
}

void TestClipboardCapture::capturesFiles()
{
    QFETCH(QList<QUrl>, urls);
    QFETCH(QString, title);
    QFETCH(QString, preview);
    QFETCH(QStringList, urlStrings);

    const auto capture = ClipboardCapture::fromFileURLs(urls, QStringLiteral("Files"));
    QVERIFY(capture);
    QCOMPARE(capture->type, ClipboardContentType::file);
    QCOMPARE(capture->title, title);
    QCOMPARE(capture->preview, preview);
    QCOMPARE(capture->fileURLStrings, urlStrings);
    QCOMPARE(capture->sourceAppName, QStringLiteral("Files"));
    QVERIFY(!capture->textContent);
    QVERIFY(!capture->imageBookmark);
    QCOMPARE(capture->fingerprint, ClipboardCapture::makeFingerprint(ClipboardContentType::file, std::nullopt,
                                                                     urlStrings, std::nullopt, std::nullopt));
}

void TestClipboardCapture::ignoresNonFileURLs()
{
    QVERIFY(!ClipboardCapture::fromFileURLs({}, QStringLiteral("Files")));
    QVERIFY(!ClipboardCapture::fromFileURLs({QUrl("https://example.com/a.png"), QUrl("sftp://host/b")},
                                            QStringLiteral("Files")));
}

void TestClipboardCapture::capturesImages()
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
    QVERIFY(capture.fileURLStrings.isEmpty());
    // printf 'image|||pasteboard-image-7|%s' "$(printf PNGDATA | sha256sum | cut -d' ' -f1)" | sha256sum
    QCOMPARE(capture.fingerprint,
             QStringLiteral("99889f8b82fced72a40f72dc72a8881b0c3ab6ea3db8ac54a6fb88cf78f0d469"));
}

void TestClipboardCapture::fingerprintsMatchIndependentDigests_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("fingerprint");

    // Computed with: printf '<kind>|<text>|||' | sha256sum
    QTest::addRow("text") << "hello"
                          << "279cc291f5a65919b59ede327ec803353ecc8d207b758eb90f76571a463419c6";
    QTest::addRow("text is trimmed first")
        << "  hello\n"
        << "279cc291f5a65919b59ede327ec803353ecc8d207b758eb90f76571a463419c6";
    QTest::addRow("link") << "https://example.com"
                          << "db4ceac40319eb75de02a87b4a4990a2c276503ac8e858f81ec33908d24491b5";
    QTest::addRow("non-ASCII text is hashed as UTF-8")
        << QStringLiteral("Grüße \U0001F44D")
        << "656c856fa52e373611edcfa78c5bd952e5ece9f98ed025d84a4dba4999ee5d62";
}

void TestClipboardCapture::fingerprintsMatchIndependentDigests()
{
    QFETCH(QString, input);
    QFETCH(QString, fingerprint);
    const auto capture = ClipboardCapture::fromString(input, QStringLiteral("Editor"));
    QVERIFY(capture);
    QCOMPARE(capture->fingerprint, fingerprint);
}

void TestClipboardCapture::fingerprintIdentity()
{
    const auto fromText = [](const QString &text) {
        return ClipboardCapture::fromString(text, QStringLiteral("Editor"))->fingerprint;
    };
    QCOMPARE(fromText(QStringLiteral("same words")), fromText(QStringLiteral("same words")));
    QVERIFY(fromText(QStringLiteral("same words")) != fromText(QStringLiteral("same word")));

    const auto a = QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt"));
    const auto b = QUrl::fromLocalFile(QStringLiteral("/tmp/b c.txt"));
    const QString forwards = ClipboardCapture::fromFileURLs({a, b}, QStringLiteral("Files"))->fingerprint;
    const QString backwards = ClipboardCapture::fromFileURLs({b, a}, QStringLiteral("Files"))->fingerprint;
    QVERIFY(forwards != backwards);
    // printf 'file||file:///tmp/a.txt\nfile:///tmp/b%%20c.txt||' | sha256sum
    QCOMPARE(forwards, QStringLiteral("f452f35fbdeed769fb68e2796f3e153e8469f0b42a43b4a9075b45993dede735"));

    const QByteArray image("same pixels");
    QVERIFY(ClipboardCapture::fromImage(image, 1, QString()).fingerprint !=
            ClipboardCapture::fromImage(image, 2, QString()).fingerprint);
    QVERIFY(ClipboardCapture::fromImage(image, 1, QString()).fingerprint !=
            ClipboardCapture::fromImage(QByteArray("other pixels"), 1, QString()).fingerprint);

    const QString characters = QStringLiteral("https://example.com");
    QVERIFY(ClipboardCapture::makeFingerprint(ClipboardContentType::link, characters, {}, std::nullopt,
                                              std::nullopt) !=
            ClipboardCapture::makeFingerprint(ClipboardContentType::text, characters, {}, std::nullopt,
                                              std::nullopt));
}

QTEST_GUILESS_MAIN(TestClipboardCapture)
#include "tst_clipboardcapture.moc"
