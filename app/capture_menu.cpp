// SPDX-License-Identifier: MIT
#include "app/capture_menu.h"

#include <QDateTime>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>
#include <utility>

#include "app/menu_key.h"
#include "app/menu_text.h"
#include "app/picture_files.h"
#include "process/error_line.h"
#include "widgets/localized_text.h"

namespace tavelo {
namespace {

// Empty if the file is not the reason of a failure.
QString folderOf(const QString& file, bool isOfFile) {
    return isOfFile ? QFileInfo(file).path() : QString();
}

} // namespace

CaptureMenu::Folders CaptureMenu::userFolders() {
    return {QStandardPaths::writableLocation(QStandardPaths::PicturesLocation),
            QStandardPaths::writableLocation(QStandardPaths::MoviesLocation)};
}

CaptureMenu::CaptureMenu(QWidget& window, WindowHost& host, const RecordingClock& clock, const Bundle& bundle,
                         Folders folders)
    : host_(host),
      clock_(clock),
      bundle_(bundle),
      folders_(std::move(folders)) {
    setMenuKey(save_, Qt::CTRL | Qt::Key_S, window);
    setMenuKey(record_, Qt::CTRL | Qt::Key_R, window);
    sound_.setCheckable(true);
    soundMissing_.setEnabled(false);
    failure_.setEnabled(false);
    connect(&save_, &QAction::triggered, this, &CaptureMenu::savePicture);
    connect(&record_, &QAction::triggered, this, &CaptureMenu::toggleRecording);
    connect(&showFile_, &QAction::triggered, this, [this] { Q_EMIT showFileChosen(lastFile_); });
    connect(&host, &WindowHost::recordingEnded, this, &CaptureMenu::recordingDidEnd);
    connect(&clock, &RecordingClock::changed, this, &CaptureMenu::showRecording);
    setPictureShown(false);
    retranslate();
}

QList<QAction*> CaptureMenu::entries() {
    QList<QAction*> entries{&save_, &record_};
    if (host_.mayRecordSound()) entries << &sound_;
    if (lacksSound_) entries << &soundMissing_;
    if (!lastReason_.isEmpty()) entries << &failure_;
    if (!lastFile_.isEmpty()) entries << &showFile_;
    return entries;
}

void CaptureMenu::retranslate() {
    const auto text = [this](std::string_view key) { return localizedText(bundle_, key); };
    save_.setText(text("Save_picture"));
    sound_.setText(text("Record_sound"));
    soundMissing_.setText(text("Sound_missing"));
    showFile_.setText(text("Show_file"));
    const QString reason = lastFolder_.isEmpty()
                               ? lastReason_
                               : folderTroubleText(lastFolder_, lastTrouble_, lastReason_, bundle_);
    failure_.setText(plainMenuText(text("Not_saved").arg(reason)));
    showRecording();
}

void CaptureMenu::setPictureShown(bool shown) {
    pictureShown_ = shown;
    save_.setEnabled(shown);
    showRecording();
}

void CaptureMenu::showRecording() {
    const bool runs = clock_.isRunning();
    const std::string text = bundle_.localizedString(runs ? "Stop_recording" : "Record", {});
    record_.setText(runs ? QString::fromStdString(text).arg(clock_.text()) : QString::fromStdString(text));
    sound_.setEnabled(!runs);                  // of the next movie
    record_.setEnabled(runs || pictureShown_); // a camera that has fallen silent can still be stopped
}

void CaptureMenu::savePicture() {
    const auto camera = host_.shownCamera();
    if (!camera || saving_) return;
    QString reason;
    const auto file = freePictureFile(folders_.pictures, camera->localizedName(),
                                      QDateTime::currentDateTime(), QStringLiteral("png"), reason);
    if (!file)
        return fail(folders_.pictures, QStringLiteral("cannot make the folder: ") + reason, reason,
                    folders_.pictures);
    saving_ = true; // until then, the next picture would get the same name
    host_.takeSnapshot(
        file->toStdString(), [self = QPointer(this), file = *file](const std::optional<ServiceError>& error) {
            if (!self) return;
            self->saving_ = false;
            if (!error) return self->keep(file);
            const QString why = QString::fromStdString(error->text);
            self->fail(file, QStringLiteral("not written: ") + why, why, folderOf(file, error->isOfFile));
        });
}

void CaptureMenu::toggleRecording() {
    if (!host_.stopRecording()) startRecording();
}

void CaptureMenu::startRecording() {
    const auto camera = host_.shownCamera();
    if (!camera) return;
    QString reason;
    const auto file = freePictureFile(folders_.movies, camera->localizedName(), QDateTime::currentDateTime(),
                                      QStringLiteral("mp4"), reason);
    if (!file)
        return fail(folders_.movies, QStringLiteral("cannot make the folder: ") + reason, reason,
                    folders_.movies);
    ownMovie_ = *file;
    lacksSound_ = false;
    const bool withSound = sound_.isChecked() && host_.mayRecordSound();
    const SoundChoice sound{withSound ? SoundChoice::Kind::automatic : SoundChoice::Kind::off};
    host_.startRecording(file->toStdString(), {{}, sound},
                         [self = QPointer(this), file = *file](const std::optional<ServiceError>& error) {
                             if (!self || !error) return;
                             const QString why = QString::fromStdString(error->text);
                             self->fail(file, why, why, folderOf(file, error->isOfFile));
                         });
}

void CaptureMenu::recordingDidEnd(const std::string& file, bool success, const std::string& reason,
                                  bool isOfFile) {
    const QString name = QString::fromStdString(file);
    if (name != std::exchange(ownMovie_, {})) return;
    const QString why = QString::fromStdString(reason);
    lacksSound_ = success && !reason.empty();
    if (success)
        keep(name);
    else
        fail(name, why, why, folderOf(name, isOfFile));
    // A movie that was cut short plays.
    if (QFileInfo::exists(name)) lastFile_ = name;
}

void CaptureMenu::keep(const QString& file) {
    lastFile_ = file;
    lastReason_.clear();
}

void CaptureMenu::fail(const QString& file, const QString& line, const QString& reason,
                       const QString& folder) {
    printErrorLine(file.toStdString(), line.toStdString());
    lastReason_ =
        folder.isEmpty() ? reason : reason.section(QStringLiteral(": "), -1); // the system's own text
    lastFolder_ = folder;
    lastTrouble_ = folder.isEmpty() ? FolderTrouble::none : troubleOf(stateOfFolder(folder));
    retranslate();
}

} // namespace tavelo
