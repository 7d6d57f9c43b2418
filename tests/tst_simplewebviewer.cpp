#include "folder.h"
#include "httpserver.h"
#include "scratchhome.h"
#include "viewer/simplewebviewer.h"

#include <QChildEvent>
#include <QDesktopServices>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScrollBar>
#include <QThread>

#include <memory>

namespace {

constexpr int IMAGE = QTextDocument::ImageResource;
constexpr int PAGE = QTextDocument::HtmlResource;
constexpr int STYLE_SHEET = QTextDocument::StyleSheetResource;

const QString LOADING_PAGE = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                                            "<h1>Loading...</h1></body></html>");
const QString ERROR_PAGE = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                                          "<h1>Connection error.</h1></body></html>");

/// A viewer on the screen, since hidden ones put off their layout and with it the loading of images.
class CountingViewer : public SimpleWebViewer
{
public:
    CountingViewer()
    {
        resize(300, 400);
        show();
    }

    void reload() override
    {
        ++reloads;
        SimpleWebViewer::reload();
    }

    int reloads = 0;
};

/// Sees the network access manager that a viewer keeps to itself, and the end of its replies.
class ReplyWatch : public QObject
{
public:
    ReplyWatch() { qApp->installEventFilter(this); }

    [[nodiscard]] QList<QNetworkReply *> running() const
    {
        return manager ? manager->findChildren<QNetworkReply *>() : QList<QNetworkReply *>();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ChildAdded && qobject_cast<QNetworkAccessManager *>(watched))
            manager = static_cast<QNetworkAccessManager *>(watched);
        else if (event->type() == QEvent::DeferredDelete && qobject_cast<QNetworkReply *>(watched))
            deleted.append(static_cast<QNetworkReply *>(watched)->request().url());
        return false;
    }

    QPointer<QNetworkAccessManager> manager; ///< null until the first request
    QList<QUrl> deleted; ///< what the replies that were deleted later had asked for
};

class LinkTarget : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened.append(url); }
};

QByteArray picture(const QColor &colour)
{
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        qFatal("Cannot make a picture");
    return png;
}

QString htmlWithImages(const QStringList &sources)
{
    QString html;
    for (const QString &source : sources)
        html += QStringLiteral("<p><img src=\"%1\"></p>").arg(source);
    return html;
}

QString htmlWithImages(const QList<QUrl> &urls)
{
    QStringList sources;
    for (const QUrl &url : urls)
        sources += url.toString();
    return htmlWithImages(sources);
}

bool shows(QWidget &viewer, const QColor &colour)
{
    const QImage image = viewer.grab().toImage().convertToFormat(QImage::Format_RGB32);
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            found += image.pixel(x, y) == colour.rgb() ? 1 : 0;
    }
    return found == 20 * 20;
}

} // namespace

class TestSimpleWebViewer : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void declaresItsSlots();
    void handsLinksToTheDesktop();
    void followsRedirectsThatAreNoLessSafe();
    void leavesLocalFilesToTheTextBrowser();

    void showsRelativeImagesOfAFolder_data();
    void showsRelativeImagesOfAFolder();
    void looksUpRelativeNamesInTheSearchPaths_data();
    void looksUpRelativeNamesInTheSearchPaths();
    void takesARelativeNameAsItIsWithoutAValidSearchPath();

    void rendersAgainWhenALateImageHasCome();
    void keepsTheScrollPosition();
    void rendersOnceWhenTheLastOfSeveralHasFinished();
    void loadsFiveAtATime();
    void loadsTheNextFiveAfterTheFirstFive();
    void startsNoMoreThanFive();
    void givesADownloadFiveSeconds();
    void showsNothingForAFailedImage_data();
    void showsNothingForAFailedImage();
    void showsARedirectedImage();

    void showsAPageAfterLoading();
    void showsARedirectedPage();
    void showsAnErrorForAFailedPage_data();
    void showsAnErrorForAFailedPage();
    void keepsMessagePagesToTheOnlyEntry();
    void answersTheOnlyPageWithTheLoadingPage();
    void resolvesNamesAgainstThePage();
    void keepsEverythingForTheSameSource();
    void dropsEverythingForAnotherSource();

    void decodesAnImageOnce();
    void decodesToAnImageObjectOnOtherThreads();
    void keepsUndecodableImagesAsBytes();
    void passesOtherTypesThrough();

    void abortFailsEveryDownload();
    void abortOfTheOnlyDownloadStoresTheErrorPage();
    void clearForgetsTheCache();
    void clearForgetsDownloads();
    void clearMakesRoomForDownloads();
    void ignoresForeignReplies();
    void endsWithDownloadsPending_data();
    void endsWithDownloadsPending();

    void previewStyleSheet();
};

