#include "testrunner.h"
#include "windowtest.h"

#include <QAction>
#include <QIcon>
#include <QImage>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QPushButton>
#include <QTabBar>
#include <QToolBar>

using namespace Qt::StringLiterals;

namespace {

/// Whether the tab key stops at a widget of the form; the inner widgets of Qt are left out.
bool isTabStop(const QWidget *widget)
{
    return (widget->focusPolicy() & Qt::TabFocus) != 0 && !widget->objectName().isEmpty()
           && !widget->objectName().startsWith("qt_"_L1) && !qobject_cast<const QTabBar *>(widget->parent());
}

} // namespace

class TestMainWindowControls : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void actions_data();
    void actions();
    void buttonIcons();
    void pictures_data();
    void pictures();
    void slotsAreConnected_data();
    void slotsAreConnected();
    void tabOrder();
};

void TestMainWindowControls::init()
{
    WindowTest::init();
    window = std::make_unique<MainWindow>();
}

void TestMainWindowControls::actions_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("picture");

    const QString resources = u":/Resources/Resources/"_s;
    QTest::newRow("actionNew_project") << 0 << u"New project"_s << u"Ctrl+N"_s << u"New project"_s
                                       << resources + u"new_file.ico"_s;
    QTest::newRow("actionOpen_project") << 1 << u"Open project"_s << u"Ctrl+O"_s << u"Open project"_s
                                        << resources + u"open_folder32x32.png"_s;
    QTest::newRow("actionSave") << 2 << u"Save"_s << u"Ctrl+S"_s << u"Save"_s << resources + u"save32x32.png"_s;
    QTest::newRow("actionSave_generate_JSON")
        << 3 << u"Save and generate JSON"_s << QString() << u"Save and generate JSON repository"_s
        << resources + u"export32x32.png"_s;
}

void TestMainWindowControls::actions()
{
    QFETCH(int, position);
    QFETCH(QString, picture);
    auto *action = child<QAction>(*window, QTest::currentDataTag());
    QCOMPARE(action->parent(), window.get());
    QTEST(action->text(), "text");
    QTEST(action->shortcut().toString(QKeySequence::PortableText), "shortcut");
    QTEST(action->toolTip(), "toolTip");
    QCOMPARE(action->icon().pixmap(32).toImage(), QIcon(picture).pixmap(32).toImage());
    QVERIFY(!QIcon(picture).pixmap(32).isNull());

    for (const QWidget *place : {static_cast<QWidget *>(child<QMenu>(*window, "menuFile")),
                                 static_cast<QWidget *>(child<QToolBar>(*window, "mainToolBar"))}) {
        QCOMPARE(place->actions().size(), 4);
        QCOMPARE(place->actions().at(position), action);
    }
    QCOMPARE(child<QMenuBar>(*window, "menuBar")->actions(),
             QList<QAction *>{child<QMenu>(*window, "menuFile")->menuAction()});
}

void TestMainWindowControls::buttonIcons()
{
    const auto shows = [this](const char *button, const QString &picture) {
        const QImage expected = QIcon(picture).pixmap(16).toImage();
        return !expected.isNull() && child<QPushButton>(*window, button)->icon().pixmap(16).toImage() == expected;
    };
    QVERIFY(shows("btnNewApp", u":/Resources/Resources/new_file.ico"_s));
    QVERIFY(shows("btnDeleteApp", u":/Resources/Resources/cancel16x16.png"_s));
}

void TestMainWindowControls::pictures_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");
    const QString resources = u":/Resources/Resources/"_s;
    for (const char *name : {"open_folder32x32", "save32x32", "export32x32"})
        QTest::newRow(name) << resources + QLatin1String(name) << 32;
    QTest::newRow("cancel16x16") << resources + u"cancel16x16"_s << 16;
}

