#include "ui/mainwindow.h"

#include "ui_mainwindow.h"

#include <QDeadlineTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

// A process that is killed must not cost more than five seconds of work.
constexpr auto DRAFT_DELAY = 3s;
// Building ten thousand lines at once takes 20 to 30 ms, which is felt while typing.
constexpr auto LONGEST_STEP = 5ms;

} // namespace

void MainWindow::prepareDrafts()
{
    descriptionDraftTimer.setInterval(DRAFT_DELAY);
    connect(&descriptionDraftTimer, &QTimer::timeout, this, &MainWindow::draftDescription);
    recordsDraftTimer.setInterval(DRAFT_DELAY);
    connect(&recordsDraftTimer, &QTimer::timeout, this, &MainWindow::beginRecordsDraft);
    connect(&recordsDraftStep, &QTimer::timeout, this, &MainWindow::goOnWithRecordsDraft);
    for (QTimer *timer : {&descriptionDraftTimer, &recordsDraftTimer, &recordsDraftStep})
        timer->setSingleShot(true);
}

void MainWindow::draftDescription()
{
    work.tryAgain();
    bool isDrafted = true;
    const bool isUnsaved = !descriptionPath.isEmpty() && ui->descriptionEdit->document()->isModified();
    if (isUnsaved)
        isDrafted = static_cast<bool>(work.keepDraft(descriptionPath, ui->descriptionEdit->toPlainText().toUtf8()));
    else if (!descriptionPath.isEmpty())
        work.removeDraft(descriptionPath);
    if (!isDrafted || !work.heldFiles().isEmpty())
        descriptionDraftTimer.start();
}

void MainWindow::beginRecordsDraft()
{
    recordsDraftStep.stop();
    recordsDraft.reset();
    if (!model.modified)
        return;
    recordsDraft.emplace(RecordsDraft{projectPath(), ProjectBuilder(model.apps)});
    goOnWithRecordsDraft();
}

void MainWindow::goOnWithRecordsDraft()
{
    const QDeadlineTimer pause(LONGEST_STEP);
    while (recordsDraft->builder.addLine()) {
        if (pause.hasExpired()) {
            recordsDraftStep.start();
            return;
        }
    }
    // The records may have been saved or replaced by those of another project since the draft began.
    const bool isNeeded = model.modified && recordsDraft->path == projectPath();
    if (isNeeded && !work.keepDraft(recordsDraft->path, recordsDraft->builder.content))
        recordsDraftTimer.start();
    recordsDraft.reset();
}

void MainWindow::writeDrafts()
{
    draftDescription();
    if (model.modified)
        work.keepDraft(projectPath(), projectContent(model.apps));
}