void TestSimpleWebViewer::cleanup()
{
    QCOMPARE(QApplication::topLevelWidgets().size(), 0);
}

void TestSimpleWebViewer::declaresItsSlots()
{
    const QMetaObject &meta = SimpleWebViewer::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    QVERIFY(meta.indexOfSlot("clear()") >= meta.methodOffset());
    QVERIFY(meta.indexOfSlot("onReplyFinished(QNetworkReply*)") >= meta.methodOffset());
}

void TestSimpleWebViewer::handsLinksToTheDesktop()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "Page"});
    LinkTarget desktop;
    QDesktopServices::setUrlHandler(QStringLiteral("http"), &desktop, "open");
    const auto forget = qScopeGuard([] { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); });
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(QStringLiteral("<a href=\"%1\">Link</a>").arg(server.url(QStringLiteral("/page")).toString()));
    QVERIFY(QTest::qWaitForWindowExposed(&viewer));

    QTextCursor inLink(viewer.document());
    inLink.setPosition(2);
    QTest::mouseClick(viewer.viewport(), Qt::LeftButton, Qt::NoModifier, viewer.cursorRect(inLink).center());

    QTRY_COMPARE(desktop.opened, QList<QUrl>{server.url(QStringLiteral("/page"))});
    QVERIFY(viewer.openExternalLinks());
    QCOMPARE(viewer.source(), QUrl());
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Link"));
    QVERIFY(watch.manager.isNull());
}

void TestSimpleWebViewer::followsRedirectsThatAreNoLessSafe()
{
    HttpServer server;
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/any")));
    QVERIFY(watch.manager);
    QCOMPARE(watch.manager->redirectPolicy(), QNetworkRequest::NoLessSafeRedirectPolicy);
    QVERIFY(!watch.manager->parent());
}

void TestSimpleWebViewer::leavesLocalFilesToTheTextBrowser()
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

void TestSimpleWebViewer::showsRelativeImagesOfAFolder_data()
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

void TestSimpleWebViewer::showsRelativeImagesOfAFolder()
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

void TestSimpleWebViewer::looksUpRelativeNamesInTheSearchPaths_data()
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

void TestSimpleWebViewer::looksUpRelativeNamesInTheSearchPaths()
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

void TestSimpleWebViewer::takesARelativeNameAsItIsWithoutAValidSearchPath()
{
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSearchPaths({QStringLiteral("http://[")});
    viewer.setHtml(htmlWithImages({QStringLiteral("none/a.png?b=c")}));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{QUrl(QStringLiteral("none/a.png?b=c"))});
    QCOMPARE(viewer.reloads, 1);
}

void TestSimpleWebViewer::rendersAgainWhenALateImageHasCome()
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

void TestSimpleWebViewer::keepsTheScrollPosition()
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

void TestSimpleWebViewer::rendersOnceWhenTheLastOfSeveralHasFinished()
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

void TestSimpleWebViewer::loadsFiveAtATime()
{
    HttpServer server;
    QList<QUrl> urls;
    QStringList paths;
    for (int i = 1; i <= 6; ++i) {
        paths += QStringLiteral("/%1").arg(i);
        urls += server.url(paths.constLast());
        server.serve(paths.constLast(), {.body = picture(QColor(Qt::red).darker(100 + 10 * i))});
        server.hold(paths.constLast());
    }
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setUpdatesEnabled(false); // painting between two replies would ask for the sixth
    viewer.setHtml(htmlWithImages(urls));
    QCOMPARE(watch.running().size(), 5);
    QTRY_COMPARE(server.openRequests(), 5);
    QCOMPARE(server.requests(paths.constLast()), 0);

    for (qsizetype i = 0; i < 4; ++i) {
        server.release(paths.at(i));
        QTRY_COMPARE(watch.deleted.size(), i + 1);
    }
    QCOMPARE(viewer.reloads, 0);
    QCOMPARE(watch.running().size(), 1);
    server.release(paths.at(4));
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(server.requests(paths.constLast()), 1);
    viewer.setUpdatesEnabled(true);
    for (int i = 1; i <= 5; ++i)
        QVERIFY(shows(viewer, QColor(Qt::red).darker(100 + 10 * i)));
    QVERIFY(!shows(viewer, QColor(Qt::red).darker(160)));

    server.release(paths.constLast());
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, QColor(Qt::red).darker(160)));
    QCOMPARE(server.requests().size(), 6);
    QCOMPARE(server.mostOpenRequests(), 5);
}

