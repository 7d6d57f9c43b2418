#include "testrunner.h"
#include "webviewertest.h"

#include <QImage>
#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>
#include <QThread>

using namespace Qt::StringLiterals;

class TestSimpleWebViewerPictures : public ViewerTest
{
    Q_OBJECT

private slots:
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

void TestSimpleWebViewerPictures::leavesLocalFilesToTheTextBrowser()
{
    folder->write(u"a.png"_s, picture(Qt::red));
    const QUrl url = QUrl::fromLocalFile(folder->path(u"a.png"_s));

    QCOMPARE(viewer->loadResource(IMAGE, url), QVariant(picture(Qt::red)));
    QCOMPARE(viewer->loadResource(PAGE, url), viewer->QTextBrowser::loadResource(PAGE, url));
    folder->write(u"a.png"_s, picture(Qt::green));
    QCOMPARE(viewer->loadResource(IMAGE, url), QVariant(picture(Qt::green)));
    QVERIFY(!viewer->loadResource(IMAGE, QUrl::fromLocalFile(folder->path(u"none.png"_s))).isValid());

    viewer->setHtml(htmlWithImages({url}));
    QVERIFY(hasPicture(Qt::green));
    QVERIFY(watch->manager.isNull());
}

void TestSimpleWebViewerPictures::showsRelativeImagesOfAFolder_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("end");
    const auto row = [](const char *name, const QString &source, const QString &file, const QString &end = {}) {
        QTest::newRow(name) << source << file << end;
    };
    row("in the folder", u"a.png"_s, u"a.png"_s);
    row("folder with a slash at its end", u"a.png"_s, u"a.png"_s, u"/"_s);
    row("in a subfolder", u"images/a.png"_s, u"images/a.png"_s);
    row("encoded space", u"my%20app.png"_s, u"my app.png"_s);
    row("plain space", u"my app.png"_s, u"my app.png"_s);
    row("encoded percent sign", u"50%25.png"_s, u"50%.png"_s);
    row("encoded letter", u"%61.png"_s, u"a.png"_s);
    row("encoded umlaut", u"%C3%BC.png"_s, u"\u00fc.png"_s);
    row("query", u"a.png?size=2"_s, u"a.png"_s);
    row("fragment", u"a.png#top"_s, u"a.png"_s);
}

void TestSimpleWebViewerPictures::showsRelativeImagesOfAFolder()
{
    QFETCH(QString, source);
    QFETCH(QString, file);
    QFETCH(QString, end);
    folder->write(file, picture(Qt::red));
    viewer->setSearchPaths({u"file:///"_s + folder->path() + end});

    viewer->setHtml(htmlWithImages({source}));
    QCOMPARE(viewer->reloads, 0);
    QVERIFY(!hasPicture(Qt::red));
    QTRY_COMPARE(watch->deleted, QList<QUrl>{QUrl(u"file:///"_s + folder->path(file))});
    QCOMPARE(viewer->reloads, 1);
    QVERIFY(hasPicture(Qt::red));

    viewer->setHtml(htmlWithImages({source}));
    QVERIFY(hasPicture(Qt::red));
    QVERIFY(watch->running().isEmpty());
}

void TestSimpleWebViewerPictures::looksUpRelativeNamesInTheSearchPaths_data()
{
    QTest::addColumn<QStringList>("searchPaths"); // %1 is the server
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("request");
    const QString one = u"%1/one"_s;
    const QString two = u"%1/two"_s;
    const QString a = u"a.png"_s;
    QTest::newRow("slash appended") << QStringList{one} << a << u"/one/a.png"_s;
    QTest::newRow("slash there") << QStringList{u"%1/one/"_s} << a << u"/one/a.png"_s;
    QTest::newRow("first of two") << QStringList{one, two} << a << u"/one/a.png"_s;
    QTest::newRow("other order") << QStringList{two, one} << a << u"/two/a.png"_s;
    QTest::newRow("invalid is ignored") << QStringList{u"http://["_s, two, one} << a << u"/two/a.png"_s;
    QTest::newRow("encoded") << QStringList{one} << u"a%20b.png"_s << u"/one/a%20b.png"_s;
    QTest::newRow("decoded once") << QStringList{one} << u"a%2520b.png"_s << u"/one/a%20b.png"_s;
    QTest::newRow("query left out") << QStringList{one} << u"a.png?b=c"_s << u"/one/a.png"_s;
    QTest::newRow("fragment left out") << QStringList{one} << u"a.png#b"_s << u"/one/a.png"_s;
    QTest::newRow("encoded query is one afterwards") << QStringList{one} << u"a%3Fb"_s << u"/one/a?b"_s;
    QTest::newRow("encoded fragment is one afterwards") << QStringList{one} << u"a%23b"_s << u"/one/a"_s;
    QTest::newRow("absolute name") << QStringList{one} << u"%1/two/a.png?b=c"_s << u"/two/a.png?b=c"_s;
}

