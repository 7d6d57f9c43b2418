#include "dialoganswers.h"
#include "httpserver.h"
#include "scratchhome.h"
#include "ui/mainwindow.h"
#include "viewer/simplewebviewer.h"
#include "windowfixture.h"

#include <QBuffer>
#include <QChildEvent>
#include <QElapsedTimer>
#include <QImage>
#include <QListWidget>
#include <QNetworkReply>
#include <QPlainTextEdit>
#include <QTcpSocket>

#include <algorithm>
#include <array>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr QRgb PICTURE_COLOUR = 0xff12c832;
const QString TOO_DEEP = u"Too large or too deeply nested"_s;
constexpr qint64 LONGEST_PAUSE = 4000; // in milliseconds; less than what a download is given
constexpr qint64 MEGABYTE = 1000LL * 1000;
constexpr qint64 LARGEST_DOWNLOAD = 32 * MEGABYTE;

/// Knows what the preview has under way, and what became of it.
class Downloads : public QObject
{
public:
    Downloads() { qApp->installEventFilter(this); }

    [[nodiscard]] int running() const
    {
        if (!manager)
            return 0;
        const auto replies = manager->findChildren<QNetworkReply *>();
        return static_cast<int>(std::count_if(replies.begin(), replies.end(),
                                              [](const QNetworkReply *reply) { return reply->isRunning(); }));
    }

    [[nodiscard]] int most() const { return highest; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *found = qobject_cast<QNetworkAccessManager *>(watched);
        if (event->type() != QEvent::ChildAdded || !found)
            return false;
        // The new one is not yet to be seen as what it is.
        highest = std::max(highest, running() + 1);
        if (manager != found) {
            manager = found;
            connect(found, &QNetworkAccessManager::finished, this,
                    [this](const QNetworkReply *reply) { ends.append(reply->error()); });
        }
        return false;
    }

    QList<QNetworkReply::NetworkError> ends;

private:
    QPointer<QNetworkAccessManager> manager;
    int highest = 0;
};

/// Beats as long as the event loop turns.
class Pulse : public QObject
{
public:
    Pulse()
    {
        connect(&timer, &QTimer::timeout, this, [this] {
            ++beats;
            longest = std::max(longest, sinceBeat.restart());
        });
        timer.start(20);
        sinceBeat.start();
    }

    [[nodiscard]] int count() const { return beats; }
    [[nodiscard]] qint64 longestPause() const { return std::max(longest, sinceBeat.elapsed()); }

private:
    QTimer timer;
    QElapsedTimer sinceBeat;
    int beats = 0;
    qint64 longest = 0;
};

QByteArray picture(const QSize &size = {20, 20})
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(PICTURE_COLOUR);
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        qFatal("Cannot make a picture");
    return png;
}

bool showsPicture(QWidget *widget)
{
    const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == PICTURE_COLOUR)
                return true;
        }
    }
    return false;
}

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray &typeAndData)
{
    quint32 crc = 0xffffffff;
    for (const char byte : typeAndData) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xedb88320 : 0);
    }
    return bigEndian(static_cast<quint32>(typeAndData.size()) - 4) + typeAndData + bigEndian(~crc);
}

/// A grey picture as small as it can be for the size that it says it has: its rows are there, and all black.
QByteArray hugePicture(quint32 side)
{
    constexpr qsizetype ROWS_WRITTEN = 100;
    const QByteArray rows(ROWS_WRITTEN * (static_cast<qsizetype>(side) + 1), '\0');
    QByteArray header = "IHDR" + bigEndian(side) + bigEndian(side);
    header += QByteArray("\x08\x00\x00\x00\x00", 5);
    return "\x89PNG\r\n\x1a\n" + pngChunk(header) + pngChunk("IDAT" + qCompress(rows, 9).mid(4)) + pngChunk("IEND");
}

QString image(const QUrl &url)
{
    return u"<p><img src=\"%1\"></p>"_s.arg(url.toString());
}

