#include "descriptiontest.h"
#include "pictures.h"
#include "testrunner.h"
#include "viewer/simplewebviewer.h"
#include "webviewertest.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QRgb PICTURE_COLOUR = 0xff12c832;

} // namespace

class TestMainWindowDescriptionPreview : public DescriptionTest
{
    Q_OBJECT

private slots:
    void previewFollowsTheText();
    void previewSearchesBesideTheFile();
    void previewShowsAPictureBesideTheFile();
    void previewIsFetchedAgain();
    void previewHasTheStyleSheet();

private:
    void open(const QByteArray &descriptions = DESCRIPTIONS);
    [[nodiscard]] bool hasPicture() const { return pixelsOf(*view->viewport(), PICTURE_COLOUR) > 0; }

    SimpleWebViewer *view = nullptr;
};

void TestMainWindowDescriptionPreview::open(const QByteArray &descriptions)
{
    DescriptionTest::open(descriptions);
    view = child<SimpleWebViewer>(*window, "descriptionView");
}

void TestMainWindowDescriptionPreview::previewFollowsTheText()
{
    open();
    openFile(0);
    QCOMPARE(view->toPlainText(), u"Popis č"_s);
    typeInDescription(u"<h1>New</h1>"_s);
    QCOMPARE(view->toPlainText(), u"New\nPopis č"_s);
    openFile(1);
    QCOMPARE(view->toPlainText().trimmed(), u"Über"_s);
    selectApp(1);
    QCOMPARE(view->toPlainText(), QString());
}

void TestMainWindowDescriptionPreview::previewSearchesBesideTheFile()
{
    folder->write(u"top.html"_s, "<p>Top</p>");
    open(R"({"cz":"doc/cz.html","de":"top.html"})");
    openFile(0);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s + folder->path(u"doc"_s)));
    openFile(1);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s + folder->path()));
    QVERIFY(view->searchPaths().constFirst().startsWith(u"file:////"_s));
    table->setCurrentCell(-1, -1);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s));
}

void TestMainWindowDescriptionPreview::previewShowsAPictureBesideTheFile()
{
    folder->write(u"doc/picture.png"_s, picture(PICTURE_COLOUR, {40, 40}));
    folder->write(u"doc/cz.html"_s, "<p>Look: <img src=\"picture.png\"></p>");
    open();
    openFile(1);
    QVERIFY(!hasPicture());
    openFile(0);
    QTRY_VERIFY(hasPicture());
    typeInDescription(u"<p>More</p>"_s);
    QTRY_VERIFY(hasPicture());
}

void TestMainWindowDescriptionPreview::previewIsFetchedAgain()
{
    folder->write(u"doc/cz.html"_s, "<p>text</p><img src=\"later.png\">");
    open();
    const ReplyWatch watch;
    openFile(0);
    QTRY_COMPARE(watch.deleted.size(), 1);
    folder->write(u"doc/later.png"_s, picture(PICTURE_COLOUR));
    typeInDescription(u"x"_s);
    click(*window, "btnAutosave");
    QVERIFY(watch.running().isEmpty());
    QVERIFY(!hasPicture());
    QTest::keyClick(window.get(), Qt::Key_F5);
    QTRY_VERIFY(hasPicture());
    // Reloading is no edit.
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "x<p>text</p><img src=\"later.png\">"_ba);
}

void TestMainWindowDescriptionPreview::previewHasTheStyleSheet()
{
    const QString styleSheet = QString::fromUtf8(readFile(u"" CATALIST_SOURCE_DIR "/resources/storefrontHtml.css"_s));
    QVERIFY(!styleSheet.isEmpty());
    open();
    QCOMPARE(view->document()->defaultStyleSheet(), styleSheet);
    openFile(0);
    typeInDescription(u"x"_s);
    QCOMPARE(view->document()->defaultStyleSheet(), styleSheet);
}

CATALIST_TEST(TestMainWindowDescriptionPreview)
#include "tst_mainwindow_description_preview.moc"