void TestSimpleWebViewer::loadsTheNextFiveAfterTheFirstFive()
{
    HttpServer server;
    server.hold(QStringLiteral("/first"));
    server.hold(QStringLiteral("/then"));
    QList<QUrl> urls;
    for (int i = 0; i < 11; ++i)
        urls += server.url((i < 5 ? QStringLiteral("/first?%1") : QStringLiteral("/then?%1")).arg(i));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setUpdatesEnabled(false); // painting between two replies would ask for the others
    viewer.setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server.requests(QStringLiteral("/first")), 5);

    server.release(QStringLiteral("/first"));
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(watch.running().size(), 5);
    QTRY_COMPARE(server.requests(QStringLiteral("/then")), 5);
    server.release(QStringLiteral("/then"));
    QTRY_COMPARE(viewer.reloads, 3);
    QCOMPARE(server.requests(QStringLiteral("/then")), 6);
    QCOMPARE(server.mostOpenRequests(), 5);
}

void TestSimpleWebViewer::startsNoMoreThanFive()
{
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    ReplyWatch watch;
    CountingViewer viewer;
    const QUrl sixth = server.url(QStringLiteral("/sixth"));
    for (int i = 0; i < 5; ++i)
        viewer.downloadResource(server.url(QStringLiteral("/a?%1").arg(i)));
    viewer.downloadResource(sixth);
    QVERIFY(!viewer.loadResource(STYLE_SHEET, sixth).isValid());
    QVERIFY(!viewer.loadResource(PAGE, sixth).isValid());
    QCOMPARE(watch.running().size(), 5);

    server.release(QStringLiteral("/a"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(server.requests(QStringLiteral("/sixth")), 0);
    viewer.downloadResource(sixth);
    QTRY_COMPARE(viewer.reloads, 2);
    QCOMPARE(server.requests(QStringLiteral("/sixth")), 1);
}

void TestSimpleWebViewer::givesADownloadFiveSeconds()
{
    HttpServer server;
    server.serve(QStringLiteral("/quick"), {.body = picture(Qt::green)});
    server.serve(QStringLiteral("/never"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/never"));
    const QString html = htmlWithImages({server.url(QStringLiteral("/never")), server.url(QStringLiteral("/quick"))});
    ReplyWatch watch;
    CountingViewer viewer;
    QElapsedTimer clock;
    clock.start();
    viewer.setHtml(html);
    QTRY_COMPARE(watch.deleted, QList<QUrl>{server.url(QStringLiteral("/quick"))});
    QTRY_COMPARE(server.openRequests(), 1);
    QCOMPARE(viewer.reloads, 0);

    QTRY_COMPARE_WITH_TIMEOUT(viewer.reloads, 1, 8000);
    QVERIFY2(clock.elapsed() >= 4500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(clock.elapsed() <= 8000, qPrintable(QString::number(clock.elapsed())));
    QTRY_COMPARE(server.openRequests(), 0);
    QVERIFY(shows(viewer, Qt::green));
    QVERIFY(!shows(viewer, Qt::red));

    QTRY_VERIFY(watch.running().isEmpty());
    server.release(QStringLiteral("/never"));
    viewer.setHtml(html);
    QVERIFY(watch.running().isEmpty());
    QVERIFY(!shows(viewer, Qt::red));

    viewer.clear();
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));
    QCOMPARE(server.requests(QStringLiteral("/never")), 2);
    QCOMPARE(server.requests(QStringLiteral("/quick")), 2);
}

void TestSimpleWebViewer::showsNothingForAFailedImage_data()
{
    QTest::addColumn<int>("status"); // 0: no answer at all
    QTest::addColumn<bool>("alone");
    QTest::newRow("not found") << 404 << false;
    QTest::newRow("broken server") << 500 << false;
    QTest::newRow("connection closed") << 0 << false;
    QTest::newRow("not found, the only entry") << 404 << true;
    QTest::newRow("connection closed, the only entry") << 0 << true;
}

void TestSimpleWebViewer::showsNothingForAFailedImage()
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

void TestSimpleWebViewer::showsARedirectedImage()
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

void TestSimpleWebViewer::showsAPageAfterLoading()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "<h1>The page</h1>"});
    server.hold(QStringLiteral("/page"));
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/page")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.openRequests(), 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));

    server.release(QStringLiteral("/page"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("The page"));
    QCOMPARE(viewer.source(), server.url(QStringLiteral("/page")));
    QCOMPARE(server.requests(), QStringList{QStringLiteral("/page")});
}

void TestSimpleWebViewer::showsARedirectedPage()
{
    HttpServer server;
    server.redirect(QStringLiteral("/old"), server.url(QStringLiteral("/new")));
    server.serve(QStringLiteral("/new"), {.body = "The page"});
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/old")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("The page"));
}

void TestSimpleWebViewer::showsAnErrorForAFailedPage_data()
{
    QTest::addColumn<QString>("failure");
    QTest::newRow("nobody listens") << "unreachable";
    QTest::newRow("not found") << "status";
    QTest::newRow("connection closed") << "dropped";
    QTest::newRow("aborted") << "aborted";
}

void TestSimpleWebViewer::showsAnErrorForAFailedPage()
{
    QFETCH(QString, failure);
    HttpServer server;
    server.serve(QStringLiteral("/status"), {.status = 404, .body = "Page of the server"});
    server.drop(QStringLiteral("/dropped"));
    server.hold(QStringLiteral("/aborted"));
    const QUrl url =
        failure == QLatin1String("unreachable") ? unreachableUrl() : server.url(QLatin1Char('/') + failure);
    ReplyWatch watch;
    CountingViewer viewer;

    viewer.setSource(url);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    if (failure == QLatin1String("aborted")) {
        QTRY_COMPARE(server.openRequests(), 1);
        viewer.abort();
    }
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Connection error."));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(ERROR_PAGE));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{url});
    QVERIFY(watch.running().isEmpty());
}

void TestSimpleWebViewer::keepsMessagePagesToTheOnlyEntry()
{
    HttpServer server;
    server.serve(QStringLiteral("/other"), {.body = "Other"});
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/other")));
    QTRY_COMPARE(viewer.reloads, 1);

    const QUrl url = server.url(QStringLiteral("/none"));
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QCOMPARE(viewer.loadResource(PAGE, server.url(QStringLiteral("/other"))), QVariant(QByteArray("Other")));
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/other"), QStringLiteral("/none")}));
}

void TestSimpleWebViewer::answersTheOnlyPageWithTheLoadingPage()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "Page"});
    server.hold(QStringLiteral("/page"));
    const QUrl url = server.url(QStringLiteral("/page"));
    CountingViewer viewer;
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QVERIFY(!viewer.loadResource(IMAGE, url).isValid());
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(server.openRequests(), 1);

    server.release(QStringLiteral("/page"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(QByteArray("Page")));
    QCOMPARE(server.requests().size(), 1);
}

