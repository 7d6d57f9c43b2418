#include "hostilepreviewtest.h"
#include "memory.h"
#include "testrunner.h"

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QTcpSocket>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 MEGABYTE = 1000LL * 1000;
constexpr qint64 LARGEST_DOWNLOAD = 32 * MEGABYTE;

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

/// A small file that is a black square of a huge size.
QByteArray hugePicture(quint32 side)
{
    constexpr qsizetype ROWS_WRITTEN = 100;
    const QByteArray rows(ROWS_WRITTEN * (static_cast<qsizetype>(side) + 1), '\0');
    QByteArray header = "IHDR" + bigEndian(side) + bigEndian(side);
    header += QByteArray("\x08\x00\x00\x00\x00", 5);
    return "\x89PNG\r\n\x1a\n" + pngChunk(header) + pngChunk("IDAT" + qCompress(rows, 9).mid(4)) + pngChunk("IEND");
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

/// Sends in pieces, so that the server itself needs little memory.
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

Script sending(const QByteArray &bytes)
{
    return [bytes](QTcpSocket *socket) { socket->write(bytes); };
}

} // namespace

Q_DECLARE_METATYPE(Script)

class TestHostileDownloads : public HostilePreviewTest
{
    Q_OBJECT

private slots:
    void badAnswers_data();
    void badAnswers();
    void redirectsInACircle();
    void redirectsFromSecure_data();
    void redirectsFromSecure();
    void redirectsToOtherSchemes_data();
    void redirectsToOtherSchemes();
    void pageThatIsAnImage();

    void hugeDownload();
    void largeDownload();
    void manyLargeImages();
    void hugeImage();
    void closingWithDownloadsPending_data();
    void closingWithDownloadsPending();
};

void TestHostileDownloads::badAnswers_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<bool>("timesOut");
    QTest::addColumn<bool>("isShown");
    const QByteArray ok = "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\n";
    const QByteArray png = picture(PICTURE_COLOUR);

    QTest::newRow("never answers") << sending({}) << true << false;
    QTest::newRow("drips") << Script(drip) << true << false;
    QTest::newRow("announces more than it sends")
        << sending(ok + "Content-Length: 9999\r\n\r\n" + png) << true << false;
    QTest::newRow("announces more than it sends and closes") << Script([ok, png](QTcpSocket *socket) {
        socket->write(ok + "Content-Length: 9999\r\n\r\n" + png);
        socket->disconnectFromHost();
    }) << false << false;
    QTest::newRow("announces less than it sends") << sending(ok + "Content-Length: 20\r\n\r\n" + png) << false << false;
    QTest::newRow("closes at once") << Script([](QTcpSocket *socket) { socket->abort(); }) << false << false;
    QTest::newRow("not HTTP") << sending("\x16\x03\x01\xff\xff\r\n\r\n") << false << false;
    QTest::newRow("page as an image") << sending(
        "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 18\r\n\r\n"
        "<h1>No image!</h1>") << false << false;
    QTest::newRow("image of another type") << sending("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: "
                                                      + QByteArray::number(png.size()) + "\r\n\r\n" + png)
                                           << false << true;
}

void TestHostileDownloads::badAnswers()
{
    QFETCH(Script, script);
    QFETCH(bool, timesOut);
    QFETCH(bool, isShown);
    server->script(u"/a.png"_s, script);
    QElapsedTimer clock;
    clock.start();
    preview(htmlWithImages({server->url(u"/a.png"_s)}));
    QTRY_VERIFY(server->requests(u"/a.png"_s) > 0);
    typeOn();
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 1, 9000);
    if (timesOut) {
        QVERIFY2(clock.elapsed() > 4500, QByteArray::number(clock.elapsed()).constData());
        QCOMPARE(downloads->ends.constFirst(), QNetworkReply::OperationCanceledError);
    } else {
        QVERIFY2(clock.elapsed() < 4500, QByteArray::number(clock.elapsed()).constData());
    }
    QCOMPARE(hasPicture(), isShown);
    typeOn();
    expectAlive();
}

void TestHostileDownloads::redirectsInACircle()
{
    server->redirect(u"/a"_s, server->url(u"/b"_s));
    server->redirect(u"/b"_s, server->url(u"/a"_s));
    preview(htmlWithImages({server->url(u"/a"_s)}));
    typeOn();
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::TooManyRedirectsError});
    QVERIFY(server->requests().size() <= 60);
    typeOn();
    expectAlive();
}

void TestHostileDownloads::redirectsFromSecure_data()
{
    QTest::addColumn<bool>("toPlain");
    QTest::newRow("to secure") << false;
    QTest::newRow("to plain") << true;
}

void TestHostileDownloads::redirectsFromSecure()
{
    QFETCH(bool, toPlain);
    if (!HttpServer::trustSecureServers())
        QSKIP("Qt has no TLS here");
    HttpServer secure(HttpServer::Scheme::Secure);
    HttpServer &target = toPlain ? *server : secure;
    target.serve(u"/a.png"_s, {.body = picture(PICTURE_COLOUR)});
    secure.redirect(u"/moved.png"_s, target.url(u"/a.png"_s));
    preview(htmlWithImages({secure.url(u"/moved.png"_s)}));
    QTRY_COMPARE(downloads->ends, QList{toPlain ? QNetworkReply::InsecureRedirectError : QNetworkReply::NoError});
    QCOMPARE(target.requests(u"/a.png"_s), toPlain ? 0 : 1);
    QTRY_COMPARE(hasPicture(), !toPlain);
    typeOn();
    expectAlive();
}