void TestSimpleWebViewerPictures::looksUpRelativeNamesInTheSearchPaths()
{
    QFETCH(QStringList, searchPaths);
    QFETCH(QString, source);
    QFETCH(QString, request);
    const QString address = server->url({}).toString();
    searchPaths.replaceInStrings(u"%1"_s, address);
    source.replace("%1"_L1, address);
    viewer->setSearchPaths(searchPaths);

    viewer->setHtml(htmlWithImages({source}));
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(server->requests(), QStringList{request});
}

void TestSimpleWebViewerPictures::takesARelativeNameAsItIsWithoutAValidSearchPath()
{
    viewer->setSearchPaths({u"http://["_s});
    viewer->setHtml(htmlWithImages({u"none/a.png?b=c"_s}));
    QTRY_COMPARE(watch->deleted, QList<QUrl>{QUrl(u"none/a.png?b=c"_s)});
    QCOMPARE(viewer->reloads, 1);
}

void TestSimpleWebViewerPictures::rendersAgainWhenALateImageHasCome()
{
    const QUrl url = server->url(u"/a.png"_s);
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    server->hold(u"/a.png"_s);

    viewer->setHtml(htmlWithImages({url}));
    viewer->setHtml(u"<h1>Head</h1>"_s + htmlWithImages({url}));
    QTRY_COMPARE(server->openRequests(), 1);
    QVERIFY(!hasPicture(Qt::red));
    QVERIFY(!viewer->loadResource(IMAGE, url).isValid());
    QCOMPARE(viewer->reloads, 0);

    QSignalSpy changes(viewer.get(), &QTextBrowser::textChanged);
    viewer->setHtml(u"<h1>Head</h1>"_s + htmlWithImages({url}));
    const auto changesOfARender = changes.size();
    QVERIFY(changesOfARender > 0);
    changes.clear();

    server->release(u"/a.png"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(changes.size(), changesOfARender);
    QVERIFY(hasPicture(Qt::red));
    QVERIFY(viewer->toPlainText().startsWith(u"Head\n"_s));

    viewer->setHtml(htmlWithImages({url}));
    QVERIFY(hasPicture(Qt::red));
    QCOMPARE(viewer->reloads, 1);
    QCOMPARE(server->requests(), QStringList{u"/a.png"_s});
}

void TestSimpleWebViewerPictures::keepsTheScrollPosition()
{
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    server->hold(u"/a.png"_s);
    viewer->setLineWrapMode(QTextEdit::NoWrap);
    viewer->resize(200, 150);
    QString html = htmlWithImages({server->url(u"/a.png"_s)});
    for (int i = 0; i < 200; ++i)
        html += u"<p>%1</p>"_s.arg(u"word "_s.repeated(100));
    viewer->setHtml(html);
    QVERIFY(QTest::qWaitForWindowExposed(viewer.get()));
    QTRY_COMPARE(server->openRequests(), 1);
    QTRY_VERIFY(viewer->verticalScrollBar()->maximum() > 2000);
    viewer->verticalScrollBar()->setValue(1234);
    viewer->horizontalScrollBar()->setValue(321);
    QCOMPARE(viewer->verticalScrollBar()->value(), 1234);
    QCOMPARE(viewer->horizontalScrollBar()->value(), 321);

    server->release(u"/a.png"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->verticalScrollBar()->value(), 1234);
    QCOMPARE(viewer->horizontalScrollBar()->value(), 321);

    viewer->verticalScrollBar()->setValue(0);
    viewer->horizontalScrollBar()->setValue(0);
    QVERIFY(hasPicture(Qt::red));
}

void TestSimpleWebViewerPictures::rendersOnceWhenTheLastOfSeveralHasFinished()
{
    const QHash<QString, QColor> images = {{u"/red"_s, Qt::red}, {u"/green"_s, Qt::green}, {u"/blue"_s, Qt::blue}};
    QStringList sources;
    for (auto image = images.begin(); image != images.end(); ++image) {
        server->serve(image.key(), {.body = picture(image.value())});
        server->hold(image.key());
        sources += server->url(image.key()).toString();
    }
    viewer->setHtml(htmlWithImages(sources));
    QTRY_COMPARE(server->openRequests(), 3);

    server->release(u"/green"_s);
    QTRY_COMPARE(watch->deleted.size(), 1);
    server->release(u"/red"_s);
    QTRY_COMPARE(watch->deleted.size(), 2);
    QCOMPARE(viewer->reloads, 0);

    server->release(u"/blue"_s);
    QTRY_COMPARE(watch->deleted.size(), 3);
    QCOMPARE(viewer->reloads, 1);
    for (const QColor &colour : images)
        QVERIFY(hasPicture(colour));
    QCOMPARE(server->requests().size(), 3);
}

void TestSimpleWebViewerPictures::showsNothingForAFailedImage_data()
{
    QTest::addColumn<int>("status"); // 0: the connection is closed
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
    const QString path = u"/a.png"_s;
    if (status == 0)
        server->drop(path);
    else
        server->serve(path, {.status = status, .body = picture(Qt::red)});
    server->serve(u"/good.png"_s, {.body = picture(Qt::green)});
    QList<QUrl> urls{server->url(path)};
    if (!alone)
        urls += server->url(u"/good.png"_s);

    viewer->setHtml(htmlWithImages(urls));
    QTRY_COMPARE(viewer->reloads, 1);
    QVERIFY(!hasPicture(Qt::red));
    QCOMPARE(hasPicture(Qt::green), !alone);
    QCOMPARE(viewer->loadResource(IMAGE, server->url(path)), alone ? QVariant(ERROR_PAGE) : QVariant());

    QTRY_VERIFY(watch->running().isEmpty());
    server->serve(path, {.body = picture(Qt::red)});
    viewer->setHtml(htmlWithImages(urls));
    QVERIFY(!hasPicture(Qt::red));
    QVERIFY(watch->running().isEmpty());
    viewer->clear();
    viewer->setHtml(htmlWithImages(urls));
    QTRY_VERIFY(hasPicture(Qt::red));
}

void TestSimpleWebViewerPictures::showsARedirectedImage()
{
    const QUrl url = server->url(u"/old.png"_s);
    server->redirect(u"/old.png"_s, server->url(u"/new.png"_s));
    server->serve(u"/new.png"_s, {.body = picture(Qt::red)});

    viewer->setHtml(htmlWithImages({url}));
    QTRY_COMPARE(viewer->reloads, 1);
    QVERIFY(hasPicture(Qt::red));

    viewer->setHtml(htmlWithImages({url}));
    QVERIFY(hasPicture(Qt::red));
    QVERIFY(viewer->loadResource(STYLE_SHEET, server->url(u"/new.png"_s)).isValid());
    QCOMPARE(viewer->reloads, 1);
    QCOMPARE(server->requests(), QStringList({u"/old.png"_s, u"/new.png"_s}));
}

void TestSimpleWebViewerPictures::decodesAnImageOnce()
{
    server->serve(u"/image-without-ending"_s, {.body = picture(Qt::red)});
    const QUrl url = server->url(u"/image-without-ending"_s);
    viewer->downloadResource(url);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->loadResource(STYLE_SHEET, url), QVariant(picture(Qt::red)));

    const QVariant image = viewer->loadResource(IMAGE, url);
    QCOMPARE(image.metaType(), QMetaType::fromType<QPixmap>());
    QCOMPARE(image.value<QPixmap>().size(), QSize(20, 20));
    QCOMPARE(image.value<QPixmap>().toImage().pixelColor(10, 10), QColor(Qt::red));
    QCOMPARE(viewer->loadResource(IMAGE, url).value<QPixmap>().cacheKey(), image.value<QPixmap>().cacheKey());
    QCOMPARE(viewer->loadResource(STYLE_SHEET, url).metaType(), QMetaType::fromType<QPixmap>());
    QCOMPARE(server->requests().size(), 1);
}