void TestSimpleWebViewer::resolvesNamesAgainstThePage()
{
    HttpServer server;
    server.serve(QStringLiteral("/folder/page"), {.body = "<img src=\"images/a.png\">"});
    server.serve(QStringLiteral("/folder/images/a.png"), {.body = picture(Qt::red)});
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSearchPaths({server.url(QStringLiteral("/elsewhere")).toString()});
    viewer.setSource(server.url(QStringLiteral("/folder/page")));
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/folder/page"), QStringLiteral("/folder/images/a.png")}));

    QTRY_VERIFY(watch.running().isEmpty());
    watch.deleted.clear();
    QVERIFY(!viewer.loadResource(STYLE_SHEET, QUrl(QStringLiteral("a.css"))).isValid());
    QTRY_COMPARE(watch.deleted, QList<QUrl>{QUrl(QStringLiteral("a.css"))});
    QCOMPARE(server.requests().size(), 2);
}

void TestSimpleWebViewer::keepsEverythingForTheSameSource()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "<img src=\"/a.png\">"});
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/page")));
    QTRY_COMPARE(server.requests(QStringLiteral("/a.png")), 1);

    viewer.setSource(server.url(QStringLiteral("/page")));
    QCOMPARE(watch.running().size(), 1);
    QCOMPARE(viewer.reloads, 1);
    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));

    QTRY_VERIFY(watch.running().isEmpty());
    viewer.setSource(server.url(QStringLiteral("/page")));
    QVERIFY(shows(viewer, Qt::red));
    QVERIFY(watch.running().isEmpty());
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/page"), QStringLiteral("/a.png")}));
}