void TestHostileDownloads::redirectsToOtherSchemes_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QNetworkReply::NetworkError>("end");
    QTest::newRow("file") << u"file://%1"_s << QNetworkReply::ProtocolUnknownError;
    QTest::newRow("file of this machine") << u"file://localhost%1"_s << QNetworkReply::ProtocolUnknownError;
    QTest::newRow("resource") << u"qrc:/Resources/Resources/storefrontHtml.css"_s
                              << QNetworkReply::ProtocolUnknownError;
    QTest::newRow("other protocol") << u"ftp://127.0.0.1:1/a.png"_s << QNetworkReply::ProtocolUnknownError;
    QTest::newRow("data in the address") << u"data:image/png;base64,"_s
                                                + QString::fromLatin1(picture(PICTURE_COLOUR).toBase64())
                                         << QNetworkReply::ProtocolUnknownError;
}

void TestHostileDownloads::redirectsToOtherSchemes()
{
    QFETCH(QString, target);
    folder->write(u"secret.png"_s, picture(PICTURE_COLOUR));
    const QString to = target.contains(u'%') ? target.arg(folder->path(u"secret.png"_s)) : target;
    server->redirect(u"/a.png"_s, QUrl(to));
    preview(htmlWithImages({server->url(u"/a.png"_s)}));
    QTRY_COMPARE(downloads->ends.size(), 1);
    QTEST(downloads->ends.constFirst(), "end");
    QVERIFY(!hasPicture());
    typeOn();
    expectAlive();
}

void TestHostileDownloads::pageThatIsAnImage()
{
    server->serve(u"/page"_s,
                  {.body = picture(PICTURE_COLOUR, {300, 300}), .headers = {{"Content-Type", "text/html"}}});
    viewer->setSource(server->url(u"/page"_s));
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::NoError});
    QVERIFY(!hasPicture());
    expectAlive();
}

void TestHostileDownloads::hugeDownload()
{
    for (int i = 0; i < 5; ++i)
        server->script(u"/%1.png"_s.arg(i), [](QTcpSocket *socket) { pour(socket, 200 * MEGABYTE); });
    resetPeakMemory();
    const qint64 before = memoryValue("VmRSS:");
    QString html;
    for (int i = 0; i < 5; ++i)
        html += htmlWithImages({server->url(u"/%1.png"_s.arg(i))});
    preview(html);
    typeOn();
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 5, 9000);
    QCOMPARE(downloads->ends, QList<QNetworkReply::NetworkError>(5, QNetworkReply::OperationCanceledError));
    typeOn();
    const qint64 peak = memoryValue("VmHWM:");
    qInfo("Memory up by %lld MB at most", static_cast<long long>((peak - before) / MEGABYTE));
    // Five downloads, each twice in memory for a moment.
    if (before > 0)
        QVERIFY(peak - before < 10 * LARGEST_DOWNLOAD);
    expectAlive();
}

void TestHostileDownloads::largeDownload()
{
    QByteArray png = picture(PICTURE_COLOUR);
    png.append(LARGEST_DOWNLOAD - png.size(), '\0');
    server->serve(u"/a.png"_s, {.body = png});
    preview(htmlWithImages({server->url(u"/a.png"_s)}));
    QTRY_COMPARE_WITH_TIMEOUT(downloads->ends, QList{QNetworkReply::NoError}, 9000);
    QTRY_VERIFY(hasPicture());
    expectAlive();
}

void TestHostileDownloads::manyLargeImages()
{
    // 64 MB each when decoded; the ninth exceeds 512 MB.
    const QByteArray png = picture(PICTURE_COLOUR, {4000, 4000});
    QString html;
    for (int i = 0; i < 20; ++i) {
        server->serve(u"/%1.png"_s.arg(i), {.body = png});
        html += htmlWithImages({server->url(u"/%1.png"_s.arg(i))});
    }
    preview(html);
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() == 10 && downloads->running() == 0, 20000);
    viewer->reload();
    viewer->reload();
    QCOMPARE(server->requests().size(), 10);
    viewer->clear();
    preview(htmlWithImages({server->url(u"/19.png"_s)}));
    QTRY_COMPARE(server->requests(u"/19.png"_s), 1);
    expectAlive(20000);
}

void TestHostileDownloads::hugeImage()
{
    const QByteArray png = hugePicture(100000);
    server->serve(u"/a.png"_s, {.body = png});
    resetPeakMemory();
    const qint64 before = memoryValue("VmRSS:");
    preview(htmlWithImages({server->url(u"/a.png"_s)}));
    QTRY_COMPARE(downloads->ends, QList{QNetworkReply::NoError});
    typeOn();
    if (before > 0)
        QVERIFY(memoryValue("VmHWM:") - before < 300 * MEGABYTE);
    expectAlive();
}

void TestHostileDownloads::closingWithDownloadsPending_data()
{
    QTest::addColumn<Script>("script");
    QTest::newRow("without an answer") << sending({});
    QTest::newRow("dripping") << Script(drip);
    QTest::newRow("streaming") << Script(stream);
}

void TestHostileDownloads::closingWithDownloadsPending()
{
    QFETCH(Script, script);
    QString html;
    for (int i = 0; i < 7; ++i) {
        const QString path = u"/%1.png"_s.arg(i);
        server->script(path, script);
        html += htmlWithImages({server->url(path)});
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

CATALIST_TEST(TestHostileDownloads)
#include "tst_hostile_downloads.moc"
