// SPDX-License-Identifier: MIT
// Stills and movies from the context menu.
#pragma once

#include <QAction>
#include <QObject>
#include <QString>
#include <QWidget>
#include <string>

#include "app/folder_trouble.h"
#include "app/menu_section.h"
#include "app/recording_clock.h"
#include "app/window_host.h"
#include "platform/bundle.h"

namespace tavelo {

/// Save Picture (Ctrl+S), Record or Stop Recording (Ctrl+R), whether with sound, and Show File afterwards.
/// What could not be written is one line on the standard error stream and an entry of the menu; sound that a
/// movie lacks is an entry.  Main thread.
class CaptureMenu final : public QObject, public MenuSection {
    Q_OBJECT

public:
    struct Folders {
        QString pictures;
        QString movies;
    };
    /// The user's own.
    static Folders userFolders();

    /// All must outlive the last call and signal.
    /// @param window where the keys work
    CaptureMenu(QWidget& window, WindowHost& host, const RecordingClock& clock, const Bundle& bundle,
                Folders folders);

    QList<QAction*> entries() override;
    void retranslate() override;

    /// Whether there is a picture to save and to record.
    void setPictureShown(bool shown);

Q_SIGNALS:
    void showFileChosen(const QString& file);

private:
    void savePicture();
    void toggleRecording();
    void startRecording();
    void recordingDidEnd(const std::string& file, bool success, const std::string& reason, bool isOfFile);
    void showRecording();
    void keep(const QString& file);
    /// @param folder that did not take the file; empty if that is not the reason
    void fail(const QString& file, const QString& line, const QString& reason, const QString& folder);

    WindowHost& host_;
    const RecordingClock& clock_;
    const Bundle& bundle_;
    const Folders folders_;
    QAction save_;
    QAction record_;
    QAction sound_; // off whenever the program starts: a microphone is not switched on unasked
    QAction soundMissing_;
    QAction showFile_;
    QAction failure_;
    QString lastFile_;   // that was written
    QString lastReason_; // why the last file was not; empty if it was
    QString lastFolder_; // that did not take it; empty if that is not the reason
    FolderTrouble lastTrouble_ = FolderTrouble::none;
    QString ownMovie_;        // that is being recorded; others are the service's
    bool lacksSound_ = false; // the last movie
    bool saving_ = false;
    bool pictureShown_ = false;
};

} // namespace tavelo
