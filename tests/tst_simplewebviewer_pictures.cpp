#include "folder.h"
#include "httpserver.h"
#include "testrunner.h"
#include "webviewertest.h"

#include <QImage>
#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>
#include <QThread>

#include <memory>

class TestSimpleWebViewerPictures : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void leavesLocalFilesToTheTextBrowser();
    void showsRelativeImagesOfAFolder_data();
    void showsRelativeImagesOfAFolder();
    void looksUpRelativeNamesInTheSearchPaths_data();
    void looksUpRelativeNamesInTheSearchPaths();
    void takesARelativeNameAsItIsWithoutAValidSearchPath();

    void rendersAgainWhenALateImageHasCome();
    void keepsTheScrollPosition();
    void rendersOnceWhenTheLastOfSeveralHasFinished();
    void showsNothingForAFailedImage_data();
    void showsNothingForAFailedImage();
    void showsARedirectedImage();

    void decodesAnImageOnce();
    void decodesToAnImageObjectOnOtherThreads();
    void keepsUndecodableImagesAsBytes();
};

void TestSimpleWebViewerPictures::cleanup()
{
    QCOMPARE(QApplication::topLevelWidgets().size(), 0);
}

void TestSimpleWebViewerPictures::leavesLocalFilesToTheTextBrowser()
{
    const Folder folder;
    folder.write(QStringLiteral("a.png"), picture(Qt::red));
    const QUrl url = QUrl::fromLocalFile(folder.path(QStringLiteral("a.png")));
    ReplyWatch watch;
    CountingViewer viewer;

    QCOMPARE(viewer.loadResource(IMAGE, url), QVariant(picture(Qt::red)));
    QCOMPARE(viewer.loadResource(PAGE, url), viewer.QTextBrowser::loadResource(PAGE, url));
    folder.write(QStringLiteral("a.png"), picture(Qt::green));
    QCOMPARE(viewer.loadResource(IMAGE, url), QVariant(picture(Qt::green)));
    QVERIFY(!viewer.loadResource(IMAGE, QUrl::fromLocalFile(folder.path(QStringLiteral("none.png")))).isValid());

    viewer.setHtml(htmlWithImages({url}));
    QVERIFY(shows(viewer, Qt::green));
    QVERIFY(watch.manager.isNull());
}

void TestSimpleWebViewerPictures::showsRelativeImagesOfAFolder_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("end");
    QTest::newRow("in the folder") << "a.png"
                                   << "a.png"
                                   << "";
    QTest::newRow("folder with a slash at its end") << "a.png"
                                                    << "a.png"
                                                    << "/";
    QTest::newRow("in a subfolder") << "images/a.png"
                                    << "images/a.png"
                                    << "";
    QTest::newRow("encoded space") << "my%20app.png"
                                   << "my app.png"
                                   << "";
    QTest::newRow("plain space") << "my app.png"
                                 << "my app.png"
                                 << "";
    QTest::newRow("encoded percent sign") << "50%25.png"
                                          << "50%.png"
                                          << "";
    QTest::newRow("encoded letter") << "%61.png"
                                    << "a.png"
                                    << "";
    QTest::newRow("encoded umlaut") << "%C3%BC.png" << QString::fromUtf8("\u00fc.png") << "";
    QTest::newRow("query") << "a.png?size=2"
                           << "a.png"
                           << "";
    QTest::newRow("fragment") << "a.png#top"
                              << "a.png"
                              << "";
}

void TestSimpleWebViewerPictures::showsRelativeImagesOfAFolder()
{
    QFETCH(QString, source);
    QFETCH(QString, file);
    QFETCH(QString, end);
    const Folder folder;
    folder.write(file, picture(Qt::red));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSearchPaths({QStringLiteral("file:///") + folder.path() + end});

    viewer.setHtml(htmlWithImages({source}));
    QCOMPARE(viewer.reloads, 0);
    QVERIFY(!shows(viewer, Qt::red));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{QUrl(QStringLiteral("file:///") + folder.path(file))});
    QCOMPARE(viewer.reloads, 1);
    QVERIFY(shows(viewer, Qt::red));

    viewer.setHtml(htmlWithImages({source}));
    QVERIFY(shows(viewer, Qt::red));
    QVERIFY(watch.running().isEmpty());
}