/// Starts the count of the peak anew where the system allows it.
void forgetPeakMemory()
{
    QFile file(u"/proc/self/clear_refs"_s);
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

/// In bytes; -1 where the system does not tell.
qint64 memoryLine(const QByteArray &name)
{
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return -1;
}

void drip(QTcpSocket *socket)
{
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 1000\r\n\r\n");
    auto *drops = new QTimer(socket);
    QObject::connect(drops, &QTimer::timeout, socket, [socket] { socket->write("x"); });
    drops->start(1000);
}

void stream(QTcpSocket *socket)
{
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 30000000\r\n\r\n");
    auto *drops = new QTimer(socket);
    QObject::connect(drops, &QTimer::timeout, socket, [socket] { socket->write(QByteArray(100000, 'x')); });
    drops->start(50);
}

/// What a socket still wants to hear, in pieces, so that the server itself needs little room.
void pour(QTcpSocket *socket, qint64 bytes)
{
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: " + QByteArray::number(bytes)
                  + "\r\n\r\n");
    const auto left = std::make_shared<qint64>(bytes);
    const auto refill = [socket, left] {
        while (*left > 0 && socket->bytesToWrite() < 2 * MEGABYTE)
            *left -= socket->write(QByteArray(static_cast<qsizetype>(std::min(*left, MEGABYTE)), 'x'));
    };
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, refill);
    refill();
}

using Script = std::function<void(QTcpSocket *)>;

Script sends(const QByteArray &bytes)
{
    return [bytes](QTcpSocket *socket) { socket->write(bytes); };
}

} // namespace

Q_DECLARE_METATYPE(Script)

class TestHostilePreview : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void badAnswers_data();
    void badAnswers();
    void redirectsInACircle();
    void redirectsFromSecure_data();
    void redirectsFromSecure();
    void redirectsOutOfTheNet_data();
    void redirectsOutOfTheNet();
    void pageThatIsAnImage();
    void hugeDownload();
    void largeDownload();
    void manyLargeImages();
    void hugeImage();
    void tenThousandImages();
    void deepHtml_data();
    void deepHtml();
    void longText();
    void closingWithDownloadsPending_data();
    void closingWithDownloadsPending();

private:
    void preview(const QString &html) { editor->setPlainText(html); }
    void typeOn();
    void expectAlive(const Pulse &pulse, qint64 longestPause);

    std::unique_ptr<Folder> folder;
    std::unique_ptr<DialogAnswers> dialogs;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<Downloads> downloads;
    std::unique_ptr<MainWindow> window;
    QPlainTextEdit *editor = nullptr;
    SimpleWebViewer *viewer = nullptr;
};

void TestHostilePreview::init()
{
    clearSettings();
    folder = std::make_unique<Folder>();
    dialogs = std::make_unique<DialogAnswers>();
    server = std::make_unique<HttpServer>();
    downloads = std::make_unique<Downloads>();
    folder->write(u"Apps.csv"_s, HEADER + "{\"en\":\"App\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};;;5.03\n");
    folder->write(u"en.html"_s, "<p>text</p>");
    folder->write(u"secret.png"_s, picture());
    storeProject(folder->path(u"Apps.csv"_s));
    window = openWindow<MainWindow>();
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QAbstractItemView>(*window, "tableWidget"), 0);
    editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    viewer = child<SimpleWebViewer>(*window, "descriptionView");
    QCOMPARE(viewer->toPlainText(), u"text"_s);
}

