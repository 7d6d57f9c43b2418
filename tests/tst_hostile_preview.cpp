#include "hostilepreviewtest.h"
#include "lengths.h"
#include "testrunner.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

const QString TOO_DEEP = u"Too large or too deeply nested"_s;

} // namespace

class TestHostilePreview : public HostilePreviewTest
{
    Q_OBJECT

private slots:
    void thousandsOfImages();
    void deepHtml_data();
    void deepHtml();
    void longText();
};

void TestHostilePreview::thousandsOfImages()
{
    const int count = lengthOf(2000, 10'000);
    QString html;
    for (int i = 0; i < count; ++i)
        html += htmlWithImages({server->url(u"/%1.png"_s.arg(i))});
    preview(html);
    QTRY_VERIFY_WITH_TIMEOUT(downloads->ends.size() >= 50, 30000);
    const QString before = editor->toPlainText();
    QTest::keyClick(editor, 'x');
    QCOMPARE(editor->toPlainText().size(), before.size() + 1);
    qInfo("Longest pause %lld ms", static_cast<long long>(pulse->longestPause()));
    expectAlive(20000);
    QElapsedTimer clock;
    clock.start();
    answers->press(QMessageBox::No);
    window->close();
    answers.reset();
    answers = std::make_unique<DialogAnswers>();
    window.reset();
    QVERIFY2(clock.elapsed() < LONGEST_PAUSE, QByteArray::number(clock.elapsed()).constData());
}

void TestHostilePreview::deepHtml_data()
{
    QTest::addColumn<QString>("opening");
    QTest::addColumn<QString>("closing");
    QTest::addColumn<bool>("shown");
    QTest::newRow("blocks") << u"<div>\n"_s << u"</div>"_s << true;
    QTest::newRow("bold") << u"<b>\n"_s << u"</b>"_s << true;
    QTest::newRow("never closed") << u"<p><i>\n"_s << QString() << true;
    QTest::newRow("never opened") << u"a"_s << u"</div></table>\n"_s << true;
    QTest::newRow("lists") << u"<ul><li>\n"_s << u"</li></ul>"_s << true;
    QTest::newRow("quotations") << u"<blockquote>\n"_s << u"</blockquote>"_s << true;
    QTest::newRow("tables") << u"<table><tr><td>\n"_s << u"</td></tr></table>"_s << false;
}

void TestHostilePreview::deepHtml()
{
    constexpr int DEPTH = 400;
    QFETCH(QString, opening);
    QFETCH(QString, closing);
    QFETCH(bool, shown);
    preview(opening.repeated(DEPTH) + u"deep"_s + closing.repeated(DEPTH));
    QCOMPARE(viewer->toPlainText().startsWith(TOO_DEEP), !shown);
    viewer->grab();
    QTest::keyClick(editor, 'x');
    QVERIFY(editor->toPlainText().startsWith(u'x'));
    expectAlive();
    preview(u"<p>text</p>"_s);
    typeOn();
}

void TestHostilePreview::longText()
{
    const QString text =
        u"<p>A line of a long text, with <b>some</b> marks &amp; signs.</p>\n"_s.repeated(5000000 / 66);
    QElapsedTimer clock;
    clock.start();
    preview(text);
    const qint64 set = clock.restart();
    QTest::keyClick(editor, 'x');
    qInfo("%lld characters: %lld ms to set, %lld ms for a key", static_cast<long long>(text.size()),
          static_cast<long long>(set), static_cast<long long>(clock.elapsed()));
    QCOMPARE(editor->toPlainText().size(), text.size() + 1);
    QVERIFY(viewer->toPlainText().startsWith(u'x'));
    preview(u"<p>text</p>"_s);
    typeOn();
    expectAlive(60000);
}

CATALIST_TEST(TestHostilePreview)
#include "tst_hostile_preview.moc"