void TestSimpleWebViewerPictures::looksUpRelativeNamesInTheSearchPaths_data()
{
    QTest::addColumn<QStringList>("searchPaths"); // %1 is the server
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("request");
    const QString one = QStringLiteral("%1/one");
    const QString two = QStringLiteral("%1/two");
    const QString invalid = QStringLiteral("http://[");
    QTest::newRow("slash appended") << QStringList{one} << "a.png"
                                    << "/one/a.png";
    QTest::newRow("slash there") << QStringList{QStringLiteral("%1/one/")} << "a.png"
                                 << "/one/a.png";
    QTest::newRow("first of two") << QStringList{one, two} << "a.png"
                                  << "/one/a.png";
    QTest::newRow("other order") << QStringList{two, one} << "a.png"
                                 << "/two/a.png";
    QTest::newRow("invalid passed over") << QStringList{invalid, two, one} << "a.png"
                                         << "/two/a.png";
    QTest::newRow("encoded") << QStringList{one} << "a%20b.png"
                             << "/one/a%20b.png";
    QTest::newRow("decoded once") << QStringList{one} << "a%2520b.png"
                                  << "/one/a%20b.png";
    QTest::newRow("query left out") << QStringList{one} << "a.png?b=c"
                                    << "/one/a.png";
    QTest::newRow("fragment left out") << QStringList{one} << "a.png#b"
                                       << "/one/a.png";
    QTest::newRow("encoded query is one afterwards") << QStringList{one} << "a%3Fb"
                                                     << "/one/a?b";
    QTest::newRow("encoded fragment is one afterwards") << QStringList{one} << "a%23b"
                                                        << "/one/a";
    QTest::newRow("absolute name") << QStringList{one} << "%1/two/a.png?b=c"
                                   << "/two/a.png?b=c";
}

void TestSimpleWebViewerPictures::looksUpRelativeNamesInTheSearchPaths()
{
    QFETCH(QStringList, searchPaths);
    QFETCH(QString, source);
    QFETCH(QString, request);
    HttpServer server;
    const QString address = server.url({}).toString();
    searchPaths.replaceInStrings(QStringLiteral("%1"), address);
    source.replace(QLatin1String("%1"), address);
    CountingViewer viewer;
    viewer.setSearchPaths(searchPaths);

    viewer.setHtml(htmlWithImages({source}));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(server.requests(), QStringList{request});
}

void TestSimpleWebViewerPictures::takesARelativeNameAsItIsWithoutAValidSearchPath()
{
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSearchPaths({QStringLiteral("http://[")});
    viewer.setHtml(htmlWithImages({QStringLiteral("none/a.png?b=c")}));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{QUrl(QStringLiteral("none/a.png?b=c"))});
    QCOMPARE(viewer.reloads, 1);
}

void TestSimpleWebViewerPictures::rendersAgainWhenALateImageHasCome()
{
    HttpServer server;
    const QUrl url = server.url(QStringLiteral("/a.png"));
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    CountingViewer viewer;

    viewer.setHtml(htmlWithImages({url}));
    viewer.setHtml(QStringLiteral("<h1>Head</h1>") + htmlWithImages({url}));
    QTRY_COMPARE(server.openRequests(), 1);
    QVERIFY(!shows(viewer, Qt::red));
    QVERIFY(!viewer.loadResource(IMAGE, url).isValid());
    QCOMPARE(viewer.reloads, 0);

    QSignalSpy changes(&viewer, &QTextBrowser::textChanged);
    viewer.setHtml(QStringLiteral("<h1>Head</h1>") + htmlWithImages({url}));
    const auto changesOfARender = changes.size();
    QVERIFY(changesOfARender > 0);
    changes.clear();

    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(changes.size(), changesOfARender);
    QVERIFY(shows(viewer, Qt::red));
    QVERIFY(viewer.toPlainText().startsWith(QStringLiteral("Head\n")));

    viewer.setHtml(htmlWithImages({url}));
    QVERIFY(shows(viewer, Qt::red));
    QCOMPARE(viewer.reloads, 1);
    QCOMPARE(server.requests(), QStringList{QStringLiteral("/a.png")});
}