void TestHostilePreview::cleanup()
{
    QVERIFY(dialogs->allAnswered());
    window.reset();
    downloads.reset();
    server.reset();
    dialogs.reset();
    folder.reset();
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void TestHostilePreview::typeOn()
{
    editor->moveCursor(QTextCursor::Start);
    type(editor, u"ok "_s);
    QVERIFY(editor->toPlainText().startsWith(u"ok "_s));
    QVERIFY(viewer->toPlainText().startsWith(u"ok"_s));
}

void TestHostilePreview::expectAlive(const Pulse &pulse, qint64 longestPause)
{
    const int before = pulse.count();
    QTRY_VERIFY(pulse.count() > before + 2);
    QVERIFY2(pulse.longestPause() < longestPause, QByteArray::number(pulse.longestPause()).constData());
    QVERIFY(downloads->most() <= 5);
    QVERIFY(server->mostOpenRequests() <= 5);
    QVERIFY(window->isVisible());
}

void TestHostilePreview::badAnswers_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<bool>("timesOut");
    QTest::addColumn<bool>("showsIt");
    const QByteArray ok = "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\n";
    const QByteArray png = picture();

    QTest::newRow("never answers") << sends({}) << true << false;
    QTest::newRow("drips") << Script(drip) << true << false;
    QTest::newRow("says more than it sends") << sends(ok + "Content-Length: 9999\r\n\r\n" + png) << true << false;
    QTest::newRow("says more than it sends and closes") << Script([ok, png](QTcpSocket *socket) {
        socket->write(ok + "Content-Length: 9999\r\n\r\n" + png);
        socket->disconnectFromHost();
    }) << false << false;
    QTest::newRow("says less than it sends") << sends(ok + "Content-Length: 20\r\n\r\n" + png) << false << false;
    QTest::newRow("closes at once") << Script([](QTcpSocket *socket) { socket->abort(); }) << false << false;
    QTest::newRow("not HTTP") << sends("\x16\x03\x01\xff\xff\r\n\r\n") << false << false;
    QTest::newRow("page as an image") << sends(
        "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 18\r\n\r\n"
        "<h1>No image!</h1>") << false << false;
    QTest::newRow("image of another type") << sends("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: "
                                                    + QByteArray::number(png.size()) + "\r\n\r\n" + png)
                                           << false << true;
}

void TestHostilePreview::badAnswers()
{
    QFETCH(Script, script);
    QFETCH(bool, timesOut);
    QFETCH(bool, showsIt);
    server->script(u"/a.png"_s, script);
    const Pulse pulse;
    QElapsedTimer clock;
    clock.start();
    preview(image(server->url(u"/a.png"_s)));
    QTRY_VERIFY(server->requests(u"/a.png"_s) > 0);
    typeOn();
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 1, 9000);
    if (timesOut) {
        QVERIFY2(clock.elapsed() > 4500, QByteArray::number(clock.elapsed()).constData());
        QCOMPARE(downloads->ends.constFirst(), QNetworkReply::OperationCanceledError);
    } else {
        QVERIFY2(clock.elapsed() < 4500, QByteArray::number(clock.elapsed()).constData());
    }
    QCOMPARE(showsPicture(viewer), showsIt);
    typeOn();
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::redirectsInACircle()
{
    server->redirect(u"/a"_s, server->url(u"/b"_s));
    server->redirect(u"/b"_s, server->url(u"/a"_s));
    const Pulse pulse;
    preview(image(server->url(u"/a"_s)));
    typeOn();
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::TooManyRedirectsError});
    QVERIFY(server->requests().size() <= 60);
    typeOn();
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::redirectsFromSecure_data()
{
    QTest::addColumn<bool>("toPlain");
    QTest::newRow("to secure") << false;
    QTest::newRow("to plain") << true;
}

void TestHostilePreview::redirectsFromSecure()
{
    QFETCH(bool, toPlain);
    if (!HttpServer::trustSecureOnes())
        QSKIP("The toolkit has no TLS here.");
    HttpServer secure(HttpServer::Scheme::Secure);
    HttpServer &target = toPlain ? *server : secure;
    target.serve(u"/a.png"_s, {.body = picture()});
    secure.redirect(u"/moved.png"_s, target.url(u"/a.png"_s));
    const Pulse pulse;
    preview(image(secure.url(u"/moved.png"_s)));
    QTRY_COMPARE(downloads->ends, QList{toPlain ? QNetworkReply::InsecureRedirectError : QNetworkReply::NoError});
    QCOMPARE(target.requests(u"/a.png"_s), toPlain ? 0 : 1);
    QTRY_COMPARE(showsPicture(viewer), !toPlain);
    typeOn();
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::redirectsOutOfTheNet_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("file") << u"file://%1"_s;
    QTest::newRow("file of this machine") << u"file://localhost%1"_s;
    QTest::newRow("resource") << u"qrc:/Resources/Resources/storefrontHtml.css"_s;
    QTest::newRow("other protocol") << u"ftp://127.0.0.1:1/a.png"_s;
    QTest::newRow("data in the address") << u"data:image/png;base64,"_s + QString::fromLatin1(picture().toBase64());
}