void TestSimpleWebViewerPictures::decodesToAnImageObjectOnOtherThreads()
{
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    server->serve(u"/text"_s, {.body = "no image"});
    viewer->downloadResource(server->url(u"/a.png"_s));
    viewer->downloadResource(server->url(u"/text"_s));
    QTRY_COMPARE(viewer->reloads, 1);

    QVariant image;
    QVariant text;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        image = viewer->loadResource(IMAGE, server->url(u"/a.png"_s));
        text = viewer->loadResource(IMAGE, server->url(u"/text"_s));
    }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(image.metaType(), QMetaType::fromType<QImage>());
    QCOMPARE(image.value<QImage>().pixelColor(10, 10), QColor(Qt::red));
    QCOMPARE(text, QVariant("no image"_ba));
}

void TestSimpleWebViewerPictures::keepsUndecodableImagesAsBytes()
{
    const QByteArray text = "no image";
    server->serve(u"/text.png"_s, {.body = text});
    server->serve(u"/empty.png"_s, {});
    viewer->setHtml(htmlWithImages({server->url(u"/text.png"_s), server->url(u"/empty.png"_s)}));
    QTRY_COMPARE(viewer->reloads, 1);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(viewer->loadResource(IMAGE, server->url(u"/text.png"_s)), QVariant(text));
        QCOMPARE(viewer->loadResource(IMAGE, server->url(u"/empty.png"_s)), QVariant(QByteArray()));
    }
    QCOMPARE(server->requests().size(), 2);
}

CATALIST_TEST(TestSimpleWebViewerPictures)
#include "tst_simplewebviewer_pictures.moc"
