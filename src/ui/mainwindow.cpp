#include "ui/mainwindow.h"

#include "history/history.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "ui_mainwindow.h"

#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>
#include <QShortcut>
#include <QStyledItemDelegate>

#include <cmath>

const char *VENDOR_NAME = "Orva model";
const char *APP_NAME = "Catalist";

namespace {

constexpr QLatin1String WINDOW_GROUP("MainWindow");
constexpr QLatin1String SIZE_KEY("size");
constexpr QLatin1String POSITION_KEY("pos");
constexpr QLatin1String REPOSITORY_KEY("repo");
constexpr QLatin1String PROJECT_KEY("appPath");

/// Empty when the resource is missing.
QString previewStyleSheet()
{
    QFile file(QStringLiteral(":/Resources/Resources/storefrontHtml.css"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The style sheet has dark texts, so the background has to be light, even on a dark desktop.
QPalette previewPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    return palette;
}

/// At a fractional scale, Qt enlarges the picture for the whole scale below it. The picture for the scale above it,
/// made smaller, stays sharp.
QIcon sharpAt(qreal scale, const QIcon &icon, QSize size)
{
    const QSize wanted = size * scale;
    if (icon.isNull() || icon.pixmap(size, scale).width() >= wanted.width())
        return icon;
    QPixmap picture = icon.pixmap(size, std::ceil(scale));
    picture = picture.scaled(wanted, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(scale);
    QIcon sharp = icon;
    sharp.addPixmap(picture);
    return sharp;
}

/// Qt's width has no room for the title in a large font.
void widenToTitle(QHeaderView *header, int section)
{
    header->resizeSection(section, std::max(header->sectionSize(section), header->sectionSizeHint(section)));
}

/// Elides what is wider than the list. Latin texts are equally high, so one of them is measured for all. Measuring each
/// of 10,000 would make Apply take 45 ms instead of 4.
class ElidingDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QString text = index.data().toString();
        const bool isLatin =
            std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c >= u' ' && c < u'\u0180'; });
        if (!isLatin)
            return {0, QStyledItemDelegate::sizeHint(option, index).height()};
        if (latinHeight < 0 || option.font != latinFont) {
            latinFont = option.font;
            latinHeight = QStyledItemDelegate::sizeHint(option, index).height();
        }
        return {0, latinHeight};
    }

private:
    mutable QFont latinFont;
    mutable int latinHeight = -1;
};

QString unsavedMark()
{
    return QStringLiteral(" (*)");
}

} // namespace

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent), ui(std::make_unique<Ui::MainWindow>())
{
    ui->setupUi(this);
    for (QAction *action : ui->mainToolBar->actions())
        action->setIcon(sharpAt(devicePixelRatioF(), action->icon(), ui->mainToolBar->iconSize()));
    for (QPushButton *button : {ui->btnNewApp, ui->btnDeleteApp})
        button->setIcon(sharpAt(devicePixelRatioF(), button->icon(), button->iconSize()));
    for (QSplitter *splitter : {ui->splitter, ui->splitter_3}) {
        splitter->setStretchFactor(0, 0);
        splitter->setStretchFactor(1, 1);
    }
    ui->tabWidget->setCurrentIndex(0);
    ui->listApps->setItemDelegate(new ElidingDelegate(ui->listApps));

    connect(&model, &AppConfigModel::currentIndexChanged, this, &MainWindow::appIndexChanged);
    connect(&model, &AppConfigModel::appsChanged, this, &MainWindow::appsChanged);
    connect(ui->tableWidget, SIGNAL(cellChanged(int,int)), this, SLOT(descriptionUpdated(int,int)));

    ui->tableWidget->horizontalHeader()->setStretchLastSection(true);
    ui->tableWidget->setSelectionBehavior(QAbstractItemView::SelectRows);
    // The name of the file is at the end of its path.
    ui->tableWidget->setTextElideMode(Qt::ElideMiddle);
    ui->tableWidget->setWordWrap(false);
    widenToTitle(ui->tableWidget->horizontalHeader(), 0);
    setDescriptionPath({});
    prepareDrafts();
    leaveCodeTimer.setSingleShot(true);
    connect(&leaveCodeTimer, &QTimer::timeout, this, &MainWindow::leaveCode);
    const auto *refresh = new QShortcut(Qt::Key_F5, this);
    connect(refresh, &QShortcut::activated, this, &MainWindow::refreshPreview);

    ui->descriptionView->document()->setDefaultStyleSheet(previewStyleSheet());
    ui->descriptionView->setPalette(previewPalette());
    // Otherwise all that is behind its scroll bar is painted again at each keystroke.
    ui->descriptionView->setAutoFillBackground(true);
    readSettings();
}