void TestHostilePreview::redirectsOutOfTheNet()
{
    QFETCH(QString, target);
    const QString to = target.contains(u'%') ? target.arg(folder->path(u"secret.png"_s)) : target;
    server->redirect(u"/a.png"_s, QUrl(to));
    const Pulse pulse;
    preview(image(server->url(u"/a.png"_s)));
    QTRY_COMPARE(downloads->ends.size(), 1);
    QVERIFY2(downloads->ends.constFirst() == QNetworkReply::ProtocolUnknownError
                 || downloads->ends.constFirst() == QNetworkReply::InsecureRedirectError,
             QByteArray::number(downloads->ends.constFirst()).constData());
    QVERIFY(!showsPicture(viewer));
    typeOn();
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::pageThatIsAnImage()
{
    server->serve(u"/page"_s, {.body = picture({300, 300}), .headers = {{"Content-Type", "text/html"}}});
    const Pulse pulse;
    viewer->setSource(server->url(u"/page"_s));
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::NoError});
    QVERIFY(!showsPicture(viewer));
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::hugeDownload()
{
    for (int i = 0; i < 5; ++i)
        server->script(u"/%1.png"_s.arg(i), [](QTcpSocket *socket) { pour(socket, 200 * MEGABYTE); });
    forgetPeakMemory();
    const qint64 before = memoryLine("VmRSS:");
    const Pulse pulse;
    QString html;
    for (int i = 0; i < 5; ++i)
        html += image(server->url(u"/%1.png"_s.arg(i)));
    preview(html);
    typeOn();
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 5, 9000);
    QCOMPARE(downloads->ends, QList<QNetworkReply::NetworkError>(5, QNetworkReply::OperationCanceledError));
    typeOn();
    const qint64 peak = memoryLine("VmHWM:");
    qInfo("Memory up by %lld MB at most", static_cast<long long>((peak - before) / MEGABYTE));
    // Twice of each, for what comes in until it is stopped. Sanitizers hold back what was freed.
#ifndef __SANITIZE_ADDRESS__
    if (before > 0)
        QVERIFY(peak - before < 10 * LARGEST_DOWNLOAD);
#endif
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::largeDownload()
{
    QByteArray png = picture();
    png.append(LARGEST_DOWNLOAD - png.size(), '\0');
    server->serve(u"/a.png"_s, {.body = png});
    const Pulse pulse;
    preview(image(server->url(u"/a.png"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(downloads->ends, QList{QNetworkReply::NoError}, 9000);
    QTRY_VERIFY(showsPicture(viewer));
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::manyLargeImages()
{
    // 64 MB each, decoded; the ninth makes more than 512 MB of them.
    const QByteArray png = picture({4000, 4000});
    QString html;
    for (int i = 0; i < 20; ++i) {
        server->serve(u"/%1.png"_s.arg(i), {.body = png});
        html += image(server->url(u"/%1.png"_s.arg(i)));
    }
    const Pulse pulse;
    preview(html);
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 10 && downloads->running() == 0, 20000);
    viewer->reload();
    viewer->reload();
    QCOMPARE(server->requests().size(), 10);
    viewer->clear();
    preview(image(server->url(u"/19.png"_s)));
    QTRY_COMPARE(server->requests(u"/19.png"_s), 1);
    expectAlive(pulse, 20000);
}

void TestHostilePreview::hugeImage()
{
    const QByteArray png = hugePicture(100000);
    server->serve(u"/a.png"_s, {.body = png});
    forgetPeakMemory();
    const qint64 before = memoryLine("VmRSS:");
    const Pulse pulse;
    preview(image(server->url(u"/a.png"_s)));
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::NoError});
    typeOn();
    if (before > 0)
        QVERIFY(memoryLine("VmHWM:") - before < 300 * MEGABYTE);
    expectAlive(pulse, LONGEST_PAUSE);
}

void TestHostilePreview::tenThousandImages()
{
    QString html;
    for (int i = 0; i < 10000; ++i)
        html += image(server->url(u"/%1.png"_s.arg(i)));
    const Pulse pulse;
    preview(html);
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() >= 50, 30000);
    const QString before = editor->toPlainText();
    QTest::keyClick(editor, 'x');
    QCOMPARE(editor->toPlainText().size(), before.size() + 1);
    qInfo("Longest pause %lld ms", static_cast<long long>(pulse.longestPause()));
    expectAlive(pulse, 20000);
    QElapsedTimer clock;
    clock.start();
    dialogs->press(QMessageBox::No);
    window->close();
    dialogs.reset();
    dialogs = std::make_unique<DialogAnswers>();
    window.reset();
    QVERIFY2(clock.elapsed() < LONGEST_PAUSE, QByteArray::number(clock.elapsed()).constData());
}