void TestMainWindowControls::pictures()
{
    QFETCH(QString, file);
    QFETCH(int, size);
    QCOMPARE(QImage(file + u".png"_s).size(), QSize(size, size));
    QCOMPARE(QImage(file + u"@2x.png"_s).size(), QSize(2 * size, 2 * size));
    QCOMPARE(QImage(file + u"@3x.png"_s).size(), QSize(3 * size, 3 * size));
    QVERIFY(QIcon(u":/Resources/Resources/new_file.ico"_s).availableSizes().contains(QSize(96, 96)));
    QVERIFY(QIcon(u":/Resources/Resources/new_file.ico"_s).availableSizes().size() > 2);
    const QIcon program(u":/Resources/Resources/catalist.ico"_s);
    for (const int pixels : {16, 22, 24, 32, 48, 64, 128, 256})
        QVERIFY2(program.availableSizes().contains(QSize(pixels, pixels)), qPrintable(QString::number(pixels)));
}

void TestMainWindowControls::slotsAreConnected_data()
{
    QTest::addColumn<QString>("slot");
    const QMetaObject *meta = window ? window->metaObject() : &MainWindow::staticMetaObject;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QByteArray signature = meta->method(i).methodSignature();
        if (signature.startsWith("on_"))
            QTest::newRow(signature.constData()) << QString::fromLatin1(signature);
    }
}

void TestMainWindowControls::slotsAreConnected()
{
    QFETCH(QString, slot);
    const QStringList known =
        words("on_btnNewApp_clicked() on_actionNew_project_triggered() on_applyButton_clicked() "
              "on_check1_2_stateChanged(int) on_check1_3_stateChanged(int) on_check1_4_stateChanged(int) "
              "on_listApps_currentRowChanged(int) on_listApps_itemClicked(QListWidgetItem*) on_btnDeleteApp_clicked() "
              "on_actionOpen_project_triggered() on_iconBtn_clicked() on_descriptionEdit_textChanged() "
              "on_btnAddFile_clicked() on_btnDeleteFile_clicked() on_actionSave_triggered() on_btnAddFolder_clicked() "
              "on_actionSave_generate_JSON_triggered() on_btnNewDescription_clicked() "
              "on_btnDeleteDescription_clicked() on_tableWidget_currentCellChanged(int,int,int,int) "
              "on_btnAutosave_clicked() on_btnOpenDescription_clicked() on_repository_editingFinished()");
    QCOMPARE(known.size(), 23);
    QVERIFY(known.contains(slot));

    const qsizetype end = slot.lastIndexOf(u'_');
    const QString object = slot.mid(3, end - 3);
    const QByteArray signalName = slot.mid(end + 1).section(u'(', 0, 0).toLatin1();
    auto *sender = child<QObject>(*window, qPrintable(object));
    int connected = 0;
    const QMetaMethod method = window->metaObject()->method(window->metaObject()->indexOfSlot(qPrintable(slot)));
    QVERIFY(method.isValid());
    for (int i = 0; i < sender->metaObject()->methodCount(); ++i) {
        const QMetaMethod candidate = sender->metaObject()->method(i);
        if (candidate.methodType() == QMetaMethod::Signal && candidate.name() == signalName)
            connected += QObject::disconnect(sender, candidate, window.get(), method) ? 1 : 0;
    }
    QCOMPARE(connected, 1);
}

void TestMainWindowControls::tabOrder()
{
    QStringList order;
    const QWidget *widget = child<QLineEdit>(*window, "repository");
    const QWidget *first = widget;
    do {
        if (isTabStop(widget))
            order.append(widget->objectName());
        widget = widget->nextInFocusChain();
    } while (widget != first);
    QCOMPARE(order,
             words("repository listApps btnNewApp btnDeleteApp tabWidget appName1_1 appName1_2 lng1_2 check1_2 "
                   "appName1_3 lng1_3 check1_3 appName1_4 lng1_4 check1_4 author version publicationDate icon iconBtn "
                   "minTxVersion kr5Compatible vl5Compatible kr7Compatible vl7Compatible kr9Compatible vl9Compatible "
                   "vl3Compatible kr7IICompatible vl7IICompatible kr5IICompatible vl5IICompatible kr9g2Compatible "
                   "vl9g2Compatible applyButton listAppFiles btnAddFile btnAddFolder btnDeleteFile tableWidget "
                   "btnNewDescription btnOpenDescription btnDeleteDescription btnAutosave descriptionEdit "
                   "descriptionView"));
}

CATALIST_TEST(TestMainWindowControls)
#include "tst_mainwindow_controls.moc"
