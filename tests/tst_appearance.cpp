#include "testrunner.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QAbstractButton>
#include <QApplication>
#include <QColor>
#include <QFont>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPalette>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal LEGIBLE = 4.5; ///< the contrast that accessibility guidelines demand

qreal luminance(const QColor &color)
{
    const auto linear = [](qreal part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

qreal contrast(const QColor &first, const QColor &second)
{
    const qreal a = luminance(first) + 0.05;
    const qreal b = luminance(second) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

QPalette darkPalette()
{
    QPalette palette(QColor(0x35, 0x35, 0x38), QColor(0x2d, 0x2d, 0x30));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    palette.setColor(QPalette::Text, QColor(0xe6, 0xe6, 0xe6));
    return palette;
}

/// The buttons that scroll the tabs, and the one that extends the tool bar.
bool isMadeByQt(const QWidget *widget)
{
    return widget->objectName().startsWith("qt_"_L1) || qobject_cast<const QTabBar *>(widget->parent());
}

/// The widgets, tabs and columns that are too small for their text; except the path of the project, which has a tool
/// tip.
QStringList cutOff(const QWidget &window)
{
    QStringList found;
    const QList<QWidget *> widgets = window.findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const bool hasText = qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget);
        if (!hasText || !widget->isVisible() || isMadeByQt(widget) || widget->objectName() == u"appsLbl")
            continue;
        const QSize needed = widget->minimumSizeHint();
        if (widget->width() < needed.width() || widget->height() < needed.height())
            found.append(widget->objectName());
    }
    const auto *tabs = child<QTabWidget>(window, "tabWidget")->tabBar();
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->fontMetrics().horizontalAdvance(tabs->tabText(i)) > tabs->tabRect(i).width())
            found.append(tabs->tabText(i));
    }
    const auto *header = child<QTableWidget>(window, "tableWidget")->horizontalHeader();
    for (int i = 0; i < header->count(); ++i) {
        if (header->isVisible() && header->sectionSize(i) < header->sectionSizeHint(i))
            found.append(u"column %1"_s.arg(i));
    }
    return found;
}

} // namespace

/// Large fonts, dark palettes and dense screens.
class TestAppearance : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;
    void cleanup() override;
    void nothingIsCutOff_data();
    void nothingIsCutOff();
    void textsHaveContrast_data();
    void textsHaveContrast();
    void iconsAreDrawnForTheScreen();

private:
    QFont font;
    QPalette palette;
};

void TestAppearance::init()
{
    font = QApplication::font();
    palette = QApplication::palette();
    WindowTest::init();
}

void TestAppearance::cleanup()
{
    WindowTest::cleanup();
    QApplication::setFont(font);
    QApplication::setPalette(palette);
}

void TestAppearance::nothingIsCutOff_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<qreal>("points");
    for (const QString &page : {u"tabGeneral"_s, u"tabAppFiles"_s, u"tabDescription"_s}) {
        for (const qreal points : {9.0, 13.0, 18.0, 24.0})
            QTest::addRow("%s, %g points", qPrintable(page), points) << page << points;
    }
}

void TestAppearance::nothingIsCutOff()
{
    QFETCH(QString, page);
    QFETCH(qreal, points);
    QFont large = font;
    large.setPointSizeF(points);
    QApplication::setFont(large);
    openExample();
    // The minimum size.
    window->resize(1, 1);
    child<QTabWidget>(*window, "tabWidget")->setCurrentWidget(child<QWidget>(*window, qPrintable(page)));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(cutOff(*window).join(u", "_s), QString());
}

void TestAppearance::textsHaveContrast_data()
{
    QTest::addColumn<QPalette>("colors");
    QTest::newRow("light") << QApplication::palette();
    QTest::newRow("dark") << darkPalette();
}

void TestAppearance::textsHaveContrast()
{
    QFETCH(QPalette, colors);
    QApplication::setPalette(colors);
    openExample();
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const qreal found = contrast(widget->palette().color(widget->backgroundRole()),
                                     widget->palette().color(widget->foregroundRole()));
        QVERIFY2(!widget->isEnabled() || found >= LEGIBLE, qPrintable(widget->objectName()));
    }

    // The colours of texts and quotations in its style sheet are fixed.
    const auto *preview = child<SimpleWebViewer>(*window, "descriptionView");
    const QColor ground = preview->viewport()->palette().color(QPalette::Base);
    for (const char *text : {"#222222", "#111111", "#666666"})
        QVERIFY2(contrast(ground, QColor(QLatin1String(text))) >= LEGIBLE, text);
    QVERIFY(contrast(ground, preview->palette().color(QPalette::Text)) >= LEGIBLE);
}

// Other entries of CTest run this at other scales, which are set for a whole process.
void TestAppearance::iconsAreDrawnForTheScreen()
{
    openExample();
    const qreal scale = window->devicePixelRatioF();
    QCOMPARE(scale, qEnvironmentVariable("QT_SCALE_FACTOR", u"1"_s).toDouble());
    const QList<QAbstractButton *> buttons = window->findChildren<QAbstractButton *>();
    int icons = 0;
    for (const QAbstractButton *button : buttons) {
        if (button->icon().isNull() || isMadeByQt(button))
            continue;
        const QSize drawn = button->icon().pixmap(button->iconSize(), scale).size();
        QVERIFY2(drawn.width() >= qRound(button->iconSize().width() * scale), qPrintable(button->text()));
        ++icons;
    }
    QCOMPARE(icons, 6); // four in the tool bar, two below the list
}

CATALIST_TEST(TestAppearance)
#include "tst_appearance.moc"