void TestHostilePreview::deepHtml_data()
{
    QTest::addColumn<QString>("opening");
    QTest::addColumn<QString>("closing");
    QTest::newRow("blocks") << u"<div>\n"_s << u"</div>"_s;
    QTest::newRow("bold") << u"<b>\n"_s << u"</b>"_s;
    QTest::newRow("never closed") << u"<p><i>\n"_s << QString();
    QTest::newRow("never opened") << u"a"_s << u"</div></table>\n"_s;
    QTest::newRow("lists") << u"<ul><li>\n"_s << u"</li></ul>"_s;
    QTest::newRow("quotations") << u"<blockquote>\n"_s << u"</blockquote>"_s;
    QTest::newRow("tables") << u"<table><tr><td>\n"_s << u"</td></tr></table>"_s;
}

void TestHostilePreview::deepHtml()
{
    constexpr int DEPTH = 10000;
    QFETCH(QString, opening);
    QFETCH(QString, closing);
    const Pulse pulse;
    preview(opening.repeated(DEPTH) + u"deep"_s + closing.repeated(DEPTH));
    QCOMPARE(viewer->toPlainText().startsWith(TOO_DEEP), opening != u"a"_s);
    viewer->grab();
    QTest::keyClick(editor, 'x');
    QVERIFY(editor->toPlainText().startsWith(u'x'));
    expectAlive(pulse, LONGEST_PAUSE);
    preview(u"<p>text</p>"_s);
    typeOn();
}

void TestHostilePreview::longText()
{
    const QString text =
        u"<p>A line of a long text, with <b>some</b> marks &amp; signs.</p>\n"_s.repeated(5000000 / 66);
    const Pulse pulse;
    QElapsedTimer clock;
    clock.start();
    preview(text);
    const qint64 set = clock.restart();
    QTest::keyClick(editor, 'x');
    qInfo("%lld characters: %lld ms to set, %lld ms for a key", static_cast<long long>(text.size()),
          static_cast<long long>(set), static_cast<long long>(clock.elapsed()));
    QCOMPARE(editor->toPlainText().size(), text.size() + 1);
    QVERIFY(viewer->toPlainText().startsWith(u'x') || viewer->toPlainText().startsWith(TOO_DEEP));
    preview(u"<p>text</p>"_s);
    typeOn();
    expectAlive(pulse, 60000);
}

void TestHostilePreview::closingWithDownloadsPending_data()
{
    QTest::addColumn<Script>("script");
    QTest::newRow("without an answer") << sends({});
    QTest::newRow("dripping") << Script(drip);
    QTest::newRow("streaming") << Script(stream);
}

void TestHostilePreview::closingWithDownloadsPending()
{
    QFETCH(Script, script);
    QString html;
    for (int i = 0; i < 7; ++i) {
        const QString path = u"/%1.png"_s.arg(i);
        server->script(path, script);
        html += image(server->url(path));
    }
    preview(html);
    QTRY_COMPARE(server->openRequests(), 5);
    QCOMPARE(downloads->running(), 5);

    QElapsedTimer clock;
    clock.start();
    QVERIFY(window->close());
    window.reset();
    QVERIFY2(clock.elapsed() < LONGEST_PAUSE, QByteArray::number(clock.elapsed()).constData());
    QTRY_COMPARE(server->openRequests(), 0);
    QCOMPARE(downloads->most(), 5);
}

CATALIST_TEST_MAIN(TestHostilePreview)
#include "tst_hostile_preview.moc"