void TestSimpleWebViewerPictures::keepsTheScrollPosition()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    CountingViewer viewer;
    viewer.setLineWrapMode(QTextEdit::NoWrap);
    viewer.resize(200, 150);
    QString html = htmlWithImages({server.url(QStringLiteral("/a.png"))});
    for (int i = 0; i < 200; ++i)
        html += QStringLiteral("<p>%1</p>").arg(QStringLiteral("word ").repeated(100));
    viewer.setHtml(html);
    QVERIFY(QTest::qWaitForWindowExposed(&viewer));
    QTRY_COMPARE(server.openRequests(), 1);
    QTRY_VERIFY(viewer.verticalScrollBar()->maximum() > 2000);
    viewer.verticalScrollBar()->setValue(1234);
    viewer.horizontalScrollBar()->setValue(321);
    QCOMPARE(viewer.verticalScrollBar()->value(), 1234);
    QCOMPARE(viewer.horizontalScrollBar()->value(), 321);

    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.verticalScrollBar()->value(), 1234);
    QCOMPARE(viewer.horizontalScrollBar()->value(), 321);

    viewer.verticalScrollBar()->setValue(0);
    viewer.horizontalScrollBar()->setValue(0);
    QVERIFY(shows(viewer, Qt::red));
}

void TestSimpleWebViewerPictures::rendersOnceWhenTheLastOfSeveralHasFinished()
{
    HttpServer server;
    const QHash<QString, QColor> images = {
        {QStringLiteral("/red"), Qt::red}, {QStringLiteral("/green"), Qt::green}, {QStringLiteral("/blue"), Qt::blue}};
    QStringList sources;
    for (auto image = images.begin(); image != images.end(); ++image) {
        server.serve(image.key(), {.body = picture(image.value())});
        server.hold(image.key());
        sources += server.url(image.key()).toString();
    }
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages(sources));
    QTRY_COMPARE(server.openRequests(), 3);

    server.release(QStringLiteral("/green"));
    QTRY_COMPARE(watch.deleted.size(), 1);
    server.release(QStringLiteral("/red"));
    QTRY_COMPARE(watch.deleted.size(), 2);
    QCOMPARE(viewer.reloads, 0);

    server.release(QStringLiteral("/blue"));
    QTRY_COMPARE(watch.deleted.size(), 3);
    QCOMPARE(viewer.reloads, 1);
    for (const QColor &colour : images)
        QVERIFY(shows(viewer, colour));
    QCOMPARE(server.requests().size(), 3);
}

void TestSimpleWebViewerPictures::showsNothingForAFailedImage_data()
{
    QTest::addColumn<int>("status"); // 0: no answer at all
    QTest::addColumn<bool>("alone");
    QTest::newRow("not found") << 404 << false;
    QTest::newRow("broken server") << 500 << false;
    QTest::newRow("connection closed") << 0 << false;
    QTest::newRow("not found, the only entry") << 404 << true;
    QTest::newRow("connection closed, the only entry") << 0 << true;
}

void TestSimpleWebViewerPictures::showsNothingForAFailedImage()
{
    QFETCH(int, status);
    QFETCH(bool, alone);
    HttpServer server;
    const QString path = QStringLiteral("/a.png");
    if (status == 0)
        server.drop(path);
    else
        server.serve(path, {.status = status, .body = picture(Qt::red)});
    server.serve(QStringLiteral("/good.png"), {.body = picture(Qt::green)});
    QList<QUrl> urls{server.url(path)};
    if (!alone)
        urls += server.url(QStringLiteral("/good.png"));
    ReplyWatch watch;
    CountingViewer viewer;

    viewer.setHtml(htmlWithImages(urls));
    QTRY_COMPARE(viewer.reloads, 1);
    QVERIFY(!shows(viewer, Qt::red));
    QCOMPARE(shows(viewer, Qt::green), !alone);
    QCOMPARE(viewer.loadResource(IMAGE, server.url(path)), alone ? QVariant(ERROR_PAGE) : QVariant());

    QTRY_VERIFY(watch.running().isEmpty());
    server.serve(path, {.body = picture(Qt::red)});
    viewer.setHtml(htmlWithImages(urls));
    QVERIFY(!shows(viewer, Qt::red));
    QVERIFY(watch.running().isEmpty());
    viewer.clear();
    viewer.setHtml(htmlWithImages(urls));
    QTRY_VERIFY(shows(viewer, Qt::red));
}