MainWindow::~MainWindow() = default;

void MainWindow::readSettings()
{
    QSettings settings{QLatin1String(VENDOR_NAME), QLatin1String(APP_NAME)};
    settings.beginGroup(WINDOW_GROUP);
    const QVariant size = settings.value(SIZE_KEY);
    if (!size.isNull())
        resize(size.toSize());
    const QVariant position = settings.value(POSITION_KEY);
    if (!position.isNull())
        move(position.toPoint());
    settings.endGroup();

    ui->repository->setText(settings.value(REPOSITORY_KEY, QStringLiteral("http://")).toString());
    const QString project = settings.value(PROJECT_KEY).toString();
    if (project.isEmpty())
        return;
    if (!loadProject(project)) {
        model.clear();
        QMessageBox::critical(this, tr("Error"), tr("Error loading <b>Apps.csv</b> settings"));
    }
}

void MainWindow::writeSettings()
{
    QSettings settings{QLatin1String(VENDOR_NAME), QLatin1String(APP_NAME)};
    settings.beginGroup(WINDOW_GROUP);
    settings.setValue(SIZE_KEY, size());
    settings.setValue(POSITION_KEY, pos());
    settings.endGroup();
    settings.setValue(REPOSITORY_KEY, ui->repository->text());
    settings.setValue(PROJECT_KEY, appPath);
}

void MainWindow::setAppPath(const QString &path)
{
    appPath = path;
    ui->appsLbl->setText(tr("Apps (%1): ").arg(path));
    ui->appsLbl->setToolTip(plainToolTip(path)); // the label is too narrow for most paths
}

QString MainWindow::plainToolTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()) : text;
}

QString MainWindow::projectPath() const
{
    return appPath.isEmpty() ? QString(PROJECT_FILE_NAME) : appPath;
}

void MainWindow::checkAsterisk()
{
    const QString title = windowTitle();
    const bool marked = title.endsWith(unsavedMark());
    if (model.modified && !marked)
        setWindowTitle(title + unsavedMark());
    else if (!model.modified && marked)
        setWindowTitle(title.chopped(unsavedMark().size()));
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    writeSettings();
    event->accept();
    finishTableEdit();
    work.tryAgain();
    if (model.modified) {
        const auto answer = QMessageBox::question(this, tr("Save data"), tr("Save application data before quitting?"),
                                                  QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        if (answer == QMessageBox::Cancel) {
            event->ignore();
            return;
        }
        if (answer == QMessageBox::Yes) {
            saveAppsCfg();
            keepRecordsThatFailed();
        } else if (History::keepUnsaved(projectPath(), projectContent(model.apps))) {
            // The author gave these records up: they are copied if there is room, and nothing is asked again.
            work.removeDraft(projectPath());
        }
    }
    keepUnsavedDescription();
    settleUnsavedWork();
}

void MainWindow::keepRecordsThatFailed()
{
    if (!model.modified)
        return;
    if (appPath.isEmpty())
        keepUnsavedRecords();
    else
        work.save(appPath, projectContent(model.apps));
}

void MainWindow::keepUnsavedRecords()
{
    if (model.modified)
        work.copy(projectPath(), projectContent(model.apps), UnsavedWork::Later::Copy);
}

void MainWindow::settleUnsavedWork()
{
    while (!work.heldFiles().isEmpty()) {
        QStringList files;
        for (const QString &file : work.heldFiles())
            files.append(QStringLiteral("<b>%1</b>").arg(file.toHtmlEscaped()));
        QMessageBox question(
            QMessageBox::Critical, tr("Error"),
            tr("%1 could not be saved, and there is no room for a copy.").arg(files.join(QStringLiteral(", "))),
            QMessageBox::NoButton, this);
        QPushButton *again = question.addButton(tr("Try again"), QMessageBox::AcceptRole);
        question.addButton(tr("Close all the same"), QMessageBox::DestructiveRole);
        question.setDefaultButton(again);
        question.exec();
        if (question.clickedButton() != again)
            return;
        work.tryAgain();
    }
}

void MainWindow::on_repository_editingFinished()
{
    const QString typed = ui->repository->text();
    const QString url = repositoryUrl(typed);
    if (url != typed)
        ui->repository->setText(url);
}