void TestSimpleWebViewer::dropsEverythingForAnotherSource()
{
    HttpServer server;
    server.serve(QStringLiteral("/one"), {.body = "One <img src=\"/a.png\"><img src=\"/b.png\">"});
    server.serve(QStringLiteral("/two"), {.body = "Two"});
    server.hold(QStringLiteral("/a.png"));
    server.hold(QStringLiteral("/b.png"));
    server.hold(QStringLiteral("/two"));
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/one")));
    QTRY_COMPARE(server.openRequests(), 2);
    QVERIFY(viewer.toPlainText().startsWith(QStringLiteral("One")));

    viewer.setSource(server.url(QStringLiteral("/two")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.requests(QStringLiteral("/two")), 1);
    QTRY_COMPARE(server.openRequests(), 1);
    server.release(QStringLiteral("/two"));
    QTRY_COMPARE(viewer.toPlainText(), QStringLiteral("Two"));

    viewer.setSource(server.url(QStringLiteral("/one")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.requests(QStringLiteral("/one")), 2);
    QTRY_COMPARE(server.requests(QStringLiteral("/b.png")), 2);
}

void TestSimpleWebViewer::decodesAnImageOnce()
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

void TestSimpleWebViewer::decodesToAnImageObjectOnOtherThreads()
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

void TestSimpleWebViewer::keepsUndecodableImagesAsBytes()
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

void TestSimpleWebViewer::passesOtherTypesThrough()
{
    HttpServer server;
    const QByteArray sheet = "p { color: #ff0000; }";
    server.serve(QStringLiteral("/sheet.css"), {.body = sheet});
    const QUrl url = server.url(QStringLiteral("/sheet.css"));
    CountingViewer viewer;
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(STYLE_SHEET, url), QVariant(sheet));
    QCOMPARE(viewer.loadResource(QTextDocument::UserResource, url), QVariant(sheet));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(sheet));
    QCOMPARE(server.requests().size(), 1);
}

void TestSimpleWebViewer::abortFailsEveryDownload()
{
    HttpServer server;
    const QStringList paths{QStringLiteral("/a"), QStringLiteral("/b"), QStringLiteral("/c")};
    QList<QUrl> urls;
    for (const QString &path : paths) {
        server.hold(path);
        server.serve(path, {.body = picture(Qt::red)});
        urls += server.url(path);
    }
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server.openRequests(), 3);

    viewer.abort();
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(server.openRequests(), 0);
    QTRY_COMPARE(watch.deleted.size(), 3);
    QCOMPARE(viewer.reloads, 1);
    for (const QUrl &url : urls)
        QVERIFY(!viewer.loadResource(IMAGE, url).isValid());
    viewer.setHtml(htmlWithImages(urls));
    QVERIFY(watch.running().isEmpty());
    viewer.abort();
    QCOMPARE(viewer.reloads, 1);
}

void TestSimpleWebViewer::abortOfTheOnlyDownloadStoresTheErrorPage()
{
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/a")));
    viewer.abort();
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(STYLE_SHEET, server.url(QStringLiteral("/a"))), QVariant(ERROR_PAGE));
}

void TestSimpleWebViewer::clearForgetsTheCache()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    const QString html = QStringLiteral("Text") + htmlWithImages({server.url(QStringLiteral("/a.png"))});
    CountingViewer viewer;
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 1);
    QVERIFY(shows(viewer, Qt::red));

    QVERIFY(QMetaObject::invokeMethod(&viewer, "clear"));
    QVERIFY(viewer.document()->isEmpty());
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::green)});
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::green));
    QCOMPARE(server.requests(QStringLiteral("/a.png")), 2);
}

void TestSimpleWebViewer::clearForgetsDownloads()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    const QUrl url = server.url(QStringLiteral("/a.png"));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages({url}));
    QTRY_COMPARE(server.openRequests(), 1);

    viewer.clear();
    viewer.abort();
    QCOMPARE(watch.running().size(), 1);
    QVERIFY(!watch.running().constFirst()->isFinished());
    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{url});
    QCOMPARE(viewer.reloads, 0);
    QVERIFY(viewer.document()->isEmpty());

    viewer.setHtml(htmlWithImages({url}));
    QVERIFY(!shows(viewer, Qt::red));
    QTRY_COMPARE(server.requests(QStringLiteral("/a.png")), 2);
}