void TestSimpleWebViewerPictures::showsARedirectedImage()
{
    HttpServer server;
    const QUrl url = server.url(QStringLiteral("/old.png"));
    server.redirect(QStringLiteral("/old.png"), server.url(QStringLiteral("/new.png")));
    server.serve(QStringLiteral("/new.png"), {.body = picture(Qt::red)});
    CountingViewer viewer;

    viewer.setHtml(htmlWithImages({url}));
    QTRY_COMPARE(viewer.reloads, 1);
    QVERIFY(shows(viewer, Qt::red));

    viewer.setHtml(htmlWithImages({url}));
    QVERIFY(shows(viewer, Qt::red));
    QVERIFY(viewer.loadResource(STYLE_SHEET, server.url(QStringLiteral("/new.png"))).isValid());
    QCOMPARE(viewer.reloads, 1);
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/old.png"), QStringLiteral("/new.png")}));
}

void TestSimpleWebViewerPictures::decodesAnImageOnce()
{
    HttpServer server;
    server.serve(QStringLiteral("/image-without-ending"), {.body = picture(Qt::red)});
    const QUrl url = server.url(QStringLiteral("/image-without-ending"));
    CountingViewer viewer;
    viewer.downloadResource(url);
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(STYLE_SHEET, url), QVariant(picture(Qt::red)));

    const QVariant image = viewer.loadResource(IMAGE, url);
    QCOMPARE(image.metaType(), QMetaType::fromType<QPixmap>());
    QCOMPARE(image.value<QPixmap>().size(), QSize(20, 20));
    QCOMPARE(image.value<QPixmap>().toImage().pixelColor(10, 10), QColor(Qt::red));
    QCOMPARE(viewer.loadResource(IMAGE, url).value<QPixmap>().cacheKey(), image.value<QPixmap>().cacheKey());
    QCOMPARE(viewer.loadResource(STYLE_SHEET, url).metaType(), QMetaType::fromType<QPixmap>());
    QCOMPARE(server.requests().size(), 1);
}

void TestSimpleWebViewerPictures::decodesToAnImageObjectOnOtherThreads()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.serve(QStringLiteral("/text"), {.body = "no image"});
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/a.png")));
    viewer.downloadResource(server.url(QStringLiteral("/text")));
    QTRY_COMPARE(viewer.reloads, 1);

    QVariant image;
    QVariant text;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        image = viewer.loadResource(IMAGE, server.url(QStringLiteral("/a.png")));
        text = viewer.loadResource(IMAGE, server.url(QStringLiteral("/text")));
    }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(image.metaType(), QMetaType::fromType<QImage>());
    QCOMPARE(image.value<QImage>().pixelColor(10, 10), QColor(Qt::red));
    QCOMPARE(text, QVariant(QByteArray("no image")));
}

void TestSimpleWebViewerPictures::keepsUndecodableImagesAsBytes()
{
    HttpServer server;
    const QByteArray text = "no image";
    server.serve(QStringLiteral("/text.png"), {.body = text});
    server.serve(QStringLiteral("/empty.png"), {});
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages({server.url(QStringLiteral("/text.png")), server.url(QStringLiteral("/empty.png"))}));
    QTRY_COMPARE(viewer.reloads, 1);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(viewer.loadResource(IMAGE, server.url(QStringLiteral("/text.png"))), QVariant(text));
        QCOMPARE(viewer.loadResource(IMAGE, server.url(QStringLiteral("/empty.png"))), QVariant(QByteArray()));
    }
    QCOMPARE(server.requests().size(), 2);
}

CATALIST_TEST(TestSimpleWebViewerPictures)
#include "tst_simplewebviewer_pictures.moc"