void TestSimpleWebViewer::clearMakesRoomForDownloads()
{
    HttpServer server;
    ReplyWatch watch;
    CountingViewer viewer;
    server.hold(QStringLiteral("/old"));
    for (int i = 0; i < 5; ++i)
        viewer.downloadResource(server.url(QStringLiteral("/old?%1").arg(i)));
    QTRY_COMPARE(server.openRequests(), 5);
    viewer.clear();
    viewer.downloadResource(server.url(QStringLiteral("/new")));
    QCOMPARE(watch.running().size(), 6);
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(server.openRequests(), 5);
}

void TestSimpleWebViewer::ignoresForeignReplies()
{
    HttpServer server;
    QNetworkAccessManager manager;
    const QPointer<QNetworkReply> reply = manager.get(QNetworkRequest(server.url(QStringLiteral("/a"))));
    QTRY_VERIFY(reply->isFinished());
    CountingViewer viewer;
    QVERIFY(QMetaObject::invokeMethod(&viewer, "onReplyFinished", Q_ARG(QNetworkReply*, reply.data())));
    QVERIFY(reply);
    QTRY_VERIFY(!reply);
    QCOMPARE(viewer.reloads, 0);
}

void TestSimpleWebViewer::endsWithDownloadsPending_data()
{
    QTest::addColumn<bool>("forgotten");
    QTest::newRow("pending") << false;
    QTest::newRow("forgotten by clear") << true;
}

void TestSimpleWebViewer::endsWithDownloadsPending()
{
    QFETCH(bool, forgotten);
    const Folder folder;
    folder.write(QStringLiteral("a.png"), picture(Qt::red));
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    auto viewer = std::make_unique<CountingViewer>();
    viewer->setSearchPaths({QStringLiteral("file:///") + folder.path()});
    viewer->setHtml(htmlWithImages({server.url(QStringLiteral("/a")).toString()}));
    QTRY_COMPARE(server.openRequests(), 1);
    viewer->setHtml(htmlWithImages({QStringLiteral("a.png")}));
    if (forgotten)
        viewer->clear();

    int changes = 0;
    connect(viewer.get(), &QTextBrowser::textChanged, this, [&changes] { ++changes; });
    viewer.reset();
    QTRY_COMPARE(server.openRequests(), 0);
    QCOMPARE(changes, 0);
}

void TestSimpleWebViewer::previewStyleSheet()
{
    QFile file(QStringLiteral(":/Resources/Resources/storefrontHtml.css"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList rules = QString::fromUtf8(file.readAll()).split(QLatin1Char('}'), Qt::SkipEmptyParts);
    for (QString &rule : rules) {
        rule = rule.simplified().replace(QLatin1String(" {"), QLatin1String("{"));
        rule.replace(QLatin1String("{ "), QLatin1String("{"));
        if (rule.endsWith(QLatin1Char(';')))
            rule.chop(1);
    }
    rules.removeAll(QString());

    const QStringList expected{
        QStringLiteral("body{margin-left: 10px; margin-right: 10px; float: left; font-size: large; color: #222222; "
                       "max-width: 960px"),
        QStringLiteral("h1, h2, h3{color: #111111; font-weight: bold"),
        QStringLiteral("h1, h2, h3, p{margin-bottom: 6px"),
        QStringLiteral("h1{font-size: xx-large"),
        QStringLiteral("h2{font-size: xx-large"),
        QStringLiteral("h3{font-size: x-large"),
        QStringLiteral("a{color: #0099ff; vertical-align: baseline"),
        QStringLiteral("li{margin-left: -10px; margin-bottom: 4px"),
        QStringLiteral("p, ul, ol{max-width: 540px"),
        QStringLiteral("pre{padding: 0px 24px; max-width: 800px; white-space: pre-wrap"),
        QStringLiteral("code{font-family: Consolas, Monaco, Andale Mono, monospace; line-height: 1.5; font-size: 13px"),
        QStringLiteral("blockquote{margin: 1em 2em; max-width: 476px"),
        QStringLiteral("blockquote p{color: #666; max-width: 460px"),
        QStringLiteral("hr{width: 540px; text-align: left; margin: 0 auto 0 0; color: #999"),
        QStringLiteral("table{border-collapse: collapse; margin: 1em 1em; border: 1px solid #CCC"),
        QStringLiteral("table thead{background-color: #EEE"),
        QStringLiteral("table thead td{color: #666"),
        QStringLiteral("table td{padding: 0.5em 1em; border: 1px solid #CCC"),
    };
    QCOMPARE(rules, expected);
}

CATALIST_TEST_MAIN(TestSimpleWebViewer)
#include "tst_simplewebviewer.moc"
